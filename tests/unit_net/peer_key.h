// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include <openssl/bn.h>

/** @file The other side of a key agreement, with big numbers alone. */
namespace peer {

struct FreeNumber {
    void operator()(BIGNUM* number) const { BN_free(number); }
};
using Number = std::unique_ptr<BIGNUM, FreeNumber>;

Number number_from_bytes(const std::string& bytes);
Number number(unsigned long value);
std::string bytes_of(const BIGNUM* number);
/** As it travels: Base64 of the magnitude. */
std::string text_of(const BIGNUM* number);

/** The peer of one agreement, from the gateway's three numbers as Base64. */
class KeyPeer {
public:
    KeyPeer(const std::string& prime, const std::string& generator, const std::string& gateway_key);

    /** Picks a new private number. */
    void choose();
    /** Picks private numbers until the secret has exactly this many bytes. */
    void choose_for_secret_size(std::size_t size);

    [[nodiscard]] std::string public_key() const;
    /** The secret's magnitude. */
    [[nodiscard]] std::string secret() const;
    /** The 16 bytes that both sides must end up with. */
    [[nodiscard]] std::string key() const;
    [[nodiscard]] const BIGNUM* prime() const { return prime_.get(); }
    [[nodiscard]] const BIGNUM* gateway_key() const { return gateway_key_.get(); }

private:
    [[nodiscard]] std::string power(const BIGNUM* base) const;

    Number prime_;
    Number generator_;
    Number gateway_key_;
    Number private_;
};

} // namespace peer
