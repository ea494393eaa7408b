// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "process.h"
#include "transport/certificate.h"

/** @file TLS between a platform and a gateway whose system trusts one authority. */
namespace e2e {

class CertificateFolder {
public:
    const transport::Authority& authority() const { return authority_; }
    /** Puts a certificate there for the platform that is started next; the folder. */
    const std::filesystem::path& offer(const transport::Certificate& certificate) const;
    /** The environment of a program on a system that trusts the authority and nobody else. */
    std::map<std::string, std::string> trusting() const;

private:
    transport::Authority authority_;
    TemporaryFolder folder_;
};

} // namespace e2e
