// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

/** @file Waiting for conditions, never for luck. */
namespace e2e {

/**
 * Multiplies every deadline; from VXQUILAN_TEST_PATIENCE (1 when unset). Runs under valgrind and on
 * loaded machines need more, and a passing test never uses it up.
 */
int patience();

/** Looks every few milliseconds until the condition holds; false when it did not in time. */
bool wait_until(const std::function<bool()>& condition,
                std::chrono::milliseconds limit = std::chrono::seconds(20));

} // namespace e2e
