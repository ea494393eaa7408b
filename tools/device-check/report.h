// SPDX-License-Identifier: MIT
#pragma once

#include "examination.h"

namespace device_check {

/// Examines all operations and prints one line for each, the entry points called, and a summary.
///
/// @return whether the library is fit
bool report(Examination& examination, const Settings& settings);

} // namespace device_check
