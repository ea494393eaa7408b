// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include <gtest/gtest.h>

namespace races {

/** Runs races, one for each seed, and looks whether each gave back what it took. */
class RaceTest : public ::testing::Test {
protected:
    RaceTest();

    /**
     * Stops at the first seed that fails, and says which it was.
     * @param ordinary_seeds  how many, unless the environment says otherwise
     * @param ordinary_turns  turns of each platform's misbehaviour
     */
    void run_seeds(int ordinary_seeds, int ordinary_turns,
                   const std::function<void(std::uint32_t seed, int turns)>& race);

private:
    void expect_nothing_left();

    int threads_;
    std::optional<int> descriptors_;
};

} // namespace races
