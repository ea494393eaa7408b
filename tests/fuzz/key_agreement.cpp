// SPDX-License-Identifier: MIT
// The peer's public value in the key agreement. The first byte says whether it comes as a number,
// which is then coded, or as the text itself.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <openssl/bn.h>
#include <openssl/dh.h>

#include "aes_cbc/dh.h"
#include "fuzz/harness.h"
#include "unit_net/peer_codec.h"
#include "unit_net/peer_key.h"

namespace {

using fuzz::require;
using peer::Number;

// A safe prime of 128 bits, fixed, so that an input means the same in every run.
constexpr char kPrime[] = "dd9fdcf6ecc1aa52a35c03ea4666a747";
constexpr char kPrivate[] = "20596c03e1f4e251d739bf1ad6285292";

Number from_hex(const char* digits) {
    return peer::number_from_bytes(peer::from_hex(digits));
}

Number power(const BIGNUM* base) {
    BN_CTX* const context = BN_CTX_new();
    Number result(BN_new());
    const Number prime = from_hex(kPrime);
    const Number exponent = from_hex(kPrivate);
    BN_mod_exp(result.get(), base, exponent.get(), prime.get(), context);
    BN_CTX_free(context);
    return result;
}

/** What dh_new_key leaves behind, with known numbers. */
void begin_agreement() {
    DH_free(g_dh);
    g_dh = DH_new();
    const Number generator = peer::number(2);
    DH_set0_pqg(g_dh, from_hex(kPrime).release(), nullptr, BN_dup(generator.get()));
    DH_set0_key(g_dh, power(generator.get()).release(), from_hex(kPrivate).release());
}

bool is_public_number(const BIGNUM* number) {
    const Number largest = from_hex(kPrime);
    BN_sub_word(largest.get(), 2);
    return BN_cmp(number, BN_value_one()) > 0 && BN_cmp(number, largest.get()) <= 0;
}

struct Agreed {
    int result;
    std::string key;
};

Agreed expected_for(const std::string& value) {
    const std::string untouched(kAgreedKey, 'u');
    const Number number = peer::number_from_bytes(value);
    if (value.empty() || !is_public_number(number.get()))
        return {-1, untouched};
    std::string key = peer::bytes_of(power(number.get()).get());
    key.resize(kAgreedKey, '\0');
    return {0, key};
}

Agreed agree(const std::string& text) {
    std::string key(kAgreedKey, 'u');
    begin_agreement();
    const int result = dh_share_key(text.c_str(), reinterpret_cast<unsigned char*>(key.data()));
    require(g_dh == nullptr, "the agreement is still under way");
    return {result, key};
}

} // namespace

void fuzz::run(Input input) {
    const bool coded = input.byte() % 2 != 0;
    const std::string value = input.rest();
    if (!coded) {
        const Agreed got = agree(value.c_str());
        require(got.result == 0 || got.result == -1, "no result");
        return;
    }
    const Agreed expected = expected_for(value);
    const Agreed got = agree(value.empty() ? "" : peer::base64(value));
    require(got.result == expected.result, "result " + std::to_string(got.result));
    require(got.key == expected.key, "another key");
}
