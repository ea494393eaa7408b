// SPDX-License-Identifier: MIT
// Base64, the text cipher and the text routines, against OpenSSL's coders and plain rules.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "aes_cbc/aes_cbc.h"
#include "base64/base64.h"
#include "base_skill/config_file.h"
#include "fuzz/harness.h"
#include "text/text.h"
#include "unit_net/peer_codec.h"

namespace {

using fuzz::require;
using vxq::OwnedText;

constexpr std::size_t kKey = 16;

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** A buffer of exactly this size: a byte too many is seen. */
std::vector<char> buffer_of(const std::string& content, std::size_t room) {
    std::vector<char> buffer(content.begin(), content.end());
    buffer.resize(content.size() + room);
    return buffer;
}

void code_bytes(const std::string& bytes) {
    const OwnedText encoded = base64_encode2(bytes.data(), bytes.size());
    require((encoded == nullptr) == bytes.empty(), "bytes that were not encoded");
    if (!encoded)
        return;
    require(encoded.get() == peer::base64(bytes), "another Base64");
    std::size_t length = 0;
    const OwnedText decoded = base64_decode2(encoded.get(), &length);
    require(decoded && std::string(decoded.get(), length) == bytes, "not the bytes again");
}

void decode_text(const std::string& text) {
    std::size_t length = 0;
    const OwnedText decoded = base64_decode2(text.c_str(), &length);
    const bool decodable = !text.empty() && text.size() % 4 == 0;
    require((decoded != nullptr) == decodable, "decoded, or not, against the rule");
    if (decoded)
        require(length <= text.size() / 4 * 3 && decoded.get()[length] == '\0', "a wrong length");
    OwnedText(base64_decode(text.c_str())).reset();
    OwnedText(base64_encode(text.c_str())).reset();
}

/** A text without what its end has in common with padding. */
std::string without_padding(const std::string& text) {
    std::size_t length = text.size();
    for (int cut = 0; cut < 16 && length != 0; ++cut, --length) {
        const auto last = static_cast<unsigned char>(text[length - 1]);
        if (last > 16 && last < 0x80)
            break;
    }
    return text.substr(0, length);
}

void cipher_text(const std::string& text, const std::string& key) {
    const std::size_t padding = 16 - text.size() % 16;
    const std::string padded = text + std::string(padding, static_cast<char>(padding));
    std::vector<char> buffer = buffer_of(text, padding);
    const OwnedText encrypted(gwdencrypt_cbcaes_base64(buffer.data(), bytes_of(key)));
    require(encrypted != nullptr, "not encrypted");
    require(encrypted.get() == peer::base64(peer::encrypt(key, TEXT_IV_FILL, padded)),
            "another cipher");
    const OwnedText decrypted(gwddecrypt_cbcaes_base64(encrypted.get(), bytes_of(key)));
    require(decrypted && decrypted.get() == without_padding(padded), "not the text again");
    OwnedText(gwddecrypt_cbcaes_base64(text.c_str(), bytes_of(key))).reset();
}

void cipher_bytes(const std::string& bytes, const std::string& key) {
    std::vector<unsigned char> out(bytes.size());
    cbc_encrypt_or_decrypt(bytes_of(key), kCipherKeyBits, bytes_of(bytes), out.data(), out.size(),
                           kEncrypt);
    const std::size_t whole = bytes.size() / 16 * 16;
    const std::string expected = peer::encrypt(key, FRAME_IV_FILL, bytes.substr(0, whole));
    require(std::equal(expected.begin(), expected.end(), out.begin(),
                       [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }),
            "another cipher for frames");
    cbc_encrypt_or_decrypt(bytes_of(key), kCipherKeyBits, out.data(), out.data(), out.size(),
                           kDecrypt);
    require(whole == 0 || std::memcmp(out.data(), bytes.data(), whole) == 0,
            "not the bytes of the frame again");
}

void handle_text(const std::string& text, std::size_t size) {
    const std::string cut = text.substr(0, size - 1);
    std::vector<char> buffer(size, 'x');
    vxq::copy_text(buffer.data(), size, text.c_str());
    require(buffer.data() == cut, "another copy");
    vxq::format_text(buffer.data(), size, "%s", text.c_str());
    require(buffer.data() == cut, "another print");
    const OwnedText copy = vxq::copy_bytes(text.data(), text.size());
    require(copy.get() == text, "another copy on the heap");
    vxq::decimal_value(text.c_str());
    std::vector<char> line = buffer_of(text, 1);
    base_riprt(line.data());
    require(line.data() == text.substr(0, text.find_first_of("\r\n")), "another line");
}

} // namespace

void fuzz::run(Input input) {
    const std::size_t size = std::size_t{input.byte()} + 1;
    std::string key = input.text(kKey);
    key.resize(kKey);
    const std::string bytes = input.rest();
    const std::string text = bytes.c_str();
    code_bytes(bytes);
    decode_text(text);
    cipher_text(text, key);
    cipher_bytes(bytes, key);
    handle_text(text, size);
}
