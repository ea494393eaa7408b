// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <openssl/ossl_typ.h>

/**
 * @file
 * The gateway's half of a Diffie-Hellman key agreement, with parameters of its own making for every
 * negotiation. Runs on the platform channel's loop only. Diagnostics go to standard output.
 */

/** Size of the buffers that numbers are exported to as Base64; zeroed by the caller. */
inline constexpr std::size_t kNumberText = 1024;

/** Bytes of the agreed key. */
inline constexpr std::size_t kAgreedKey = 16;

/** The agreement under way, with parameters and keys; null when there is none. */
extern DH* g_dh;

/**
 * Starts an agreement: makes a safe prime of 128 bits with generator 2 and a key pair, and keeps
 * them in g_dh in place of what was there. The platform's processors and the gateway's agreed on
 * that length; it is chosen for speed, not for strength.
 *
 * @param public_key  the gateway's public number, the prime and the generator as Base64, each a
 *                    zeroed buffer of kNumberText bytes
 * @return 0; -1 on failure, with g_dh empty
 */
int dh_new_key(char* public_key, char* prime, char* generator);

/**
 * Ends the agreement: computes the key and empties g_dh, whatever the outcome.
 *
 * @param peer_key  the peer's public number as Base64
 * @param key_out   receives kAgreedKey bytes: the first of the shared secret, which has no leading
 *                  zeros; a short secret leaves zeros at the end. Untouched on failure.
 * @return 0; -1 on failure
 */
int dh_share_key(const char* peer_key, unsigned char* key_out);

/**
 * Computes the shared secret.
 *
 * @param out  receives it, big-endian, without leading zeros
 * @return its length; -1 when `out_size` is less than the prime's size, or when the peer's number
 *         is not between 2 and the prime less 2, both included
 */
int get_share(const BIGNUM* peer, DH* dh, unsigned char* out, int out_size);

/**
 * Shows a number on standard output, decimal and as Base64, and copies the Base64 text.
 * @param out  a zeroed buffer of kNumberText bytes; a longer text is cut
 */
void disp_bn(const BIGNUM* number, const char* label, char* out);
