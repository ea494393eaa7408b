// SPDX-License-Identifier: MIT
#include "resource_table.h"

#include <algorithm>
#include <stdexcept>

namespace e2e {

namespace {

constexpr ServedRequest kServed[] = {
    {"wan-diagnose", "get", ".sys/gateway/ntwk/wandiagnose"},
    {"hosts", "get", ".sys/gateway/system/HostInfo"},
    {"device-info", "get", ".sys/gateway/system/deviceinfo"},
    {"lan-hosts", "get", ".sys/gateway/ntwk/lan_host"},
    {"wan", "get", ".sys/gateway/ntwk/wan"},
    {"wlan", "get", ".sys/gateway/ntwk/WlanBasic"},
    {"mac-filter", "get", ".sys/gateway/ntwk/wlanfilterenhance"},
    {"time-switch", "get", ".sys/gateway/ntwk/wlantimeswitch"},
    {"guest", "get", ".sys/gateway/ntwk/guest_network"},
    {"qos-set", "post", ".sys/gateway/app/qosclass_host"},
    {"wlan-set", "post", ".sys/gateway/ntwk/WlanBasic"},
    {"guide-set", "post", ".sys/gateway/ntwk/WlanGuideBasic"},
    {"mac-filter-set", "post", ".sys/gateway/ntwk/wlanfilterenhance"},
    {"time-switch-set", "post", ".sys/gateway/ntwk/wlantimeswitch"},
    {"guest-set", "post", ".sys/gateway/ntwk/guest_network"},
    {"rename", "post", ".sys/gateway/system/changedevicename"},
    {"reboot", "post", ".sys/gateway/service/reboot.cgi"},
    {"restore", "post", ".sys/gateway/service/restoredefcfg.cgi"},
    {"delete-device", "post", ".sys/delDevice"},
};

constexpr char kPolicerData[] = "InternetGatewayDevice.QueueManagement.Policer.data";
constexpr char kWlanObject[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
constexpr char kWlanUnreadable[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration";
constexpr char kWlanAction[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.action";
constexpr char kRadioSsid[] = "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.1.";
constexpr char kGuestWlan[] = "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.";
constexpr char kTimeSwitch[] = "InternetGatewayDevice.wlantimeswitch";

constexpr SettingsRequest kSettings[] = {
    {"rate-limits", ".sys/gateway/app/qosclass_host", "vx_device_qosclasshost",
     "InternetGatewayDevice.QueueManagement.Policer.", kPolicerData, kPolicerData,
     R"({"data":{"QosclassID":"class-3","DeviceDownRateEnable":true,"ClassQueue":3,)"
     R"("DeviceMaxDownLoadRate":"20480","MACAddress":"02:5E:10:00:01:08",)"
     R"("HostName":"laptop","ActualName":"Work laptop","ID":"policer-1",)"
     R"("DeviceMaxUpLoadRate":"4096"}})"},
    {"radios", ".sys/gateway/ntwk/WlanBasic", "vx_device_wlanbasic_set", kWlanObject,
     kWlanUnreadable, kWlanAction,
     R"({"action":"BasicSettings","data":{"config2g":{"ID":1,"enable":false}}})"},
    {"networks", ".sys/gateway/ntwk/WlanBasic", "vx_device_ssidsetting", kWlanObject,
     kWlanUnreadable, kWlanAction,
     R"({"action":"SsidSettings","DbhoEnable":true,"data":{"config5g":{"ID":5,"ssid":"Attic",)"
     R"("ssidenable":true,"beacontype":"11i","wpaencmode":"AESEncryption",)"
     R"("wpakey":"key under the mat"}}})"},
    {"sending", ".sys/gateway/ntwk/WlanBasic", "vx_device_sendsetting", kWlanObject,
     kWlanUnreadable, kWlanAction, R"({"action":"SendSettings"})"},
    {"guide", ".sys/gateway/ntwk/WlanGuideBasic", "vx_device_wlanguidebasic", kWlanObject,
     kPolicerData, kPolicerData,
     R"({"data":{"guide":false,"setGuestSsid":true,"DbhoEnable":false,)"
     R"("config2g":{"ID":"1","ssid":"Cellar","ssidenable":true,"beacontype":"WPAand11i",)"
     R"("wpaencmode":"AESEncryption","advertisement":0,"wpakey":"down the stairs"},)"
     R"("guest2g":{"ID":"2","WifiSsid":"Visitors"}}})"},
    {"mac-filter", ".sys/gateway/ntwk/wlanfilterenhance", "vx_device_wlanfilterenhance_set",
     kRadioSsid, kPolicerData, kPolicerData,
     R"({"data":{"config5g":{"ID":"radio-2","MACAddressControlEnabled":true,)"
     R"("MacFilterPolicy":0,"BMacFilters":[{"MACAddress":"02:5E:10:00:09:09",)"
     R"("HostName":"stranger"}]}}})"},
    {"schedule", ".sys/gateway/ntwk/wlantimeswitch", "vx_device_wlantimeswitch_set", kRadioSsid,
     kTimeSwitch, kTimeSwitch,
     R"({"action":"add","data":{"datelist":{"RepeatDay":"5","ID":3,"StartTime":"22:15",)"
     R"("Enable":true,"EndTime":"05:45"}}})"},
    {"guests", ".sys/gateway/ntwk/guest_network", "vx_device_guest_network_set", kRadioSsid,
     kGuestWlan, kGuestWlan,
     R"({"data":{"config5g":{"ID":"guest-5","SecOpt":"11i","WifiSsid":"Café \"100%%\"",)"
     R"("Enable":true,"WpaPreSharedKey":"be my guest"}}})"},
};

} // namespace

std::span<const ServedRequest> served_requests() {
    return kServed;
}

std::vector<std::string> served_paths() {
    std::vector<std::string> paths;
    for (const ServedRequest& request : kServed) {
        if (std::find(paths.begin(), paths.end(), request.path) == paths.end())
            paths.emplace_back(request.path);
    }
    return paths;
}

std::span<const SettingsRequest> settings_requests() {
    return kSettings;
}

const SettingsRequest& settings_request(const std::string& name) {
    for (const SettingsRequest& request : kSettings) {
        if (request.name == name)
            return request;
    }
    throw std::invalid_argument("no settings request " + name);
}

std::string refusal(int errcode, const std::string& id) {
    return "{\n\t\"errcode\":\t" + std::to_string(errcode) + ",\n\t\"ID\":\t\"" + id + "\"\n}";
}

} // namespace e2e
