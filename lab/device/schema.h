// SPDX-License-Identifier: MIT
#pragma once

#include "common.h"

#include <optional>
#include <string>

namespace vxdevice {

/// The first member of a state file that has the wrong type or doesn't fit, as "PLACE: WHAT", or
/// nothing. Members that are missing or unknown are no problem.
std::optional<std::string> state_problem(const Json& root);

} // namespace vxdevice
