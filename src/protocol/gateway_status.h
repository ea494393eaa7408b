// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file Handlers of the GET requests; libcoap's handler signature. */

void profession_sys_gateway_ntwk_wandiagnose(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                             const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_system_hostinfo(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                            const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_system_deviceinfo(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                              const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_ntwk_lanhost(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                         const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_ntwk_wan(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                     const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_ntwk_wlanbasic(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                           const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_ntwk_wlanfilterenhance(coap_resource_t*, coap_session_t*,
                                                   const coap_pdu_t*, const coap_string_t*,
                                                   coap_pdu_t*);
void profession_sys_gateway_ntwk_wlantimeswitch(coap_resource_t*, coap_session_t*,
                                                const coap_pdu_t*, const coap_string_t*,
                                                coap_pdu_t*);
void profession_sys_gateway_ntwk_guest_network(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                               const coap_string_t*, coap_pdu_t*);
