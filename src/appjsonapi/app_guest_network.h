// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include "json/json.h"
#include <vxquilan/records.h>

/** @file The guest networks: ".sys/gateway/ntwk/guest_network". */

/** All guest networks, an array; null only when there was no memory for the text. */
vxq::JsonText app_sys_gateway_ntwk_guest_network();

/**
 * Reads a request into a zero-filled record.
 *
 * @return 0; or -1 when the body cannot be taken, which has been logged and written to `path`
 */
int app_sys_gateway_ntwk_guest_network_parse(const RequestBody& body, vx_guest_network& record,
                                             ParameterPath& path);
