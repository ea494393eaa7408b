// SPDX-License-Identifier: MIT
#include "vx_coap/coap_trust.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <memory>
#include <netinet/in.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include "log/log.h"

namespace vxq {

namespace {

constexpr char kLocation[] = VXQUILAN_TLS_CA_LOCATION; // empty for the system's own

struct FreeCertificate {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, FreeCertificate>;

/** What the environment says, or OpenSSL's own place; null when there is nothing to be read. */
const char* system_place(const char* variable, const char* built_in) {
    const char* const said = std::getenv(variable);
    const char* const place = said != nullptr ? said : built_in;
    return access(place, R_OK) == 0 ? place : nullptr;
}

RootCa system_root_cas() {
    return {system_place(X509_get_default_cert_file_env(), X509_get_default_cert_file()),
            system_place(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};
}

RootCa configured_root_cas() {
    return access(kLocation, R_OK) == 0 ? root_ca_at(kLocation) : RootCa{nullptr, nullptr};
}

bool is_address(const char* host) {
    in6_addr address;
    return inet_pton(AF_INET, host, &address) == 1 || inet_pton(AF_INET6, host, &address) == 1;
}

bool is_for(X509* certificate, const char* host) {
    if (is_address(host))
        return X509_check_ip_asc(certificate, host, 0) == 1;
    return X509_check_host(certificate, host, 0, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS, nullptr) ==
           1;
}

/**
 * Called for each certificate of the chain, once it is verified. The name that libcoap found is not
 * used: it is the first of several, and never an address.
 */
int check_name(const char*, const std::uint8_t* der, std::size_t length, coap_session_t*,
               unsigned depth, int, void* host) {
    if (depth != 0)
        return 1;
    const Certificate certificate(d2i_X509(nullptr, &der, static_cast<long>(length)));
    if (certificate && is_for(certificate.get(), static_cast<const char*>(host)))
        return 1;
    QUILAN_LOG(VX_LOG_ERROR, "the platform's certificate is not for %s\n",
               static_cast<const char*>(host));
    return 0;
}

} // namespace

RootCa root_cas() {
    const RootCa found = kLocation[0] != '\0' ? configured_root_cas() : system_root_cas();
    if (found.file == nullptr && found.directory == nullptr)
        QUILAN_LOG(VX_LOG_ERROR, "no root certificates, no platform will be taken\n");
    return found;
}

void set_trust(coap_dtls_pki_t& pki, char* host) {
    pki.verify_peer_cert = 1;
    pki.allow_self_signed = 0;
    pki.allow_expired_certs = 0;
    pki.validate_cn_call_back = check_name;
    pki.cn_call_back_arg = host;
}

} // namespace vxq
