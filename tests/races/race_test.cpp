// SPDX-License-Identifier: MIT
#include "races/race_test.h"

#include <iterator>
#include <string>
#include <thread>

#include "os/process.h"
#include "races/race_clock.h"
#include "races/race_device.h"
#include "races/schedule.h"
#include "transport/census.h"
#include "transport/waiting.h"

namespace races {

namespace {

constexpr int kPaces[] = {200, kBrisk, kHurry};

} // namespace

RaceTest::RaceTest() {
    vxq::survive_broken_pipes();
    std::thread([] {}).join(); // the first one of a process brings a sanitizer's own
    threads_ = transport::running_threads();
}

void RaceTest::run_seeds(int ordinary_seeds, int ordinary_turns,
                         const std::function<void(std::uint32_t seed, int turns)>& race) {
    const int turns = steps(ordinary_turns);
    for (const std::uint32_t seed : seeds(ordinary_seeds)) {
        SCOPED_TRACE("VXQUILAN_RACE_SEED=" + std::to_string(seed) +
                     " VXQUILAN_RACE_STEPS=" + std::to_string(turns));
        device().reset();
        set_stalls(seed);
        set_pace(kPaces[seed % std::size(kPaces)]);
        race(seed, turns);
        expect_nothing_left();
        for (const std::string& finding : take_findings())
            ADD_FAILURE() << finding;
        if (HasFailure())
            return;
    }
}

void RaceTest::expect_nothing_left() {
    EXPECT_TRUE(transport::wait_until([&] { return transport::running_threads() == threads_; }))
        << transport::running_threads() << " threads, before " << threads_;
    // The first one leaves what lives as long as the process: the pipe that wakes a thread.
    const int open = transport::open_descriptors();
    EXPECT_EQ(open, descriptors_.value_or(open));
    descriptors_ = open;
}

} // namespace races
