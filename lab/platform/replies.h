// SPDX-License-Identifier: MIT
#pragma once

#include "exchanges.h"

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vxp {

/// How a reply differs from the ordinary one.
struct ReplyRule {
    enum class Drop { no, before, after };

    std::optional<int> errcode;
    bool credentials = false; ///< a failing reply carries the success members all the same
    std::vector<std::pair<std::string, Json>> members; ///< added, or put in place of the usual
    std::vector<std::string> omitted;
    std::optional<std::string> raw; ///< these bytes instead of the document; may be none at all
    int code = codeContent;
    bool silence = false;
    std::chrono::milliseconds delay{0};
    Drop drop = Drop::no;      ///< end the connection instead of the reply, or behind it
    std::optional<long> times; ///< requests that it holds for; without it for all
};

/// One request's way through the rules.
struct Reply {
    bool send = true;
    std::string payload;
    int code = codeContent;
    std::chrono::milliseconds delay{0};
    ReplyRule::Drop drop = ReplyRule::Drop::no;
    int errcode = 0;
    Gateway* gateway = nullptr;
};

/// The rules of every exchange; those that hold a number of times come first, in their order.
class Replies {
public:
    /// A rule without a number of times takes the place of the one before it.
    void set(const Exchange& exchange, ReplyRule rule);

    /// Back to the ordinary replies.
    void clear(const Exchange& exchange);

    /// Serves the request and applies the next rule; a request that is to fail changes nothing.
    Reply answer(const Exchange& exchange, Registry& registry, const Policy& policy,
                 const Message& request);

    /// One line for each rule that is set.
    [[nodiscard]] std::vector<std::string> describe() const;

private:
    struct Rules {
        std::deque<ReplyRule> counted;
        std::optional<ReplyRule> standing;
    };

    ReplyRule next(const Exchange& exchange);

    std::map<std::string_view, Rules> m_rules;
};

/// The words behind "set NAME", such as errcode=5 or silence.
/// @throws std::invalid_argument with the reason
ReplyRule parseReplyRule(const std::vector<std::string>& words);

} // namespace vxp
