// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace vxdevice {

/// Keeps the members in the order of the file, so that an engineer finds them where they were.
using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;

/// What an operation returns besides 0 and the codes of the clash checks. The daemon reports a
/// setter's code to the platform as "errcode"; -1 is the daemon's own code, so it isn't used here.
inline constexpr int kDone = 0;
inline constexpr int kNotFound = 1;     ///< no such network, host or schedule, or no such member
inline constexpr int kBadValue = 2;     ///< a value or a count is out of range
inline constexpr int kFull = 3;         ///< no room for another entry
inline constexpr int kNotPersisted = 4; ///< the state file can't be written; nothing was changed

/// Writes "vxdevice: TEXT" on standard error, as one line and in one piece.
void complain(std::string_view text);

/// JSON in one line; bytes that aren't UTF-8 (a text cut inside a character) are left out.
std::string dump(const Json& value, int indent = -1);

/// The member at the pointer, or null.
const Json* find(const Json& root, const char* pointer);

/// The array at the pointer, or an empty one.
const Json& array_at(const Json& root, const char* pointer);

/// A flag of the state file, which may be a number; absent is off.
bool is_on(const Json* flag);

} // namespace vxdevice
