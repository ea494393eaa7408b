// SPDX-License-Identifier: MIT
#include "base64/base64.h"

#include <gmock/gmock.h>

#include "unit_net/peer_codec.h"

namespace {

std::string encode(const std::string& bytes) {
    const vxq::OwnedText text = base64_encode2(bytes.data(), bytes.size());
    return text ? text.get() : "(null)";
}

std::string decode(const std::string& text) {
    std::size_t length = 4711;
    const vxq::OwnedText bytes = base64_decode2(text.c_str(), &length);
    if (!bytes) {
        EXPECT_EQ(length, 4711U) << "the length is touched on failure";
        return "(null)";
    }
    EXPECT_EQ(bytes.get()[length], '\0');
    return {bytes.get(), length};
}

struct Vector {
    const char* plain;
    const char* coded;
};

// RFC 4648, section 10; the empty text is a failure here.
constexpr Vector kVectors[] = {{"f", "Zg=="},        {"fo", "Zm8="},        {"foo", "Zm9v"},
                               {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};

} // namespace

TEST(Base64, PublishedVectors) {
    for (const Vector& vector : kVectors) {
        EXPECT_EQ(encode(vector.plain), vector.coded);
        EXPECT_EQ(decode(vector.coded), vector.plain);
    }
}

TEST(Base64, ExportedCodersTakeTexts) {
    for (const Vector& vector : kVectors) {
        const vxq::OwnedText coded(base64_encode(vector.plain));
        ASSERT_NE(coded, nullptr);
        EXPECT_STREQ(coded.get(), vector.coded);
        const vxq::OwnedText plain(base64_decode(vector.coded));
        ASSERT_NE(plain, nullptr);
        EXPECT_STREQ(plain.get(), vector.plain);
    }
}

TEST(Base64, NothingToEncodeGivesNull) {
    EXPECT_EQ(base64_encode(""), nullptr);
    EXPECT_EQ(base64_encode(nullptr), nullptr);
    EXPECT_EQ(base64_encode2("abc", 0), nullptr);
}

TEST(Base64, OneByteGivesTwoPaddingCharacters) {
    EXPECT_EQ(encode(std::string(1, '\xff')), "/w==");
}

TEST(Base64, TextCoderStopsAtAZero) {
    const vxq::OwnedText coded(base64_encode("ab\0cd"));
    EXPECT_STREQ(coded.get(), "YWI=");
    EXPECT_EQ(encode(std::string("ab\0cd", 5)), "YWIAY2Q=");
}

TEST(Base64, LengthsThatAreNoMultipleOfFourGiveNull) {
    for (const char* const text : {"", "A", "AB", "ABC", "ABCDE", "Zm9vYg=", "Zg==="})
        EXPECT_EQ(decode(text), "(null)") << text;
    EXPECT_EQ(base64_decode(nullptr), nullptr);
    EXPECT_EQ(base64_decode("ABC"), nullptr);
}

TEST(Base64, PaddingIsCountedAtTheEndOnly) {
    EXPECT_EQ(decode("Zg==").size(), 1U);
    EXPECT_EQ(decode("Zm8=").size(), 2U);
    EXPECT_EQ(decode("====").size(), 1U);
    EXPECT_EQ(decode("Z===").size(), 1U);
    EXPECT_EQ(decode("Zg==Zm9v").size(), 6U);
}

TEST(Base64, CharactersOutsideTheAlphabetAreNotAnError) {
    EXPECT_EQ(decode("Zm9v!!!!").size(), 6U);
    EXPECT_EQ(decode("Zm9v!!!!").substr(0, 3), "foo");
    EXPECT_EQ(decode("\xff\xfe\x80\x01").size(), 3U);
}

TEST(Base64, TablesAgree) {
    ASSERT_EQ(sizeof base64_alphabet, 65U);
    int known = 0;
    for (int character = 0; character < 256; ++character) {
        const int value = base64_suffix_map[static_cast<std::size_t>(character)];
        if (value == -1)
            continue;
        ++known;
        EXPECT_EQ(base64_alphabet[value], static_cast<char>(character));
    }
    EXPECT_EQ(known, 64);
    EXPECT_EQ(base64_suffix_map['='], -1);
}

TEST(Base64, BitFieldsAreCutOutOfEightBits) {
    EXPECT_EQ(cmove_bits(0xff, 6, 2), 0x30);
    EXPECT_EQ(cmove_bits(0xff, 0, 2), 0x3f);
    EXPECT_EQ(cmove_bits(0xa5, 4, 0), 0x50);
    EXPECT_EQ(cmove_bits(0xa5, 0, 0), 0xa5);
    EXPECT_EQ(cmove_bits(0x81, 1, 1), 0x01);
}

TEST(Base64, AgreesWithOpenSslOnEveryLength) {
    for (unsigned length = 1; length <= 1'000; ++length) {
        const std::string bytes = peer::random_bytes(length, length);
        const std::string coded = peer::base64(bytes);
        ASSERT_EQ(encode(bytes), coded) << length;
        ASSERT_EQ(decode(coded), bytes) << length;
    }
}

TEST(Base64, NoLineBreaksInALongText) {
    const std::string bytes = peer::random_bytes(100'000, 1);
    EXPECT_EQ(encode(bytes), peer::base64(bytes));
}
