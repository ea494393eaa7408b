// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file
 * Stands in the clock's place: real time, but faster, and at a pace that can be changed while
 * threads sleep. At a high pace replies come too late and heartbeats go unanswered; at a low one
 * everything is in time.
 */
namespace races {

/** So many of the daemon's seconds in a real one; fewer under valgrind. */
void set_pace(int pace);

/** Ten of the daemon's seconds take 500 ms: what is asked for is answered in time. */
inline constexpr int kCalm = 20;
/** They take 20 ms: enough for most replies, and what is waited for comes soon. */
inline constexpr int kBrisk = 500;
/** They take 5 ms: nobody waits for long. */
inline constexpr int kHurry = 2000;

} // namespace races
