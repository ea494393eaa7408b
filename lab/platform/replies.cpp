// SPDX-License-Identifier: MIT
#include "replies.h"

#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace vxp {

namespace {

using Setter = void (*)(ReplyRule& rule, std::string_view value);

[[noreturn]] void refuse(std::string_view what, std::string_view value) {
    throw std::invalid_argument(fmt::format("{}: {}", what, quoteText(value)));
}

void setErrcode(ReplyRule& rule, std::string_view value) {
    const auto number = parseInteger(value);
    if (!number || *number < INT32_MIN || *number > INT32_MAX) {
        refuse("errcode is a number", value);
    }
    rule.errcode = static_cast<int>(*number);
}

void setDelay(ReplyRule& rule, std::string_view value) {
    const auto delay = parseDuration(value);
    if (!delay) {
        refuse("delay is a time such as 300ms or 2s", value);
    }
    rule.delay = *delay;
}

void setTimes(ReplyRule& rule, std::string_view value) {
    const auto number = parseInteger(value);
    if (!number || *number < 1 || *number > 1000000) {
        refuse("times is a number from 1", value);
    }
    rule.times = static_cast<long>(*number);
}

void setDrop(ReplyRule& rule, std::string_view value) {
    if (value != "before" && value != "after") {
        refuse("drop is before or after", value);
    }
    rule.drop = value == "before" ? ReplyRule::Drop::before : ReplyRule::Drop::after;
}

void setCode(ReplyRule& rule, std::string_view value) {
    const int code = parseCode(value);
    if (code < coapCode(2, 0) || code > coapCode(5, 31)) {
        refuse("code is a response code such as 2.04", value);
    }
    rule.code = code;
}

void setRaw(ReplyRule& rule, std::string_view value) {
    rule.raw = value.starts_with('@') ? readFile(std::string(value.substr(1))) : std::string(value);
}

void setHex(ReplyRule& rule, std::string_view value) {
    rule.raw = parseHex(value);
    if (!rule.raw) {
        refuse("rawhex is pairs of hexadecimal digits", value);
    }
}

void setOmit(ReplyRule& rule, std::string_view value) {
    while (!value.empty()) {
        const std::size_t comma = value.find(',');
        rule.omitted.emplace_back(value.substr(0, comma));
        value = comma == std::string_view::npos ? std::string_view{} : value.substr(comma + 1);
    }
}

void setSilence(ReplyRule& rule, std::string_view) {
    rule.silence = true;
}
void setEmpty(ReplyRule& rule, std::string_view) {
    rule.raw.emplace();
}
void setCredentials(ReplyRule& rule, std::string_view) {
    rule.credentials = true;
}

struct RuleWord {
    std::string_view name;
    bool hasValue;
    Setter set;
};

constexpr RuleWord ruleWords[] = {
    {"errcode", true, setErrcode},  {"credentials", false, setCredentials},
    {"omit", true, setOmit},        {"raw", true, setRaw},
    {"rawhex", true, setHex},       {"empty", false, setEmpty},
    {"silence", false, setSilence}, {"delay", true, setDelay},
    {"drop", true, setDrop},        {"code", true, setCode},
    {"times", true, setTimes},
};

/// Members that the ordinary replies have can be set by their bare names.
constexpr std::string_view usualMembers[] = {"devId", "secret", "accessToken", "refreshToken",
                                             "timeOut"};

constexpr std::string_view memberPrefix = "member.";

bool setMember(ReplyRule& rule, std::string_view name, std::string_view value) {
    if (name.starts_with(memberPrefix) && name.size() > memberPrefix.size()) {
        name.remove_prefix(memberPrefix.size());
    } else if (std::find(std::begin(usualMembers), std::end(usualMembers), name) ==
               std::end(usualMembers)) {
        return false;
    }
    auto document = parseJson(value);
    rule.members.emplace_back(name, document ? std::move(*document) : Json(value));
    return true;
}

void parseWord(ReplyRule& rule, std::string_view word) {
    const std::size_t sign = word.find('=');
    const std::string_view name = word.substr(0, sign);
    const bool hasValue = sign != std::string_view::npos;
    const std::string_view value = hasValue ? word.substr(sign + 1) : std::string_view{};
    for (const RuleWord& candidate : ruleWords) {
        if (candidate.name == name) {
            if (candidate.hasValue != hasValue) {
                refuse(hasValue ? "takes no value" : "needs a value", name);
            }
            candidate.set(rule, value);
            return;
        }
    }
    if (!hasValue || !setMember(rule, name, value)) {
        refuse("unknown word", word);
    }
}

/// Nothing is taken from, nor written to, the registry when the reply is to say something else.
bool isServed(const ReplyRule& rule) {
    return !rule.silence && rule.drop != ReplyRule::Drop::before &&
           (rule.errcode.value_or(0) == 0 || rule.credentials);
}

Json document(const ReplyRule& rule, const Outcome& outcome, int errcode) {
    Json reply = Json::object();
    reply["errcode"] = errcode;
    reply.update(outcome.members);
    for (const auto& [name, value] : rule.members) {
        reply[name] = value;
    }
    for (const std::string& name : rule.omitted) {
        reply.erase(name);
    }
    return reply;
}

/// Credentials that an operator has put into a reply are the ones that count from now on.
void adopt(Gateway& gateway, const ReplyRule& rule) {
    static constexpr std::pair<std::string_view, std::string Gateway::*> credentials[] = {
        {"devId", &Gateway::devId},
        {"secret", &Gateway::secret},
        {"accessToken", &Gateway::accessToken},
        {"refreshToken", &Gateway::refreshToken}};
    for (const auto& [name, value] : rule.members) {
        for (const auto& [credential, field] : credentials) {
            if (credential == name && value.is_string()) {
                gateway.*field = value.get<std::string>();
            }
        }
    }
}

/// Likewise the time that a token lasts.
Policy effective(const Policy& policy, const ReplyRule& rule) {
    Policy result = policy;
    for (const auto& [name, value] : rule.members) {
        if (name == "timeOut" && value.is_number_integer()) {
            result.tokenTimeout = value.get<long long>();
        }
    }
    return result;
}

std::string describeRule(const ReplyRule& rule) {
    std::string text;
    const auto add = [&](bool present, std::string_view word) {
        if (present) {
            text += fmt::format(" {}", word);
        }
    };
    add(rule.errcode.has_value(), fmt::format("errcode={}", rule.errcode.value_or(0)));
    add(rule.credentials, "credentials");
    for (const auto& [name, value] : rule.members) {
        add(true, fmt::format("member.{}={}", name, printJson(value)));
    }
    for (const std::string& name : rule.omitted) {
        add(true, "omit=" + name);
    }
    add(rule.raw && rule.raw->empty(), "empty");
    add(rule.raw && !rule.raw->empty(), "raw=" + quoteText(rule.raw.value_or("").substr(0, 40)));
    add(rule.silence, "silence");
    add(rule.delay.count() > 0, fmt::format("delay={}ms", rule.delay.count()));
    add(rule.drop == ReplyRule::Drop::before, "drop=before");
    add(rule.drop == ReplyRule::Drop::after, "drop=after");
    add(rule.code != codeContent, "code=" + codeText(rule.code));
    add(rule.times.has_value(), fmt::format("times={}", rule.times.value_or(0)));
    return text;
}

} // namespace

