// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

/** @file What lies in the files that the programs of a soak share. */
namespace soak {

/** What was asked for and not given back. */
struct HeapShare {
    std::atomic<std::int64_t> bytes{0};
    std::atomic<std::int64_t> blocks{0};
};

/** The heap in use of a program. */
struct HeapCount {
    HeapShare program;
    HeapShare loader; ///< the dynamic loader's: a record for each thread's stack
    std::atomic<std::int64_t> strange{0}; ///< blocks given back that were not counted
};

/** A time of day that one program moves on and others live by. */
struct Clock {
    std::atomic<std::uint32_t> seconds{0}; ///< gone by; sleepers wait for it as a futex
    std::int64_t wall_start = 0;           ///< seconds since 1970 at 0
    std::int64_t steady_start = 0;         ///< seconds of the monotonic clock at 0
};
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

} // namespace soak
