// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>

#include "races/schedule.h"
#include "transport/raw_peer.h"

/** @file The platform of the app channel, which first does whatever it likes and then behaves. */
namespace races {

/** What passed, for those who want to know whether a race was one. */
struct Tally {
    int connections = 0;
    int requests = 0; ///< of the gateway
    int heartbeats = 0;
    int asked = 0; ///< requests of the platform
    int answers = 0;
    int drops = 0; ///< connections that the platform ended

    Tally& operator+=(const Tally& other);
};

class AppPlatform {
public:
    struct Manner {
        bool tls;
        bool strangers; ///< whether connections may turn out to be of the other kind
        int turns;      ///< of misbehaviour
    };

    AppPlatform(const Manner& manner, const Random& random);
    /** Ends its connection and its thread. */
    ~AppPlatform();
    AppPlatform(const AppPlatform&) = delete;
    AppPlatform& operator=(const AppPlatform&) = delete;

    std::uint16_t port() const { return listener_.port(); }
    /** Whether it has had all of its turns. */
    bool had_its_turns() const { return look(turns_left_) <= 0; }
    /**
     * Drops what there is, and answers everything from now on as a platform should. Once a gateway
     * is online, requests for activations and drops come right behind a few replies.
     */
    void behave() { put(behaves_, true); }
    /** Whether a gateway is online here behind all that: with a heartbeat, and answering. */
    bool serves_a_gateway() const { return look(online_); }
    /** Ends its thread. */
    Tally stop();
    /** How far it came once it behaved; after stop(). */
    std::string progress() const;

private:
    class Visit;

    void run();
    void take_turn();
    void serve(transport::Connection connection);

    const Manner manner_;
    Random random_;
    transport::Listener listener_;
    std::optional<transport::TlsIdentity> identity_;
    std::atomic<int> turns_left_;
    std::atomic<bool> behaves_{false};
    std::atomic<bool> online_{false};
    std::atomic<bool> stop_{false};
    int turns_away_ = 0; ///< turns for which it refuses connections
    bool tried_ = false; ///< whether the trials have begun
    int trials_left_ = 4;
    bool activation_due_ = false; ///< one was asked for and has not come yet
    int lost_heartbeats_ = 0;     ///< calm sessions that began without one
    std::string last_heard_;      ///< the requests of the last session
    Tally tally_;
    std::thread thread_;
};

} // namespace races
