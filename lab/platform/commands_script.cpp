// SPDX-License-Identifier: MIT
#include "command_tables.h"
#include "journal.h"
#include "net_messages.h"
#include "platform.h"
#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace vxp {

namespace {

constexpr std::chrono::seconds usualTimeout{30};

constexpr std::string_view eventNames[] = {
    "connect", "tls",  "ready",   "close", "request", "response", "sent",      "answer",   "stray",
    "signal",  "lost", "silence", "fault", "error",   "command",  "listening", "malformed"};

/// @return the recorder's key for what a script calls "login", "closed", "answer" or "answer:wan"
std::string parseKey(const std::string& word) {
    constexpr std::string_view closed = "closed";
    if (word == closed || word.starts_with("closed:")) {
        return "close" + word.substr(closed.size());
    }
    if (const Exchange* exchange = findExchangeByName(word)) {
        return std::string(exchange->name);
    }
    if (findNetExchangeByName(word) != nullptr) {
        return word;
    }
    const std::string name = word.substr(0, word.find(':'));
    if (std::find(std::begin(eventNames), std::end(eventNames), name) == std::end(eventNames)) {
        throw UsageError(fmt::format("no such event: {}", quoteText(word)));
    }
    return word;
}

std::chrono::milliseconds parseTimeout(const std::string& word) {
    const auto timeout = parseDuration(word);
    if (!timeout) {
        throw UsageError(fmt::format("no time such as 300ms or 20s: {}", quoteText(word)));
    }
    return *timeout;
}

Step parseHelp(const Arguments& arguments) {
    const auto words = arguments.words(0, 1);
    const std::string text = words.empty() ? std::string{} : words[0];
    return [text](Platform& platform) {
        platform.print(trimmed(commandHelp(text)));
        return std::nullopt;
    };
}

Step parseEcho(const Arguments& arguments) {
    return [text = std::string(arguments.rest(1))](Platform& platform) {
        platform.print(text);
        return std::nullopt;
    };
}

Step parseSleep(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    return [time = parseTimeout(words[0])](Platform&) {
        return Waiting{[](Platform&) { return false; }, Clock::now() + time, ""};
    };
}

bool taken(Platform& platform, const std::string& key, Clock::time_point start) {
    const EventPtr event = platform.recorder().take(key);
    if (!event) {
        return false;
    }
    Event wait;
    wait.name = "wait";
    wait.topic = key;
    wait.details["for"] = event->number;
    wait.details["milliseconds"] =
        std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    platform.recorder().record(std::move(wait));
    return true;
}

Step parseWait(const Arguments& arguments) {
    auto words = arguments.words(1, 3);
    const bool fresh = words[0] == "new";
    if (fresh) {
        words.erase(words.begin());
    }
    if (words.empty() || words.size() > 2) {
        throw UsageError("an event, and perhaps a time");
    }
    const std::string key = parseKey(words[0]);
    const auto timeout = words.size() > 1 ? parseTimeout(words[1]) : usualTimeout;
    return [key, timeout, fresh](Platform& platform) {
        if (fresh) {
            platform.recorder().forget(key);
        }
        const Clock::time_point start = Clock::now();
        return Waiting{
            [key, start](Platform& running) { return taken(running, key, start); }, start + timeout,
            fmt::format("no {} within {} s", key, std::chrono::duration<double>(timeout).count())};
    };
}

Step parseNever(const Arguments& arguments) {
    const auto words = arguments.words(2, 2);
    const std::string key = parseKey(words[0]);
    const auto time = parseTimeout(words[1]);
    return [key, time](Platform& platform) {
        platform.recorder().forget(key);
        return Waiting{[key](Platform& running) {
                           if (running.recorder().take(key)) {
                               throw StepFailed(fmt::format("{} came", key));
                           }
                           return false;
                       },
                       Clock::now() + time, ""};
    };
}

Step parseForget(const Arguments& arguments) {
    const auto words = arguments.words(0, 1);
    const std::string key = words.empty() ? std::string{} : parseKey(words[0]);
    return [key](Platform& platform) {
        platform.recorder().forget(key);
        return std::nullopt;
    };
}

Step parseRun(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    return [file = arguments.resolve(words[0])](Platform& platform) {
        platform.runner().prepend(loadScript(file));
        return std::nullopt;
    };
}

Step parseExit(const Arguments& arguments) {
    const auto words = arguments.words(0, 1);
    std::optional<int> status;
    if (!words.empty()) {
        const auto number = parseInteger(words[0]);
        if (!number || *number < 0 || *number > 255) {
            throw UsageError(fmt::format("no exit status: {}", quoteText(words[0])));
        }
        status = static_cast<int>(*number);
    }
    return [status](Platform& platform) {
        platform.exit(status);
        return std::nullopt;
    };
}

// --- assert -------------------------------------------------------------------------------------

enum class Operator { equal, unequal, less, atMost, greater, atLeast, contains, exists, absent };

constexpr std::pair<std::string_view, Operator> operators[] = {
    {"==", Operator::equal},          {"!=", Operator::unequal},    {"<", Operator::less},
    {"<=", Operator::atMost},         {">", Operator::greater},     {">=", Operator::atLeast},
    {"contains", Operator::contains}, {"exists", Operator::exists}, {"absent", Operator::absent}};

std::optional<Operator> findOperator(std::string_view word) {
    for (const auto& [text, value] : operators) {
        if (text == word) {
            return value;
        }
    }
    return std::nullopt;
}

struct Assertion {
    bool counted = false; ///< about the number of events instead of one event's content
    std::string key;
    bool meta = false; ///< the path names what is around the document: "code", "access-token"
    std::string path;
    Operator op = Operator::equal;
    std::string expected;
    std::string text;
};

/// "answer.data.0", "answer@code", "count.heartbeat", or the last two parts as words of their own.
void parseSubject(Assertion& assertion, std::string subject, const std::string& path) {
    constexpr std::string_view countPrefix = "count.";
    if (!path.empty()) {
        subject += (path.front() == '@' ? "" : ".") + path;
    }
    if (subject.starts_with(countPrefix)) {
        assertion.counted = true;
        assertion.key = parseKey(subject.substr(countPrefix.size()));
        return;
    }
    const std::size_t mark = subject.find_first_of(".@");
    assertion.key = parseKey(subject.substr(0, mark));
    if (mark != std::string::npos) {
        assertion.meta = subject[mark] == '@';
        assertion.path = subject.substr(mark + 1);
    }
}

Assertion parseAssertion(const Arguments& arguments) {
    const auto words = arguments.words();
    std::size_t at = 0;
    while (at < words.size() && !findOperator(words[at])) {
        ++at;
    }
    if (at == 0 || at > 2 || at == words.size()) {
        throw UsageError("no comparison");
    }
    Assertion assertion;
    assertion.op = *findOperator(words[at]);
    assertion.text = arguments.rest(1);
    parseSubject(assertion, words[0], at == 2 ? words[1] : "");
    const bool unary = assertion.op == Operator::exists || assertion.op == Operator::absent;
    if (words.size() != at + (unary ? 1 : 2)) {
        throw UsageError("no value, or more than one; quote a value that has blanks");
    }
    if (!unary) {
        assertion.expected = words[at + 1];
    }
    return assertion;
}

/// The message's options first, then the members of the journal's line.
std::optional<Json> metaOf(const Event& event, const std::string& name) {
    const Json line = describeEvent(event);
    if (const auto options = line.find("options"); options != line.end()) {
        if (const auto found = options->find(name); found != options->end()) {
            return *found;
        }
    }
    const auto found = line.find(name);
    return found != line.end() ? std::optional<Json>(*found) : std::nullopt;
}

std::optional<Json> actualValue(Platform& platform, const Assertion& assertion) {
    if (assertion.counted) {
        return Json(platform.recorder().count(assertion.key));
    }
    const EventPtr event = platform.recorder().subject(assertion.key);
    if (!event) {
        throw StepFailed(fmt::format("there was no {}", assertion.key));
    }
    if (assertion.meta) {
        return metaOf(*event, assertion.path);
    }
    const auto document = event->message ? parseJson(event->message->payload) : std::nullopt;
    const Json* member = document ? findMember(*document, assertion.path) : nullptr;
    return member != nullptr ? std::optional<Json>(*member) : std::nullopt;
}

bool equals(const Json& actual, const std::string& expected) {
    if (actual.is_string() && actual.get<std::string>() == expected) {
        return true;
    }
    const auto document = parseJson(expected);
    return document && *document == actual;
}

bool contains(const Json& actual, const std::string& expected) {
    if (actual.is_string()) {
        return actual.get<std::string>().find(expected) != std::string::npos;
    }
    if (actual.is_object()) {
        return actual.contains(expected);
    }
    return actual.is_array() && std::any_of(actual.begin(), actual.end(), [&](const Json& element) {
               return equals(element, expected);
           });
}

bool ordered(const Json& actual, Operator op, const std::string& expected) {
    const auto limit = parseJson(expected);
    if (!actual.is_number() || !limit || !limit->is_number()) {
        return false;
    }
    const double left = actual.get<double>();
    const double right = limit->get<double>();
    switch (op) {
    case Operator::less:
        return left < right;
    case Operator::atMost:
        return left <= right;
    case Operator::greater:
        return left > right;
    default:
        return left >= right;
    }
}

bool holds(const std::optional<Json>& actual, Operator op, const std::string& expected) {
    switch (op) {
    case Operator::exists:
        return actual.has_value();
    case Operator::absent:
        return !actual.has_value();
    case Operator::equal:
        return actual && equals(*actual, expected);
    case Operator::unequal:
        return actual && !equals(*actual, expected);
    case Operator::contains:
        return actual && contains(*actual, expected);
    case Operator::less:
    case Operator::atMost:
    case Operator::greater:
    case Operator::atLeast:
        break;
    }
    return actual && ordered(*actual, op, expected);
}

Step parseAssert(const Arguments& arguments) {
    return [assertion = parseAssertion(arguments)](Platform& platform) {
        const std::optional<Json> actual = actualValue(platform, assertion);
        const bool passed = holds(actual, assertion.op, assertion.expected);
        Event result;
        result.name = "assert";
        result.details["assertion"] = assertion.text;
        result.details["passed"] = passed;
        if (actual) {
            result.details["actual"] = *actual;
        }
        platform.recorder().record(std::move(result));
        if (!passed) {
            throw StepFailed(fmt::format("assert {}: {}", assertion.text,
                                         actual ? "it is " + printJson(*actual)
                                                : std::string("there is no such member")));
        }
        return std::nullopt;
    };
}

constexpr CommandRow rows[] = {
    {"help", "[COMMAND]", "this list, or one line of it", parseHelp},
    {"echo", "TEXT", "print a text", parseEcho},
    {"sleep", "TIME", "300ms, 20s, 2m or seconds; everything else goes on", parseSleep},
    {"wait", "[new] EVENT [TIMEOUT]",
     "wait up to 30s or TIMEOUT for a request (login, heartbeat, ...), or for connect, tls, ready, "
     "close, answer, answer:NAME, ..., on the platform channel for keymode, dh, net-register, "
     "net-heartbeat, connect:net, close:net; each event ends one wait, also when it came earlier, "
     "unless it must be new",
     parseWait},
    {"never", "EVENT TIME", "fail if it comes within that time", parseNever},
    {"forget", "[EVENT]", "events so far end no wait any more", parseForget},
    {"assert", "EVENT[.MEMBER|@PART] OPERATOR [VALUE]",
     "compare a member of the last such message's document, an option or a member of the journal's "
     "line (@access-token, @code, ...), or count.EVENT; == != < <= > >= contains exists absent",
     parseAssert},
    {"run", "FILE", "run a script", parseRun},
    {"exit", "[STATUS]", "end the program", parseExit},
};

} // namespace

std::span<const CommandRow> scriptCommands() {
    return rows;
}

} // namespace vxp
