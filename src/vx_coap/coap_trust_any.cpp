// SPDX-License-Identifier: MIT
#include "vx_coap/coap_trust.h"

namespace vxq {

namespace {

/** Where the gateway's firmware keeps the root certificates. */
constexpr char kRootCaLocation[] = "/vxrom/vxconf";

} // namespace

RootCa root_cas() {
    return root_ca_at(kRootCaLocation);
}

void set_trust(coap_dtls_pki_t& pki, char*) {
    // The platform must show a certificate, but operators use ones of their own making: it is not
    // verified. The remaining switches only count where a library verifies all the same.
    pki.verify_peer_cert = 0;
    pki.allow_self_signed = 1;
    pki.allow_expired_certs = 1;
}

} // namespace vxq
