// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vxp {

/// The two PEM files that a TLS server needs.
struct CertificateFiles {
    std::string certificate;
    std::string key;
};

/**
 * Gives the platform's certificate and private key, kept in a folder. What is missing is made: the
 * folder, and a self-signed certificate for "localhost", 127.0.0.1 and ::1 that lasts ten years.
 * The key file can be read by its owner only.
 *
 * @throws std::runtime_error naming the file and what is wrong: it cannot be read or written, is
 *         no PEM file, only one of the two is there, or they do not belong together
 */
CertificateFiles prepareCertificate(const std::string& folder);

} // namespace vxp
