// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/entry_points.h>

/**
 * @file
 * One setting of a configuration file; vx_getcfgx() and vx_setcfgx() are the device library's, who
 * keeps settings of its own with them. Nothing is kept between calls.
 */

/** Ends a text at its first CR or LF: all of them become NULs. A null text is left alone. */
void base_riprt(char* text);
