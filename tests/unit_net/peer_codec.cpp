// SPDX-License-Identifier: MIT
#include "unit_net/peer_codec.h"

#include <memory>
#include <random>
#include <stdexcept>

#include <openssl/evp.h>

namespace peer {

namespace {

constexpr std::size_t kBlock = 16;
const std::string kMagic = "\x3f\x72\x1f\xb5";

const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string run(bool encrypting, const std::string& key, int iv_fill, const std::string& input) {
    const std::string iv(kBlock, static_cast<char>(iv_fill));
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    std::string output(input.size() + kBlock, '\0');
    int written = 0;
    if (EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, bytes_of(key), bytes_of(iv),
                          encrypting ? 1 : 0) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1 ||
        EVP_CipherUpdate(context.get(), reinterpret_cast<unsigned char*>(output.data()), &written,
                         bytes_of(input), static_cast<int>(input.size())) != 1 ||
        static_cast<std::size_t>(written) != input.size())
        throw std::runtime_error("EVP does not take this input");
    output.resize(input.size());
    return output;
}

} // namespace

std::string encrypt(const std::string& key, int iv_fill, const std::string& plain) {
    return run(true, key, iv_fill, plain);
}

std::string decrypt(const std::string& key, int iv_fill, const std::string& cipher) {
    return run(false, key, iv_fill, cipher);
}

std::string base64(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       bytes_of(bytes), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string from_base64(const std::string& text) {
    std::string bytes(text.size(), '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                       bytes_of(text), static_cast<int>(text.size()));
    if (length < 0)
        throw std::runtime_error("no Base64: " + text);
    const std::size_t last = text.find_last_not_of('=');
    bytes.resize(static_cast<std::size_t>(length) - (text.size() - 1 - last));
    return bytes;
}

std::string from_hex(const std::string& digits) {
    std::string bytes;
    for (std::size_t index = 0; index < digits.size(); index += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
    return bytes;
}

std::string random_bytes(std::size_t size, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(generator() & 0xffU);
    return bytes;
}

std::string frame(const std::string& body) {
    std::string bytes = kMagic;
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>((body.size() >> shift) & 0xffU);
    return bytes + body;
}

std::string encrypted_frame(const std::string& key, const std::string& text) {
    std::string padded = text;
    padded.resize((text.size() + kBlock - 1) / kBlock * kBlock, '\0');
    return frame(encrypt(key, FRAME_IV_FILL, padded));
}

std::string text_of_frame(const std::string& key, const std::string& frame_bytes) {
    const bool has_header = frame_bytes.size() >= kFrameHeader;
    const std::string body = has_header ? frame_bytes.substr(kFrameHeader) : "";
    if (!has_header || frame(body) != frame_bytes)
        throw std::runtime_error("no whole frame");
    const std::string plain = decrypt(key, FRAME_IV_FILL, body);
    return plain.substr(0, plain.find('\0'));
}

std::size_t body_size(const std::string& frame_bytes) {
    std::size_t size = 0;
    for (std::size_t index = 4; index < kFrameHeader; ++index)
        size = size << 8 | static_cast<unsigned char>(frame_bytes.at(index));
    return size;
}

std::string take_frame(std::string& stream) {
    if (stream.size() < kFrameHeader || stream.size() < kFrameHeader + body_size(stream))
        return "";
    const std::string taken = stream.substr(0, kFrameHeader + body_size(stream));
    stream.erase(0, taken.size());
    return taken;
}

} // namespace peer
