// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"
#include <vxquilan/records.h>

/**
 * Parses a status query: sets the flag of every part that the platform asks for. Names are compared
 * exactly; unknown ones are ignored.
 *
 * @param text     the whole message; null when there is none
 * @param request  zeroed by the caller
 * @return 0, or -1 after logging why
 */
int tn_status_parse(const char* text, status_req* request);

/**
 * Builds the answer to a status query from the parts that were asked for, and logs it. Counts
 * beyond the records' capacities are cut to them.
 *
 * @param sequence  the query's number
 * @return the text; null when there was no memory for it
 */
vxq::JsonText tn_status(const status_req& request, int sequence, const wifi_cfg& wifi,
                        const wifitimer_cfg& timer);
