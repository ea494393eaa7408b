// SPDX-License-Identifier: MIT
#include "vxquilan/coap_resources.h"

#include "protocol/gateway_actions.h"
#include "protocol/gateway_settings.h"
#include "protocol/gateway_status.h"
#include "vx_coap/frame_coap.h"

namespace {

constexpr int kGet = 1;
constexpr int kPost = 2;

/** A resource and its handlers; null for a method that it does not accept. */
struct Resource {
    const char* path;
    coap_method_handler_t get;
    coap_method_handler_t post;
};

constexpr Resource kResources[] = {
    {".sys/delDevice", nullptr, profession_sys_deldevice},
    {".sys/gateway/ntwk/wandiagnose", profession_sys_gateway_ntwk_wandiagnose, nullptr},
    {".sys/gateway/system/HostInfo", profession_sys_gateway_system_hostinfo, nullptr},
    {".sys/gateway/system/changedevicename", nullptr,
     profession_sys_gateway_system_changedevicename},
    {".sys/gateway/system/deviceinfo", profession_sys_gateway_system_deviceinfo, nullptr},
    {".sys/gateway/ntwk/lan_host", profession_sys_gateway_ntwk_lanhost, nullptr},
    {".sys/gateway/app/qosclass_host", nullptr, profession_sys_gateway_app_qosclasshost},
    {".sys/gateway/ntwk/WlanBasic", profession_sys_gateway_ntwk_wlanbasic,
     profession_sys_gateway_ntwk_wlanbasic_parse},
    {".sys/gateway/ntwk/WlanGuideBasic", nullptr, profession_sys_gateway_ntwk_wlanguidebasic},
    {".sys/gateway/ntwk/wlanfilterenhance", profession_sys_gateway_ntwk_wlanfilterenhance,
     profession_sys_gateway_ntwk_wlanfilterenhance_parse},
    {".sys/gateway/ntwk/wlantimeswitch", profession_sys_gateway_ntwk_wlantimeswitch,
     profession_sys_gateway_ntwk_wlantimeswitch_parse},
    {".sys/gateway/ntwk/guest_network", profession_sys_gateway_ntwk_guest_network,
     profession_sys_gateway_ntwk_guest_network_parse},
    {".sys/gateway/ntwk/wan", profession_sys_gateway_ntwk_wan, nullptr},
    {".sys/gateway/service/reboot.cgi", nullptr, profession_sys_gateway_server_reboot},
    {".sys/gateway/service/restoredefcfg.cgi", nullptr,
     profession_sys_gateway_server_restoredefcfg},
};

int register_row(const Resource& row) {
    if (row.get != nullptr && row.post != nullptr)
        return frame_coap_register_get_post(row.path, row.get, row.post);
    if (row.get != nullptr)
        return frame_coap_register(row.path, kGet, row.get);
    return frame_coap_register(row.path, kPost, row.post);
}

} // namespace

int frame_coap_register(const char* path, int method, coap_method_handler_t handler) {
    return frame_coap_register_get_post(path, method == kGet ? handler : nullptr,
                                        method == kPost ? handler : nullptr);
}

int frame_coap_register_get_post(const char* path, coap_method_handler_t get,
                                 coap_method_handler_t post) {
    return frame_coap_serve(path, get, post) ? 0 : -1;
}

int frame_coap_register_list() {
    int result = 0;
    for (const Resource& row : kResources) {
        if (register_row(row) != 0)
            result = -1;
    }
    return result;
}
