// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vxp {

/// The platform channel's cipher is AES-128 in CBC mode.
inline constexpr std::size_t cipherBlock = 16;
using AesKey = std::array<unsigned char, cipherBlock>;

/**
 * Encrypts a message; zero bytes fill its last block up.
 *
 * @param ivFill the value of all bytes of the IV, which is never sent
 */
std::string encryptText(const AesKey& key, unsigned char ivFill, std::string_view text);

/**
 * The reverse: the text ends before its first zero byte.
 *
 * @return nothing when there are no whole blocks
 */
std::optional<std::string> decryptText(const AesKey& key, unsigned char ivFill,
                                       std::string_view cipher);

std::string encodeBase64(std::string_view bytes);

/// @return nothing unless the text is Base64 from beginning to end, without line breaks
std::optional<std::string> decodeBase64(std::string_view text);

/// A gateway's half of a key agreement; numbers as Base64 of their big-endian bytes.
struct KeyOffer {
    std::string prime;
    std::string generator;
    std::string publicKey;
};

/// The platform's half.
struct KeyAgreement {
    std::string publicKey; ///< as in KeyOffer
    AesKey key{};          ///< the secret's first bytes; a shorter one has zeros behind it
    int primeBits = 0;
    std::string primeKind; ///< "safe", "unsafe" (prime, but half of it is not) or "composite"
    std::string generator; ///< decimal
};

/**
 * Makes a key pair for the gateway's parameters and agrees on a key.
 *
 * A prime that is none is only told, so that a gateway's mistake is seen in what follows as well.
 *
 * @throws std::invalid_argument with the reason when there is nothing to calculate with
 */
KeyAgreement agreeKey(const KeyOffer& offer);

} // namespace vxp
