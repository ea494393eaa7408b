// SPDX-License-Identifier: MIT
#include "aes_cbc/dh.h"

#include <gmock/gmock.h>
#include <openssl/bn.h>

#include "unit_net/peer_codec.h"
#include "unit_net/peer_key.h"

using peer::KeyPeer;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/** Standard output of the block that it lives in. */
class Output {
public:
    Output() { testing::internal::CaptureStdout(); }
    ~Output() {
        if (!taken_)
            testing::internal::GetCapturedStdout();
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::string take() {
        taken_ = true;
        return testing::internal::GetCapturedStdout();
    }

private:
    bool taken_ = false;
};

/** The gateway's public numbers of one agreement. */
struct Offer {
    char public_key[kNumberText] = {};
    char prime[kNumberText] = {};
    char generator[kNumberText] = {};

    int make() { return dh_new_key(public_key, prime, generator); }
    [[nodiscard]] KeyPeer peer() const { return {prime, generator, public_key}; }
};

class KeyAgreement : public testing::Test {
protected:
    ~KeyAgreement() override {
        // Whatever ends an agreement, frees it.
        const Output output;
        dh_share_key(nullptr, nullptr);
    }

    /** Ends the agreement with the peer's number; the key, or nothing. */
    std::string share(const std::string& peer_key) {
        std::string key(16, '\x5e');
        result_ = dh_share_key(peer_key.c_str(), reinterpret_cast<unsigned char*>(key.data()));
        return key;
    }
    std::string share(const BIGNUM* number) { return share(peer::text_of(number)); }

    void expect_refused(const std::string& peer_key) {
        const Output output;
        Offer offer;
        ASSERT_EQ(offer.make(), 0);
        expect_refused_by_running(peer_key);
    }
    void expect_refused_by_running(const std::string& peer_key) {
        EXPECT_EQ(share(peer_key), std::string(16, '\x5e')) << "the key is touched";
        EXPECT_EQ(result_, -1);
        EXPECT_EQ(g_dh, nullptr);
    }

    int result_ = 0;
};

const std::string kUntouched(16, '\x5e');

} // namespace

TEST_F(KeyAgreement, ThousandAgreementsGiveBothSidesTheSameKey) {
    const Output output;
    for (int count = 0; count < 1'000; ++count) {
        Offer offer;
        ASSERT_EQ(offer.make(), 0);
        ASSERT_NE(g_dh, nullptr);
        const KeyPeer peer = offer.peer();
        ASSERT_EQ(share(peer.public_key()), peer.key()) << count;
        ASSERT_EQ(result_, 0);
        ASSERT_EQ(g_dh, nullptr);
    }
}

TEST_F(KeyAgreement, TheParametersAreASafePrimeOf128BitsAndTwo) {
    const Output output;
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> context(BN_CTX_new(), BN_CTX_free);
    for (int count = 0; count < 20; ++count) {
        Offer offer;
        ASSERT_EQ(offer.make(), 0);
        EXPECT_STREQ(offer.generator, "Ag==");
        const KeyPeer peer = offer.peer();
        EXPECT_EQ(BN_num_bits(peer.prime()), 128);
        EXPECT_EQ(BN_mod_word(peer.prime(), 24), 23U);
        EXPECT_EQ(BN_check_prime(peer.prime(), context.get(), nullptr), 1);
        const peer::Number half(BN_new());
        BN_rshift1(half.get(), peer.prime());
        EXPECT_EQ(BN_check_prime(half.get(), context.get(), nullptr), 1);
        EXPECT_GT(BN_cmp(peer.gateway_key(), BN_value_one()), 0);
        EXPECT_LT(BN_cmp(peer.gateway_key(), peer.prime()), 0);
    }
}

TEST_F(KeyAgreement, EveryNegotiationHasNewNumbers) {
    const Output output;
    Offer first;
    Offer second;
    ASSERT_EQ(first.make(), 0);
    ASSERT_EQ(second.make(), 0); // in place of the first, which is freed
    EXPECT_STRNE(first.prime, second.prime);
    EXPECT_STRNE(first.public_key, second.public_key);
    const KeyPeer peer = second.peer();
    EXPECT_EQ(share(peer.public_key()), peer.key());
}

TEST_F(KeyAgreement, LeadingZerosOfTheSecretAreDroppedAndTheEndIsZero) {
    const Output output;
    for (const std::size_t size : {15U, 14U}) {
        Offer offer;
        ASSERT_EQ(offer.make(), 0);
        KeyPeer peer = offer.peer();
        peer.choose_for_secret_size(size);
        const std::string key = share(peer.public_key());
        EXPECT_EQ(key.substr(0, size), peer.secret());
        EXPECT_EQ(key.substr(size), std::string(16 - size, '\0'));
    }
}

TEST_F(KeyAgreement, PublicNumbersThatGiveTheSecretAwayAreRefused) {
    const Output output;
    Offer offer;
    for (const int offset : {-1, 0, 1, 1'000'000}) {
        ASSERT_EQ(offer.make(), 0);
        const peer::Number number(BN_dup(offer.peer().prime()));
        if (offset < 0)
            BN_sub_word(number.get(), static_cast<BN_ULONG>(-offset));
        else
            BN_add_word(number.get(), static_cast<BN_ULONG>(offset));
        expect_refused_by_running(peer::text_of(number.get()));
    }
    for (const BN_ULONG value : {0U, 1U}) {
        ASSERT_EQ(offer.make(), 0);
        expect_refused_by_running(peer::base64(std::string(1, static_cast<char>(value))));
    }
}

