// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <deque>
#include <string>
#include <thread>

#include "races/schedule.h"
#include "unit_net/platform_session.h"
#include "unit_net/socket_pair.h"

/** @file The platform of the platform channel, which first does what it likes and then behaves. */
namespace races {

class NetPlatform {
public:
    /** What passed. */
    struct Tally {
        int connections = 0;
        int registrations = 0;
        int commands = 0;
        int answers = 0;

        Tally& operator+=(const Tally& other);
    };

    /** @param turns  of misbehaviour */
    NetPlatform(const Random& random, int turns);
    ~NetPlatform();
    NetPlatform(const NetPlatform&) = delete;
    NetPlatform& operator=(const NetPlatform&) = delete;

    bool had_its_turns() const { return look(turns_left_) <= 0; }
    /** Drops what there is, and does everything from now on as a platform should. */
    void behave() { put(behaves_, true); }
    /** Whether a gateway is registered here, sends heartbeats and has answered everything. */
    bool serves_a_gateway() const { return look(online_); }
    /** Drops what there is and takes no more. */
    Tally stop();

private:
    class Visit;

    void run();
    void serve(peer::Session session);

    Random random_;
    peer::Descriptor listener_;
    std::atomic<int> turns_left_;
    std::atomic<bool> behaves_{false};
    std::atomic<bool> online_{false};
    std::atomic<bool> stop_{false};
    Tally tally_;
    std::thread thread_;
};

} // namespace races
