// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/log.h>

/**
 * Writes a line to the gateway's log under the daemon's tag. A macro, so that the compiler checks
 * each format against its arguments and __LINE__ is the caller's.
 */
#define QUILAN_LOG(level, ...) vx_mod_log_printf("quilan", (level), __VA_ARGS__)
