// SPDX-License-Identifier: MIT
#include "limits.h"

// HMAC and DH, as in libcoap and in the key agreement.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <optional>

#include <dlfcn.h>
#include <openssl/bn.h>
#include <openssl/dh.h>
#include <openssl/hmac.h>

#include "memory.h"

namespace starvation {

namespace {

bool s_spare_primes = false;

template <typename Function>
Function real(const char* name, Function) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

void spare_primes(bool spare) {
    s_spare_primes = spare;
}

} // namespace starvation

using namespace starvation;

extern "C" {

/** libcoap 4.3.1 uses what it is given without a look. */
HMAC_CTX* HMAC_CTX_new() {
    const Spared spared;
    return real("HMAC_CTX_new", &HMAC_CTX_new)();
}

int BN_generate_prime_ex(BIGNUM* number, int bits, int safe, const BIGNUM* modulus,
                         const BIGNUM* remainder, BN_GENCB* callback) {
    const auto search = real("BN_generate_prime_ex", &BN_generate_prime_ex);
    if (!s_spare_primes)
        return search(number, bits, safe, modulus, remainder, callback);
    const Spared spared;
    static BIGNUM* const s_prime = BN_new();
    if (BN_is_zero(s_prime))
        search(s_prime, bits, safe, modulus, remainder, callback);
    return BN_copy(number, s_prime) != nullptr ? 1 : 0;
}

int DH_check(const DH* dh, int* problems) {
    std::optional<Spared> spared;
    if (s_spare_primes)
        spared.emplace();
    return real("DH_check", &DH_check)(dh, problems);
}
}
