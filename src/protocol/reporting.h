// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/entry_points.h>

/**
 * @file
 * The gateway's reports. Each builds its body and posts it, and returns 0 whether or not it could
 * be sent.
 */

/** Describes the gateway. */
int profession_sys_devinfo();
/** Keeps the session alive. */
int profession_sys_heartbeat();
/** Reports all attached stations. */
int profession_sys_data();