TEST_F(KeyAgreement, TheOutermostGoodNumbersAreTaken) {
    const Output output;
    for (const bool largest : {false, true}) {
        Offer offer;
        ASSERT_EQ(offer.make(), 0);
        const peer::Number number =
            largest ? peer::Number(BN_dup(offer.peer().prime())) : peer::number(2);
        if (largest)
            BN_sub_word(number.get(), 2);
        EXPECT_NE(share(number.get()), kUntouched);
        EXPECT_EQ(result_, 0);
    }
}

TEST_F(KeyAgreement, WhatIsNoBase64IsRefused) {
    for (const char* const text : {"", "a", "abc", "abcde"})
        expect_refused(text);
}

TEST_F(KeyAgreement, ANumberMuchTooLongIsRefused) {
    expect_refused(peer::base64(std::string(7'000, '\xff')));
}

TEST_F(KeyAgreement, NoTextIsRefused) {
    const Output output;
    Offer offer;
    ASSERT_EQ(offer.make(), 0);
    unsigned char key[16] = {};
    EXPECT_EQ(dh_share_key(nullptr, key), -1);
    EXPECT_EQ(g_dh, nullptr);
}

TEST_F(KeyAgreement, TheNextNegotiationNeedsNewKeys) {
    Output output;
    Offer offer;
    ASSERT_EQ(offer.make(), 0);
    const std::string number = offer.peer().public_key();
    share(number);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(share(number), kUntouched);
    EXPECT_EQ(result_, -1);
    EXPECT_THAT(output.take(), HasSubstr("dh_share_key "));
}

TEST_F(KeyAgreement, TheNumbersAreShown) {
    Output output;
    Offer offer;
    ASSERT_EQ(offer.make(), 0);
    const KeyPeer peer = offer.peer();
    const auto decimal = [](const BIGNUM* number) {
        char* const text = BN_bn2dec(number);
        const std::string copy = text;
        OPENSSL_free(text);
        return copy;
    };
    EXPECT_EQ(output.take(), "-----P:\ndecimal format:" + decimal(peer.prime()) +
                                 "\nbase64 format:" + offer.prime +
                                 "\n-----G:\ndecimal format:2\nbase64 format:Ag==\n"
                                 "-----Public key:\ndecimal format:" +
                                 decimal(peer.gateway_key()) +
                                 "\nbase64 format:" + offer.public_key + "\n");
    Output shared;
    share(peer.public_key());
    std::string hex;
    for (const char byte : peer.secret()) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        hex += digits;
    }
    const peer::Number own = peer::number_from_bytes(peer::from_base64(peer.public_key()));
    EXPECT_EQ(shared.take(), "-----pair's public key:\ndecimal format:" + decimal(own.get()) +
                                 "\nbase64 format:" + peer.public_key() + "\n" + hex + "\n");
}

TEST_F(KeyAgreement, ARefusedNumberIsSaid) {
    Output output;
    Offer offer;
    ASSERT_EQ(offer.make(), 0);
    share("AQ==");
    EXPECT_THAT(output.take(), HasSubstr("error size is -1\n"));
}

TEST_F(KeyAgreement, GetShareNeedsRoomForThePrime) {
    const Output output;
    Offer offer;
    ASSERT_EQ(offer.make(), 0);
    const peer::Number number = peer::number(2);
    unsigned char secret[32];
    EXPECT_EQ(get_share(number.get(), g_dh, secret, 15), -1);
    const int length = get_share(number.get(), g_dh, secret, 16);
    EXPECT_GT(length, 0);
    EXPECT_LE(length, 16);
}

TEST(DispBn, CopiesNoMoreThanTheBufferHolds) {
    testing::internal::CaptureStdout();
    const peer::Number number = peer::number_from_bytes(std::string(3'000, '\x7f'));
    std::vector<char> out(kNumberText, '\0');
    disp_bn(number.get(), "label\n", out.data());
    EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith("label\ndecimal format:"));
    EXPECT_EQ(std::string(out.data()), peer::text_of(number.get()).substr(0, kNumberText - 1));
    EXPECT_EQ(out.back(), '\0');
}

TEST(DispBn, TheTextIsCopiedWithoutItsEnd) {
    testing::internal::CaptureStdout();
    const peer::Number number = peer::number(2);
    std::vector<char> out(kNumberText, 'x');
    disp_bn(number.get(), "", out.data());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "decimal format:2\nbase64 format:Ag==\n");
    EXPECT_EQ(std::string(out.data(), 5), "Ag==x");
}

TEST(DispBn, ZeroHasNoBytesAndNoBase64) {
    testing::internal::CaptureStdout();
    const peer::Number number = peer::number(0);
    std::vector<char> out(kNumberText, '\0');
    disp_bn(number.get(), "", out.data());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "decimal format:0\nbase64 format:\n");
}
