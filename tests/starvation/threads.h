// SPDX-License-Identifier: MIT
#pragma once

/** @file Threads that the daemon asks for: pthread_create is defined in the test program. */
namespace starvation {

enum class Threads {
    real,
    one_more, ///< a real one, and refused from then on
    refused,  ///< as if the system had no room for another
    at_once,  ///< the entry runs inside the call that starts it
    pretended ///< counts as started, and does nothing
};

/** What becomes of the threads that are asked for from now on, but for C++'s own. */
void set_threads(Threads threads);
/** How many have been refused since then. */
int refused_threads();

} // namespace starvation
