// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

/** The payload of a request: bytes without a NUL behind them. Belongs to the transport. */
struct RequestBody {
    const char* data = nullptr; ///< null when the request has no payload
    std::size_t length = 0;
};

/**
 * Dotted path of the parameter that a request failed on, as the platform is told it. A handler
 * clears it; a parser that fails has written it.
 */
using ParameterPath = char[256];
