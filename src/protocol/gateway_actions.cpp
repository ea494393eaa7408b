// SPDX-License-Identifier: MIT
#include "protocol/gateway_actions.h"

#include "protocol/gateway_handler.h"
#include "state/state.h"
#include "vx_coap/frame_coap.h"
#include <vxquilan/device.h>

void profession_sys_deldevice(coap_resource_t*, coap_session_t* session, const coap_pdu_t* request,
                              const coap_string_t*, coap_pdu_t*) {
    if (!vxq::serve_action(session, request, ".sys/delDevice", vx_device_deldevice))
        return;
    // Only an activation request moves the state, so this leaves it alone: a deleted gateway stays
    // parked until its mode changes or a new registration code is obtained.
    frame_quilan_state_set(kAppRegister);
    frame_coap_close();
}

void profession_sys_gateway_system_changedevicename(coap_resource_t*, coap_session_t* session,
                                                    const coap_pdu_t* request, const coap_string_t*,
                                                    coap_pdu_t*) {
    // The platform keeps the name; the gateway has no use for it.
    vxq::serve_action(session, request, ".sys/gateway/system/changedevicename", nullptr);
}

void profession_sys_gateway_server_reboot(coap_resource_t*, coap_session_t* session,
                                          const coap_pdu_t* request, const coap_string_t*,
                                          coap_pdu_t*) {
    vxq::serve_action(session, request, ".sys/gateway/service/reboot.cgi", vx_device_reboot);
}

void profession_sys_gateway_server_restoredefcfg(coap_resource_t*, coap_session_t* session,
                                                 const coap_pdu_t* request, const coap_string_t*,
                                                 coap_pdu_t*) {
    vxq::serve_action(session, request, ".sys/gateway/service/restoredefcfg.cgi",
                      vx_device_restoredefcfg);
}
