// SPDX-License-Identifier: MIT
#include "message/parse.h"

#include "log/log.h"

namespace vxq {

int refuse(const char* reason) {
    QUILAN_LOG(VX_LOG_UNUSUAL, "%s", reason);
    return -1;
}

JsonTree parse_message(const char* text) {
    if (text == nullptr) {
        refuse("null\n");
        return nullptr;
    }
    JsonTree message(cJSON_Parse(text));
    if (!message)
        refuse("not json\n");
    return message;
}

} // namespace vxq
