// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

#include "text/text.h"

/** @file Where the platform's CoAP endpoint is. */
namespace vxq {

/** Host and port as the device library gives them. */
struct CoapEndpoint {
    TextBuffer<64> host;
    int port = -1;
};

/** Asks the device library, which may name another platform at any time. */
CoapEndpoint read_endpoint();

/**
 * Resolves a host name or dotted address; an empty one stands for "localhost".
 *
 * @param address  receives the address, without a port
 * @return the address's length; a negative resolver code or -1 when there is none
 */
int resolve_address(const char* host, struct sockaddr_storage& address);

/**
 * Resolves the endpoint, with its port.
 * @return false when there is no such host; it has been logged
 */
bool resolve_endpoint(const CoapEndpoint& endpoint, coap_address_t& address);

} // namespace vxq
