// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/** @file What all messages of the platform channel have in common. */
namespace vxq {

/**
 * Begins a message with the members that every one has: "type", "sequence" and "mac".
 * @return the message; empty when there is no memory
 */
JsonTree new_message(const char* type, int sequence);

/** A parsed request of the platform. */
struct PlatformRequest {
    JsonTree message;
    const cJSON* content = nullptr; ///< the member that was asked for; null when it was refused
};

/**
 * The common beginning of the commands' parsers: logs the text, parses it and takes the member that
 * holds the command. What is missing is logged.
 *
 * @param parser  the parser's name, for the log
 * @param key     "set" or "get"
 */
PlatformRequest open_request(const char* text, const char* parser, const char* key);

} // namespace vxq
