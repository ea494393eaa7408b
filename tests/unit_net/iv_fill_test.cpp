// SPDX-License-Identifier: MIT
// Built with fill values of its own (see CMakeLists.txt): 0x00 for frames, 255 for texts.
#include <gmock/gmock.h>

#include "aes_cbc/aes_cbc.h"
#include "text/text.h"
#include "unit_net/peer_codec.h"

namespace {

const std::string kKey = peer::random_bytes(16, 1);

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

TEST(IvFill, FramesUseTheirOwn) {
    const std::string plain = peer::random_bytes(48, 2);
    std::string cipher(48, '\0');
    cbc_encrypt_or_decrypt(bytes_of(kKey), 128, bytes_of(plain),
                           reinterpret_cast<unsigned char*>(cipher.data()), 48, kEncrypt);
    EXPECT_EQ(cipher, peer::encrypt(kKey, 0x00, plain));
    EXPECT_NE(cipher, peer::encrypt(kKey, FRAME_IV_FILL, plain));
}

TEST(IvFill, TextsUseTheirOwn) {
    char buffer[33] = "a text";
    const vxq::OwnedText coded(gwdencrypt_cbcaes_base64(buffer, bytes_of(kKey)));
    EXPECT_EQ(std::string(coded.get()),
              peer::base64(peer::encrypt(kKey, 255, "a text" + std::string(10, '\x0a'))));
    const vxq::OwnedText plain(gwddecrypt_cbcaes_base64(coded.get(), bytes_of(kKey)));
    EXPECT_STREQ(plain.get(), "a text");
}
