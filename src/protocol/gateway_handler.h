// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

#include "json/json.h"

/**
 * @file
 * What the handlers of the gateway's resources have in common. Each turns one request into at most
 * one call of the device library and answers with one JSON document, always as 2.05: success and
 * failure are told by "errcode" alone. All of it runs on the CoAP receive thread, inside libcoap.
 */
namespace vxq {

/** Answers a request with a document; one that could not be built is not sent. */
void answer_request(const coap_pdu_t* request, const JsonText& document);

/**
 * An action without parameters: says so in the log, acknowledges the request and only then acts, so
 * that the platform has its answer even when the action ends the session. The request's body is
 * not read, and the action's result is not reported.
 *
 * @param action  the device library's action; null for a resource that only acknowledges
 * @return false when the session has ended and nothing was done
 */
bool serve_action(const coap_session_t* session, const coap_pdu_t* request, const char* path,
                  int (*action)());

} // namespace vxq
