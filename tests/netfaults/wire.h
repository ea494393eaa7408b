// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "namespace.h"
#include "wake.h"

/** @file The wire between two hosts, which the test holds in its hands. */
namespace netfaults {

/** How a wire treats what goes through it, in both directions. */
struct Condition {
    std::chrono::milliseconds delay{0}; ///< each way
    double loss = 0;                    ///< share of the packets, each way
    bool broken = false;                ///< nothing passes
};

/**
 * Two tunnel devices "wire", one in each namespace, and a thread that carries packets from one to
 * the other. The kernel's own emulation of bad links is a module that not every machine has.
 */
class Wire {
public:
    Wire(const Namespace& gateway, const Namespace& platform);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /** From now on; what was sent before is treated as it would have been. */
    void set(const Condition& condition);
    /**
     * From now on nothing of the TCP connections passes that there have been so far, in either
     * direction: what a firewall does that has forgotten them. New ones pass.
     */
    void forget_connections();

private:
    using Clock = std::chrono::steady_clock;
    struct Packet {
        Clock::time_point due;
        std::string bytes;
    };
    struct Direction {
        int from;
        int to;
        bool from_gateway;
        std::deque<Packet> queue;
    };

    void carry();
    void read(Direction& direction);
    static void write_due(Direction& direction);
    int milliseconds_to_next() const;
    bool passes(const std::string& packet, bool from_gateway);

    int gateway_ = -1;
    int platform_ = -1;
    Wake wake_;
    std::mutex mutex_; ///< of what follows
    Condition condition_;
    std::set<std::uint16_t> seen_;      ///< the gateway's ports
    std::set<std::uint16_t> forgotten_; ///< those of connections that do not pass
    std::mt19937 random_{4711};
    bool ending_ = false;
    Direction directions_[2];
    std::thread thread_;
};

} // namespace netfaults
