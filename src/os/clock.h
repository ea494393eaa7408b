// SPDX-License-Identifier: MIT
#pragma once

#include <ctime>

/**
 * @file
 * All telling of time and all waiting of the daemon. Nothing else calls time() or sleep(), so a
 * test can put its own clock in this module's place and run a course of minutes in no time.
 */
namespace vxq {

/**
 * Seconds of a clock that only ever runs forward, for measuring how long something took. A gateway
 * boots in 1970 and is set right by the network later: intervals measured on the wall clock would
 * jump with it. The origin lies at least a day back, so that 0 stands for "long ago".
 */
long steady_seconds();

/** Seconds since 1970 of the wall clock: the clock of the access token's expiry. */
long wall_seconds();

/** The wall clock's local time, broken down. */
std::tm local_time();

void sleep_seconds(unsigned seconds);
void sleep_milliseconds(unsigned milliseconds);
void sleep_microseconds(unsigned microseconds);

} // namespace vxq
