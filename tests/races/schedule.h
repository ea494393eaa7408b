// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/**
 * @file
 * When things happen. A seed decides what every actor does and how long it waits; which thread the
 * system then runs first is the system's. So a seed that failed may have to be tried several times.
 *
 * Nothing here locks on the way through: a lock would order the daemon's threads and hide their
 * races from the race detectors. For the same reason words are stored with an exchange: helgrind
 * takes a plain store for a race, whatever the language says about it.
 */
namespace races {

/** Stores without ordering anything. */
template <typename Value>
void put(std::atomic<Value>& word, Value value) {
    word.exchange(value, std::memory_order_relaxed);
}

/** Reads without ordering anything. */
template <typename Value>
Value look(const std::atomic<Value>& word) {
    return word.load(std::memory_order_relaxed);
}

/** An actor's own source of chance. */
class Random {
public:
    /** @param actor  tells the actors of one seed apart */
    Random(std::uint32_t seed, std::uint32_t actor);

    /** 0 to limit - 1. */
    int below(int limit);
    /** A place in a row of that size. */
    std::size_t place(std::size_t size);
    bool chance(int percent);
    /** Sleeps up to so long; often not at all. */
    void linger(int microseconds);

private:
    std::uint64_t state_;
};

/**
 * The seeds to run: from VXQUILAN_RACE_SEED on (1), VXQUILAN_RACE_SEEDS of them. Without the second
 * it is one when the first is given, and `ordinary` otherwise; a run under valgrind has fewer.
 */
std::vector<std::uint32_t> seeds(int ordinary);

/** How many turns the platform takes in one seed: VXQUILAN_RACE_STEPS, or `ordinary`. */
int steps(int ordinary);

/** From now on, and until the next call, threads that stall() do so as this seed wants it. */
void set_stalls(std::uint32_t seed);

/** Holds the calling thread up for a moment, or not. In every call that the daemon makes to us. */
void stall();

/** Notes something that must not happen; from any thread. */
void note_finding(const std::string& what);
/** Takes all of them. */
std::vector<std::string> take_findings();

} // namespace races
