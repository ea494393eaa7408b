// SPDX-License-Identifier: MIT
#include "net_status.h"

#include "json.h"
#include "net_messages.h"
#include "text.h"

#include <fmt/format.h>

namespace vxp {

namespace {

/// The member as it is read in a sentence; "?" when the gateway left it out.
std::string value(const Json& object, std::string_view path) {
    const Json* member = findMember(object, path);
    if (member == nullptr) {
        return "?";
    }
    return member->is_string() ? member->get<std::string>() : printJson(*member);
}

std::string quoted(const Json& object, std::string_view path) {
    const Json* member = findMember(object, path);
    return member != nullptr && member->is_string() ? quoteText(member->get<std::string>())
                                                    : value(object, path);
}

/// The elements of an array; none when it is missing or something else.
Json elements(const Json& object, std::string_view path) {
    const Json* member = findMember(object, path);
    return member != nullptr && member->is_array() ? *member : Json::array();
}

/// Gateways say "NO" for a switch that is on: what they are told with is "ON".
std::string switchText(const Json& status, std::string_view path) {
    const std::string text = value(status, path);
    if (text == "NO") {
        return "on (NO)";
    }
    return text == "OFF" ? "off" : quoted(status, path);
}

std::string accessPointLine(const Json& point) {
    return fmt::format("  access point {}: {}, ssid {}, key {}, auth {}, encrypt {}",
                       value(point, "channel"), value(point, "enable") == "yes" ? "on" : "off",
                       quoted(point, "ssid"), quoted(point, "key"), quoted(point, "auth"),
                       quoted(point, "encrypt"));
}

void addRadios(std::vector<std::string>& lines, const Json& status) {
    const Json radios = elements(status, "Wi-Fi");
    lines.push_back(fmt::format("{} radios", radios.size()));
    for (const Json& radio : radios) {
        const Json points = elements(radio, "ap");
        lines.push_back(fmt::format("radio {}: channel {}, {} access points",
                                    value(radio, "radio.mode"), value(radio, "radio.channel"),
                                    points.size()));
        for (const Json& point : points) {
            lines.push_back(accessPointLine(point));
        }
    }
}

void addTimers(std::vector<std::string>& lines, const Json& status) {
    const Json timers = elements(status, "Wi-Fitimer");
    lines.push_back(fmt::format("{} timers", timers.size()));
    for (const Json& timer : timers) {
        lines.push_back(fmt::format("  timer {}: weekday {}, time {}",
                                    value(timer, "enable") == "1" ? "on" : "off",
                                    quoted(timer, "weekday"), quoted(timer, "time")));
    }
}

} // namespace

std::vector<std::string> describeStatus(std::string_view text) {
    const auto document = parseJson(text);
    const Json* status = document ? findMember(*document, "status") : nullptr;
    if (status == nullptr || !status->is_object() || value(*document, "type") != typeStatus) {
        return {};
    }
    std::vector<std::string> lines;
    if (status->contains("Wi-Fi")) {
        addRadios(lines, *status);
    }
    if (status->contains("Wi-Fiswitch")) {
        lines.push_back("Wi-Fi switch: " + switchText(*status, "Wi-Fiswitch.status"));
    }
    if (status->contains("ledswitch")) {
        lines.push_back("LED switch: " + switchText(*status, "ledswitch.status"));
    }
    if (status->contains("Wi-Fitimer")) {
        addTimers(lines, *status);
    }
    return lines;
}

} // namespace vxp
