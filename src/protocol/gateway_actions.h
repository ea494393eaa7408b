// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file Handlers of the resources that only perform an action; libcoap's handler signature. */

void profession_sys_deldevice(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                              const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_system_changedevicename(coap_resource_t*, coap_session_t*,
                                                    const coap_pdu_t*, const coap_string_t*,
                                                    coap_pdu_t*);
void profession_sys_gateway_server_reboot(coap_resource_t*, coap_session_t*, const coap_pdu_t*,
                                          const coap_string_t*, coap_pdu_t*);
void profession_sys_gateway_server_restoredefcfg(coap_resource_t*, coap_session_t*,
                                                 const coap_pdu_t*, const coap_string_t*,
                                                 coap_pdu_t*);
