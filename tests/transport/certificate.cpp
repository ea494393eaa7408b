// SPDX-License-Identifier: MIT
#include "certificate.h"

#include <memory>
#include <stdexcept>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace transport {

namespace {

template <auto Free>
struct Release {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using X509Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Output = std::unique_ptr<BIO, Release<BIO_free_all>>;

constexpr long kDay = 24L * 60 * 60;

template <typename T>
T* made(T* object) {
    if (object == nullptr)
        throw std::runtime_error("OpenSSL cannot make the test's certificate");
    return object;
}

std::string text_of(BIO* output) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(output, &data);
    return {data, static_cast<std::size_t>(length)};
}

Certificate make(const char* host, long from, long to) {
    const Key key(made(EVP_EC_gen("P-256")));
    const X509Certificate certificate(made(X509_new()));
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), from);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), to);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(host), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    if (X509_sign(certificate.get(), key.get(), EVP_sha256()) == 0)
        throw std::runtime_error("OpenSSL cannot sign the test's certificate");

    const Output certificate_text(made(BIO_new(BIO_s_mem())));
    const Output key_text(made(BIO_new(BIO_s_mem())));
    PEM_write_bio_X509(certificate_text.get(), certificate.get());
    PEM_write_bio_PrivateKey(key_text.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    return {text_of(certificate_text.get()), text_of(key_text.get())};
}

} // namespace

Certificate make_certificate() {
    return make("localhost", -kDay, kDay);
}

Certificate make_expired_certificate() {
    return make("elsewhere.invalid", -2 * kDay, -kDay);
}

} // namespace transport
