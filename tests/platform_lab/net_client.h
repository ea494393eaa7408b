// SPDX-License-Identifier: MIT
#pragma once

#include "json.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vxp::test {

/// The gateway's key pair and parameters, calculated apart from the platform's code.
class NetKeys {
public:
    /// The prime and the private key are always the same; the generator is 2.
    NetKeys();

    [[nodiscard]] Json offer() const;

    /// @param platformKey Base64, as it came
    /// @return the number's bytes, without zeros in front
    [[nodiscard]] std::string secret(const std::string& platformKey) const;
    [[nodiscard]] std::array<unsigned char, 16> agree(const std::string& platformKey) const;

private:
    std::string m_privateKey;
};

std::string toBase64(const std::string& bytes);

/// AES-128-CBC without padding; an IV of one byte's value.
std::string cipher(const std::array<unsigned char, 16>& key, unsigned char ivFill,
                   const std::string& bytes, bool encrypt);

/// A gateway of the platform channel as small as can be, on a plain socket that does not block.
class NetClient {
public:
    static constexpr const char* mac = "02:5E:10:00:00:02";

    explicit NetClient(std::uint16_t port);
    NetClient(const NetClient&) = delete;
    NetClient& operator=(const NetClient&) = delete;
    ~NetClient();

    /// Takes what has come and answers commands, if it is to.
    void pump();

    void sendBytes(const std::string& bytes) const;

    /// A frame, encrypted once there is a key.
    void send(const Json& message);

    /// The frame's bytes.
    [[nodiscard]] std::string frame(const std::string& body) const;
    [[nodiscard]] std::string sealed(const std::string& text) const;

    /// A message with its envelope; the sequence number grows.
    Json message(const std::string& type);

    [[nodiscard]] bool closed() const { return m_closed; }
    [[nodiscard]] bool reset() const { return m_reset; }
    /// Bytes of frames that are not complete, or of what is no frame.
    [[nodiscard]] const std::string& rest() const { return m_input; }

    std::deque<Json> messages;     ///< what came, but not commands that were answered
    std::deque<std::string> texts; ///< bodies that were no JSON
    std::deque<std::string> reads; ///< what each read gave
    std::optional<std::array<unsigned char, 16>> key;
    unsigned char ivFill;
    bool answers = false; ///< commands are acknowledged, status queries get this:
    Json status = Json::object();
    std::map<std::string, Json> settings; ///< member of "set" → what came last

private:
    void takeFrames();
    void take(const std::string& body);
    bool answer(const Json& command);

    int m_socket = -1;
    std::string m_input;
    bool m_closed = false;
    bool m_reset = false;
    int m_sequence = 100;
};

} // namespace vxp::test
