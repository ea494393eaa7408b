// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

#include "transport/raw_peer.h"

/**
 * @file
 * Stands in the place of the device library and of the log: what can be changed while the daemon
 * runs is one word each, and nothing in it locks.
 */
namespace races {

struct Device {
    std::atomic<int> mode{0};
    std::atomic<int> area{0};
    std::atomic<int> coap_type{0};
    std::atomic<int> port{1};
    std::atomic<bool> bound{true};     ///< whether the gateway has a device ID
    std::atomic<bool> expired{false};  ///< whether the access token has
    std::atomic<bool> rebooted{false}; ///< whether the platform had the gateway rebooted
    std::atomic<int> upgrades{0};      ///< that run at the moment

    /** As after the first boot of a gateway that is known to its platform. */
    void reset();
    void set_platform(std::uint16_t port, bool tls);
};

Device& device();

/** The platform channel's address: one of this process's own. */
const char* platform_address();

} // namespace races
