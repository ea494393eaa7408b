// SPDX-License-Identifier: MIT
#include "vx_coap/coap_pki.h"

#include <sys/stat.h>

#include "text/text.h"
#include "vx_coap/coap_trust.h"

namespace vxq {

namespace {

// libcoap keeps pointers to both for as long as the session lives.
coap_dtls_pki_t s_pki;
char s_sni[256];

constexpr std::uint8_t kChainDepth = 2;

} // namespace

RootCa root_ca_at(const char* location) {
    struct stat status {};
    if (stat(location, &status) == 0 && S_ISDIR(status.st_mode))
        return {nullptr, location};
    return {location, nullptr};
}

coap_dtls_pki_t* setup_pki(coap_context_t* context, const char* host) {
    if (coap_tls_is_supported() == 0)
        return nullptr;
    const RootCa root_ca = root_cas();
    if (root_ca.file != nullptr || root_ca.directory != nullptr)
        coap_context_set_pki_root_cas(context, root_ca.file, root_ca.directory);

    copy_text(s_sni, *host != '\0' ? host : "localhost");
    s_pki = {};
    s_pki.version = COAP_DTLS_PKI_SETUP_VERSION;
    s_pki.cert_chain_validation = 1;
    s_pki.cert_chain_verify_depth = kChainDepth;
    s_pki.check_cert_revocation = 1;
    s_pki.allow_no_crl = 1;
    s_pki.allow_expired_crl = 1;
    s_pki.client_sni = s_sni;
    set_trust(s_pki, s_sni);
    s_pki.pki_key.key_type =
        COAP_PKI_KEY_PEM; // no CA file, certificate or key of the gateway's own
    return &s_pki;
}

} // namespace vxq
