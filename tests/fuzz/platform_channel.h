// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/** @file What the platform channel's fuzz targets have in common. */
namespace fuzz {

/** A gateway that takes the platform's settings, with its flags as in a running session. */
void open_platform_channel();

/** The key of the session. */
const std::string& session_key();

/** Runs the threads that were asked for: upgrades, which own their order. */
void run_started_threads();

/** Requires that every record handed to the device library keeps to its definition. */
void check_records();

} // namespace fuzz
