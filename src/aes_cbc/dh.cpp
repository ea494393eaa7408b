// SPDX-License-Identifier: MIT
// The DH object's functions are deprecated by OpenSSL 3 and stay in use: OpenSSL 1.1 has no others.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "aes_cbc/dh.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/dh.h>
#include <utility>

#include "aes_cbc/aes_cbc.h"
#include "base64/base64.h"
#include "log/log_text.h"
#include "text/text.h"

DH* g_dh = nullptr;

namespace {

using vxq::OwnedText;

constexpr int kPrimeBits = 128;
constexpr BN_ULONG kGenerator = 2;
// Of the primes p with p mod 24 = 23 the generator 2 spans the large subgroup.
constexpr BN_ULONG kPrimeModulus = 24;
constexpr BN_ULONG kPrimeRemainder = 23;
constexpr int kSecretBuffer = 32;

struct FreeNumber {
    void operator()(BIGNUM* number) const { BN_clear_free(number); }
};
using Number = std::unique_ptr<BIGNUM, FreeNumber>;

struct FreeContext {
    void operator()(BN_CTX* context) const { BN_CTX_free(context); }
};
using Context = std::unique_ptr<BN_CTX, FreeContext>;

struct FreeAgreement {
    void operator()(DH* agreement) const { DH_free(agreement); }
};
using Agreement = std::unique_ptr<DH, FreeAgreement>;

struct FreeDecimal {
    void operator()(char* text) const { OPENSSL_free(text); }
};
using Decimal = std::unique_ptr<char, FreeDecimal>;

struct CheckFlag {
    int bit;
    const char* meaning;
};

constexpr CheckFlag kCheckFlags[] = {
    {1, "p value is not prime"},
    {2, "p value is not a safe prime"},
    {4, "unable to check the generator value"},
    {8, "the g value is not a generator"},
};

// OpenSSL 3 finds any prime below 512 bits too short; the length is not ours to choose.
constexpr int kPrimeTooShort = 0x80;

int fail(const char* function, int line) {
    char label[64];
    vxq::format_text(label, sizeof label, "%s %d\n", function, line);
    aes_cbc_disp(label, nullptr, 0);
    return -1;
}

Number new_number(BN_ULONG value) {
    Number number(BN_new());
    return number && BN_set_word(number.get(), value) == 1 ? std::move(number) : nullptr;
}

Number make_prime() {
    const Number modulus = new_number(kPrimeModulus);
    const Number remainder = new_number(kPrimeRemainder);
    Number prime(BN_new());
    const bool made = modulus && remainder && prime &&
                      BN_generate_prime_ex(prime.get(), kPrimeBits, 1, modulus.get(),
                                           remainder.get(), nullptr) == 1;
    return made ? std::move(prime) : nullptr;
}

bool make_parameters(DH* agreement) {
    Number prime = make_prime();
    Number generator = new_number(kGenerator);
    if (!prime || !generator || DH_set0_pqg(agreement, prime.get(), nullptr, generator.get()) != 1)
        return false;
    static_cast<void>(prime.release()); // the agreement's now
    static_cast<void>(generator.release());
    return true;
}

/** Judges the parameters, for the length of the prime alone must not fail them. */
bool parameters_pass(const DH* agreement) {
    int problems = 0;
    if (DH_check(agreement, &problems) != 1) {
        fail("dh_new_key", __LINE__);
        return false;
    }
    problems &= ~kPrimeTooShort;
    if (problems == 0)
        return true;
    std::puts("DH_check failed");
    for (const CheckFlag& flag : kCheckFlags) {
        if ((problems & flag.bit) != 0)
            std::puts(flag.meaning);
    }
    std::fflush(stdout);
    return false;
}

/** A private number from 1 to q - 1, q being the order of the group: (prime - 1) / 2. */
Number make_private(const BIGNUM* prime) {
    Number range(BN_new());
    Number value(BN_new());
    const bool made =
        range && value && BN_rshift1(range.get(), prime) == 1 && BN_sub_word(range.get(), 1) == 1 &&
        BN_rand_range(value.get(), range.get()) == 1 && BN_add_word(value.get(), 1) == 1;
    return made ? std::move(value) : nullptr;
}

/** base to the power of `exponent`, in a time that tells nothing about the exponent. */
Number power(const BIGNUM* base, const BIGNUM* exponent, const BIGNUM* prime) {
    const Context context(BN_CTX_new());
    Number result(BN_new());
    const bool made =
        context && result &&
        BN_mod_exp_mont_consttime(result.get(), base, exponent, prime, context.get(), nullptr) == 1;
    return made ? std::move(result) : nullptr;
}

bool make_key_pair(DH* agreement) {
    const BIGNUM* prime = nullptr;
    const BIGNUM* generator = nullptr;
    DH_get0_pqg(agreement, &prime, nullptr, &generator);
    Number private_key = make_private(prime);
    Number public_key = private_key ? power(generator, private_key.get(), prime) : nullptr;
    if (!public_key || DH_set0_key(agreement, public_key.get(), private_key.get()) != 1)
        return false;
    static_cast<void>(public_key.release()); // the agreement's now
    static_cast<void>(private_key.release());
    return true;
}

/** False when there was no memory for one of them: the peer could do nothing with the others. */
bool export_numbers(const DH* agreement, char* public_key, char* prime, char* generator) {
    const BIGNUM* p = nullptr;
    const BIGNUM* g = nullptr;
    const BIGNUM* own = nullptr;
    DH_get0_pqg(agreement, &p, nullptr, &g);
    DH_get0_key(agreement, &own, nullptr);
    disp_bn(p, "-----P:\n", prime);
    disp_bn(g, "-----G:\n", generator);
    disp_bn(own, "-----Public key:\n", public_key);
    return *prime != '\0' && *generator != '\0' && *public_key != '\0';
}

/** 0, 1 and prime - 1 give secrets that anybody can tell, and no peer needs prime or more. */
bool is_public_number(const BIGNUM* number, const BIGNUM* prime) {
    const Number largest(BN_dup(prime));
    return largest && BN_sub_word(largest.get(), 2) == 1 && BN_cmp(number, BN_value_one()) > 0 &&
           BN_cmp(number, largest.get()) <= 0;
}

int compute_secret(const BIGNUM* peer, const DH* dh, unsigned char* out) {
    const BIGNUM* prime = nullptr;
    const BIGNUM* private_key = nullptr;
    DH_get0_pqg(dh, &prime, nullptr, nullptr);
    DH_get0_key(dh, nullptr, &private_key);
    if (private_key == nullptr || !is_public_number(peer, prime))
        return -1;
    const Number secret = power(peer, private_key, prime);
    return secret ? BN_bn2bin(secret.get(), out) : -1;
}

OwnedText number_to_base64(const BIGNUM* number) {
    const auto size = static_cast<std::size_t>(BN_num_bytes(number));
    const OwnedText bytes(static_cast<char*>(std::malloc(size + 1)));
    if (!bytes)
        return nullptr;
    BN_bn2bin(number, reinterpret_cast<unsigned char*>(bytes.get()));
    return base64_encode2(bytes.get(), size);
}

Number number_from_base64(const char* text) {
    std::size_t length = 0;
    const OwnedText bytes = base64_decode2(text, &length);
    if (!bytes)
        return nullptr;
    return Number(BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.get()),
                            static_cast<int>(length), nullptr));
}

