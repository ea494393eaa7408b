// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include <vxquilan/records.h>

/** @file Rate limits of one host: ".sys/gateway/app/qosclass_host". */

/**
 * Reads a request into a zero-filled record.
 *
 * @return 0; or -1 when the body cannot be taken, which has been logged and written to `path`
 */
int app_sys_gateway_app_qosclasshost_parse(const RequestBody& body, vx_qos_host& record,
                                           ParameterPath& path);
