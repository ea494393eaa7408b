// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

/**
 * @file
 * The other side's coding, written without the daemon's: AES through OpenSSL's EVP interface,
 * Base64 through its block functions.
 */
namespace peer {

/** AES-128-CBC with an IV of sixteen times `iv_fill`, without padding; the size is kept. */
std::string encrypt(const std::string& key, int iv_fill, const std::string& plain);
std::string decrypt(const std::string& key, int iv_fill, const std::string& cipher);

std::string base64(const std::string& bytes);
/** Exact bytes, for valid Base64 only. */
std::string from_base64(const std::string& text);

std::string from_hex(const std::string& digits);

/** The same for the same seed, any byte. */
std::string random_bytes(std::size_t size, unsigned seed);

/** Bytes of a frame's magic and length. */
inline constexpr std::size_t kFrameHeader = 8;

/** A frame: magic, length, body. */
std::string frame(const std::string& body);
/** A frame with the text padded with zeros and encrypted. */
std::string encrypted_frame(const std::string& key, const std::string& text);
/** The text in an encrypted frame of ours; throws when it is no whole frame. */
std::string text_of_frame(const std::string& key, const std::string& frame);
/** The size of the body of the frame that begins with these bytes: at least a header. */
std::size_t body_size(const std::string& frame);
/** Takes the first frame off a stream; empty when there is no whole one. */
std::string take_frame(std::string& stream);

} // namespace peer
