// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include "json/json.h"
#include <vxquilan/records.h>

/** @file When the Wi-Fi is on: ".sys/gateway/ntwk/wlantimeswitch". */

/** All schedules; null only when there was no memory for the text. */
vxq::JsonText app_sys_gateway_ntwk_wlantimeswitch();

/**
 * Reads a request, which holds one schedule, into a zero-filled record.
 *
 * @return 0; or -1 when the body cannot be taken, which has been logged and written to `path`
 */
int app_sys_gateway_ntwk_wlantimeswitch_parse(const RequestBody& body, vx_time_switch_entry& record,
                                              ParameterPath& path);
