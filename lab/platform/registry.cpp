// SPDX-License-Identifier: MIT
#include "registry.h"

#include <fmt/format.h>

#include <algorithm>

namespace vxp {

namespace {

constexpr int devIdDigits = 8;
constexpr int secretDigits = 32;
constexpr int tokenDigits = 32;

} // namespace

std::string_view verdictText(TokenVerdict verdict) {
    switch (verdict) {
    case TokenVerdict::ok:
        return "ok";
    case TokenVerdict::missing:
        return "missing";
    case TokenVerdict::empty:
        return "empty";
    case TokenVerdict::wrong:
        return "wrong";
    case TokenVerdict::expired:
        return "expired";
    }
    return "";
}

Registry::Registry() {
    std::random_device source;
    m_random.seed((std::uint64_t{source()} << 32U) | source());
}

template <typename Match>
Gateway* Registry::find(Match match) {
    const auto found = std::find_if(m_gateways.begin(), m_gateways.end(), match);
    return found == m_gateways.end() ? nullptr : &*found;
}

Gateway* Registry::findByMac(std::string_view mac) {
    return find([&](const Gateway& gateway) { return gateway.mac == mac; });
}

Gateway* Registry::findByDevId(std::string_view devId) {
    return find([&](const Gateway& gateway) { return !devId.empty() && gateway.devId == devId; });
}

Gateway* Registry::findByAccessToken(std::string_view token) {
    return find(
        [&](const Gateway& gateway) { return !token.empty() && gateway.accessToken == token; });
}

Gateway* Registry::findByRefreshToken(std::string_view token) {
    return find(
        [&](const Gateway& gateway) { return !token.empty() && gateway.refreshToken == token; });
}

Gateway& Registry::enrol(const std::string& mac) {
    if (Gateway* known = findByMac(mac)) {
        return *known;
    }
    m_gateways.emplace_back();
    m_gateways.back().mac = mac;
    return m_gateways.back();
}

bool Registry::remove(std::string_view macOrDevId) {
    return m_gateways.remove_if([&](const Gateway& gateway) {
        return gateway.mac == macOrDevId || (!macOrDevId.empty() && gateway.devId == macOrDevId);
    }) > 0;
}

void Registry::activate(Gateway& gateway) {
    gateway.devId = "gw-" + randomHex(devIdDigits);
    gateway.secret = randomHex(secretDigits);
    gateway.accessToken.clear();
    gateway.refreshToken.clear();
}

void Registry::issueTokens(Gateway& gateway, std::chrono::seconds lifetime) {
    gateway.accessToken = "at-" + randomHex(tokenDigits);
    gateway.refreshToken = "rt-" + randomHex(tokenDigits);
    gateway.tokenExpiry = std::chrono::steady_clock::now() + lifetime;
}

void Registry::expireTokens() {
    for (Gateway& gateway : m_gateways) {
        gateway.tokenExpiry = std::chrono::steady_clock::now();
    }
}

TokenVerdict Registry::judge(const std::string* token) {
    if (token == nullptr) {
        return TokenVerdict::missing;
    }
    if (token->empty()) {
        return TokenVerdict::empty;
    }
    const Gateway* owner = findByAccessToken(*token);
    if (owner == nullptr) {
        return TokenVerdict::wrong;
    }
    return owner->tokenExpiry <= std::chrono::steady_clock::now() ? TokenVerdict::expired
                                                                  : TokenVerdict::ok;
}

bool Registry::acceptsCode(const std::string& code) const {
    return m_codes.empty() ? !code.empty() : m_codes.count(code) > 0;
}

std::string Registry::randomHex(int digits) {
    std::string text;
    while (static_cast<int>(text.size()) < digits) {
        text += fmt::format("{:016x}", m_random());
    }
    text.resize(static_cast<std::size_t>(digits));
    return text;
}

} // namespace vxp
