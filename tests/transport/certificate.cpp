// SPDX-License-Identifier: MIT
#include "certificate.h"

#include <memory>
#include <stdexcept>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

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
using Extension = std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION_free>>;
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

/** A certificate without issuer and signature. */
X509Certificate make_unsigned(EVP_PKEY* key, const char* host, long from, long to) {
    X509Certificate certificate(made(X509_new()));
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), from);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), to);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(host), -1, -1, 0);
    return certificate;
}

void add_extension(X509* certificate, int kind, const std::string& value) {
    const Extension extension(made(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str())));
    X509_add_ext(certificate, extension.get(), -1);
}

void sign_with(X509* certificate, X509* issuer, EVP_PKEY* key) {
    X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
    if (X509_sign(certificate, key, EVP_sha256()) == 0)
        throw std::runtime_error("OpenSSL cannot sign the test's certificate");
}

Certificate texts_of(X509* certificate, EVP_PKEY* key) {
    const Output certificate_text(made(BIO_new(BIO_s_mem())));
    const Output key_text(made(BIO_new(BIO_s_mem())));
    PEM_write_bio_X509(certificate_text.get(), certificate);
    PEM_write_bio_PrivateKey(key_text.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return {text_of(certificate_text.get()), text_of(key_text.get())};
}

Certificate make(const char* host, long from, long to) {
    const Key key(made(EVP_EC_gen("P-256")));
    const X509Certificate certificate = make_unsigned(key.get(), host, from, to);
    sign_with(certificate.get(), certificate.get(), key.get());
    return texts_of(certificate.get(), key.get());
}

} // namespace

Certificate make_certificate() {
    return make("localhost", -kDay, kDay);
}

Certificate make_expired_certificate() {
    return make("elsewhere.invalid", -2 * kDay, -kDay);
}

struct Authority::Parts {
    Key key{made(EVP_EC_gen("P-256"))};
    X509Certificate certificate = make_unsigned(key.get(), "the test's authority", -3 * kDay, kDay);
};

Authority::Authority() : parts_(std::make_unique<Parts>()) {
    add_extension(parts_->certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    sign_with(parts_->certificate.get(), parts_->certificate.get(), parts_->key.get());
    text_ = texts_of(parts_->certificate.get(), parts_->key.get()).certificate;
}

Authority::~Authority() = default;

Certificate Authority::sign(const std::string& names, bool expired) const {
    const Key key(made(EVP_EC_gen("P-256")));
    const X509Certificate certificate =
        make_unsigned(key.get(), "platform", -2 * kDay, expired ? -kDay : kDay);
    add_extension(certificate.get(), NID_subject_alt_name, names);
    sign_with(certificate.get(), parts_->certificate.get(), parts_->key.get());
    return texts_of(certificate.get(), key.get());
}

} // namespace transport
