// SPDX-License-Identifier: MIT
#include "base64/base64.h"

#include <algorithm>
#include <cstring>

namespace {

using vxq::OwnedText;

constexpr std::size_t kGroup = 3;   // bytes
constexpr std::size_t kQuartet = 4; // characters
constexpr char kPadding = '=';

void encode_group(const unsigned char (&bytes)[kGroup], char* quartet) {
    const unsigned char values[kQuartet] = {
        cmove_bits(bytes[0], 0, 2),
        static_cast<unsigned char>(cmove_bits(bytes[0], 6, 2) | cmove_bits(bytes[1], 0, 4)),
        static_cast<unsigned char>(cmove_bits(bytes[1], 4, 2) | cmove_bits(bytes[2], 0, 6)),
        cmove_bits(bytes[2], 2, 2),
    };
    for (std::size_t index = 0; index < kQuartet; ++index)
        quartet[index] = base64_alphabet[values[index]];
}

unsigned char value_of(char character) {
    return static_cast<unsigned char>(base64_suffix_map[static_cast<unsigned char>(character)]);
}

void decode_quartet(const char* quartet, unsigned char (&bytes)[kGroup]) {
    const unsigned char values[kQuartet] = {value_of(quartet[0]), value_of(quartet[1]),
                                            value_of(quartet[2]), value_of(quartet[3])};
    bytes[0] =
        static_cast<unsigned char>(cmove_bits(values[0], 2, 0) | cmove_bits(values[1], 2, 6));
    bytes[1] =
        static_cast<unsigned char>(cmove_bits(values[1], 4, 0) | cmove_bits(values[2], 2, 4));
    bytes[2] = static_cast<unsigned char>(cmove_bits(values[2], 6, 0) | values[3]);
}

std::size_t count_padding(const char* text, std::size_t length) {
    if (text[length - 1] != kPadding)
        return 0;
    return text[length - 2] == kPadding ? 2 : 1;
}

OwnedText allocate_text(std::size_t length) {
    OwnedText text(static_cast<char*>(std::malloc(length + 1)));
    if (text)
        text.get()[length] = '\0';
    return text;
}

} // namespace

OwnedText base64_encode2(const void* bytes, std::size_t length) {
    const std::size_t groups = (length + kGroup - 1) / kGroup;
    OwnedText text = length != 0 ? allocate_text(groups * kQuartet) : nullptr;
    if (!text)
        return nullptr;
    const auto* const input = static_cast<const unsigned char*>(bytes);
    char* quartet = text.get();
    for (std::size_t position = 0; position < length; position += kGroup, quartet += kQuartet) {
        const std::size_t taken = std::min(length - position, kGroup);
        unsigned char group[kGroup] = {};
        std::memcpy(group, input + position, taken);
        encode_group(group, quartet);
        std::memset(quartet + taken + 1, kPadding, kGroup - taken);
    }
    return text;
}

OwnedText base64_decode2(const char* text, std::size_t* length) {
    const std::size_t characters = text != nullptr ? std::strlen(text) : 0;
    if (characters == 0 || characters % kQuartet != 0)
        return nullptr;
    const std::size_t size = characters / kQuartet * kGroup - count_padding(text, characters);
    OwnedText bytes = allocate_text(size);
    if (!bytes)
        return nullptr;
    for (std::size_t position = 0; position < size; position += kGroup, text += kQuartet) {
        unsigned char group[kGroup];
        decode_quartet(text, group);
        std::memcpy(bytes.get() + position, group, std::min(size - position, kGroup));
    }
    *length = size;
    return bytes;
}

char* base64_encode(const char* text) {
    return base64_encode2(text, text != nullptr ? std::strlen(text) : 0).release();
}

char* base64_decode(const char* text) {
    std::size_t length = 0;
    return base64_decode2(text, &length).release();
}
