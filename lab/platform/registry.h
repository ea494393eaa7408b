// SPDX-License-Identifier: MIT
#pragma once

#include "json.h"

#include <chrono>
#include <cstdint>
#include <list>
#include <random>
#include <set>
#include <string>
#include <string_view>

namespace vxp {

/// Result codes that this platform gives; 0 is success.
enum Errcode : int {
    errcodeSuccess = 0,
    errcodeNotRegistered = 1,     ///< activate: no gateway of that MAC address has registered
    errcodeCodeRefused = 2,       ///< activate: the registration code is not accepted
    errcodeWrongSecret = 5,       ///< login: the secret is not the one that was issued
    errcodeUnknownDevice = 6,     ///< login: no such device ID; the gateway forgets its own
    errcodeTokenRefused = 1006,   ///< the access token is missing, wrong or has expired
    errcodeRefreshRefused = 4996, ///< refresh: not the refresh token that was issued
    errcodeMalformed = 4999,      ///< the body is not JSON or lacks a member
};

/// What the platform knows about one gateway.
struct Gateway {
    std::string mac;
    Json registration = Json::object(); ///< the body that it registered with
    Json deviceInfo;                    ///< what it reported last
    std::string devId;                  ///< empty until it is activated
    std::string secret;
    std::string accessToken; ///< empty until it has logged in
    std::string refreshToken;
    std::chrono::steady_clock::time_point tokenExpiry;
    std::uint64_t heartbeats = 0;
};

/// How the access token that came with a request is judged.
enum class TokenVerdict { ok, missing, empty, wrong, expired };

std::string_view verdictText(TokenVerdict verdict);

/// The gateways, the registration codes that are accepted, and the credentials that were issued.
class Registry {
public:
    Registry();

    // Addresses of gateways stay valid until the gateway is removed.
    [[nodiscard]] const std::list<Gateway>& gateways() const { return m_gateways; }
    Gateway* findByMac(std::string_view mac);
    Gateway* findByDevId(std::string_view devId);
    Gateway* findByAccessToken(std::string_view token);
    Gateway* findByRefreshToken(std::string_view token);

    /// @return the gateway of that MAC address, made when there was none
    Gateway& enrol(const std::string& mac);

    /// @return whether there was such a gateway
    bool remove(std::string_view macOrDevId);

    /// Issues a device ID and a secret; tokens of the time before are void.
    void activate(Gateway& gateway);

    /// Issues both tokens; they are good for the lifetime from now on.
    void issueTokens(Gateway& gateway, std::chrono::seconds lifetime);

    /// Makes every access token expire now.
    void expireTokens();

    /// @param token the value of the option, or null when the request had none
    TokenVerdict judge(const std::string* token);

    /// With no codes in the list every code that is not empty is accepted.
    [[nodiscard]] bool acceptsCode(const std::string& code) const;
    std::set<std::string>& codes() { return m_codes; }

private:
    template <typename Match>
    Gateway* find(Match match);
    std::string randomHex(int digits);

    std::list<Gateway> m_gateways;
    std::set<std::string> m_codes;
    std::mt19937_64 m_random;
};

} // namespace vxp
