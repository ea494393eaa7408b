// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "os/thread.h"

/**
 * @file
 * Stands in the place of src/os: a clock that only moves when somebody sleeps, threads that are
 * only noted, commands that aren't run.
 */
namespace fake {

using Microseconds = std::chrono::microseconds;

/** A thread that was asked for; a test may call the entry itself. */
struct StartedThread {
    vxq::ThreadEntry entry;
    void* argument;
};

/** Thread-safe, but events run on the thread that sleeps. */
class Os {
public:
    /** Back to a day after the steady clock's origin, 2023-11-14 22:13:20 UTC, no events. */
    void reset();

    /** Time since the last reset. */
    [[nodiscard]] Microseconds elapsed() const;
    /** The same in whole seconds, rounded down. */
    [[nodiscard]] long elapsed_seconds() const;
    [[nodiscard]] long wall() const;
    /** Sets the wall clock alone, as a network time service does. */
    void set_wall(long seconds);
    void set_local_time(const std::tm& broken_down);

    /**
     * Runs `event` as soon as somebody's sleep reaches `delay` from now, with the clock at that
     * moment. Events of one moment run in the order in which they were asked for; one that is due
     * when a sleep ends runs before the sleep returns.
     */
    void after(Microseconds delay, std::function<void()> event);
    /** Sleeps. A test that never ends is stopped after a week of fake time. */
    void sleep(Microseconds duration);
    /** Waiting of the daemon since the last reset, one by one. */
    [[nodiscard]] std::vector<Microseconds> sleeps() const;

    /** How the journal calls threads that start at `entry`. */
    void name_thread(vxq::ThreadEntry entry, const char* name);
    /** From now on threads cannot be created, or can be again. */
    void refuse_threads(bool refuse);
    /** Is run inside each start of a thread. */
    void on_thread(std::function<void()> action);
    [[nodiscard]] std::vector<StartedThread> threads() const;

    /** What comes out of the system's source of random numbers, once for each; 0 when used up. */
    void set_random(std::vector<unsigned> numbers);
};

Os& os();

} // namespace fake
