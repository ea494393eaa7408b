// SPDX-License-Identifier: MIT
#include "printer.h"

#include "net_status.h"
#include "output.h"
#include "text.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>

namespace vxp {

namespace {

constexpr std::string_view indentation = "    ";
constexpr std::string_view valueColumn = "              "; // below "    payload   "

std::string clockText(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    const auto whole = std::chrono::system_clock::from_time_t(seconds);
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(time - whole);
    return fmt::format("{:%H:%M:%S}.{:06}", fmt::localtime(seconds), micros.count());
}

std::string arrow(const Event& event) {
    switch (event.direction) {
    case Direction::fromGateway:
        return "gateway -> platform";
    case Direction::toGateway:
        return "platform -> gateway";
    case Direction::none:
        break;
    }
    return "platform";
}

std::string place(const Event& event) {
    return event.connection == 0 ? std::string{}
                                 : fmt::format("  #{} {}", event.connection, event.transport);
}

std::string indented(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result += c;
        if (c == '\n') {
            result += valueColumn;
        }
    }
    return result;
}

/// A document that came with line breaks is shown as it came, doubled members and all.
std::string payloadText(const std::string& payload) {
    if (const auto document = parseJson(payload)) {
        if (payload.find('\n') != std::string::npos && isUtf8(payload)) {
            return indented(trimmed(payload));
        }
        return indented(printJson(*document, 2));
    }
    return isUtf8(payload) ? quoteText(payload) : "hex " + hexText(payload);
}

std::string notes(const Event& event) {
    std::string text;
    for (const auto& [key, value] : event.details.items()) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", key,
                            value.is_string() ? value.get<std::string>() : printJson(value));
    }
    return text;
}

/// Addresses have lines of their own, errors go to standard error, and who types sees the command.
bool isShownElsewhere(const Event& event) {
    if (event.name == "command") {
        return event.details.value("place", std::string{}).starts_with("prompt:");
    }
    return event.name == "listening" || event.name == "error";
}

std::string detailText(const Event& event, const char* name) {
    const auto found = event.details.find(name);
    return found != event.details.end() && found->is_string() ? found->get<std::string>()
                                                              : std::string{};
}

/// A frame has its type where a CoAP message has its code and path.
std::string renderFrame(const Event& event, const Message& message) {
    const std::string type = detailText(event, "type");
    const std::string topic = event.topic.empty() ? event.name : event.name + " " + event.topic;
    std::string text =
        fmt::format("{}  {}{}  {}  ({})\n{}payload   {}\n", clockText(event.time), arrow(event),
                    place(event), type.empty() ? "frame" : type, topic, indentation,
                    message.payload.empty() ? "none" : payloadText(message.payload));
    std::string_view label = "status";
    for (const std::string& line : describeStatus(message.payload)) {
        text += fmt::format("{}{:<10}{}\n", indentation, label, line);
        label = "";
    }
    return text + fmt::format("{}note      {}\n", indentation, notes(event));
}

std::string renderMessage(const Event& event, const Message& message) {
    if (message.carrier == Carrier::frame) {
        return renderFrame(event, message);
    }
    std::string text = fmt::format("{}  {}{}  {}", clockText(event.time), arrow(event),
                                   place(event), codeText(message.code));
    if (!message.path.empty()) {
        text += " " + message.path;
    }
    if (!message.query.empty()) {
        text += "?" + message.query;
    }
    if (message.path.empty() && !event.topic.empty()) {
        text += fmt::format("  ({} to {})", event.name, event.topic);
    }
    text += "\n";
    if (!message.token.empty()) {
        text += fmt::format("{}token     {}\n", indentation, hexText(message.token));
    }
    for (const Option& option : message.options) {
        text += fmt::format("{}option    {} = {}\n", indentation, optionName(option.number),
                            optionText(option));
    }
    text += fmt::format("{}payload   {}\n", indentation,
                        message.payload.empty() ? "none" : payloadText(message.payload));
    if (!event.details.empty()) {
        text += fmt::format("{}note      {}\n", indentation, notes(event));
    }
    return text;
}

} // namespace

std::string renderEvent(const Event& event) {
    if (event.message) {
        return renderMessage(event, *event.message) + "\n";
    }
    std::string text =
        fmt::format("{}  {}{}  {}", clockText(event.time), arrow(event), place(event), event.name);
    if (!event.topic.empty()) {
        text += " " + event.topic;
    }
    if (!event.details.empty()) {
        text += ": " + notes(event);
    }
    return text + "\n";
}

void Printer::onEvent(const Event& event) {
    if (isShownElsewhere(event)) {
        return;
    }
    say(renderEvent(event));
}

} // namespace vxp
