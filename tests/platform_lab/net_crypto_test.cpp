// SPDX-License-Identifier: MIT
#include "net_crypto.h"

#include "net_client.h"
#include "text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vxp::test {
namespace {

std::string bytes(const std::string& hex) {
    return parseHex(hex).value_or("");
}

AesKey countingKey() {
    AesKey key{};
    for (std::size_t i = 0; i < key.size(); ++i) {
        key[i] = static_cast<unsigned char>(i);
    }
    return key;
}

TEST(NetCrypto, CipherTextIsTheOneOfTheCommandLineTool) {
    // openssl enc -aes-128-cbc -nopad, key 00..0f, IV 11..11, two zero bytes behind the text
    const std::string text = R"({"type":"ack"})";
    const std::string expected = bytes("b9b51954a1aa9a6947e924e0761463cc");
    EXPECT_EQ(hexText(encryptText(countingKey(), 0x11, text)), hexText(expected));
    EXPECT_EQ(decryptText(countingKey(), 0x11, expected), text);
}

TEST(NetCrypto, PadsToWholeBlocksOnly) {
    for (const auto& [length, padded] :
         {std::pair{0U, 0U}, {1U, 16U}, {15U, 16U}, {16U, 16U}, {17U, 32U}, {32U, 32U}}) {
        const std::string text(length, 'x');
        const std::string sealed = encryptText(countingKey(), 0x5a, text);
        EXPECT_EQ(sealed.size(), padded);
        if (length > 0) {
            EXPECT_EQ(decryptText(countingKey(), 0x5a, sealed), text);
        }
    }
    EXPECT_EQ(decryptText(countingKey(), 0x5a, ""), std::nullopt);
    EXPECT_EQ(decryptText(countingKey(), 0x5a, std::string(17, 'x')), std::nullopt);
}

TEST(NetCrypto, Base64) {
    const std::pair<std::string, std::string> pairs[] = {{"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foobar", "Zm9vYmFy"},
                                                         {std::string("\0\xff\0", 3), "AP8A"}};
    for (const auto& [plain, coded] : pairs) {
        EXPECT_EQ(encodeBase64(plain), coded);
        EXPECT_EQ(decodeBase64(coded), plain);
    }
    for (const char* bad :
         {"", "=", "====", "Zg=", "Z===", "Zg", "Zm9v\n", " Zg==", "Z$==", "Zg==Zg=="}) {
        EXPECT_EQ(decodeBase64(bad), std::nullopt) << bad;
    }
}

KeyOffer offerOf(const Json& data) {
    return {data["dh_p"].get<std::string>(), data["dh_g"].get<std::string>(),
            data["dh_key"].get<std::string>()};
}

TEST(NetCrypto, BothSidesAgreeAlsoOnSecretsWithLeadingZeros) {
    const NetKeys keys;
    const KeyOffer offer = offerOf(keys.offer());
    std::size_t shorter = 0;
    // One secret in 256 is shorter than the prime; its key has zeros at the end.
    for (int i = 0; shorter < 2 && i < 10000; ++i) {
        const KeyAgreement agreement = agreeKey(offer);
        ASSERT_EQ(agreement.key, keys.agree(agreement.publicKey));
        ASSERT_EQ(agreement.primeBits, 128);
        ASSERT_EQ(agreement.primeKind, "safe");
        ASSERT_EQ(agreement.generator, "2");
        shorter += keys.secret(agreement.publicKey).size() < agreement.key.size() ? 1U : 0U;
    }
    EXPECT_EQ(shorter, 2U);
}

TEST(NetCrypto, ASmallPrimeLeavesZerosBehindTheSecret) {
    // p = 23, and 2 to any power is at most one byte.
    const KeyAgreement agreement = agreeKey({toBase64("\x17"), toBase64("\x02"), toBase64("\x08")});
    EXPECT_NE(agreement.key[0], 0);
    EXPECT_TRUE(std::all_of(agreement.key.begin() + 1, agreement.key.end(),
                            [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(agreement.primeBits, 5);
    EXPECT_EQ(agreement.primeKind, "safe");
}

TEST(NetCrypto, PrimesAreJudged) {
    const auto kind = [](const std::string& prime) {
        return agreeKey({toBase64(prime), toBase64("\x02"), toBase64("\x05")}).primeKind;
    };
    EXPECT_EQ(kind("\x17"), "safe");
    EXPECT_EQ(kind("\x1d"), "unsafe");
    EXPECT_EQ(kind("\x21"), "composite");
}

TEST(NetCrypto, WhatCannotBeCalculatedWithIsRefused) {
    const std::string prime = "\x17";
    const std::string good = "\x05";
    const std::tuple<std::string, std::string, std::string, const char*> cases[] = {
        {"?", toBase64("\x02"), toBase64(good), "dh_p is not Base64"},
        {toBase64(prime), "", toBase64(good), "dh_g is not Base64"},
        {toBase64(prime), toBase64("\x02"), "abc", "dh_key is not Base64"},
        {toBase64("\x16"), toBase64("\x02"), toBase64(good), "dh_p is no odd number above 3"},
        {toBase64("\x03"), toBase64("\x02"), toBase64("\x02"), "dh_p is no odd number above 3"},
        {toBase64(prime), toBase64("\x01"), toBase64(good), "dh_g is not between 1 and p - 1"},
        {toBase64(prime), toBase64("\x02"), toBase64(std::string(1, '\0')),
         "dh_key is not between 1 and p - 1"},
        {toBase64(prime), toBase64("\x02"), toBase64("\x01"), "dh_key is not between 1 and p - 1"},
        {toBase64(prime), toBase64("\x02"), toBase64("\x16"), "dh_key is not between 1 and p - 1"},
        {toBase64(prime), toBase64("\x02"), toBase64("\x18"), "dh_key is not between 1 and p - 1"},
        {toBase64(std::string(129, '\xff')), toBase64("\x02"), toBase64(good),
         "dh_p has more than 1024 bits"},
    };
    for (const auto& [p, g, key, reason] : cases) {
        try {
            agreeKey({p, g, key});
            ADD_FAILURE() << reason;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), reason);
        }
    }
}

} // namespace
} // namespace vxp::test
