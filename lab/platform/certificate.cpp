// SPDX-License-Identifier: MIT
#include "certificate.h"

#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace vxp {

namespace {

template <auto Free>
struct Deleter {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};

using KeyPtr = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Deleter<X509_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using FilePtr = std::unique_ptr<std::FILE, Deleter<std::fclose>>;

constexpr long certificateLifetime = 10L * 365 * 24 * 3600; // seconds

[[noreturn]] void fail(const std::string& file, const std::string& reason) {
    throw std::runtime_error(fmt::format("{}: {}", file, reason));
}

std::string opensslReason() {
    char text[256] = "unknown reason";
    if (const unsigned long code = ERR_get_error(); code != 0) {
        ERR_error_string_n(code, text, sizeof text);
    }
    ERR_clear_error();
    return text;
}

/// An elliptic-curve key: made within a millisecond, while RSA takes seconds on a small machine.
KeyPtr makeKey() {
    KeyPtr key(EVP_EC_gen("P-256"));
    if (!key) {
        throw std::runtime_error("private key not made: " + opensslReason());
    }
    return key;
}

bool addExtension(X509* certificate, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool fillCertificate(X509* certificate, EVP_PKEY* key) {
    std::uint64_t serial = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) != 1) {
        return false;
    }
    X509_NAME* name = X509_get_subject_name(certificate);
    const auto* common = reinterpret_cast<const unsigned char*>("vxplatform");
    return X509_set_version(certificate, 2) == 1 &&
           ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1 &&
           X509_gmtime_adj(X509_getm_notBefore(certificate), 0) != nullptr &&
           X509_gmtime_adj(X509_getm_notAfter(certificate), certificateLifetime) != nullptr &&
           X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, common, -1, -1, 0) == 1 &&
           X509_set_issuer_name(certificate, name) == 1 && X509_set_pubkey(certificate, key) == 1 &&
           addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE") &&
           addExtension(certificate, NID_subject_key_identifier, "hash") &&
           addExtension(certificate, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1") &&
           X509_sign(certificate, key, EVP_sha256()) > 0;
}

CertificatePtr makeCertificate(EVP_PKEY* key) {
    CertificatePtr certificate(X509_new());
    if (!certificate || !fillCertificate(certificate.get(), key)) {
        throw std::runtime_error("certificate not made: " + opensslReason());
    }
    return certificate;
}

/// Writes beside the file and renames: a run that is cut short leaves no half file behind.
template <typename Write>
void writeFile(const std::string& path, Write write) {
    const std::string unfinished = path + ".new";
    const int descriptor =
        ::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FilePtr file(descriptor >= 0 ? ::fdopen(descriptor, "w") : nullptr);
    if (!file) {
        fail(unfinished, std::strerror(errno));
    }
    if (write(file.get()) != 1) {
        fail(unfinished, opensslReason());
    }
    if (std::fclose(file.release()) != 0) {
        fail(unfinished, std::strerror(errno));
    }
    if (std::rename(unfinished.c_str(), path.c_str()) != 0) {
        fail(path, std::strerror(errno));
    }
}

FilePtr openFile(const std::string& path) {
    FilePtr file(std::fopen(path.c_str(), "re"));
    if (!file) {
        fail(path, std::strerror(errno));
    }
    return file;
}

/// A key with a passphrase is refused instead of asked for: nobody may sit at the terminal.
int noPassphrase(char*, int, int, void*) {
    return -1;
}

void checkFiles(const CertificateFiles& files) {
    const FilePtr keyFile = openFile(files.key);
    const KeyPtr key(PEM_read_PrivateKey(keyFile.get(), nullptr, noPassphrase, nullptr));
    if (!key) {
        fail(files.key, "no PEM private key: " + opensslReason());
    }
    const FilePtr certificateFile = openFile(files.certificate);
    const CertificatePtr certificate(
        PEM_read_X509(certificateFile.get(), nullptr, nullptr, nullptr));
    if (!certificate) {
        fail(files.certificate, "no PEM certificate: " + opensslReason());
    }
    if (X509_check_private_key(certificate.get(), key.get()) != 1) {
        ERR_clear_error();
        fail(files.certificate, "does not belong to " + files.key);
    }
}

} // namespace

CertificateFiles prepareCertificate(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        fail(folder, error.message());
    }
    CertificateFiles files{(fs::path(folder) / "platform-cert.pem").string(),
                           (fs::path(folder) / "platform-key.pem").string()};
    const bool haveCertificate = fs::exists(files.certificate, error);
    const bool haveKey = fs::exists(files.key, error);
    if (haveCertificate != haveKey) {
        fail(haveKey ? files.certificate : files.key,
             "missing, while its counterpart is there; remove both to have them made anew");
    }
    if (!haveKey) {
        const KeyPtr key = makeKey();
        const CertificatePtr certificate = makeCertificate(key.get());
        writeFile(files.key, [&](std::FILE* file) {
            return PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
        });
        writeFile(files.certificate,
                  [&](std::FILE* file) { return PEM_write_X509(file, certificate.get()); });
        // The certificate is for everybody: a gateway may be given it as its trust store.
        fs::permissions(files.certificate, fs::perms{0644}, error);
    }
    checkFiles(files);
    return files;
}

} // namespace vxp
