// SPDX-License-Identifier: MIT
#include "aes_cbc/aes_cbc.h"

#include <csignal>

#include <gmock/gmock.h>

#include "unit_net/peer_codec.h"

namespace {

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** Runs the cipher between guard bytes; fails the test when one of them is touched. */
std::string run(const std::string& key, const std::string& input, int mode) {
    std::string output(input.size() + 32, '\x5e');
    auto* const out = reinterpret_cast<unsigned char*>(output.data()) + 16;
    EXPECT_EQ(cbc_encrypt_or_decrypt(bytes_of(key), 128, bytes_of(input), out, input.size(), mode),
              0);
    EXPECT_EQ(output.substr(0, 16), std::string(16, '\x5e'));
    EXPECT_EQ(output.substr(16 + input.size()), std::string(16, '\x5e'));
    return output.substr(16, input.size());
}

std::string exclusive_or(std::string left, const std::string& right) {
    for (std::size_t index = 0; index < left.size(); ++index)
        left[index] = static_cast<char>(left[index] ^ right[index]);
    return left;
}

// NIST SP 800-38A, F.2.1 and F.2.2.
const std::string kNistKey = peer::from_hex("2b7e151628aed2a6abf7158809cf4f3c");
const std::string kNistIv = peer::from_hex("000102030405060708090a0b0c0d0e0f");
const std::string kNistPlain = peer::from_hex("6bc1bee22e409f96e93d7e117393172a"
                                              "ae2d8a571e03ac9c9eb76fac45af8e51"
                                              "30c81c46a35ce411e5fbc1191a0a52ef"
                                              "f69f2445df4f9b17ad2b417be66c3710");
const std::string kNistCipher = peer::from_hex("7649abac8119b246cee98e9b12e9197d"
                                               "5086cb9b507219ee95db113a917678b2"
                                               "73bed6b8e3c1743b7116e69e22229516"
                                               "3ff1caa1681fac09120eca307586e1a7");

/**
 * The vector's plain text for our IV: CBC adds the IV to the first block, so exchanging one IV for
 * the other there leaves the whole cipher text as published.
 */
std::string nist_plain_for(int iv_fill) {
    const std::string own_iv(16, static_cast<char>(iv_fill));
    return exclusive_or(exclusive_or(kNistPlain.substr(0, 16), kNistIv), own_iv) +
           kNistPlain.substr(16);
}

} // namespace

TEST(AesCbc, PublishedVector) {
    EXPECT_EQ(run(kNistKey, nist_plain_for(FRAME_IV_FILL), kEncrypt), kNistCipher);
    EXPECT_EQ(run(kNistKey, kNistCipher, kDecrypt), nist_plain_for(FRAME_IV_FILL));
}

TEST(AesCbc, EveryModeButOneDecrypts) {
    for (const int mode : {0, 2, -1, 100})
        EXPECT_EQ(run(kNistKey, kNistCipher, mode), nist_plain_for(FRAME_IV_FILL)) << mode;
}

