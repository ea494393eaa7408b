// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <sys/types.h>
#include <vector>

/**
 * @file
 * The system calls of the framing, so that a test can have them do what a network does once a year.
 * Works in programs linked with --wrap for each of them; what isn't asked for is the real call.
 */
namespace calls {

/** A call that does not happen: its result, and errno. */
struct Outcome {
    ssize_t result;
    int error = 0;
};

/** Decides about one call by its size; nothing for the real call. */
using Decision = std::function<std::optional<Outcome>(std::size_t size)>;

struct Script {
    Decision send;                       ///< every send
    Decision receive;                    ///< every recv
    std::size_t send_limit = 0;          ///< a real send takes no more at once; 0 for no limit
    std::size_t receive_limit = 0;       ///< a real recv gives no more at once; 0 for no limit
    std::optional<Outcome> poll;         ///< every poll, from poll number `first_scripted_poll`
    std::size_t first_scripted_poll = 0; ///< counted from 0
    std::optional<Outcome> socket;
    std::optional<Outcome> option;
};

/** Set before the calls are made, not during. */
Script& script();

/** Flags of the sends and time-outs of the polls since the last reset. Thread-safe. */
std::vector<int> send_flags();
std::vector<int> poll_timeouts();

void reset();

} // namespace calls
