// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file The resources of the current session. All of it belongs to `g_coap_lock`. */
namespace vxq {

/**
 * Forgets the resources of the session before; libcoap has freed them with its context.
 * @return false when there is no room to keep libcoap's own from being served; it has been logged
 */
bool reset_resources();

/**
 * Gives the resources their handlers, once the session is established. A request that comes before
 * the platform's CSM would make libcoap wait for it inside its own processing, and a second one
 * would end the process by an assertion; without a handler it is refused instead.
 */
void open_resources();

/** The handler of a resource for a request; null when it has none. */
coap_method_handler_t handler_for(const coap_resource_t* resource, const coap_pdu_t* request);

} // namespace vxq
