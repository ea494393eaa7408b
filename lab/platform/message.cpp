// SPDX-License-Identifier: MIT
#include "message.h"

#include "text.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <utility>

namespace vxp {

namespace {

enum class OptionKind { text, number, opaque };

struct OptionRow {
    std::uint16_t number;
    std::string_view name;
    OptionKind kind;
};

constexpr OptionRow optionRows[] = {
    {1, "if-match", OptionKind::opaque},
    {3, "uri-host", OptionKind::text},
    {4, "etag", OptionKind::opaque},
    {6, "observe", OptionKind::number},
    {7, "uri-port", OptionKind::number},
    {12, "content-format", OptionKind::number},
    {14, "max-age", OptionKind::number},
    {17, "accept", OptionKind::number},
    {23, "block2", OptionKind::number},
    {27, "block1", OptionKind::number},
    {28, "size2", OptionKind::number},
    {60, "size1", OptionKind::number},
    {optionAccessToken, "access-token", OptionKind::text},
    {optionRequestId, "request-id", OptionKind::text},
    {optionSessionId, "session-id", OptionKind::text},
    {optionTraceId, "trace-id", OptionKind::text},
};

const OptionRow* findOption(std::uint16_t number) {
    for (const OptionRow& row : optionRows) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

constexpr std::pair<std::string_view, int> methods[] = {
    {"GET", codeGet}, {"POST", codePost}, {"PUT", codePut}, {"DELETE", codeDelete}};

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char c : bytes) {
        value = value << 8U | static_cast<unsigned char>(c);
    }
    return value;
}

Json describeOption(const Option& option) {
    const OptionRow* row = findOption(option.number);
    if (row != nullptr && row->kind == OptionKind::number && option.value.size() <= 4) {
        return bigEndian(option.value);
    }
    if (row != nullptr && row->kind == OptionKind::text && isUtf8(option.value)) {
        return option.value;
    }
    return "hex:" + hexText(option.value);
}

} // namespace

const std::string* Message::option(std::uint16_t number) const {
    for (const Option& candidate : options) {
        if (candidate.number == number) {
            return &candidate.value;
        }
    }
    return nullptr;
}

std::string codeText(int code) {
    for (const auto& [name, value] : methods) {
        if (value == code) {
            return std::string(name);
        }
    }
    return fmt::format("{}.{:02}", code / 32, code % 32);
}

int parseCode(std::string_view text) {
    std::string upper;
    for (const char c : text) {
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    for (const auto& [name, value] : methods) {
        if (name == upper) {
            return value;
        }
    }
    const auto digits = parseInteger(upper.size() == 4 && upper[1] == '.'
                                         ? std::string{upper[0], upper[2], upper[3]}
                                         : std::string{});
    if (!digits || *digits < 0 || *digits / 100 > 7 || *digits % 100 > 31) {
        return -1;
    }
    return coapCode(static_cast<int>(*digits / 100), static_cast<int>(*digits % 100));
}

std::string optionName(std::uint16_t number) {
    const OptionRow* row = findOption(number);
    return row != nullptr ? std::string(row->name) : std::to_string(number);
}

std::string optionText(const Option& option) {
    const Json value = describeOption(option);
    return value.is_string() ? quoteText(value.get<std::string>()) : printJson(value);
}

namespace {

void describeHeader(Json& fields, const Message& message) {
    fields["code"] = codeText(message.code);
    if (!message.path.empty()) {
        fields["path"] = message.path;
    }
    if (!message.query.empty()) {
        fields["query"] = message.query;
    }
    fields["token"] = hexText(message.token);
    Json options = Json::object();
    for (const Option& option : message.options) {
        options[optionName(option.number)] = describeOption(option);
    }
    fields["options"] = std::move(options);
}

} // namespace

Json describeMessage(const Message& message) {
    Json fields = Json::object();
    if (message.carrier == Carrier::coap) {
        describeHeader(fields, message);
    }
    fields["length"] = message.payload.size();
    if (const auto document = parseJson(message.payload)) {
        fields["json"] = *document;
    }
    if (isUtf8(message.payload)) {
        fields["text"] = message.payload;
    } else {
        fields["hex"] = hexText(message.payload);
    }
    return fields;
}

} // namespace vxp
