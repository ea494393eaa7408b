// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

namespace vxq {

/** Adds the "devInfo" object that describes the gateway; false when there is no memory. */
bool add_device_information(cJSON* object);

} // namespace vxq
