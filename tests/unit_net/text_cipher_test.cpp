// SPDX-License-Identifier: MIT
// The exported text cipher, which nothing in the daemon itself uses.
#include <cstring>
#include <vector>

#include <gmock/gmock.h>

#include "aes_cbc/aes_cbc.h"
#include "text/text.h"
#include "unit_net/peer_codec.h"

namespace {

const std::string kKey = peer::from_hex("000102030405060708090a0b0c0d0e0f");

const unsigned char* key_bytes() {
    return reinterpret_cast<const unsigned char*>(kKey.data());
}

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** In a heap buffer of just the size that is asked for: a sanitizer sees every byte too many. */
std::string encrypt(const std::string& text) {
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    buffer.resize(std::max(text.size() + 16, text.size() / 16 * 16 + 17), '\0');
    const vxq::OwnedText coded(gwdencrypt_cbcaes_base64(buffer.data(), key_bytes()));
    return coded ? coded.get() : "(null)";
}

std::string decrypt(const std::string& coded) {
    const vxq::OwnedText plain(gwddecrypt_cbcaes_base64(coded.c_str(), key_bytes()));
    return plain ? plain.get() : "(null)";
}

std::string padded(const std::string& text) {
    const std::size_t padding = 16 - text.size() % 16;
    return text + std::string(padding, static_cast<char>(padding));
}

/** A cipher text whose plain text is exactly these bytes. */
std::string coded_bytes(const std::string& plain) {
    return peer::base64(peer::encrypt(kKey, TEXT_IV_FILL, plain));
}

} // namespace

TEST(TextCipher, AgreesWithEvpAndPkcs7) {
    for (unsigned length = 0; length <= 300; ++length) {
        const std::string text(length, static_cast<char>('a' + length % 26));
        const std::string coded = coded_bytes(padded(text));
        ASSERT_EQ(encrypt(text), coded) << length;
        ASSERT_EQ(decrypt(coded), text) << length;
    }
}

TEST(TextCipher, ThePaddingStaysInTheCallersBuffer) {
    char buffer[33] = "0123456789abcdef";
    const vxq::OwnedText coded(gwdencrypt_cbcaes_base64(buffer, key_bytes()));
    EXPECT_EQ(std::string(buffer), "0123456789abcdef" + std::string(16, '\x10'));
}

TEST(TextCipher, BytesBehindThePaddingDoNotCount) {
    std::vector<char> buffer(64, 'x');
    std::memcpy(buffer.data(), "hello", 6);
    const vxq::OwnedText coded(gwdencrypt_cbcaes_base64(buffer.data(), key_bytes()));
    EXPECT_EQ(std::string(coded.get()), coded_bytes(padded("hello")));
}

TEST(TextCipher, UsesAnotherIvThanTheFrames) {
    static_assert(FRAME_IV_FILL != TEXT_IV_FILL);
    const std::string text = padded("some text");
    unsigned char cipher[16];
    encrypt_cbcaes(text.c_str(), cipher, key_bytes());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(cipher), 16),
              peer::encrypt(kKey, TEXT_IV_FILL, text));
}

TEST(TextCipher, AMultiByteCharacterAtTheEndIsLost) {
    EXPECT_EQ(decrypt(encrypt("caf\xc3\xa9")), "caf");
    EXPECT_EQ(decrypt(encrypt("\xe4\xb8\xad\xe6\x96\x87 end")), "\xe4\xb8\xad\xe6\x96\x87 end");
}

TEST(TextCipher, AtMostSixteenBytesAreCut) {
    EXPECT_EQ(decrypt(coded_bytes("abcdefghijkl" + std::string(20, '\x01'))),
              "abcdefghijkl" + std::string(4, '\x01'));
    // Nine bytes of padding, and seven of the text's last eight.
    const std::string text = "abcdefghijklmno" + std::string(8, '\xc3');
    EXPECT_EQ(decrypt(coded_bytes(padded(text))), "abcdefghijklmno\xc3");
}

TEST(TextCipher, WhatCountsAsPadding) {
    for (int value = 1; value < 256; ++value) {
        const std::string plain = "text" + std::string(12, static_cast<char>(value));
        const bool cut = value <= 0x10 || value >= 0x80;
        EXPECT_EQ(decrypt(coded_bytes(plain)), cut ? "text" : plain) << value;
    }
}

TEST(TextCipher, ThePaddingsOwnCountIsNotRead) {
    EXPECT_EQ(decrypt(coded_bytes("fifteen chars!!\x05")), "fifteen chars!!");
    EXPECT_EQ(decrypt(coded_bytes("twelve chars\x02\x02\x02\x02")), "twelve chars");
}

TEST(TextCipher, ATextOfNothingButPaddingIsEmpty) {
    EXPECT_EQ(decrypt(coded_bytes(std::string(16, '\x10'))), "");
    EXPECT_EQ(decrypt(coded_bytes(std::string(16, '\0'))), "");
}

TEST(TextCipher, AZeroEndsTheText) {
    EXPECT_EQ(decrypt(coded_bytes(std::string("abc\x01\0defghijklmn", 16))), "abc");
}

TEST(TextCipher, WhatIsNoBase64GivesNull) {
    for (const char* const text : {"", "abc", "abcde"})
        EXPECT_EQ(gwddecrypt_cbcaes_base64(text, key_bytes()), nullptr) << text;
    EXPECT_EQ(gwddecrypt_cbcaes_base64(nullptr, key_bytes()), nullptr);
}

TEST(TextCipher, ACipherTextOfBrokenBlocksStaysWithinItsSize) {
    for (unsigned length = 1; length < 40; ++length) {
        const vxq::OwnedText plain(gwddecrypt_cbcaes_base64(
            peer::base64(peer::random_bytes(length, length)).c_str(), key_bytes()));
        ASSERT_NE(plain, nullptr);
        EXPECT_LE(std::strlen(plain.get()), length);
    }
}

TEST(TextCipher, DecryptAlwaysReturnsZero) {
    const std::string cipher = peer::random_bytes(32, 9);
    char plain[33] = {};
    EXPECT_EQ(decrypt_cbcaes(bytes_of(cipher), 32, plain, key_bytes()), 0);
    EXPECT_EQ(decrypt_cbcaes(bytes_of(cipher), 0, plain, key_bytes()), 0);
}
