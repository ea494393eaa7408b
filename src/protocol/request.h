// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

namespace vxq {

/**
 * Posts a body to one of the platform's resources as a confirmable message. A body that could not
 * be built is not sent: the platform would take it for an empty report. Whether the message could
 * be sent is the transport's business; the reply, or its absence, decides what comes next.
 *
 * @return always 0
 */
int post_request(const JsonText& body, const char* path);

} // namespace vxq
