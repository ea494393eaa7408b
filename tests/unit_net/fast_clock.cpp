// SPDX-License-Identifier: MIT
// Stands in the clock's place: faster, so that courses of minutes with real threads and sockets
// take seconds, but slow enough that a busy machine still answers a heartbeat within its 20
// seconds.
#include <chrono>
#include <thread>

#include "os/clock.h"

namespace vxq {

namespace {

constexpr long kSpeed = 25;
constexpr long kOrigin = 24L * 60 * 60;

void sleep_scaled(std::chrono::microseconds duration) {
    std::this_thread::sleep_for(duration / kSpeed);
}

} // namespace

long steady_seconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch() * kSpeed;
    return kOrigin +
           static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

long wall_seconds() {
    return static_cast<long>(std::time(nullptr));
}

std::tm local_time() {
    return {};
}

void sleep_seconds(unsigned seconds) {
    sleep_scaled(std::chrono::seconds(seconds));
}

void sleep_milliseconds(unsigned milliseconds) {
    sleep_scaled(std::chrono::milliseconds(milliseconds));
}

void sleep_microseconds(unsigned microseconds) {
    sleep_scaled(std::chrono::microseconds(microseconds));
}

} // namespace vxq
