// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

#include "text/text.h"
#include <vxquilan/entry_points.h>

/**
 * @file
 * Base64 with the standard alphabet of RFC 4648, without line breaks. The coders for bytes serve
 * the key exchange; those for texts, base64_encode() and base64_decode(), are exported.
 */

/** The character of each 6-bit value. */
inline constexpr char base64_alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/** The 6-bit value of each character; -1 for those outside the alphabet, "=" included. */
inline constexpr std::array<signed char, 256> base64_suffix_map = [] {
    std::array<signed char, 256> map{};
    map.fill(-1);
    for (signed char value = 0; value < 64; ++value)
        map[static_cast<unsigned char>(base64_alphabet[value])] = value;
    return map;
}();

/** Takes a bit field out of a byte: shifts it left within 8 bits, then right. */
constexpr unsigned char cmove_bits(unsigned char byte, unsigned left, unsigned right) {
    return static_cast<unsigned char>(static_cast<unsigned char>(byte << left) >> right);
}

/**
 * Encodes `length` bytes, zeros among them or not.
 * @return the text; null for no bytes, or when there is no memory
 */
vxq::OwnedText base64_encode2(const void* bytes, std::size_t length);

/**
 * Decodes a text. Characters are not checked: one outside the alphabet gives wrong bytes, not an
 * error.
 *
 * @param length  receives the number of bytes; untouched on failure
 * @return the bytes and a NUL; null for an empty text, one whose length is no multiple of 4, or
 *         when there is no memory
 */
vxq::OwnedText base64_decode2(const char* text, std::size_t* length);