void Replies::set(const Exchange& exchange, ReplyRule rule) {
    Rules& rules = m_rules[exchange.name];
    if (rule.times) {
        rules.counted.push_back(std::move(rule));
    } else {
        rules.standing = std::move(rule);
    }
}

void Replies::clear(const Exchange& exchange) {
    m_rules.erase(exchange.name);
}

ReplyRule Replies::next(const Exchange& exchange) {
    const auto found = m_rules.find(exchange.name);
    if (found == m_rules.end()) {
        return {};
    }
    Rules& rules = found->second;
    if (rules.counted.empty()) {
        return rules.standing.value_or(ReplyRule{});
    }
    ReplyRule rule = rules.counted.front();
    if (--*rules.counted.front().times == 0) {
        rules.counted.pop_front();
    }
    return rule;
}

Reply Replies::answer(const Exchange& exchange, Registry& registry, const Policy& policy,
                      const Message& request) {
    const ReplyRule rule = next(exchange);
    Outcome outcome;
    if (isServed(rule)) {
        outcome = serveExchange(exchange, registry, effective(policy, rule), request);
    }
    Reply reply;
    reply.errcode = rule.errcode.value_or(outcome.errcode);
    reply.send = !rule.silence && rule.drop != ReplyRule::Drop::before;
    reply.payload = rule.raw ? *rule.raw : printJson(document(rule, outcome, reply.errcode));
    reply.code = rule.code;
    reply.delay = rule.delay;
    reply.drop = rule.drop;
    reply.gateway = outcome.gateway;
    if (outcome.gateway != nullptr) {
        adopt(*outcome.gateway, rule);
    }
    return reply;
}

std::vector<std::string> Replies::describe() const {
    std::vector<std::string> lines;
    for (const auto& [name, rules] : m_rules) {
        for (const ReplyRule& rule : rules.counted) {
            lines.push_back(fmt::format("{}{}", name, describeRule(rule)));
        }
        if (rules.standing) {
            lines.push_back(fmt::format("{}{}", name, describeRule(*rules.standing)));
        }
    }
    return lines;
}

ReplyRule parseReplyRule(const std::vector<std::string>& words) {
    ReplyRule rule;
    for (const std::string& word : words) {
        parseWord(rule, word);
    }
    return rule;
}

} // namespace vxp
