// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/entry_points.h>

/**
 * @file
 * The requests with which the gateway provisions itself. Each builds its body and posts it, and
 * returns 0 whether or not it could be sent: the reply is routed by the dispatcher.
 */

/** Announces the gateway to the platform. */
int profession_sys_register();
/** Presents the registration code. */
int profession_sys_activate();
/** Presents device ID and secret. */
int profession_sys_login();
/** Asks for new tokens. */
int profession_sys_refresh();
