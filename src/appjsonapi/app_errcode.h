// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/** Result codes of the gateway's resources; any other value is the device library's own. */
enum GatewayResult : int {
    kGatewaySuccess = 0,
    kGatewayParseFailure = -1,
    kGatewayClash = 9003, ///< a name or key is the same as another network's
};

/**
 * The reply document of a settings or action request: "errcode" and, unless that is 0, "ID" with
 * the path of the parameter that failed.
 *
 * @param code  the result code
 * @param path  the failing parameter's path; may be empty
 * @return the text, which has been logged; null when there was no memory for it
 */
vxq::JsonText app_errcode(int code, const char* path);
