// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/**
 * @file
 * What the platform can look at. Each builder asks the device library for one record, logs the
 * text and returns it, null only when there was no memory for it. The library's result is not
 * looked at: what it leaves alone reads as empty texts, zeros and false.
 */

/** The WAN diagnosis. */
vxq::JsonText app_sys_gateway_ntwk_wandiagnose();
/** The hosts of the local network: an array. */
vxq::JsonText app_sys_gateway_system_hostinfo();
/** The gateway itself. */
vxq::JsonText app_sys_gateway_system_deviceinfo();
/** The gateway's address in the local network. */
vxq::JsonText app_sys_gateway_ntwk_lanhost();
/** The WAN connection, with its account's password in clear. */
vxq::JsonText app_sys_gateway_ntwk_wan();
