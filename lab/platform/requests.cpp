// SPDX-License-Identifier: MIT
#include "requests.h"

namespace vxp {

namespace {

constexpr NamedRequest requestTable[] = {
    {"delete-device", codePost, ".sys/delDevice", "delete-device.json",
     "the device has been deleted on the platform's side"},
    {"wan-diagnose", codeGet, ".sys/gateway/ntwk/wandiagnose", "", "WAN diagnosis"},
    {"hosts", codeGet, ".sys/gateway/system/HostInfo", "", "attached hosts"},
    {"rename", codePost, ".sys/gateway/system/changedevicename", "rename.json",
     "change the device's name"},
    {"device-info", codeGet, ".sys/gateway/system/deviceinfo", "", "the gateway itself"},
    {"lan-hosts", codeGet, ".sys/gateway/ntwk/lan_host", "", "LAN settings and hosts"},
    {"qos-set", codePost, ".sys/gateway/app/qosclass_host", "qos-set.json",
     "rate limits of one host"},
    {"wlan", codeGet, ".sys/gateway/ntwk/WlanBasic", "", "wireless networks"},
    {"wlan-set", codePost, ".sys/gateway/ntwk/WlanBasic", "wlan-set.json",
     "change radios (wlan-set.json), networks (wlan-ssid-set.json) or send the settings again "
     "(wlan-send.json)"},
    {"guide-set", codePost, ".sys/gateway/ntwk/WlanGuideBasic", "guide-set.json",
     "first set-up of the wireless networks"},
    {"mac-filter", codeGet, ".sys/gateway/ntwk/wlanfilterenhance", "", "MAC address filters"},
    {"mac-filter-set", codePost, ".sys/gateway/ntwk/wlanfilterenhance", "mac-filter-set.json",
     "change the MAC address filters"},
    {"time-switch", codeGet, ".sys/gateway/ntwk/wlantimeswitch", "", "Wi-Fi schedules"},
    {"time-switch-set", codePost, ".sys/gateway/ntwk/wlantimeswitch", "time-switch-set.json",
     "change one Wi-Fi schedule"},
    {"guest", codeGet, ".sys/gateway/ntwk/guest_network", "", "guest networks"},
    {"guest-set", codePost, ".sys/gateway/ntwk/guest_network", "guest-set.json",
     "change the guest networks"},
    {"wan", codeGet, ".sys/gateway/ntwk/wan", "", "WAN connections"},
    {"reboot", codePost, ".sys/gateway/service/reboot.cgi", "reboot.json", "reboot the gateway"},
    {"restore", codePost, ".sys/gateway/service/restoredefcfg.cgi", "restore.json",
     "restore the factory settings"},
};

} // namespace

std::span<const NamedRequest> namedRequests() {
    return requestTable;
}

const NamedRequest* findNamedRequest(std::string_view name) {
    for (const NamedRequest& request : requestTable) {
        if (request.name == name) {
            return &request;
        }
    }
    return nullptr;
}

} // namespace vxp
