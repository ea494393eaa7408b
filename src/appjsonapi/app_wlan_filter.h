// SPDX-License-Identifier: MIT
#pragma once

#include "appjsonapi/request_body.h"
#include "json/json.h"
#include <vxquilan/records.h>

/** @file The MAC filters of both bands: ".sys/gateway/ntwk/wlanfilterenhance". */

/** All filters, an array; null only when there was no memory for the text. */
vxq::JsonText app_sys_gateway_ntwk_wlanfilterenhance();

/**
 * Reads a request into a zero-filled record. A list that the record has no room for is refused: a
 * filter without some of its hosts lets in whom it should keep out, or the other way round.
 *
 * @return 0; or -1 when the body cannot be taken, which has been logged and written to `path`
 */
int app_sys_gateway_ntwk_wlanfilterenhance_parse(const RequestBody& body, vx_mac_filter& record,
                                                 ParameterPath& path);
