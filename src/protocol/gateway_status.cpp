// SPDX-License-Identifier: MIT
#include "protocol/gateway_status.h"

#include "appjsonapi/app_gateway_status.h"
#include "appjsonapi/app_guest_network.h"
#include "appjsonapi/app_time_switch.h"
#include "appjsonapi/app_wlan_basic.h"
#include "appjsonapi/app_wlan_filter.h"
#include "protocol/gateway_handler.h"

void profession_sys_gateway_ntwk_wandiagnose(coap_resource_t*, coap_session_t* session,
                                             const coap_pdu_t* request, const coap_string_t*,
                                             coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/wandiagnose",
                      app_sys_gateway_ntwk_wandiagnose);
}

void profession_sys_gateway_system_hostinfo(coap_resource_t*, coap_session_t* session,
                                            const coap_pdu_t* request, const coap_string_t*,
                                            coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/system/HostInfo",
                      app_sys_gateway_system_hostinfo);
}

void profession_sys_gateway_system_deviceinfo(coap_resource_t*, coap_session_t* session,
                                              const coap_pdu_t* request, const coap_string_t*,
                                              coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/system/deviceinfo",
                      app_sys_gateway_system_deviceinfo);
}

void profession_sys_gateway_ntwk_lanhost(coap_resource_t*, coap_session_t* session,
                                         const coap_pdu_t* request, const coap_string_t*,
                                         coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/lan_host", app_sys_gateway_ntwk_lanhost);
}

void profession_sys_gateway_ntwk_wan(coap_resource_t*, coap_session_t* session,
                                     const coap_pdu_t* request, const coap_string_t*, coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/wan", app_sys_gateway_ntwk_wan);
}

void profession_sys_gateway_ntwk_wlanbasic(coap_resource_t*, coap_session_t* session,
                                           const coap_pdu_t* request, const coap_string_t*,
                                           coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/WlanBasic",
                      app_sys_gateway_system_wlanbasic);
}

void profession_sys_gateway_ntwk_wlanfilterenhance(coap_resource_t*, coap_session_t* session,
                                                   const coap_pdu_t* request, const coap_string_t*,
                                                   coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/wlanfilterenhance",
                      app_sys_gateway_ntwk_wlanfilterenhance);
}

void profession_sys_gateway_ntwk_wlantimeswitch(coap_resource_t*, coap_session_t* session,
                                                const coap_pdu_t* request, const coap_string_t*,
                                                coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/wlantimeswitch",
                      app_sys_gateway_ntwk_wlantimeswitch);
}

void profession_sys_gateway_ntwk_guest_network(coap_resource_t*, coap_session_t* session,
                                               const coap_pdu_t* request, const coap_string_t*,
                                               coap_pdu_t*) {
    vxq::serve_status(session, request, ".sys/gateway/ntwk/guest_network",
                      app_sys_gateway_ntwk_guest_network);
}
