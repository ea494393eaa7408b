// SPDX-License-Identifier: MIT
#include "wire.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace transport {

namespace {

constexpr std::size_t kExtended8 = 13;   // up to here a nibble says it
constexpr std::size_t kExtended16 = 269; // up to here one byte more
constexpr std::size_t kExtended32 = 65805;
constexpr std::uint8_t kPayloadMarker = 0xFF;

void put(std::string& out, std::size_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<char>((value >> shift) & 0xFF));
}

std::uint8_t nibble(std::size_t value, bool length_field) {
    if (value < kExtended8)
        return static_cast<std::uint8_t>(value);
    if (value < kExtended16)
        return 13;
    return length_field && value >= kExtended32 ? 15 : 14;
}

void put_extension(std::string& out, std::size_t value, std::uint8_t kind) {
    if (kind == 13)
        put(out, value - kExtended8, 1);
    else if (kind == 14)
        put(out, value - kExtended16, 2);
    else if (kind == 15)
        put(out, value - kExtended32, 4);
}

std::string encode_options(const Options& options) {
    std::string out;
    std::uint16_t previous = 0;
    for (const Option& option : options) {
        if (option.number < previous)
            throw std::logic_error("options of a test message are not sorted");
        const std::size_t delta = static_cast<std::size_t>(option.number - previous);
        const std::uint8_t delta_kind = nibble(delta, false);
        const std::uint8_t length_kind = nibble(option.value.size(), false);
        out.push_back(static_cast<char>((delta_kind << 4) | length_kind));
        put_extension(out, delta, delta_kind);
        put_extension(out, option.value.size(), length_kind);
        out += option.value;
        previous = option.number;
    }
    return out;
}

/** Reads a message's bytes one after another. */
class Reader {
public:
    explicit Reader(const std::string& bytes) : bytes_(bytes) {}

    bool at_end() const { return position_ == bytes_.size(); }
    std::size_t position() const { return position_; }
    std::size_t left() const { return bytes_.size() - position_; }
    std::uint8_t peek() const { return static_cast<std::uint8_t>(bytes_[position_]); }

    std::size_t number(int count) {
        std::size_t value = 0;
        for (const char byte : text(static_cast<std::size_t>(count)))
            value = (value << 8) | static_cast<std::uint8_t>(byte);
        return value;
    }

    std::size_t extended(std::uint8_t kind, bool length_field) {
        if (kind < 13)
            return kind;
        if (kind == 13)
            return number(1) + kExtended8;
        if (kind == 14)
            return number(2) + kExtended16;
        if (!length_field)
            throw std::runtime_error("reserved option nibble");
        return number(4) + kExtended32;
    }

    std::string text(std::size_t count) {
        if (left() < count)
            throw std::runtime_error("message ends early");
        position_ += count;
        return bytes_.substr(position_ - count, count);
    }

private:
    const std::string& bytes_;
    std::size_t position_ = 0;
};

Message decode_content(std::uint8_t code, std::string token, const std::string& content) {
    Message message{code, std::move(token), {}, {}};
    Reader reader(content);
    std::size_t number = 0;
    while (!reader.at_end()) {
        if (reader.peek() == kPayloadMarker) {
            reader.number(1);
            message.body = reader.text(reader.left());
            if (message.body.empty())
                throw std::runtime_error("payload marker without payload");
            break;
        }
        const std::size_t head = reader.number(1);
        number += reader.extended(static_cast<std::uint8_t>(head >> 4), false);
        const std::size_t length = reader.extended(head & 0x0F, false);
        message.options.push_back({static_cast<std::uint16_t>(number), reader.text(length)});
    }
    return message;
}

std::size_t extension_bytes(std::uint8_t first) {
    switch (first >> 4) {
    case 13:
        return 1;
    case 14:
        return 2;
    case 15:
        return 4;
    default:
        return 0;
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Option& option) {
    return out << option.number << "=\"" << option.value << '"';
}

std::optional<std::string> Message::option(std::uint16_t number) const {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&](const Option& entry) { return entry.number == number; });
    return found == options.end() ? std::nullopt : std::optional(found->value);
}

std::string Message::path() const {
    std::string joined;
    for (const Option& entry : options) {
        if (entry.number == kUriPath)
            joined += (joined.empty() ? "" : "/") + entry.value;
    }
    return joined;
}

std::string encode(const Message& message) {
    std::string content = encode_options(message.options);
    if (!message.body.empty()) {
        content.push_back(static_cast<char>(kPayloadMarker));
        content += message.body;
    }
    const std::uint8_t kind = nibble(content.size(), true);
    std::string out;
    out.push_back(static_cast<char>((kind << 4) | static_cast<int>(message.token.size())));
    put_extension(out, content.size(), kind);
    out.push_back(static_cast<char>(message.code));
    return out + message.token + content;
}

std::size_t header_size(const std::string& encoded) {
    return 2 + extension_bytes(static_cast<std::uint8_t>(encoded.at(0)));
}

std::optional<Message> take_message(std::string& stream) {
    if (stream.empty() || stream.size() < header_size(stream))
        return std::nullopt;
    Reader reader(stream);
    const auto first = static_cast<std::uint8_t>(reader.number(1));
    const std::size_t token_length = first & 0x0F;
    if (token_length > 8)
        throw std::runtime_error("token of more than eight bytes");
    const std::size_t length = reader.extended(static_cast<std::uint8_t>(first >> 4), true);
    const auto code = static_cast<std::uint8_t>(reader.number(1));
    if (reader.left() < token_length + length)
        return std::nullopt;
    std::string token = reader.text(token_length);
    const std::string content = reader.text(length);
    stream.erase(0, reader.position());
    return decode_content(code, std::move(token), content);
}

std::string number_value(std::uint32_t number) {
    std::string value;
    for (; number != 0; number >>= 8)
        value.insert(value.begin(), static_cast<char>(number & 0xFF));
    return value;
}

Message csm(std::optional<std::uint32_t> max_message_size) {
    constexpr std::uint16_t kMaxMessageSize = 2;
    Message message{kCsm, {}, {}, {}};
    if (max_message_size)
        message.options.push_back({kMaxMessageSize, number_value(*max_message_size)});
    return message;
}

Message request(std::uint8_t code, const std::string& path, const Options& more,
                const std::string& body, const std::string& token) {
    Message message{code, token, {}, body};
    std::istringstream segments(path);
    for (std::string segment; std::getline(segments, segment, '/');)
        message.options.push_back({kUriPath, segment});
    message.options.insert(message.options.end(), more.begin(), more.end());
    std::stable_sort(message.options.begin(), message.options.end(),
                     [](const Option& a, const Option& b) { return a.number < b.number; });
    return message;
}

} // namespace transport
