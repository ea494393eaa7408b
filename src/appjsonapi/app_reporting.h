// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/**
 * @file
 * Bodies of the gateway's reports. Each builder logs the text and returns it, null only when there
 * was no memory for it.
 */

/** The gateway's description: an array that holds one object. */
vxq::JsonText app_sys_devinfosync();

/** A sign of life with the gateway's local time. */
vxq::JsonText app_sys_heartbeat();

/** All attached stations. */
vxq::JsonText app_sys_data();

/** The stations that the device library picks for `selector`, which is its own to interpret. */
vxq::JsonText app_sys_data_report(int selector);
