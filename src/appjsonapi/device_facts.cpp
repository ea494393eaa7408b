// SPDX-License-Identifier: MIT
#include "appjsonapi/device_facts.h"

#include "text/text.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr int kUnknownNumber = -1;

constexpr DeviceFact kDeviceInformation[] = {
    text_fact<128>("sn", port_device_sn_get),
    text_fact<256>("cuei", port_device_cuei_get),
    text_fact<16>("model", port_device_model_get),
    text_fact<16>("devType", port_device_devtype_get),
    text_fact<16>("manu", port_device_manu_get),
    text_fact<128>("prodId", port_device_prodid_get),
    text_fact<32>("mac", port_device_mac_get),
    text_fact<64>("hwv", port_device_hdversion_get),
    text_fact<64>("swv", port_device_swversion_get),
    number_fact("protType", port_device_prottype_get),
};

cJSON* create_fact(const DeviceFact& fact) {
    if (fact.constant != nullptr)
        return cJSON_CreateString(fact.constant);
    if (fact.number != nullptr) {
        int number = kUnknownNumber;
        fact.number(&number);
        return cJSON_CreateNumber(number);
    }
    TextBuffer<kLargestFact> buffer;
    fact.text(buffer.data());
    buffer.data()[fact.size] = '\0';
    return cJSON_CreateString(buffer.text());
}

} // namespace

bool add_device_facts(cJSON* object, std::span<const DeviceFact> facts) {
    for (const DeviceFact& fact : facts) {
        if (json_add(object, fact.key, create_fact(fact)) == nullptr)
            return false;
    }
    return true;
}

bool add_device_information(cJSON* object) {
    cJSON* const information = json_add(object, "devInfo", cJSON_CreateObject());
    return information != nullptr && add_device_facts(information, kDeviceInformation);
}

} // namespace vxq
