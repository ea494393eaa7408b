// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file Turns the end of a session into a reconnect. Runs on the CoAP receive thread. */

/** libcoap's event handler. */
int event_handler(coap_session_t* session, const coap_event_t event);

/** Logs, closes the session and sets state 9. */
void frame_coap_event_close();
