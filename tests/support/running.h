// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <thread>

/** A loop of the daemon's on its own thread, until the object ends. */
template <class Loop>
class Running {
public:
    Running() : thread_([this] { run(); }) {}
    ~Running() {
        ended_.exchange(true, std::memory_order_relaxed); // helgrind takes a plain store for a race
        thread_.join();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    void run() const {
        Loop loop;
        loop.start();
        // Nothing is ordered by this word: that would hide races between the daemon's threads.
        while (!ended_.load(std::memory_order_relaxed))
            loop.pass();
    }

    std::atomic<bool> ended_{false};
    std::thread thread_;
};
