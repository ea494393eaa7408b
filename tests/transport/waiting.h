// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

/** @file Waiting for conditions, never for luck. */
namespace transport {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/**
 * How long a test waits for something that must happen: 20 s, multiplied by VXQUILAN_TEST_PATIENCE
 * for runs under valgrind. A passing test never uses it up.
 */
milliseconds patience();

/** How often a test repeats itself: less under valgrind. */
int repetitions(int ordinary);

/** Looks every millisecond until the condition holds; false when it did not in time. */
bool wait_until(const std::function<bool()>& condition);

/** What an action takes. */
milliseconds duration_of(const std::function<void()>& action);

} // namespace transport
