// SPDX-License-Identifier: MIT
#include "os/clock.h"

#include <cerrno>
#include <time.h>

namespace vxq {

namespace {

constexpr long kSteadyOrigin = 24L * 60 * 60;

void sleep_for(timespec rest) {
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

} // namespace

long steady_seconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return kSteadyOrigin + static_cast<long>(now.tv_sec);
}

long wall_seconds() {
    return static_cast<long>(time(nullptr));
}

std::tm local_time() {
    const time_t now = time(nullptr);
    std::tm broken_down{};
    localtime_r(&now, &broken_down);
    return broken_down;
}

void sleep_seconds(unsigned seconds) {
    sleep_for({static_cast<time_t>(seconds), 0});
}

void sleep_milliseconds(unsigned milliseconds) {
    sleep_for({static_cast<time_t>(milliseconds / 1000),
               static_cast<long>(milliseconds % 1000) * 1000000L});
}

void sleep_microseconds(unsigned microseconds) {
    sleep_for({static_cast<time_t>(microseconds / 1000000),
               static_cast<long>(microseconds % 1000000) * 1000L});
}

} // namespace vxq
