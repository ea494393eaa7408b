// SPDX-License-Identifier: MIT
#include "unit_net/peer_key.h"

#include "unit_net/peer_codec.h"

namespace peer {

Number number_from_bytes(const std::string& bytes) {
    return Number(BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()),
                            static_cast<int>(bytes.size()), nullptr));
}

Number number(unsigned long value) {
    Number result(BN_new());
    BN_set_word(result.get(), value);
    return result;
}

std::string bytes_of(const BIGNUM* number) {
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(number)), '\0');
    BN_bn2bin(number, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

std::string text_of(const BIGNUM* number) {
    return base64(bytes_of(number));
}

KeyPeer::KeyPeer(const std::string& prime, const std::string& generator,
                 const std::string& gateway_key)
    : prime_(number_from_bytes(from_base64(prime))),
      generator_(number_from_bytes(from_base64(generator))),
      gateway_key_(number_from_bytes(from_base64(gateway_key))) {
    choose();
}

void KeyPeer::choose() {
    // Not 0, and not prime - 1: neither gives a public number that a gateway takes.
    const Number range(BN_dup(prime_.get()));
    BN_sub_word(range.get(), 2);
    private_.reset(BN_new());
    BN_rand_range(private_.get(), range.get());
    BN_add_word(private_.get(), 1);
}

void KeyPeer::choose_for_secret_size(std::size_t size) {
    do
        choose();
    while (secret().size() != size);
}

std::string KeyPeer::public_key() const {
    return base64(power(generator_.get()));
}

std::string KeyPeer::secret() const {
    return power(gateway_key_.get());
}

std::string KeyPeer::key() const {
    std::string key = secret();
    key.resize(16, '\0');
    return key;
}

std::string KeyPeer::power(const BIGNUM* base) const {
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> context(BN_CTX_new(), BN_CTX_free);
    const Number result(BN_new());
    BN_mod_exp(result.get(), base, private_.get(), prime_.get(), context.get());
    return bytes_of(result.get());
}

} // namespace peer
