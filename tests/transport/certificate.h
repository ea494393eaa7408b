// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace transport {

/** A certificate and its private key, both as PEM texts. */
struct Certificate {
    std::string certificate;
    std::string key;
};

/** A self-signed certificate for "localhost", made anew, on a P-256 key. */
Certificate make_certificate();

/** One that ended yesterday, for a host that is not the platform. */
Certificate make_expired_certificate();

} // namespace transport