TEST(AesCbc, AgreesWithEvpOnEveryLength) {
    for (unsigned blocks = 0; blocks <= 639; ++blocks) {
        const std::string key = peer::random_bytes(16, blocks);
        const std::string plain = peer::random_bytes(std::size_t{blocks} * 16, 1'000 + blocks);
        const std::string cipher = peer::encrypt(key, FRAME_IV_FILL, plain);
        ASSERT_EQ(run(key, plain, kEncrypt), cipher) << blocks;
        ASSERT_EQ(run(key, cipher, kDecrypt), plain) << blocks;
    }
}

TEST(AesCbc, OnlyTheFirstSixteenBytesOfAKeyBufferCount) {
    const std::string plain = peer::random_bytes(64, 3);
    EXPECT_EQ(run(kNistKey + "anything", plain, kEncrypt), run(kNistKey, plain, kEncrypt));
}

TEST(AesCbc, EveryCallStartsFromTheSameIv) {
    const std::string plain = peer::random_bytes(64, 4);
    const std::string first = run(kNistKey, plain, kEncrypt);
    EXPECT_EQ(run(kNistKey, plain, kEncrypt), first);
}

TEST(AesCbc, WorksInPlace) {
    std::string buffer = peer::random_bytes(80, 5);
    const std::string plain = buffer;
    auto* const bytes = reinterpret_cast<unsigned char*>(buffer.data());
    cbc_encrypt_or_decrypt(bytes_of(kNistKey), 128, bytes, bytes, buffer.size(), kEncrypt);
    EXPECT_EQ(buffer, peer::encrypt(kNistKey, FRAME_IV_FILL, plain));
    cbc_encrypt_or_decrypt(bytes_of(kNistKey), 128, bytes, bytes, buffer.size(), kDecrypt);
    EXPECT_EQ(buffer, plain);
}

// run() checks that nothing outside the length is written; the sanitizers, that nothing is read.
TEST(AesCbc, ABrokenBlockIsTakenAsIfZerosFollowed) {
    for (std::size_t length = 1; length < 50; ++length) {
        const std::string input = peer::random_bytes(length, 6);
        std::string whole = input;
        whole.resize((length + 15) / 16 * 16, '\0');
        EXPECT_EQ(run(kNistKey, input, kEncrypt),
                  peer::encrypt(kNistKey, FRAME_IV_FILL, whole).substr(0, length));
        EXPECT_EQ(run(kNistKey, input, kDecrypt),
                  peer::decrypt(kNistKey, FRAME_IV_FILL, whole).substr(0, length));
    }
}

TEST(AesCbc, AKeyLengthThatAesDoesNotHaveIsRefused) {
    for (const int mode : {kEncrypt, kDecrypt}) {
        const std::string input(16, 'x');
        std::string output(16, 'y');
        testing::internal::CaptureStdout();
        const int error = cbc_encrypt_or_decrypt(bytes_of(kNistKey), 100, bytes_of(input),
                                                 reinterpret_cast<unsigned char*>(output.data()),
                                                 input.size(), mode);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "set key error !");
        EXPECT_NE(error, 0);
        EXPECT_EQ(output, std::string(16, 'y'));
    }
}

TEST(PadData, AppendsTheCountAsManyTimes) {
    for (std::size_t length = 0; length <= 64; ++length) {
        std::string buffer(length, 'a');
        buffer.resize(length + 17, '\x5e');
        const std::size_t padding = 16 - length % 16;
        EXPECT_EQ(pad_data(buffer.data(), length, 16), length + padding);
        EXPECT_EQ(buffer.substr(0, length + padding),
                  std::string(length, 'a') + std::string(padding, static_cast<char>(padding)));
        EXPECT_EQ(buffer[length + padding], '\x5e') << "a byte behind the padding is written";
    }
}

TEST(PadData, AnAlignedTextGetsAWholeBlock) {
    char buffer[40] = "0123456789abcdef";
    EXPECT_EQ(pad_data(buffer, 16, 16), 32U);
    EXPECT_EQ(std::string(buffer + 16), std::string(16, '\x10'));
}

TEST(PadData, OtherBlockSizes) {
    char buffer[16] = "abcde";
    EXPECT_EQ(pad_data(buffer, 5, 8), 8U);
    EXPECT_STREQ(buffer, "abcde\x03\x03\x03");
    EXPECT_EQ(pad_data(buffer, 8, 1), 9U);
    EXPECT_EQ(buffer[8], '\x01');
}

TEST(PadDataDeathTest, ABlockSizeOfZeroIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    char buffer[16] = "abc";
    EXPECT_EXIT(pad_data(buffer, 3, 0), testing::KilledBySignal(SIGABRT), "");
}

TEST(AesCbcDisp, ShowsLabelBytesAndAnEmptyLine) {
    testing::internal::CaptureStdout();
    aes_cbc_disp("label", "\x01\xab\x00", 3);
    aes_cbc_disp("empty", nullptr, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "label:\n01 ab 00 \n\nempty:\n\n\n");
}
