// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <coap3/coap.h>
#include <pthread.h>

/**
 * @file
 * The app channel's CoAP transport: one client session over TCP or TLS, the gateway's requests, its
 * answers to the platform's requests, and the receive thread.
 *
 * libcoap is not thread-safe, and a context must not be freed while it is processing. So every call
 * into libcoap is made under `g_coap_lock`, the receive thread's processing included, handlers run
 * when libcoap has returned, and a close from inside a callback leaves the freeing until then. For
 * the caller there is no difference: both handles are null when frame_coap_close returns, and
 * nothing more is sent.
 */

/** libcoap's context; null when there is no session. Belongs to `g_coap_lock`. */
extern coap_context_t* g_coap_ctx;
/** The client session of that context. Belongs to `g_coap_lock`. */
extern coap_session_t* g_coap_session;
/** Held while libcoap is at work: building, sending, processing, closing. Not recursive. */
extern pthread_mutex_t g_coap_lock;

/** What the layer above wants to hear of. Called by the receive thread, under `g_coap_lock`. */
struct CoapCallbacks {
    coap_response_handler_t response;
    coap_event_handler_t event;
};

/** Says who hears of replies and events; to be called once, before the first connect. */
void frame_coap_set_callbacks(const CoapCallbacks& callbacks);

/**
 * Opens a session to the platform's CoAP endpoint as the device library gives it at this moment.
 * The connection itself is established in the background; a refusal arrives as an event.
 *
 * @return 0 on success, -1 on failure
 */
int frame_coap_connect();

/**
 * Serves a resource on the current session; nothing happens when there is none. To be called
 * between the connect and the start of the receive thread. Requests reach the handlers once the
 * session is established; until then, and for a method without a handler, libcoap refuses them.
 *
 * A handler runs behind libcoap's processing, on the receive thread. It is given a copy of the
 * request without its token, and of its options those that identify it; there is no query and no
 * response to fill in.
 *
 * @param path  without a leading slash
 * @param get   handler for GET, or null
 * @param post  handler for POST, or null
 * @return false when there is no room for it, which has been logged
 */
bool frame_coap_serve(const char* path, coap_method_handler_t get, coap_method_handler_t post);

/**
 * To be called before the receive thread is created: from here on the session counts as running, so
 * that a request sent before the new thread's first step is not dropped.
 */
void frame_coap_recv_prepare();

/** Takes frame_coap_recv_prepare back when the thread could not be created. */
void frame_coap_recv_abandon();

/** Entry of the receive thread: runs libcoap's processing until the session is closed. */
void* frame_coap_recv(void* unused);

/**
 * Sends a request.
 *
 * @param type    CoAP type (0 confirmable)
 * @param code    CoAP code (2 POST)
 * @param data    the body, `length` bytes; not needed when `length` is 0
 * @param length  its length
 * @param path    resource path without a leading slash
 * @return 0 when handed to libcoap or when no session is running; -1 when no message could be made
 */
int frame_coap_send(std::uint8_t type, std::uint8_t code, const char* data, std::size_t length,
                    const char* path);

/**
 * Answers a request of the platform with a message of its own that echoes the request's options.
 * Called by resource handlers only. After the session has been closed nothing is sent.
 *
 * @return always 0
 */
int frame_coap_response(const coap_pdu_t* request, std::uint8_t type, std::uint8_t code,
                        const char* data, std::size_t length);

/** Ends the session; harmless when there is none. Callable from any thread and any callback. */
void frame_coap_close();

/** Non-zero while the receive thread runs. */
int frame_coap_state();

/**
 * 1 when `session` is the running one. A burst may hold requests behind one that closed the
 * session: libcoap still dispatches them, but they must have no effect any more.
 */
int frame_coap_serves(const coap_session_t* session);

/**
 * Number of the current (or last) session: 1 for the first connect of the process, and so on. Tells
 * a thread whether the session that it was started for still is the current one.
 */
int frame_coap_session_number();
