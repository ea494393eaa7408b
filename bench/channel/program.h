// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

/** @file What the programs around a channel have in common. */
namespace bench {

/** Ends the program with one line that says why. */
[[noreturn]] inline void fail(const char* program, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", program, what.c_str());
    std::exit(1);
}

inline double seconds_of(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace bench
