// SPDX-License-Identifier: MIT
#include "body.h"
#include "command_tables.h"
#include "platform.h"
#include "requests.h"
#include "text.h"

#include <fmt/format.h>

#include <utility>

namespace vxp {

namespace {

struct IdentifierWord {
    std::string_view name;
    std::optional<std::string> Identifiers::*value;
    bool Identifiers::*send;
};

constexpr IdentifierWord identifierWords[] = {
    {"request-id", &Identifiers::requestId, &Identifiers::sendRequestId},
    {"session-id", &Identifiers::sessionId, &Identifiers::sendSessionId},
    {"trace-id", &Identifiers::traceId, &Identifiers::sendTraceId},
};

/// @return whether the word is one such as trace-id=TEXT or no-trace-id
bool takeIdentifier(Identifiers& identifiers, const std::string& word) {
    const std::size_t sign = word.find('=');
    for (const IdentifierWord& row : identifierWords) {
        if (word == "no-" + std::string(row.name)) {
            identifiers.*row.send = false;
            return true;
        }
        if (sign != std::string::npos && word.substr(0, sign) == row.name) {
            if (word.size() - sign - 1 > maxPrivateOptionLength) {
                throw UsageError(
                    fmt::format("{} is longer than {} bytes", row.name, maxPrivateOptionLength));
            }
            identifiers.*row.value = word.substr(sign + 1);
            return true;
        }
    }
    return false;
}

/// @return how many words of the line are used up when the body begins
std::size_t takeIdentifiers(Identifiers& identifiers, const Arguments& arguments,
                            std::size_t used) {
    // Only words in front of the body count, and a body need not have balanced quotes.
    for (;; ++used) {
        const std::string_view rest = arguments.rest(used);
        const bool candidate = rest.starts_with("no-") || rest.find("-id=") < rest.find(' ');
        if (rest.empty() || !candidate) {
            return used;
        }
        const auto words = Arguments("x " + std::string(rest), "").words();
        if (!takeIdentifier(identifiers, words[0])) {
            return used;
        }
    }
}

Step sendStep(Command command, Body body) {
    return [command = std::move(command), body = std::move(body)](Platform& platform) {
        Command complete = command;
        complete.payload = loadBody(platform.options().bodies, body);
        platform.app().send(complete);
        return std::nullopt;
    };
}

Step parseGeneric(const Arguments& arguments, int method, std::size_t used) {
    std::string path;
    {
        const std::string_view rest = arguments.rest(used);
        path = rest.substr(0, rest.find(' '));
    }
    if (path.empty() || path.front() == '/' || path.front() == '{') {
        throw UsageError("a path without a leading slash is missing");
    }
    Command command;
    command.method = method;
    const std::size_t mark = path.find('?');
    command.path = path.substr(0, mark);
    command.query = mark == std::string::npos ? std::string{} : path.substr(mark + 1);
    command.name = command.path;
    used = takeIdentifiers(command.identifiers, arguments, used + 1);
    return sendStep(std::move(command), parseBody(arguments, arguments.rest(used)));
}

Step parseMethod(const Arguments& arguments) {
    return parseGeneric(arguments, vxp::parseCode(arguments.name()), 1);
}

Step parseNamed(const Arguments& arguments, const NamedRequest& request, std::size_t used) {
    Command command;
    command.method = request.method;
    command.path = request.path;
    command.name = request.name;
    used = takeIdentifiers(command.identifiers, arguments, used);
    const std::string_view rest = arguments.rest(used);
    if (rest.empty() && !request.body.empty()) {
        return sendStep(std::move(command), {Body::Kind::file, std::string(request.body)});
    }
    return sendStep(std::move(command), parseFileOrBody(arguments, rest));
}

Step parseNamedCommand(const Arguments& arguments) {
    return parseNamed(arguments, *findNamedRequest(arguments.name()), 1);
}

Step parseSend(const Arguments& arguments) {
    const std::string_view rest = arguments.rest(1);
    const std::string_view what = rest.substr(0, rest.find(' '));
    if (const NamedRequest* request = findNamedRequest(what)) {
        return parseNamed(arguments, *request, 2);
    }
    const int method = vxp::parseCode(what);
    if (method < codeGet || method >= coapCode(1, 0)) {
        throw UsageError(fmt::format("no method and no request: {}", quoteText(what)));
    }
    return parseGeneric(arguments, method, 2);
}

constexpr std::string_view pathArguments = "PATH [IDENTIFIERS] [BODY]";

std::vector<CommandRow> makeRows() {
    std::vector<CommandRow> rows{
        {"send", "METHOD PATH|NAME [IDENTIFIERS] [BODY]",
         "send a request. IDENTIFIERS: request-id=TEXT session-id=TEXT trace-id=TEXT, or "
         "no-request-id and so on. BODY: a text, @FILE, hex:HEX or none",
         parseSend},
        {"get", pathArguments, "the same for GET", parseMethod},
        {"post", pathArguments, "the same for POST", parseMethod},
        {"put", pathArguments, "the same for PUT", parseMethod},
        {"delete", pathArguments, "the same for DELETE", parseMethod},
    };
    for (const NamedRequest& request : namedRequests()) {
        rows.push_back(
            {request.name,
             request.body.empty() ? "[IDENTIFIERS] [BODY]" : "[IDENTIFIERS] [FILE|JSON|none]",
             request.help, parseNamedCommand});
    }
    return rows;
}

} // namespace

std::span<const CommandRow> requestCommands() {
    static const std::vector<CommandRow> rows = makeRows();
    return rows;
}

} // namespace vxp
