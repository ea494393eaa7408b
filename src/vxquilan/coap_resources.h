// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file The resources that the gateway serves. */

/**
 * Registers the whole table on the current context. Called after every connect, before the receive
 * thread starts.
 *
 * @return 0; -1 when there was no room for all of it
 */
int frame_coap_register_list();

/**
 * Registers one resource with a handler for one method. Nothing happens when there is no session.
 *
 * @param path    must stay valid as long as the context
 * @param method  1 GET, 2 POST
 * @return 0; -1 when there is no room for it
 */
int frame_coap_register(const char* path, int method, coap_method_handler_t handler);

/** Registers one resource with a handler for GET and one for POST; as frame_coap_register. */
int frame_coap_register_get_post(const char* path, coap_method_handler_t get,
                                 coap_method_handler_t post);
