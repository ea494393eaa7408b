// SPDX-License-Identifier: MIT
#include "body.h"
#include "command_tables.h"
#include "platform.h"
#include "text.h"

#include <fmt/format.h>

#include <limits>
#include <utility>

namespace vxp {

namespace {

// --- messages -----------------------------------------------------------------------------------

Step sendStep(NetCommand command, Body body) {
    return [command = std::move(command), body = std::move(body)](Platform& platform) {
        NetCommand complete = command;
        complete.body = loadBody(platform.options().bodies, body);
        platform.net().send(complete);
        return std::nullopt;
    };
}

Step parseNamedCommand(const Arguments& arguments) {
    const NetRequestToGateway& request = *findNetRequestToGateway(arguments.name());
    NetCommand command{std::string(request.name), std::string(request.type), {}};
    const std::string_view rest = arguments.rest(1);
    if (rest.empty()) {
        return sendStep(std::move(command), {Body::Kind::file, std::string(request.body)});
    }
    return sendStep(std::move(command), parseFileOrBody(arguments, rest));
}

Step parseSend(const Arguments& arguments) {
    const std::string_view rest = arguments.rest(1);
    if (rest.empty()) {
        throw UsageError("something is missing");
    }
    return sendStep({"net-send", {}, {}}, parseFileOrBody(arguments, rest));
}

// --- connections --------------------------------------------------------------------------------

Step parseSelect(const Arguments& arguments) {
    const auto words = arguments.words(1, 1);
    const auto number = words[0] == "latest" ? 0 : parseInteger(words[0]);
    if (!number || *number < 0 || *number > std::numeric_limits<int>::max()) {
        throw UsageError(fmt::format("no connection: {}", quoteText(words[0])));
    }
    return [id = static_cast<int>(*number)](Platform& platform) {
        platform.net().select(id);
        return std::nullopt;
    };
}

Step parseDrop(const Arguments& arguments) {
    (void)arguments.words(0, 0);
    return [](Platform& platform) {
        platform.net().drop();
        return std::nullopt;
    };
}

// --- faults -------------------------------------------------------------------------------------

struct FaultWord {
    NetFault::Kind kind;
    std::size_t number; ///< when none is given
    std::size_t least;
    std::size_t most; ///< 0: it takes no number
};

constexpr FaultWord faultWords[] = {
    {NetFault::Kind::wrongKey, 0, 0, 0},
    {NetFault::Kind::merge, 2, 2, 64},
    {NetFault::Kind::magic, 0, 0, 3},
    {NetFault::Kind::overLong, refusedNetLength, refusedNetLength, 65535},
    {NetFault::Kind::highLength, 1, 1, 65535},
    {NetFault::Kind::cut, 12, 0, 65535},
};

std::size_t parseNumber(const std::string& word, std::size_t least, std::size_t most) {
    const auto number = parseInteger(word);
    if (!number || *number < 0 || static_cast<unsigned long long>(*number) < least ||
        static_cast<unsigned long long>(*number) > most) {
        throw UsageError(fmt::format("no number from {} to {}: {}", least, most, quoteText(word)));
    }
    return static_cast<std::size_t>(*number);
}

void checkCount(const std::vector<std::string>& words, std::size_t most) {
    if (words.size() > most) {
        throw UsageError(fmt::format("too much: {}", quoteText(words[most])));
    }
}

Step faultStep(NetFault fault) {
    return [fault = std::move(fault)](Platform& platform) {
        platform.net().setFault(fault);
        return std::nullopt;
    };
}

Step parseNumbered(const FaultWord& word, const std::vector<std::string>& words) {
    checkCount(words, word.most > 0 ? 2 : 1);
    NetFault fault;
    fault.kind = word.kind;
    fault.number = words.size() > 1 ? parseNumber(words[1], word.least, word.most) : word.number;
    return faultStep(std::move(fault));
}

Step parseSplit(const std::vector<std::string>& words) {
    constexpr std::chrono::milliseconds usualPause{5};
    checkCount(words, 3);
    NetFault fault;
    fault.kind = NetFault::Kind::split;
    fault.number = words.size() > 1 ? parseNumber(words[1], 1, refusedNetLength) : 1;
    const auto pause = words.size() > 2 ? parseDuration(words[2]) : usualPause;
    if (!pause) {
        throw UsageError(fmt::format("no time such as 300ms or 20s: {}", quoteText(words[2])));
    }
    fault.pause = *pause;
    return faultStep(std::move(fault));
}

Step parseSilence(const std::vector<std::string>& words) {
    checkCount(words, 2);
    NetFault fault;
    fault.kind = NetFault::Kind::silence;
    if (words.size() > 1 && findNetExchangeByName(words[1]) == nullptr) {
        throw UsageError(fmt::format("no such request: {}", quoteText(words[1])));
    }
    fault.text = words.size() > 1 ? words[1] : std::string{};
    return faultStep(std::move(fault));
}

Step parseDhGarbage(const std::vector<std::string>& words) {
    checkCount(words, 2);
    NetFault fault;
    fault.kind = NetFault::Kind::dhGarbage;
    fault.text = words.size() > 1 ? words[1] : "garbage"; // no Base64 is 7 characters long
    return faultStep(std::move(fault));
}

/// Things that are done at once to every connection; it fails when there is none.
template <typename Act>
Step actionStep(Act act) {
    return [act = std::move(act)](Platform& platform) {
        if (act(platform.net()) == 0) {
            throw StepFailed("no gateway is connected to the platform channel");
        }
        return std::nullopt;
    };
}

Step parseRaw(const Arguments& arguments) {
    const auto bytes = parseHex(arguments.rest(2));
    if (!bytes) {
        throw UsageError("raw takes pairs of hexadecimal digits");
    }
    return actionStep([bytes = *bytes](NetChannel& net) { return net.inject(bytes); });
}

Step parseFault(const Arguments& arguments) {
    const auto words = arguments.words();
    if (words.empty()) {
        throw UsageError("something is missing");
    }
    for (const FaultWord& word : faultWords) {
        if (netFaultName(word.kind) == words[0]) {
            return parseNumbered(word, words);
        }
    }
    static constexpr std::pair<std::string_view, Step (*)(const std::vector<std::string>&)>
        special[] = {
            {"split", parseSplit}, {"silence", parseSilence}, {"dh-garbage", parseDhGarbage}};
    for (const auto& [name, parse] : special) {
        if (name == words[0]) {
            return parse(words);
        }
    }
    if (words[0] == "raw") {
        return parseRaw(arguments);
    }
    if (words.size() == 1 && words[0] == "off") {
        return faultStep({});
    }
    if (words.size() == 1 && (words[0] == "close" || words[0] == "reset")) {
        return actionStep(
            [reset = words[0] == "reset"](NetChannel& net) { return net.dropAll(reset); });
    }
    throw UsageError(fmt::format("no such fault: {}", quoteText(arguments.rest(1))));
}

std::vector<CommandRow> makeRows() {
    std::vector<CommandRow> rows;
    for (const NetRequestToGateway& request : netRequestsToGateway()) {
        rows.push_back({request.name, "[FILE|JSON]", request.help, parseNamedCommand});
    }
    rows.push_back({"net-send", "FILE|JSON|hex:HEX",
                    "send a message as it stands, envelope and all", parseSend});
    rows.push_back(
        {"net-select", "CONNECTION|latest",
         "the connection that these commands and net-drop are for; the latest is the one "
         "that registered last",
         parseSelect});
    rows.push_back({"net-drop", "", "end the connection", parseDrop});
    rows.push_back(
        {"net-fault",
         "silence [REQUEST]|wrong-key|split [N [PAUSE]]|merge [N]|magic [N]|over-long [N]|"
         "high-length [N]|cut [N]|dh-garbage [TEXT]|raw HEX|close|reset|off",
         "until further notice: reply nothing (to keymode, dh, net-register or net-heartbeat); "
         "encrypt with another key; send N bytes at a time. Once: send N frames together; invert "
         "byte N of a frame's magic; send a body of N bytes; put N into the upper half of the "
         "length; end a frame and the connection after N bytes; reply a dh_key that is none. At "
         "once: send bytes; end the connections, also by a reset. off: everything in order again",
         parseFault});
    return rows;
}

} // namespace

std::span<const CommandRow> netCommands() {
    static const std::vector<CommandRow> rows = makeRows();
    return rows;
}

} // namespace vxp
