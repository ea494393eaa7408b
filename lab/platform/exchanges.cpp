// SPDX-License-Identifier: MIT
#include "exchanges.h"

#include <algorithm>
#include <cctype>

namespace vxp {

namespace {

Outcome refused(int errcode) {
    Outcome outcome;
    outcome.errcode = errcode;
    return outcome;
}

/// @return the text member, or an empty text when it is missing or no text
std::string textOf(const Json& body, std::string_view path) {
    const Json* member = findMember(body, path);
    return member != nullptr && member->is_string() ? member->get<std::string>() : std::string{};
}

/// Fits "timeOut" into a duration whatever an operator has asked for; 0 and less is expired.
std::chrono::seconds lifetime(const Policy& policy) {
    constexpr long long hundredYears = 100LL * 365 * 24 * 3600;
    return std::chrono::seconds(std::clamp(policy.tokenTimeout, 0LL, hundredYears));
}

Outcome withTokens(Registry& registry, const Policy& policy, Gateway& gateway) {
    registry.issueTokens(gateway, lifetime(policy));
    Outcome outcome;
    outcome.gateway = &gateway;
    outcome.members["accessToken"] = gateway.accessToken;
    outcome.members["refreshToken"] = gateway.refreshToken;
    outcome.members["timeOut"] = policy.tokenTimeout;
    return outcome;
}

Outcome serveRegister(Registry& registry, const Policy&, const Json& body, const std::string*) {
    const std::string mac = textOf(body, "mac");
    if (mac.empty()) {
        return refused(errcodeMalformed);
    }
    Outcome outcome;
    outcome.gateway = &registry.enrol(mac);
    outcome.gateway->registration = body;
    return outcome;
}

Outcome serveActivate(Registry& registry, const Policy& policy, const Json& body,
                      const std::string*) {
    const std::string mac = textOf(body, "devInfo.mac");
    if (mac.empty()) {
        return refused(errcodeMalformed);
    }
    if (policy.requireRegistration && registry.findByMac(mac) == nullptr) {
        return refused(errcodeNotRegistered);
    }
    if (!registry.acceptsCode(textOf(body, "code"))) {
        return refused(errcodeCodeRefused);
    }
    Gateway& gateway = registry.enrol(mac);
    registry.activate(gateway);
    gateway.deviceInfo = *findMember(body, "devInfo");
    Outcome outcome;
    outcome.gateway = &gateway;
    outcome.members["devId"] = gateway.devId;
    outcome.members["secret"] = gateway.secret;
    return outcome;
}

Outcome serveLogin(Registry& registry, const Policy& policy, const Json& body, const std::string*) {
    const Json* secret = findMember(body, "secret");
    if (findMember(body, "devId") == nullptr || secret == nullptr) {
        return refused(errcodeMalformed);
    }
    Gateway* gateway = registry.findByDevId(textOf(body, "devId"));
    if (gateway == nullptr) {
        return refused(errcodeUnknownDevice);
    }
    if (*secret != gateway->secret) {
        return refused(errcodeWrongSecret);
    }
    return withTokens(registry, policy, *gateway);
}

Outcome serveRefresh(Registry& registry, const Policy& policy, const Json& body,
                     const std::string*) {
    Gateway* gateway = registry.findByRefreshToken(textOf(body, "refreshToken"));
    if (gateway == nullptr) {
        return refused(errcodeRefreshRefused);
    }
    return withTokens(registry, policy, *gateway);
}

Outcome reportOf(Registry& registry, const std::string* token, bool wellFormed) {
    Outcome outcome;
    outcome.errcode = wellFormed ? errcodeSuccess : errcodeMalformed;
    outcome.gateway = token != nullptr ? registry.findByAccessToken(*token) : nullptr;
    return outcome;
}

Outcome serveDevInfoSync(Registry& registry, const Policy&, const Json& body,
                         const std::string* token) {
    const Json* info = findMember(body, "0.devInfo");
    const bool wellFormed = info != nullptr && info->is_object();
    Outcome outcome = reportOf(registry, token, wellFormed);
    if (wellFormed && outcome.gateway != nullptr) {
        outcome.gateway->deviceInfo = *info;
    }
    return outcome;
}

Outcome serveHeartbeat(Registry& registry, const Policy&, const Json& body,
                       const std::string* token) {
    Outcome outcome = reportOf(registry, token, !textOf(body, "ts").empty());
    if (outcome.gateway != nullptr) {
        ++outcome.gateway->heartbeats;
    }
    return outcome;
}

Outcome serveData(Registry& registry, const Policy&, const Json& body, const std::string* token) {
    const Json* services = findMember(body, "services");
    return reportOf(registry, token, services != nullptr && services->is_array());
}

constexpr Exchange exchangeTable[] = {
    {"register", ".sys/register", TokenRule::any, serveRegister},
    {"activate", ".sys/activate", TokenRule::none, serveActivate},
    {"login", ".sys/login", TokenRule::none, serveLogin},
    {"devinfo", ".sys/devInfoSync", TokenRule::required, serveDevInfoSync},
    {"heartbeat", ".sys/heartbeat", TokenRule::required, serveHeartbeat},
    {"data", ".sys/data", TokenRule::required, serveData},
    {"refresh", ".sys/refresh", TokenRule::stale, serveRefresh},
};

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

constexpr std::string_view pathPrefix = ".sys/";

} // namespace

std::span<const Exchange> exchanges() {
    return exchangeTable;
}

const Exchange* findExchangeByPath(std::string_view path) {
    for (const Exchange& exchange : exchangeTable) {
        if (exchange.path == path) {
            return &exchange;
        }
    }
    return nullptr;
}

const Exchange* findExchangeByName(std::string_view name) {
    for (const Exchange& exchange : exchangeTable) {
        if (equalIgnoringCase(name, exchange.name) || equalIgnoringCase(name, exchange.path) ||
            equalIgnoringCase(name, exchange.path.substr(pathPrefix.size()))) {
            return &exchange;
        }
    }
    return nullptr;
}

std::string_view tokenComplaint(TokenRule rule, TokenVerdict verdict) {
    switch (rule) {
    case TokenRule::none:
        return verdict == TokenVerdict::missing ? "" : "unexpected";
    case TokenRule::any:
        return verdict == TokenVerdict::missing ? "missing" : "";
    case TokenRule::stale:
        return verdict == TokenVerdict::expired || verdict == TokenVerdict::ok
                   ? ""
                   : verdictText(verdict);
    case TokenRule::required:
        return verdict == TokenVerdict::ok ? "" : verdictText(verdict);
    }
    return "";
}

Outcome serveExchange(const Exchange& exchange, Registry& registry, const Policy& policy,
                      const Message& request) {
    const std::string* token = request.option(optionAccessToken);
    const bool checked =
        exchange.tokenRule == TokenRule::required || exchange.tokenRule == TokenRule::stale;
    if (policy.checkToken && checked &&
        !tokenComplaint(exchange.tokenRule, registry.judge(token)).empty()) {
        return refused(errcodeTokenRefused);
    }
    const auto body = parseJson(request.payload);
    if (!body) {
        return refused(errcodeMalformed);
    }
    return exchange.serve(registry, policy, *body, token);
}

} // namespace vxp
