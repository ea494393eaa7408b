// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file Routes the replies to the gateway's own requests into the state machine. */

/** libcoap's handler for replies: hands the payload to frame_coap_process as a text. */
coap_response_t message_handler(coap_session_t* session, const coap_pdu_t* sent,
                                const coap_pdu_t* received, const coap_mid_t message_id);

/**
 * Routes one reply according to `g_quilan_status` at this moment. Runs on the CoAP receive thread,
 * inside libcoap.
 *
 * @param payload  the reply's text; null when it carried none
 * @return always 0
 */
int frame_coap_process(const char* payload);
