// SPDX-License-Identifier: MIT
#pragma once

#include <coap3/coap.h>

/** @file TLS set-up of the app channel. */
namespace vxq {

/** Root CAs as libcoap takes them: a file, a directory, or both; null for what is not there. */
struct RootCa {
    const char* file;
    const char* directory;
};

/** A directory counts as one; whatever else there is, or is not, as a file. */
RootCa root_ca_at(const char* location);

/**
 * Gives the context its root CAs and fills the set-up record for a client session.
 *
 * @param host  the platform's host, which becomes the SNI; "localhost" when empty
 * @return the process's one record, valid until the next call; null when libcoap knows no TLS
 */
coap_dtls_pki_t* setup_pki(coap_context_t* context, const char* host);

} // namespace vxq
