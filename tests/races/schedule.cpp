// SPDX-License-Identifier: MIT
#include "races/schedule.h"

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <numeric>
#include <thread>
#include <utility>

#include "transport/waiting.h"

namespace races {

namespace {

constexpr int kLongestStall = 300; // microseconds

std::atomic<std::uint32_t> s_seed{0};
std::atomic<std::uint32_t> s_threads{0};

std::mutex s_mutex; // taken for findings only
std::vector<std::string> s_findings;

/** The number in the environment; 0 when there is none. */
int setting(const char* name) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : 0;
}

std::uint64_t mix(std::uint64_t value) {
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31U);
}

} // namespace

Random::Random(std::uint32_t seed, std::uint32_t actor)
    : state_(mix(std::uint64_t{seed} << 32U | actor)) {}

int Random::below(int limit) {
    state_ += 0x9e3779b97f4a7c15U;
    return static_cast<int>(mix(state_) % static_cast<std::uint64_t>(limit));
}

std::size_t Random::place(std::size_t size) {
    return static_cast<std::size_t>(below(static_cast<int>(size)));
}

bool Random::chance(int percent) {
    return below(100) < percent;
}

void Random::linger(int microseconds) {
    if (chance(50))
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::microseconds(below(microseconds)));
}

std::vector<std::uint32_t> seeds(int ordinary) {
    const int first = setting("VXQUILAN_RACE_SEED");
    const int wanted = setting("VXQUILAN_RACE_SEEDS");
    const int alone = first != 0 ? 1 : transport::repetitions(ordinary);
    std::vector<std::uint32_t> all(static_cast<std::size_t>(wanted != 0 ? wanted : alone));
    std::iota(all.begin(), all.end(), static_cast<std::uint32_t>(first != 0 ? first : 1));
    return all;
}

int steps(int ordinary) {
    const int wanted = setting("VXQUILAN_RACE_STEPS");
    return wanted != 0 ? wanted : ordinary;
}

void set_stalls(std::uint32_t seed) {
    put(s_threads, 0U);
    put(s_seed, seed);
}

void stall() {
    thread_local std::uint32_t seed = look(s_seed);
    thread_local Random random(seed, 1000 + s_threads.fetch_add(1, std::memory_order_relaxed));
    if (random.chance(12))
        random.linger(kLongestStall);
}

void note_finding(const std::string& what) {
    const std::lock_guard guard(s_mutex);
    s_findings.push_back(what);
}

std::vector<std::string> take_findings() {
    const std::lock_guard guard(s_mutex);
    return std::exchange(s_findings, {});
}

} // namespace races
