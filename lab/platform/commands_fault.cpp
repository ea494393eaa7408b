// SPDX-License-Identifier: MIT
#include "command_tables.h"
#include "platform.h"
#include "text.h"

#include <fmt/format.h>

#include <utility>

namespace vxp {

namespace {

struct FaultWord {
    std::string_view name;
    Fault::Kind kind;
    bool hasOffset;
    std::size_t offset; ///< when none is given
};

constexpr FaultWord faultWords[] = {
    {"off", Fault::Kind::none, false, 0},       {"mute", Fault::Kind::mute, false, 0},
    {"cut", Fault::Kind::cut, true, 3},         {"split-header", Fault::Kind::split, true, 2},
    {"corrupt", Fault::Kind::corrupt, true, 0},
};

constexpr std::size_t maxOffset = 1024;

/// The relays that a command means; it fails when there is none.
std::vector<Relay*> chosenRelays(Platform& platform) {
    std::vector<Relay*> result;
    for (const auto& relay : platform.relays()) {
        result.push_back(relay.get());
    }
    if (result.empty()) {
        throw StepFailed("there is no fault port (see --fault-tcp and --fault-tls)");
    }
    return result;
}

void noteFault(Platform& platform, std::string_view name) {
    Event fault;
    fault.name = "fault";
    fault.topic = "set-" + std::string(name);
    platform.recorder().record(std::move(fault));
}

Step faultStep(const FaultWord& word, std::size_t offset) {
    return [&word, offset](Platform& platform) {
        for (Relay* relay : chosenRelays(platform)) {
            if (word.kind == Fault::Kind::none) {
                relay->setStalled(false);
            }
            if (word.kind != Fault::Kind::split || relay->framed()) {
                relay->setFault({word.kind, offset});
            }
        }
        noteFault(platform, word.name);
        return std::nullopt;
    };
}

Step stallStep() {
    return [](Platform& platform) {
        for (Relay* relay : chosenRelays(platform)) {
            relay->setStalled(true);
        }
        noteFault(platform, "stall");
        return std::nullopt;
    };
}

/// Things that are done at once to every connection; it fails when there is none.
template <typename Act>
Step actionStep(Act act) {
    return [act = std::move(act)](Platform& platform) {
        std::size_t reached = 0;
        for (Relay* relay : chosenRelays(platform)) {
            reached += act(*relay);
        }
        if (reached == 0) {
            throw StepFailed("no gateway is connected to the fault port");
        }
        return std::nullopt;
    };
}

Step parseRaw(const Arguments& arguments) {
    const auto bytes = parseHex(arguments.rest(2));
    if (!bytes) {
        throw UsageError("raw takes pairs of hexadecimal digits");
    }
    return actionStep([bytes = *bytes](Relay& relay) { return relay.inject(bytes); });
}

Step parseArmed(const FaultWord& word, const std::vector<std::string>& words) {
    const auto offset =
        words.size() > 1 ? parseInteger(words[1]) : static_cast<long long>(word.offset);
    if (words.size() > (word.hasOffset ? 2U : 1U) || !offset || *offset < 0 ||
        static_cast<std::size_t>(*offset) > maxOffset) {
        throw UsageError(
            fmt::format("no offset from 0 to {}: {}", maxOffset, quoteText(words.back())));
    }
    return faultStep(word, static_cast<std::size_t>(*offset));
}

Step parseFault(const Arguments& arguments) {
    const auto words = arguments.words();
    if (words.empty()) {
        throw UsageError("something is missing");
    }
    for (const FaultWord& word : faultWords) {
        if (word.name == words[0]) {
            return parseArmed(word, words);
        }
    }
    if (words[0] == "raw") {
        return parseRaw(arguments);
    }
    if (words.size() == 1 && words[0] == "stall") {
        return stallStep();
    }
    if (words.size() == 1 && (words[0] == "close" || words[0] == "reset")) {
        return actionStep(
            [reset = words[0] == "reset"](Relay& relay) { return relay.dropAll(reset); });
    }
    throw UsageError(fmt::format("no such fault: {}", quoteText(arguments.rest(1))));
}

constexpr CommandRow rows[] = {
    {"fault", "mute|cut [N]|split-header [N]|corrupt [N]|stall|raw HEX|close|reset|off",
     "on the fault ports: let nothing through to the gateway (not even the first announcement); "
     "end the next message and the connection after N bytes; make the gateway's reads cut the next "
     "message's header after N bytes; turn byte N of the next message around; stop reading what "
     "the gateway sends; send bytes; end the connections, also by a reset; pass everything again",
     parseFault},
};

} // namespace

std::span<const CommandRow> faultCommands() {
    return rows;
}

} // namespace vxp
