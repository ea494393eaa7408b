// SPDX-License-Identifier: MIT
#include "certificate_folder.h"

#include <fstream>

namespace e2e {

const std::filesystem::path&
CertificateFolder::offer(const transport::Certificate& certificate) const {
    std::ofstream(folder_ / "platform-cert.pem") << certificate.certificate;
    std::ofstream(folder_ / "platform-key.pem") << certificate.key;
    std::ofstream(folder_ / "authority.pem") << authority_.certificate();
    return folder_.path();
}

std::map<std::string, std::string> CertificateFolder::trusting() const {
    return {{"SSL_CERT_FILE", folder_ / "authority.pem"}, {"SSL_CERT_DIR", "/nonexistent"}};
}

} // namespace e2e
