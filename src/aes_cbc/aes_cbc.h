// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include <vxquilan/entry_points.h>

/**
 * @file
 * AES-128 in CBC mode. Key schedules live on the stack of one call; nothing is kept. Every call
 * starts from a fixed IV that is not transmitted: one for cbc_encrypt_or_decrypt(), another for the
 * text routines. None of them ever reads or writes outside the lengths given: where a length is no
 * multiple of 16, the last part of a block is taken as if zeros followed it.
 */

inline constexpr std::size_t kCipherBlock = 16;
/** A key has 16 bytes; key buffers may be larger. */
inline constexpr int kCipherKeyBits = 128;

/** What cbc_encrypt_or_decrypt() does; every other value decrypts, too. */
enum CipherMode : int { kDecrypt = 0, kEncrypt = 1 };

/**
 * Encrypts or decrypts exactly `length` bytes; nothing is padded or removed.
 *
 * @param key     the key's bytes
 * @param bits    length of the key in bits: 128 throughout the daemon
 * @param out     `length` bytes; may be `in`
 * @param length  a multiple of 16
 * @return 0; the cryptographic library's code for a key that it does not take, after a line on
 *         standard output
 */
int cbc_encrypt_or_decrypt(const unsigned char* key, int bits, const unsigned char* in,
                           unsigned char* out, std::size_t length, int mode);

/**
 * Pads a text in place: 1 to `block` bytes, all with their own number as value. No NUL is written
 * behind them.
 *
 * @param block  not 0: that ends the process
 * @return the new length
 */
std::size_t pad_data(char* buffer, std::size_t length, std::size_t block);

/**
 * Encrypts a padded text, whose length is that of the string.
 * @param out  as many bytes as the text has
 */
void encrypt_cbcaes(const char* text, unsigned char* out, const unsigned char* key);

/**
 * Decrypts to a text and cuts the padding off it: up to 16 bytes 0x01 to 0x10 or 0x80 to 0xff at
 * its end. The padding's own count is not read, so a text that ends in a multi-byte character loses
 * it.
 *
 * @param out  length + 1 bytes, zeroed
 * @return always 0
 */
int decrypt_cbcaes(const unsigned char* cipher, std::size_t length, char* out,
                   const unsigned char* key);

/** Shows bytes on standard output: the label, the bytes in hexadecimal, an empty line. */
void aes_cbc_disp(const char* label, const void* bytes, std::size_t count);
