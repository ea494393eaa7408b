// SPDX-License-Identifier: MIT
#pragma once

/** @file Parts of OpenSSL's that memory is never refused to. */
namespace starvation {

/**
 * Whether that goes for finding a prime and checking one, which takes another number of steps each
 * time; all agreements then have the same prime. For libcoap's cookie it always goes.
 */
void spare_primes(bool spare);

} // namespace starvation
