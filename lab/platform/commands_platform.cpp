// SPDX-License-Identifier: MIT
#include "command_tables.h"
#include "platform.h"
#include "text.h"

#include <fmt/format.h>

#include <map>
#include <utility>

namespace vxp {

namespace {

/// @return the exchange of that name, or all of them
std::vector<const Exchange*> parseExchanges(const std::string& word) {
    std::vector<const Exchange*> result;
    if (word == "all") {
        for (const Exchange& exchange : exchanges()) {
            result.push_back(&exchange);
        }
        return result;
    }
    const Exchange* exchange = findExchangeByName(word);
    if (exchange == nullptr) {
        throw UsageError(fmt::format("no such request: {}", quoteText(word)));
    }
    return {exchange};
}

/// The platform channel's key mode has no rules as replies have: gateways read one member.
Step parseKeyMode(const Arguments& arguments) {
    return [mode = arguments.words(2, 2)[1]](Platform& platform) {
        platform.net().setKeyMode(mode);
        return std::nullopt;
    };
}

Step parseSet(const Arguments& arguments) {
    auto words = arguments.words();
    if (words.size() < 2) {
        throw UsageError("something is missing");
    }
    if (words[0] == "keymode") {
        return parseKeyMode(arguments);
    }
    const auto chosen = parseExchanges(words[0]);
    words.erase(words.begin());
    if (words == std::vector<std::string>{"default"}) {
        return [chosen](Platform& platform) {
            for (const Exchange* exchange : chosen) {
                platform.app().replies().clear(*exchange);
            }
            return std::nullopt;
        };
    }
    constexpr std::string_view fileWord = "raw=@";
    for (std::string& word : words) {
        if (word.starts_with(fileWord)) {
            word = std::string(fileWord) + arguments.resolve(word.substr(fileWord.size()));
        }
    }
    ReplyRule rule;
    try {
        rule = parseReplyRule(words);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    } catch (const std::invalid_argument& error) {
        throw UsageError(error.what());
    }
    return [chosen, rule](Platform& platform) {
        for (const Exchange* exchange : chosen) {
            platform.app().replies().set(*exchange, rule);
        }
        return std::nullopt;
    };
}

Step parseCode(const Arguments& arguments) {
    const auto words = arguments.words(1, 2);
    const std::string& action = words[0];
    if (words.size() == (action == "clear" ? 2U : 1U) ||
        (action != "add" && action != "remove" && action != "clear")) {
        throw UsageError("add CODE, remove CODE or clear");
    }
    return [action, code = words.back()](Platform& platform) {
        auto& codes = platform.app().registry().codes();
        if (action == "add") {
            codes.insert(code);
        } else if (action == "remove") {
            codes.erase(code);
        } else {
            codes.clear();
        }
        return std::nullopt;
    };
}

using GatewayField = std::string Gateway::*;

constexpr std::pair<std::string_view, GatewayField> gatewayFields[] = {
    {"mac", &Gateway::mac},
    {"devId", &Gateway::devId},
    {"secret", &Gateway::secret},
    {"accessToken", &Gateway::accessToken},
    {"refreshToken", &Gateway::refreshToken}};

Gateway parseGateway(const std::vector<std::string>& words) {
    Gateway gateway;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::size_t sign = words[i].find('=');
        GatewayField target = nullptr;
        for (const auto& [name, field] : gatewayFields) {
            target = sign != std::string::npos && words[i].substr(0, sign) == name ? field : target;
        }
        if (target == nullptr) {
            throw UsageError(fmt::format("unknown word: {}", quoteText(words[i])));
        }
        gateway.*target = words[i].substr(sign + 1);
    }
    if (gateway.mac.empty()) {
        throw UsageError("mac=MAC is missing");
    }
    return gateway;
}

void addGateway(Platform& platform, const Gateway& wanted) {
    Gateway& gateway = platform.app().registry().enrol(wanted.mac);
    for (const auto& [name, field] : gatewayFields) {
        if (!(wanted.*field).empty()) {
            gateway.*field = wanted.*field;
        }
    }
    gateway.tokenExpiry = Clock::now() + std::chrono::seconds(platform.app().policy().tokenTimeout);
}

Step parseGatewayCommand(const Arguments& arguments) {
    const auto words = arguments.words();
    if (words.size() > 1 && words[0] == "add") {
        return [gateway = parseGateway(words)](Platform& platform) {
            addGateway(platform, gateway);
            return std::nullopt;
        };
    }
    if (words.size() != 2 || words[0] != "forget") {
        throw UsageError("add mac=MAC ... or forget MAC");
    }
    return [id = words[1]](Platform& platform) {
        if (!platform.app().registry().remove(id)) {
            throw StepFailed(fmt::format("no such gateway: {}", quoteText(id)));
        }
        return std::nullopt;
    };
}

Step parsePolicy(const Arguments& arguments) {
    static constexpr std::pair<std::string_view, bool Policy::*> policies[] = {
        {"require-registration", &Policy::requireRegistration},
        {"check-token", &Policy::checkToken}};
    const auto words = arguments.words(2, 2);
    if (words[1] != "on" && words[1] != "off") {
        throw UsageError(fmt::format("on or off: {}", quoteText(words[1])));
    }
    for (const auto& [name, field] : policies) {
        if (name == words[0]) {
            return [target = field, on = words[1] == "on"](Platform& platform) {
                platform.app().policy().*target = on;
                return std::nullopt;
            };
        }
    }
    throw UsageError(fmt::format("no such policy: {}", quoteText(words[0])));
}

Step parseTokenTimeout(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    const auto number = parseInteger(words[0]);
    if (!number) {
        throw UsageError(fmt::format("no number: {}", quoteText(words[0])));
    }
    return [timeout = *number](Platform& platform) {
        platform.app().policy().tokenTimeout = timeout;
        return std::nullopt;
    };
}

Step parseExpire(const Arguments& arguments) {
    (void)arguments.words(0, 0);
    return [](Platform& platform) {
        platform.app().registry().expireTokens();
        return std::nullopt;
    };
}

Step parseSelect(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    const auto number = words[0] == "latest" ? 0 : parseInteger(words[0]);
    if (!number || *number < 0 || *number > INT32_MAX) {
        throw UsageError(fmt::format("no connection: {}", quoteText(words[0])));
    }
    return [id = static_cast<int>(*number)](Platform& platform) {
        platform.app().select(id);
        return std::nullopt;
    };
}

/// Commands without arguments that are one call.
template <void (*Act)(Platform&)>
Step parseSimple(const Arguments& arguments) {
    (void)arguments.words(0, 0);
    return [](Platform& platform) {
        Act(platform);
        return std::nullopt;
    };
}

void drop(Platform& platform) {
    platform.app().drop();
}
void refuse(Platform& platform) {
    platform.refuse();
}
void accept(Platform& platform) {
    platform.accept();
}

// --- show ---------------------------------------------------------------------------------------

void showNetConnections(Platform& platform) {
    if (!platform.hasNet()) {
        return;
    }
    for (const NetConnection& connection : platform.net().connections()) {
        platform.print(fmt::format("#{} net {}{}{}", connection.id, connection.peer.text(),
                                   connection.registration != 0 ? "" : " (not registered)",
                                   connection.mac.empty() ? "" : " " + connection.mac));
    }
}

void showConnections(Platform& platform) {
    for (const Connection* connection : platform.app().server().connections()) {
        const Gateway* gateway = platform.app().gatewayOn(connection->id);
        platform.print(fmt::format("#{} {} {}{}{}", connection->id,
                                   transportName(connection->transport), connection->peer.text(),
                                   connection->ready ? "" : " (not ready)",
                                   gateway != nullptr ? " " + gateway->mac : ""));
    }
    showNetConnections(platform);
}

void showGateways(Platform& platform) {
    for (const Gateway& gateway : platform.app().registry().gateways()) {
        Json line = Json::object();
        for (const auto& [name, field] : gatewayFields) {
            line[std::string(name)] = gateway.*field;
        }
        line["heartbeats"] = gateway.heartbeats;
        platform.print(printJson(line));
    }
}

void showReplies(Platform& platform) {
    for (const std::string& line : platform.app().replies().describe()) {
        platform.print(line);
    }
}

void showCounts(Platform& platform) {
    for (const auto& [key, count] : platform.recorder().counts()) {
        platform.print(fmt::format("{:>6} {}", count, key));
    }
}

void showCodes(Platform& platform) {
    for (const std::string& code : platform.app().registry().codes()) {
        platform.print(code);
    }
}

constexpr std::pair<std::string_view, void (*)(Platform&)> views[] = {
    {"connections", showConnections},
    {"gateways", showGateways},
    {"replies", showReplies},
    {"codes", showCodes},
    {"counts", showCounts}};

Step parseShow(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    for (const auto& [name, view] : views) {
        if (name == words[0]) {
            return [show = view](Platform& platform) {
                show(platform);
                return std::nullopt;
            };
        }
    }
    throw UsageError(fmt::format("nothing to show: {}", quoteText(words[0])));
}

constexpr CommandRow rows[] = {
    {"set", "REQUEST|all WORD...|keymode dh|ecdh|TEXT",
     "change the reply to register, activate, login, devinfo, heartbeat, data or refresh; default "
     "is the ordinary one again; rules with times=N hold in turn, then the one without. Words: "
     "errcode=N [credentials] member.NAME=VALUE (devId= secret= accessToken= refreshToken= "
     "timeOut= likewise) omit=NAME,... raw=TEXT|@FILE rawhex=HEX empty silence delay=TIME "
     "drop=before|after code=2.04 times=N. keymode: what the reply to the platform "
     "channel's request for it says",
     parseSet},
    {"code", "add CODE|remove CODE|clear",
     "registration codes that are accepted; every code as long as there are none", parseCode},
    {"gateway", "add mac=MAC [devId=ID secret=TEXT ...]|forget MAC|ID",
     "make a gateway known, or unknown", parseGatewayCommand},
    {"policy", "require-registration|check-token on|off",
     "activate only registered gateways; refuse requests without a good access token with 1006",
     parsePolicy},
    {"timeout", "SECONDS", "\"timeOut\" of login and refresh replies", parseTokenTimeout},
    {"expire", "", "make all access tokens expire now", parseExpire},
    {"show", "connections|gateways|replies|codes|counts", "what the platform knows", parseShow},
    {"select", "CONNECTION|latest", "the connection that requests and drop are for", parseSelect},
    {"drop", "", "end the connection", parseSimple<drop>},
    {"refuse", "", "stop listening and end all connections", parseSimple<refuse>},
    {"accept", "", "listen again", parseSimple<accept>},
};

} // namespace

std::span<const CommandRow> platformCommands() {
    return rows;
}

} // namespace vxp
