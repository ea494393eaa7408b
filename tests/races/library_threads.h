// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <thread>
#include <vector>

#include "races/schedule.h"

namespace races {

/** What frame_quilan_state_set() takes. */
inline constexpr int kActivation = 11;

/** Where a platform can be reached. */
struct Address {
    std::uint16_t port;
    bool tls;
};
using Addresses = std::vector<Address>;

/**
 * The device library's own threads, two of them: they call the daemon's entry points and change
 * what the library says. Both end with the object.
 */
class LibraryThreads {
public:
    /** Of the app channel; the platform moves among the addresses. */
    LibraryThreads(std::uint32_t seed, Addresses addresses);
    /** Of the platform channel alone: the entry points of the app channel are left alone. */
    explicit LibraryThreads(std::uint32_t seed) : LibraryThreads(seed, {}) {}
    ~LibraryThreads();
    LibraryThreads(const LibraryThreads&) = delete;
    LibraryThreads& operator=(const LibraryThreads&) = delete;

private:
    void run(Random random);
    void act(Random& random) const;
    void act_on_app_channel(Random& random) const;
    void change_mode(Random& random) const;
    void move_platform(Random& random) const;

    const Addresses addresses_;
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

} // namespace races
