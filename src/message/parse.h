// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/** @file What the parsers of both channels' messages have in common. */
namespace vxq {

/**
 * Logs why a message is refused.
 * @return -1, the result of every parser that refuses
 */
int refuse(const char* reason);

/** Parses a message; one that is missing or no JSON is refused and gives an empty tree. */
JsonTree parse_message(const char* text);

} // namespace vxq
