// SPDX-License-Identifier: MIT
#include "appjsonapi/app_qos_host.h"

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"

namespace vxq {

namespace {

// The switch is reported as the class ID. The rates are sent as texts.
constexpr Setting kHostSettings[] = {
    text_setting("QosclassID", VXQ_AT(vx_qos_host, qosclass_id), "QosclassID"),
    flag_setting("DeviceDownRateEnable", VXQ_AT(vx_qos_host, device_down_rate_enable),
                 "QosclassID"),
    number_setting("ClassQueue", VXQ_AT(vx_qos_host, class_queue), "ClassQueue"),
    text_number_setting("DeviceMaxDownLoadRate", VXQ_AT(vx_qos_host, device_max_down_load_rate),
                        "DeviceMaxDownLoadRate"),
    text_setting("MACAddress", VXQ_AT(vx_qos_host, mac_address), "MACAddress"),
    text_setting("HostName", VXQ_AT(vx_qos_host, host_name), "HostName"),
    text_setting("ActualName", VXQ_AT(vx_qos_host, actual_name), "ActualName"),
    text_setting("ID", VXQ_AT(vx_qos_host, id), "ID"),
    text_number_setting("DeviceMaxUpLoadRate", VXQ_AT(vx_qos_host, device_max_up_load_rate),
                        "DeviceMaxUpLoadRate"),
};
constexpr SettingGroup kHostGroup{kPolicerPath, kHostSettings};

constexpr Setting kBody[] = {
    object_setting("data", kHostGroup, "data"),
};
constexpr SettingsDocument kHostDocument{{kPolicerPath, kBody}, kPolicerDataPath, true};

} // namespace

} // namespace vxq

int app_sys_gateway_app_qosclasshost_parse(const RequestBody& body, vx_qos_host& record,
                                           ParameterPath& path) {
    return vxq::read_settings({__func__, __LINE__}, body, vxq::kHostDocument, &record, path);
}
