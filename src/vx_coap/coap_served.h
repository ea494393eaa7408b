// SPDX-License-Identifier: MIT
#pragma once

/** @file The resources of the current session. All of it belongs to `g_coap_lock`. */
namespace vxq {

/** Forgets the resources of the session before; libcoap has freed them with its context. */
void reset_resources();

/**
 * Gives the resources their handlers, once the session is established. A request that comes before
 * the platform's CSM would make libcoap wait for it inside its own processing, and a second one
 * would end the process by an assertion; without a handler it is refused instead.
 */
void open_resources();

} // namespace vxq
