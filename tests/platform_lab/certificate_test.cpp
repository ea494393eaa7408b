// SPDX-License-Identifier: MIT
#include "certificate.h"
#include "text.h"

#include "platform_process.h"

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <sys/stat.h>

#include <cstdio>
#include <memory>

namespace vxp {
namespace {

using test::TemporaryFolder;

std::unique_ptr<X509, decltype(&X509_free)> load(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    X509* certificate = PEM_read_X509(file, nullptr, nullptr, nullptr);
    std::fclose(file);
    return {certificate, X509_free};
}

std::string reasonFor(const std::string& folder) {
    try {
        prepareCertificate(folder);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(Certificate, IsMadeOnceAndSelfSigned) {
    const TemporaryFolder folder;
    const std::string place = folder.file("deep/er");
    const CertificateFiles files = prepareCertificate(place);
    const std::string first = readFile(files.certificate);
    const auto certificate = load(files.certificate);
    ASSERT_NE(certificate.get(), nullptr);
    EXPECT_EQ(X509_self_signed(certificate.get(), 1), 1);
    EXPECT_EQ(X509_check_host(certificate.get(), "localhost", 0, 0, nullptr), 1);
    EXPECT_EQ(X509_check_ip_asc(certificate.get(), "127.0.0.1", 0), 1);
    EXPECT_EQ(X509_check_ip_asc(certificate.get(), "127.0.0.2", 0), 0);
    EXPECT_EQ(X509_cmp_current_time(X509_get0_notBefore(certificate.get())), -1);
    EXPECT_EQ(X509_cmp_current_time(X509_get0_notAfter(certificate.get())), 1);
    prepareCertificate(place);
    EXPECT_EQ(readFile(files.certificate), first);
}

TEST(Certificate, TwoFoldersHaveDifferentOnes) {
    const TemporaryFolder folder;
    const CertificateFiles one = prepareCertificate(folder.file("1"));
    const CertificateFiles two = prepareCertificate(folder.file("2"));
    EXPECT_NE(readFile(one.key), readFile(two.key));
    EXPECT_NE(readFile(one.certificate), readFile(two.certificate));
}

TEST(Certificate, KeyIsForItsOwnerOnly) {
    const TemporaryFolder folder;
    const CertificateFiles files = prepareCertificate(folder.file("tls"));
    struct stat status {};
    ASSERT_EQ(::stat(files.key.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(Certificate, BrokenFilesAreNamed) {
    const TemporaryFolder folder;
    const CertificateFiles files = prepareCertificate(folder.file("tls"));
    const std::string good = readFile(files.certificate);
    (void)folder.write("tls/platform-cert.pem", "rubbish");
    EXPECT_TRUE(
        reasonFor(folder.file("tls")).starts_with(files.certificate + ": no PEM certificate"))
        << reasonFor(folder.file("tls"));
    (void)folder.write("tls/platform-cert.pem", good);
    (void)folder.write("tls/platform-key.pem", "rubbish");
    EXPECT_TRUE(reasonFor(folder.file("tls")).starts_with(files.key + ": no PEM private key"));
}

TEST(Certificate, KeyOfAnotherCertificateIsRefused) {
    const TemporaryFolder folder;
    const CertificateFiles files = prepareCertificate(folder.file("tls"));
    const CertificateFiles other = prepareCertificate(folder.file("other"));
    (void)folder.write("tls/platform-key.pem", readFile(other.key));
    EXPECT_EQ(reasonFor(folder.file("tls")),
              files.certificate + ": does not belong to " + files.key);
}

TEST(Certificate, OneOfTwoFilesIsAnError) {
    const TemporaryFolder folder;
    const CertificateFiles files = prepareCertificate(folder.file("tls"));
    std::remove(files.certificate.c_str());
    EXPECT_TRUE(reasonFor(folder.file("tls")).starts_with(files.certificate + ": missing"));
}

TEST(Certificate, FolderThatCannotBeMadeIsNamed) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "");
    EXPECT_TRUE(reasonFor(file + "/tls").starts_with(file + "/tls: "));
}

} // namespace
} // namespace vxp
