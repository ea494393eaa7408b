// SPDX-License-Identifier: MIT
#pragma once

/** @file What this process holds, to see whether all of it was given back. */
namespace transport {

int open_descriptors();
int running_threads();

} // namespace transport
