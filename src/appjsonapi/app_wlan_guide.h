// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include <vxquilan/records.h>

/** @file First-time set-up of the networks: ".sys/gateway/ntwk/WlanGuideBasic". */

/**
 * Reads a request into a zero-filled record.
 *
 * @return 0, when `path` may hold the path of an encryption mode that was left out; or -1 when the
 *         body cannot be taken, which has been logged and written to `path`
 */
int app_sys_gateway_ntwk_wlanguidebasic_parse(const RequestBody& body, vx_guide& record,
                                              ParameterPath& path);
