// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file Handlers of the POST requests that change settings; libcoap's handler signature. */

void profession_sys_gateway_app_qosclasshost(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                             const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_ntwk_wlanbasic_parse(coap_resource_t*, coap_session_t*,
                                                 const coap_pdu_t*, const coap_string_t*,
                                                 coap_pdu_t*);
void profession_sys_gateway_ntwk_wlanguidebasic(coap_resource_t*, coap_session_t*,
                                                const coap_pdu_t*, const coap_string_t*,
                                                coap_pdu_t*);
void profession_sys_gateway_ntwk_wlanfilterenhance_parse(coap_resource_t*, coap_session_t*,
                                                         const coap_pdu_t*, const coap_string_t*,
                                                         coap_pdu_t*);
void profession_sys_gateway_ntwk_wlantimeswitch_parse(coap_resource_t*, coap_session_t*,
                                                      const coap_pdu_t*, const coap_string_t*,
                                                      coap_pdu_t*);
void profession_sys_gateway_ntwk_guest_network_parse(coap_resource_t*, coap_session_t*,
                                                     const coap_pdu_t*, const coap_string_t*,
                                                     coap_pdu_t*);
