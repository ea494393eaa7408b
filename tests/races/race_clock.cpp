// SPDX-License-Identifier: MIT
#include "races/race_clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>
#include <thread>

#include "os/clock.h"
#include "transport/waiting.h"

namespace races {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

constexpr microseconds kLongestNap{1000}; // the pace may change meanwhile

/** The daemon's time ran at this pace since this moment. Never changed, never freed. */
struct Pace {
    Clock::time_point since;
    microseconds elapsed;
    int pace;
    const Pace* previous; ///< so that no leak detector misses it

    microseconds now() const {
        return elapsed + std::chrono::duration_cast<microseconds>(Clock::now() - since) * pace;
    }
};

std::mutex s_mutex; // of those who set the pace
std::atomic<const Pace*> s_pace{new Pace{Clock::now(), microseconds(0), kCalm, nullptr}};

const Pace& current() {
    return *s_pace.load(std::memory_order_acquire);
}

void sleep_for(microseconds duration) {
    const microseconds end = current().now() + duration;
    for (microseconds rest = duration; rest.count() > 0; rest = end - current().now())
        std::this_thread::sleep_for(std::min(rest / current().pace, kLongestNap));
}

} // namespace

void set_pace(int pace) {
    const std::lock_guard guard(s_mutex);
    const Pace& before = current();
    s_pace.exchange(
        new Pace{Clock::now(), before.now(), std::max(transport::repetitions(pace), 1), &before},
        std::memory_order_release);
}

} // namespace races

namespace vxq {

long steady_seconds() {
    constexpr long kOrigin = 24L * 60 * 60;
    return kOrigin + static_cast<long>(races::current().now() / std::chrono::seconds(1));
}

long wall_seconds() {
    return static_cast<long>(std::time(nullptr));
}

std::tm local_time() {
    return {};
}

void sleep_seconds(unsigned seconds) {
    races::sleep_for(std::chrono::seconds(seconds));
}

void sleep_milliseconds(unsigned milliseconds) {
    races::sleep_for(std::chrono::milliseconds(milliseconds));
}

void sleep_microseconds(unsigned microseconds) {
    races::sleep_for(races::microseconds(microseconds));
}

} // namespace vxq
