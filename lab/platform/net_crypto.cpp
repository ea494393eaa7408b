// SPDX-License-Identifier: MIT
#include "net_crypto.h"

#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace vxp {

namespace {

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* object) const {
        release(object);
    }
};

using Cipher = std::unique_ptr<EVP_CIPHER_CTX, Releaser<EVP_CIPHER_CTX_free>>;
using Number = std::unique_ptr<BIGNUM, Releaser<BN_clear_free>>;
using NumberWork = std::unique_ptr<BN_CTX, Releaser<BN_CTX_free>>;

/// Larger ones would let a peer keep the event loop busy.
constexpr int maxPrimeBits = 1024;

void check(bool done) {
    if (!done) {
        throw std::runtime_error("OpenSSL refuses to calculate");
    }
}

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytesOf(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

std::string runCipher(const AesKey& key, unsigned char ivFill, std::string_view input,
                      bool encrypt) {
    AesKey iv;
    iv.fill(ivFill);
    std::string output(input.size(), '\0');
    const Cipher cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    int last = 0;
    check(cipher != nullptr &&
          EVP_CipherInit_ex(cipher.get(), EVP_aes_128_cbc(), nullptr, key.data(), iv.data(),
                            encrypt ? 1 : 0) == 1 &&
          EVP_CIPHER_CTX_set_padding(cipher.get(), 0) == 1 &&
          EVP_CipherUpdate(cipher.get(), bytesOf(output), &count, bytesOf(input),
                           static_cast<int>(input.size())) == 1 &&
          EVP_CipherFinal_ex(cipher.get(), bytesOf(output) + count, &last) == 1);
    return output;
}

Number newNumber() {
    Number number(BN_new());
    check(number != nullptr);
    return number;
}

Number numberOf(std::string_view name, const std::string& text) {
    const auto bytes = decodeBase64(text);
    if (!bytes) {
        throw std::invalid_argument(fmt::format("{} is not Base64", name));
    }
    if (bytes->size() > static_cast<std::size_t>(maxPrimeBits) / 8) {
        throw std::invalid_argument(fmt::format("{} has more than {} bits", name, maxPrimeBits));
    }
    Number number(
        BN_bin2bn(bytesOf(std::string_view(*bytes)), static_cast<int>(bytes->size()), nullptr));
    check(number != nullptr);
    return number;
}

std::string bytesOfNumber(const BIGNUM* number) {
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(number)), '\0');
    BN_bn2bin(number, bytesOf(bytes));
    return bytes;
}

std::string primeKind(const BIGNUM* prime, BN_CTX* work) {
    if (BN_check_prime(prime, work, nullptr) != 1) {
        return "composite";
    }
    const Number half = newNumber();
    check(BN_rshift1(half.get(), prime) == 1);
    return BN_check_prime(half.get(), work, nullptr) == 1 ? "safe" : "unsafe";
}

/// 0, 1 and p - 1 would give a secret that everybody knows.
void checkRange(std::string_view name, const BIGNUM* value, const BIGNUM* prime) {
    const Number largest = newNumber();
    check(BN_copy(largest.get(), prime) != nullptr && BN_sub_word(largest.get(), 2) == 1);
    if (BN_is_zero(value) || BN_is_one(value) || BN_cmp(value, largest.get()) > 0) {
        throw std::invalid_argument(fmt::format("{} is not between 1 and p - 1", name));
    }
}

/// From 2 to p - 2.
Number privateKeyFor(const BIGNUM* prime) {
    const Number range = newNumber();
    Number value = newNumber();
    check(BN_copy(range.get(), prime) != nullptr && BN_sub_word(range.get(), 3) == 1 &&
          BN_priv_rand_range(value.get(), range.get()) == 1 && BN_add_word(value.get(), 2) == 1);
    return value;
}

Number power(const BIGNUM* base, const BIGNUM* exponent, const BIGNUM* prime, BN_CTX* work) {
    Number result = newNumber();
    check(BN_mod_exp_mont_consttime(result.get(), base, exponent, prime, work, nullptr) == 1);
    return result;
}

std::string decimal(const BIGNUM* number) {
    char* text = BN_bn2dec(number);
    check(text != nullptr);
    std::string result(text);
    OPENSSL_free(text);
    return result;
}

} // namespace

std::string encryptText(const AesKey& key, unsigned char ivFill, std::string_view text) {
    std::string padded(text);
    padded.resize((text.size() + cipherBlock - 1) / cipherBlock * cipherBlock, '\0');
    return runCipher(key, ivFill, padded, true);
}

std::optional<std::string> decryptText(const AesKey& key, unsigned char ivFill,
                                       std::string_view cipher) {
    if (cipher.empty() || cipher.size() % cipherBlock != 0) {
        return std::nullopt;
    }
    std::string text = runCipher(key, ivFill, cipher, false);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::string encodeBase64(std::string_view bytes) {
    std::vector<unsigned char> text(4 * ((bytes.size() + 2) / 3) + 1);
    const int length = EVP_EncodeBlock(text.data(), bytesOf(bytes), static_cast<int>(bytes.size()));
    return {text.begin(), text.begin() + length};
}

std::optional<std::string> decodeBase64(std::string_view text) {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t padding = text.ends_with("==") ? 2U : text.ends_with('=') ? 1U : 0U;
    const std::string_view digits = text.substr(0, text.size() - padding);
    if (digits.empty() || text.size() % 4 != 0 ||
        digits.find_first_not_of(alphabet) != std::string_view::npos) {
        return std::nullopt;
    }
    std::string bytes(text.size() / 4 * 3, '\0');
    check(EVP_DecodeBlock(bytesOf(bytes), bytesOf(text), static_cast<int>(text.size())) >= 0);
    bytes.resize(bytes.size() - padding);
    return bytes;
}

KeyAgreement agreeKey(const KeyOffer& offer) {
    const NumberWork work(BN_CTX_new());
    check(work != nullptr);
    const Number prime = numberOf("dh_p", offer.prime);
    if (BN_num_bits(prime.get()) < 3 || BN_is_odd(prime.get()) == 0) {
        throw std::invalid_argument("dh_p is no odd number above 3");
    }
    const Number generator = numberOf("dh_g", offer.generator);
    const Number theirs = numberOf("dh_key", offer.publicKey);
    checkRange("dh_g", generator.get(), prime.get());
    checkRange("dh_key", theirs.get(), prime.get());

    const Number own = privateKeyFor(prime.get());
    const std::string secret =
        bytesOfNumber(power(theirs.get(), own.get(), prime.get(), work.get()).get());
    KeyAgreement agreement;
    agreement.publicKey = encodeBase64(
        bytesOfNumber(power(generator.get(), own.get(), prime.get(), work.get()).get()));
    std::copy_n(secret.begin(), std::min(secret.size(), agreement.key.size()),
                agreement.key.begin());
    agreement.primeBits = BN_num_bits(prime.get());
    agreement.primeKind = primeKind(prime.get(), work.get());
    agreement.generator = decimal(generator.get());
    return agreement;
}

} // namespace vxp
