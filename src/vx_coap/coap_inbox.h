// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

#include "vx_coap/coap_message.h"

/**
 * @file
 * What libcoap has read and nobody has dealt with yet. A handler's answer is a write that can fail;
 * libcoap then ends the session there and then, and frees the very request that it is still
 * handling. So no handler runs inside libcoap: requests wait here until it has returned, and
 * replies and events that come in behind one wait behind it. All of it belongs to `g_coap_lock`.
 */
namespace vxq {

/** A request, with its resource; a reply, without; or an event, without a message. */
struct Arrival {
    coap_session_t* session;
    coap_resource_t* resource;
    coap_event_t event;
    Message message;
};

/**
 * Keeps a copy of a message: its code, message ID and body, and the options that identify a
 * request.
 * @return false when there is no memory for it, or too much is waiting already
 */
bool inbox_keep(coap_session_t* session, coap_resource_t* resource, const coap_pdu_t* message);
/** Keeps an event; false when there is no memory for it. */
bool inbox_keep_event(coap_session_t* session, coap_event_t event);

bool inbox_empty();

/** Takes out what has waited longest; false when nothing waits. */
bool inbox_take(Arrival& arrival);

} // namespace vxq
