// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

#include "vx_coap/coap_pki.h"

/**
 * @file
 * Whom TLS takes for the platform: anybody, or in a build with VXQUILAN_TLS_VERIFY_PEER only who
 * has a valid certificate for its host. This header has one implementation for each.
 */
namespace vxq {

/** The root CAs to give to a context; their texts live as long as the process. */
RootCa root_cas();

/**
 * Sets what is demanded of the certificate.
 * @param host  the platform's host; must live as long as the session
 */
void set_trust(coap_dtls_pki_t& pki, char* host);

} // namespace vxq
