// SPDX-License-Identifier: MIT
#pragma once

#include "common.h"

#include <functional>

/// What all operations have in common: the state's lock, the faults of the state file, the journal,
/// and that no exception leaves the library.
namespace vxdevice {

/// An operation that only looks.
int look(const char* operation, const std::function<int(const Json&)>& reader);

/// An operation that changes or does something, with its arguments for the journal.
int act(const char* operation, const Json& arguments, const std::function<int(Json&)>& changer);

} // namespace vxdevice
