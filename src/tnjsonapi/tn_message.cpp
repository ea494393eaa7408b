// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_message.h"

#include <utility>

#include "log/log.h"
#include "log/log_text.h"
#include "message/device_facts.h"
#include "message/parse.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr DeviceFact kWanMac[] = {
    text_fact<32>("mac", port_device_wanmac_get),
};

} // namespace

JsonTree new_message(const char* type, int sequence) {
    JsonTree message(cJSON_CreateObject());
    const bool complete = json_add(message.get(), "type", cJSON_CreateString(type)) != nullptr &&
                          json_add(message.get(), "sequence", json_number(sequence)) != nullptr &&
                          add_device_facts(message.get(), kWanMac);
    return complete ? std::move(message) : nullptr;
}

PlatformRequest open_request(const char* text, const char* parser, const char* key) {
    if (text != nullptr)
        QUILAN_LOG(VX_LOG_PROGRESS, "%s %d:buf:%s\n", parser, __LINE__, LogText(text).text());
    PlatformRequest request{parse_message(text)};
    if (!request.message)
        return request;
    request.content = cJSON_GetObjectItem(request.message.get(), key);
    if (request.content == nullptr)
        QUILAN_LOG(VX_LOG_UNUSUAL, "not %s\n", key);
    return request;
}

} // namespace vxq