void show_secret(const unsigned char* secret, int length) {
    if (!vxq::log_shows_secrets())
        return;
    for (int index = 0; index < length; ++index)
        std::printf("%02x", static_cast<unsigned>(secret[index]));
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int dh_new_key(char* public_key, char* prime, char* generator) {
    Agreement(std::exchange(g_dh, nullptr)).reset();
    Agreement agreement(DH_new());
    if (!agreement)
        return fail("dh_new_key", __LINE__);
    if (!make_parameters(agreement.get()))
        return fail("dh_new_key", __LINE__);
    if (!parameters_pass(agreement.get()))
        return -1;
    if (!make_key_pair(agreement.get()))
        return fail("dh_new_key", __LINE__);
    if (!export_numbers(agreement.get(), public_key, prime, generator))
        return fail("dh_new_key", __LINE__);
    g_dh = agreement.release();
    return 0;
}

int dh_share_key(const char* peer_key, unsigned char* key_out) {
    const Agreement agreement(std::exchange(g_dh, nullptr));
    const Number peer = number_from_base64(peer_key);
    if (!agreement || !peer)
        return fail("dh_share_key", __LINE__);
    char shown[kNumberText] = {};
    disp_bn(peer.get(), "-----pair's public key:\n", shown);

    unsigned char secret[kSecretBuffer] = {};
    const int length = get_share(peer.get(), agreement.get(), secret, kSecretBuffer);
    if (length < 0)
        return fail("dh_share_key", __LINE__);
    show_secret(secret, length);
    std::memcpy(key_out, secret, kAgreedKey);
    OPENSSL_cleanse(secret, sizeof secret);
    return 0;
}

int get_share(const BIGNUM* peer, DH* dh, unsigned char* out, int out_size) {
    if (out_size < DH_size(dh))
        return -1;
    const int length = compute_secret(peer, dh, out);
    if (length < 0) {
        std::printf("error size is %d\n", length);
        std::fflush(stdout);
    }
    return length;
}

void disp_bn(const BIGNUM* number, const char* label, char* out) {
    const Decimal decimal(BN_bn2dec(number));
    const OwnedText base64 = number_to_base64(number);
    const char* const base64_text = base64 ? base64.get() : "";
    if (vxq::log_shows_secrets()) { // with so short a prime the public numbers give the key away
        std::printf("%s", label);
        std::printf("decimal format:%s\n", decimal ? decimal.get() : "");
        std::printf("base64 format:%s\n", base64_text);
        std::fflush(stdout);
    }
    std::memcpy(out, base64_text, strnlen(base64_text, kNumberText - 1));
}
