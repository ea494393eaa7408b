// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
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

/** A certificate authority of the test's own. */
class Authority {
public:
    Authority();
    ~Authority();
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    /** Its certificate as a PEM text: what a gateway that trusts it has in its store. */
    const std::string& certificate() const { return text_; }

    /**
     * A certificate that it has signed.
     * @param names    as OpenSSL writes them, e.g. "DNS:localhost,IP:127.0.0.1"
     * @param expired  whether it ended yesterday
     */
    Certificate sign(const std::string& names, bool expired = false) const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    std::string text_;
};

} // namespace transport
