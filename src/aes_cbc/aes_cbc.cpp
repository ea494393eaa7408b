// SPDX-License-Identifier: MIT
// The low-level AES calls are deprecated by OpenSSL 3 and stay in use: they cost a router no
// provider machinery, and OpenSSL 1.1 has them as well.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "aes_cbc/aes_cbc.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <openssl/aes.h>

#include "base64/base64.h"
#include "text/text.h"

namespace {

using vxq::OwnedText;

constexpr unsigned char kFrameIvFill = VXQUILAN_FRAME_IV_FILL;
constexpr unsigned char kTextIvFill = VXQUILAN_TEXT_IV_FILL;

constexpr std::size_t kLargestPadding = 16;
constexpr signed char kAbovePadding = 17;

/** One run of CBC over whole and broken blocks, from a fresh IV. */
class CbcRun {
public:
    CbcRun(unsigned char iv_fill, const AES_KEY& schedule, int direction)
        : schedule_(schedule), direction_(direction) {
        std::memset(iv_, iv_fill, sizeof iv_);
    }

    void process(const unsigned char* in, unsigned char* out, std::size_t length) {
        const std::size_t broken = length % kCipherBlock;
        const std::size_t whole = length - broken;
        if (whole != 0)
            AES_cbc_encrypt(in, out, whole, &schedule_, iv_, direction_);
        if (broken == 0)
            return;
        // The library would read, or write, up to the end of the block.
        unsigned char block[kCipherBlock] = {};
        std::memcpy(block, in + whole, broken);
        AES_cbc_encrypt(block, block, sizeof block, &schedule_, iv_, direction_);
        std::memcpy(out + whole, block, broken);
    }

private:
    const AES_KEY& schedule_;
    int direction_;
    unsigned char iv_[kCipherBlock];
};

int run_cipher(unsigned char iv_fill, const unsigned char* key, int bits, const unsigned char* in,
               unsigned char* out, std::size_t length, int mode) {
    AES_KEY schedule;
    const bool encrypt = mode == kEncrypt;
    const int error = encrypt ? AES_set_encrypt_key(key, bits, &schedule)
                              : AES_set_decrypt_key(key, bits, &schedule);
    if (error != 0) {
        std::fputs("set key error !", stdout);
        std::fflush(stdout);
        return error;
    }
    CbcRun(iv_fill, schedule, encrypt ? AES_ENCRYPT : AES_DECRYPT).process(in, out, length);
    return 0;
}

void encrypt_text(const char* text, std::size_t length, unsigned char* out,
                  const unsigned char* key) {
    run_cipher(kTextIvFill, key, kCipherKeyBits, reinterpret_cast<const unsigned char*>(text), out,
               length, kEncrypt);
}

/** Signed on every processor, so that 0x80 to 0xff count as padding on every processor. */
bool is_padding(char character) {
    return static_cast<signed char>(character) < kAbovePadding;
}

void cut_padding(char* text) {
    std::size_t length = std::strlen(text);
    for (std::size_t cut = 0; cut < kLargestPadding && length != 0; ++cut, --length) {
        if (!is_padding(text[length - 1]))
            break;
    }
    text[length] = '\0';
}

OwnedText allocate_zeroed(std::size_t size) {
    return OwnedText(static_cast<char*>(std::calloc(size, 1)));
}

} // namespace

int cbc_encrypt_or_decrypt(const unsigned char* key, int bits, const unsigned char* in,
                           unsigned char* out, std::size_t length, int mode) {
    return run_cipher(kFrameIvFill, key, bits, in, out, length, mode);
}

std::size_t pad_data(char* buffer, std::size_t length, std::size_t block) {
    if (block == 0)
        std::abort();
    const std::size_t padding = block - length % block;
    std::memset(buffer + length, static_cast<int>(padding), padding);
    return length + padding;
}

void encrypt_cbcaes(const char* text, unsigned char* out, const unsigned char* key) {
    encrypt_text(text, std::strlen(text), out, key);
}

int decrypt_cbcaes(const unsigned char* cipher, std::size_t length, char* out,
                   const unsigned char* key) {
    run_cipher(kTextIvFill, key, kCipherKeyBits, cipher, reinterpret_cast<unsigned char*>(out),
               length, kDecrypt);
    cut_padding(out);
    return 0;
}

char* gwdencrypt_cbcaes_base64(char* text, const unsigned char* key) {
    const std::size_t length = pad_data(text, std::strlen(text), kCipherBlock);
    const OwnedText cipher = allocate_zeroed(length + 1);
    if (!cipher)
        return nullptr;
    // By length, not as a string: the caller's buffer need not have a byte behind the padding.
    encrypt_text(text, length, reinterpret_cast<unsigned char*>(cipher.get()), key);
    return base64_encode2(cipher.get(), length).release();
}

char* gwddecrypt_cbcaes_base64(const char* text, const unsigned char* key) {
    std::size_t length = 0;
    const OwnedText cipher = base64_decode2(text, &length);
    if (!cipher)
        return nullptr;
    OwnedText plain = allocate_zeroed(length + 1);
    if (plain)
        decrypt_cbcaes(reinterpret_cast<const unsigned char*>(cipher.get()), length, plain.get(),
                       key);
    return plain.release();
}

void aes_cbc_disp(const char* label, const void* bytes, std::size_t count) {
    const auto* const values = static_cast<const unsigned char*>(bytes);
    std::printf("%s:\n", label);
    for (std::size_t index = 0; index < count; ++index)
        std::printf("%02x ", static_cast<unsigned>(values[index]));
    std::printf("\n\n");
    std::fflush(stdout);
}
