// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/**
 * The lines since the last reset as "level text". Source lines behind a function's name and the
 * numbers of sockets, which differ from run to run, are shown as #.
 */
Lines log_lines();
/** Those of one level, without it. */
Lines log_lines(int level);
