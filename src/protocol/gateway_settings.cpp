// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"

#include "appjsonapi/app_guest_network.h"
#include "appjsonapi/app_qos_host.h"
#include "appjsonapi/app_time_switch.h"
#include "appjsonapi/app_wlan_basic.h"
#include "appjsonapi/app_wlan_filter.h"
#include "appjsonapi/app_wlan_guide.h"
#include "appjsonapi/parameter_paths.h"
#include "protocol/gateway_handler.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr Settings<vx_qos_host> kQosHost{
    .parse = app_sys_gateway_app_qosclasshost_parse,
    .apply = vx_device_qosclasshost,
    .object = kPolicerPath,
};

constexpr Settings<vx_radio_switch> kRadioSwitch{
    .parse = app_sys_gateway_system_wlanbasic_parse,
    .apply = vx_device_wlanbasic_set,
    .object = kWlanObjectPath,
};

constexpr Settings<vx_ssid_settings> kSsids{
    .parse = app_sys_gateway_system_ssidsetting_parse,
    .apply = vx_device_ssidsetting,
    .object = kWlanObjectPath,
};

constexpr Settings<vx_wlan_status> kSending{
    .parse = app_sys_gateway_system_sendsetting_parse,
    .apply = vx_device_sendsetting,
    .object = kWlanObjectPath,
};

constexpr ClashMessage kGuideClashes[] = {
    {1, "WifiSsid : SSID.2g_same_as_guest"},      {2, "WifiSsid : SSID.5g_same_as_guest"},
    {3, "WpaPreSharedKey: Wpa.same_as_2g_guest"}, {4, "WpaPreSharedKey: Wpa.same_as_5g_guest"},
    {5, "WifiSsid : SSID.2g_same_as_5g"},
};

constexpr Settings<vx_guide> kGuide{
    .parse = app_sys_gateway_ntwk_wlanguidebasic_parse,
    .apply = vx_device_wlanguidebasic,
    .object = kWlanObjectPath,
    .check = vx_device_wifi_check,
    .clashes = kGuideClashes,
};

// The blank in front of the colon tells a guest network's key from the guide's.
constexpr ClashMessage kGuestClashes[] = {
    {1, "WifiSsid : SSID.same_as_2g"},
    {2, "WifiSsid : SSID.same_as_5g"},
    {3, "WpaPreSharedKey : Wpa.same_as_2g"},
    {4, "WpaPreSharedKey : Wpa.same_as_5g"},
};

constexpr Settings<vx_guest_network> kGuestNetwork{
    .parse = app_sys_gateway_ntwk_guest_network_parse,
    .apply = vx_device_guest_network_set,
    .object = kRadioSsidPath,
    .check = vx_device_guest_check,
    .clashes = kGuestClashes,
};

constexpr Settings<vx_mac_filter> kMacFilter{
    .parse = app_sys_gateway_ntwk_wlanfilterenhance_parse,
    .apply = vx_device_wlanfilterenhance_set,
    .object = kRadioSsidPath,
};

constexpr Settings<vx_time_switch_entry> kTimeSwitch{
    .parse = app_sys_gateway_ntwk_wlantimeswitch_parse,
    .apply = vx_device_wlantimeswitch_set,
    .object = kRadioSsidPath,
};

/** One resource for three changes; each reads the body anew. */
int change_wlan_basic(const RequestBody& body, ParameterPath& path) {
    switch (app_sys_gateway_system_wlanbasic_action(body, path)) {
    case kBasicSettings:
        return change_settings(kRadioSwitch, body, path);
    case kSsidSettings:
        return change_settings(kSsids, body, path);
    case kSendSettings:
        return change_settings(kSending, body, path);
    default:
        return kGatewayParseFailure;
    }
}

/** Settings as a change of their own. */
template <const auto& Kind>
int change(const RequestBody& body, ParameterPath& path) {
    return change_settings(Kind, body, path);
}

} // namespace

} // namespace vxq

using namespace vxq;

void profession_sys_gateway_app_qosclasshost(coap_resource_t*, coap_session_t* session,
                                             const coap_pdu_t* request, const coap_string_t*,
                                             coap_pdu_t*) {
    serve_settings(session, request, "POST ", ".sys/gateway/app/qosclass_host", change<kQosHost>);
}

void profession_sys_gateway_ntwk_wlanbasic_parse(coap_resource_t*, coap_session_t* session,
                                                 const coap_pdu_t* request, const coap_string_t*,
                                                 coap_pdu_t*) {
    serve_settings(session, request, "POST ", ".sys/gateway/ntwk/WlanBasic", change_wlan_basic);
}

void profession_sys_gateway_ntwk_wlanguidebasic(coap_resource_t*, coap_session_t* session,
                                                const coap_pdu_t* request, const coap_string_t*,
                                                coap_pdu_t*) {
    serve_settings(session, request, "", ".sys/gateway/ntwk/WlanGuideBasic", change<kGuide>);
}

void profession_sys_gateway_ntwk_wlanfilterenhance_parse(coap_resource_t*, coap_session_t* session,
                                                         const coap_pdu_t* request,
                                                         const coap_string_t*, coap_pdu_t*) {
    serve_settings(session, request, "POST ", ".sys/gateway/ntwk/wlanfilterenhance",
                   change<kMacFilter>);
}

void profession_sys_gateway_ntwk_wlantimeswitch_parse(coap_resource_t*, coap_session_t* session,
                                                      const coap_pdu_t* request,
                                                      const coap_string_t*, coap_pdu_t*) {
    serve_settings(session, request, "POST ", ".sys/gateway/ntwk/wlantimeswitch",
                   change<kTimeSwitch>);
}

void profession_sys_gateway_ntwk_guest_network_parse(coap_resource_t*, coap_session_t* session,
                                                     const coap_pdu_t* request,
                                                     const coap_string_t*, coap_pdu_t*) {
    serve_settings(session, request, "POST ", ".sys/gateway/ntwk/guest_network",
                   change<kGuestNetwork>);
}
