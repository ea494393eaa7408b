// SPDX-License-Identifier: MIT
#include "net_client.h"

#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/evp.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

namespace vxp::test {

namespace {

constexpr const char* primeHex = "E7CD83647CBEA81CA0092F91B3E48BFF"; // (p - 1) / 2 is prime too

using Number = std::unique_ptr<BIGNUM, decltype(&BN_free)>;

Number number(BIGNUM* value) {
    return {value, BN_free};
}

Number fromBytes(const std::string& bytes) {
    return number(BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()),
                            static_cast<int>(bytes.size()), nullptr));
}

Number prime() {
    BIGNUM* value = nullptr;
    BN_hex2bn(&value, primeHex);
    return number(value);
}

std::string bytesOf(const BIGNUM* value) {
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(value)), '\0');
    BN_bn2bin(value, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

std::string power(const std::string& base, const std::string& exponent) {
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> work(BN_CTX_new(), BN_CTX_free);
    const Number result = number(BN_new());
    BN_mod_exp(result.get(), fromBytes(base).get(), fromBytes(exponent).get(), prime().get(),
               work.get());
    return bytesOf(result.get());
}

std::string fromBase64(const std::string& text) {
    std::string bytes(text.size() / 4 * 3, '\0');
    EXPECT_GE(EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                              reinterpret_cast<const unsigned char*>(text.data()),
                              static_cast<int>(text.size())),
              0);
    bytes.resize(bytes.size() - (text.ends_with("==") ? 2U : text.ends_with("=") ? 1U : 0U));
    return bytes;
}

} // namespace

std::string toBase64(const std::string& bytes) {
    std::vector<unsigned char> text(bytes.size() * 2 + 5);
    const int length =
        EVP_EncodeBlock(text.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                        static_cast<int>(bytes.size()));
    return {text.begin(), text.begin() + length};
}

std::string cipher(const std::array<unsigned char, 16>& key, unsigned char ivFill,
                   const std::string& bytes, bool encrypt) {
    const std::vector<unsigned char> iv(16, ivFill);
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    std::string output(bytes.size() + 16, '\0');
    int length = 0;
    EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key.data(), iv.data(), encrypt);
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    EXPECT_EQ(EVP_CipherUpdate(context.get(), reinterpret_cast<unsigned char*>(output.data()),
                               &length, reinterpret_cast<const unsigned char*>(bytes.data()),
                               static_cast<int>(bytes.size())),
              1);
    output.resize(static_cast<std::size_t>(length));
    return output;
}

NetKeys::NetKeys() : m_privateKey("\x5a\x17\x33\x90\x02\xfe\x71\x44") {}

Json NetKeys::offer() const {
    return {{"dh_key", toBase64(power("\x02", m_privateKey))},
            {"dh_p", toBase64(bytesOf(prime().get()))},
            {"dh_g", toBase64("\x02")}};
}

std::string NetKeys::secret(const std::string& platformKey) const {
    return power(fromBase64(platformKey), m_privateKey);
}

std::array<unsigned char, 16> NetKeys::agree(const std::string& platformKey) const {
    const std::string bytes = secret(platformKey);
    std::array<unsigned char, 16> key{};
    std::copy(bytes.begin(), bytes.end(), key.begin());
    return key;
}

NetClient::NetClient(std::uint16_t port) : ivFill(VXPLATFORM_FRAME_IV_FILL) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    (void)::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        m_closed = true;
    }
    ::fcntl(m_socket, F_SETFL, O_NONBLOCK);
}

NetClient::~NetClient() {
    ::close(m_socket);
}

void NetClient::pump() {
    char buffer[65536];
    while (!m_closed) {
        const ssize_t count = ::recv(m_socket, buffer, sizeof buffer, 0);
        if (count > 0) {
            reads.emplace_back(buffer, static_cast<std::size_t>(count));
            m_input += reads.back();
            takeFrames();
        } else if (count == 0 || errno != EAGAIN) {
            m_closed = true;
            m_reset = count < 0 && errno == ECONNRESET;
        } else {
            return;
        }
    }
}

void NetClient::takeFrames() {
    const auto byte = [&](std::size_t at) {
        return static_cast<std::size_t>(static_cast<unsigned char>(m_input[at]));
    };
    while (m_input.size() >= 8 && m_input.starts_with("\x3f\x72\x1f\xb5")) {
        const std::size_t length = byte(4) << 24U | byte(5) << 16U | byte(6) << 8U | byte(7);
        if (m_input.size() < 8 + length) {
            return;
        }
        const std::string body = m_input.substr(8, length);
        m_input.erase(0, 8 + length);
        take(body);
    }
}

void NetClient::take(const std::string& body) {
    std::string text = key && body.size() % 16 == 0 ? cipher(*key, ivFill, body, false) : body;
    text.resize(std::min(text.find('\0'), text.size()));
    const auto document = parseJson(text);
    if (!document) {
        texts.push_back(text);
    } else if (!answers || !answer(*document)) {
        messages.push_back(*document);
    }
}

/// @return whether it was a command
bool NetClient::answer(const Json& command) {
    const std::string type = command.value("type", std::string{});
    Json reply = {{"type", "ack"}, {"sequence", command.value("sequence", 0)}, {"mac", mac}};
    if (type == "get_status") {
        reply["type"] = "status";
        reply["status"] = status;
    } else if (type != "cfg") {
        return false;
    } else {
        for (const auto& [name, value] : command["set"].items()) {
            settings[name] = value;
        }
    }
    send(reply);
    return true;
}

void NetClient::sendBytes(const std::string& bytes) const {
    EXPECT_EQ(::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

std::string NetClient::frame(const std::string& body) const {
    std::string bytes("\x3f\x72\x1f\xb5");
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(body.size() >> shift & 0xffU);
    }
    return bytes + body;
}

std::string NetClient::sealed(const std::string& text) const {
    std::string padded = text;
    padded.resize((text.size() + 15) / 16 * 16, '\0');
    return cipher(*key, ivFill, padded, true);
}

void NetClient::send(const Json& message) {
    const std::string text = message.dump(2);
    sendBytes(frame(key ? sealed(text) : text));
}

Json NetClient::message(const std::string& type) {
    return {{"type", type}, {"sequence", m_sequence++}, {"mac", mac}};
}

} // namespace vxp::test
