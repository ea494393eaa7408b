// SPDX-License-Identifier: MIT
// Makes the program that it is preloaded into live by a clock that another program moves on, a
// second at a time (clock_master.cpp).
//
//   SOAK_CLOCK  file with the Clock; without it the program lives by the system's
//
// Telling the time and sleeping are taken over, waiting for a descriptor is not: what comes in is
// handled while the clock stands still. Only waits of less than a second end at once when nothing
// is there: the clock, which has no fractions, could move on by minutes meanwhile. The system must
// not hold anything back for a time of its own, either, so connections send at once what they are
// given, at the platform's end as well.

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <linux/futex.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "shared.h"
#include "shared_file.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

// Less is not waiting but breathing between two rounds of work; whoever looks at a thread must not
// take it for one that has nothing to do.
constexpr long kShortestSleep = 1'000'000;

soak::Clock* s_clock = nullptr;

__attribute__((constructor)) void open_clock() {
    s_clock = bench::map_shared_file<soak::Clock>("SOAK_CLOCK");
    unsetenv("SOAK_CLOCK");
    unsetenv("LD_PRELOAD"); // programs that this one starts live by the system's clock
}

/** Seconds at which a clock stood at the start; false for those that do not tell the time. */
bool start_of(clockid_t id, std::int64_t& start) {
    switch (id) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
        start = s_clock->wall_start;
        return true;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_BOOTTIME:
        start = s_clock->steady_start;
        return true;
    default:
        return false;
    }
}

std::int64_t rounded_up(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) + (time.tv_nsec > 0 ? 1 : 0);
}

void send_at_once(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void sleep_until(std::int64_t target) {
    for (;;) {
        const std::uint32_t now = s_clock->seconds;
        if (now >= target)
            return;
        syscall(SYS_futex, &s_clock->seconds, FUTEX_WAIT, now, nullptr, nullptr, 0);
    }
}

} // namespace

extern "C" {

EXPORTED int clock_gettime(clockid_t id, timespec* time) {
    std::int64_t start;
    if (s_clock == nullptr || !start_of(id, start))
        return static_cast<int>(syscall(SYS_clock_gettime, id, time));
    *time = {static_cast<time_t>(start + s_clock->seconds), 0};
    return 0;
}

EXPORTED time_t time(time_t* place) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (place != nullptr)
        *place = now.tv_sec;
    return now.tv_sec;
}

EXPORTED int gettimeofday(timeval* time, void*) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

EXPORTED int clock_nanosleep(clockid_t id, int flags, const timespec* time, timespec* rest) {
    std::int64_t start;
    if (s_clock == nullptr || !start_of(id, start))
        return syscall(SYS_clock_nanosleep, id, flags, time, rest) == 0 ? 0 : errno;
    if ((flags & TIMER_ABSTIME) != 0)
        sleep_until(rounded_up(*time) - start);
    else if (time->tv_sec > 0 || time->tv_nsec >= kShortestSleep)
        sleep_until(s_clock->seconds + rounded_up(*time));
    return 0;
}

EXPORTED int nanosleep(const timespec* time, timespec* rest) {
    const int error = clock_nanosleep(CLOCK_REALTIME, 0, time, rest);
    errno = error != 0 ? error : errno;
    return error == 0 ? 0 : -1;
}

EXPORTED int epoll_wait(int instance, epoll_event* events, int capacity, int milliseconds) {
    const bool fraction = s_clock != nullptr && milliseconds > 0 && milliseconds < 1000;
    return static_cast<int>(syscall(SYS_epoll_pwait, instance, events, capacity,
                                    fraction ? 0 : milliseconds, nullptr, 0));
}

EXPORTED int connect(int socket, const sockaddr* address, socklen_t size) {
    if (address->sa_family == AF_INET)
        send_at_once(socket);
    return static_cast<int>(syscall(SYS_connect, socket, address, size));
}

EXPORTED int accept4(int listener, sockaddr* address, socklen_t* size, int flags) {
    const int socket = static_cast<int>(syscall(SYS_accept4, listener, address, size, flags));
    if (socket >= 0)
        send_at_once(socket);
    return socket;
}

EXPORTED int accept(int listener, sockaddr* address, socklen_t* size) {
    return accept4(listener, address, size, 0);
}

} // extern "C"
