// SPDX-License-Identifier: MIT
#include "appjsonapi/device_information.h"

#include "message/device_facts.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

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

} // namespace

bool add_device_information(cJSON* object) {
    cJSON* const information = json_add(object, "devInfo", cJSON_CreateObject());
    return information != nullptr && add_device_facts(information, kDeviceInformation);
}

} // namespace vxq
