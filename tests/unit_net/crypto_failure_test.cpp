// SPDX-License-Identifier: MIT
// What happens when the cryptographic library or the heap fails: linked with --wrap, so that each
// step can be made to fail.
#define OPENSSL_SUPPRESS_DEPRECATED // as in the code that is tested

#include <cstdlib>
#include <cstring>

#include <gmock/gmock.h>
#include <openssl/bn.h>
#include <openssl/dh.h>

#include "aes_cbc/aes_cbc.h"
#include "aes_cbc/dh.h"
#include "base64/base64.h"

namespace {

enum class Step { none, create, prime, set_parameters, check, judge, set_keys };

Step s_failing = Step::none;
int s_problems = 0;
int s_refused_allocation = -1; // counted from 0; none

bool refuse_allocation() {
    return s_refused_allocation >= 0 && s_refused_allocation-- == 0;
}

} // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker gives the names
DH* __real_DH_new();
DH* __wrap_DH_new() {
    return s_failing == Step::create ? nullptr : __real_DH_new();
}

int __real_BN_generate_prime_ex(BIGNUM*, int, int, const BIGNUM*, const BIGNUM*, BN_GENCB*);
int __wrap_BN_generate_prime_ex(BIGNUM* number, int bits, int safe, const BIGNUM* add,
                                const BIGNUM* remainder, BN_GENCB* callback) {
    return s_failing == Step::prime
               ? 0
               : __real_BN_generate_prime_ex(number, bits, safe, add, remainder, callback);
}

int __real_DH_set0_pqg(DH*, BIGNUM*, BIGNUM*, BIGNUM*);
int __wrap_DH_set0_pqg(DH* dh, BIGNUM* p, BIGNUM* q, BIGNUM* g) {
    return s_failing == Step::set_parameters ? 0 : __real_DH_set0_pqg(dh, p, q, g);
}

int __real_DH_check(const DH*, int*);
int __wrap_DH_check(const DH* dh, int* problems) {
    if (s_failing == Step::check)
        return 0;
    const int result = __real_DH_check(dh, problems);
    if (s_failing == Step::judge)
        *problems = s_problems;
    return result;
}

int __real_DH_set0_key(DH*, BIGNUM*, BIGNUM*);
int __wrap_DH_set0_key(DH* dh, BIGNUM* public_key, BIGNUM* private_key) {
    return s_failing == Step::set_keys ? 0 : __real_DH_set0_key(dh, public_key, private_key);
}

void* __real_malloc(std::size_t);
void* __wrap_malloc(std::size_t size) {
    return refuse_allocation() ? nullptr : __real_malloc(size);
}

void* __real_calloc(std::size_t, std::size_t);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return refuse_allocation() ? nullptr : __real_calloc(count, size);
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace {

class CryptoFailure : public testing::Test {
protected:
    ~CryptoFailure() override {
        s_failing = Step::none;
        s_refused_allocation = -1;
        DH_free(g_dh);
        g_dh = nullptr;
    }

    /** Starts an agreement over one that is there already; what it printed. */
    std::string fail_at(Step step) {
        char number[3][kNumberText] = {};
        testing::internal::CaptureStdout();
        s_failing = Step::none;
        EXPECT_EQ(dh_new_key(number[0], number[1], number[2]), 0);
        testing::internal::GetCapturedStdout();

        std::memset(number, 0, sizeof number);
        testing::internal::CaptureStdout();
        s_failing = step;
        EXPECT_EQ(dh_new_key(number[0], number[1], number[2]), -1);
        EXPECT_EQ(g_dh, nullptr);
        EXPECT_STREQ(number[0], "");
        return testing::internal::GetCapturedStdout();
    }
};

constexpr unsigned char kKey[16] = {1, 2, 3};

} // namespace

TEST_F(CryptoFailure, EveryStepThatFailsIsSaidAndLeavesNoAgreement) {
    for (const Step step :
         {Step::create, Step::prime, Step::set_parameters, Step::check, Step::set_keys})
        EXPECT_THAT(fail_at(step), testing::MatchesRegex("dh_new_key [0-9]+\n:\n\n\n"));
}

TEST_F(CryptoFailure, BadParametersAreNamed) {
    struct Case {
        int problems;
        const char* output;
    };
    const Case cases[] = {
        {1, "DH_check failed\np value is not prime\n"},
        {2, "DH_check failed\np value is not a safe prime\n"},
        {4, "DH_check failed\nunable to check the generator value\n"},
        {8, "DH_check failed\nthe g value is not a generator\n"},
        {0x8f, "DH_check failed\np value is not prime\np value is not a safe prime\n"
               "unable to check the generator value\nthe g value is not a generator\n"},
        {0x10, "DH_check failed\n"},
    };
    for (const Case& row : cases) {
        s_problems = row.problems;
        EXPECT_EQ(fail_at(Step::judge), row.output) << row.problems;
    }
}

TEST_F(CryptoFailure, TheLengthOfThePrimeAloneIsNoProblem) {
    char number[3][kNumberText] = {};
    s_failing = Step::judge;
    s_problems = 0x80;
    testing::internal::CaptureStdout();
    EXPECT_EQ(dh_new_key(number[0], number[1], number[2]), 0);
    testing::internal::GetCapturedStdout();
}

TEST_F(CryptoFailure, WithoutMemoryTheCodersGiveNull) {
    s_refused_allocation = 0;
    EXPECT_EQ(base64_encode("abc"), nullptr);
    s_refused_allocation = 0;
    EXPECT_EQ(base64_decode("abcd"), nullptr);
    for (int refused = 0; refused < 2; ++refused) {
        char text[64] = "abc";
        s_refused_allocation = refused;
        EXPECT_EQ(gwdencrypt_cbcaes_base64(text, kKey), nullptr) << refused;
        s_refused_allocation = refused;
        EXPECT_EQ(gwddecrypt_cbcaes_base64("abcdabcdabcdabcdabcdaQ==", kKey), nullptr) << refused;
    }
    s_refused_allocation = -1;
}
