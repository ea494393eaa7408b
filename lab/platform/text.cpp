// SPDX-License-Identifier: MIT
#include "text.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace vxp {

std::optional<long long> parseInteger(std::string_view text) {
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || rest != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::chrono::milliseconds> parseDuration(std::string_view text) {
    struct Unit {
        std::string_view suffix;
        double milliseconds;
    };
    static constexpr Unit units[] = {{"ms", 1}, {"s", 1000}, {"m", 60000}, {"", 1000}};
    for (const Unit& unit : units) {
        if (!text.ends_with(unit.suffix)) {
            continue;
        }
        const std::string_view digits = text.substr(0, text.size() - unit.suffix.size());
        double value = 0;
        const char* end = digits.data() + digits.size();
        const auto [rest, error] =
            std::from_chars(digits.data(), end, value, std::chars_format::fixed);
        constexpr double tenDays = 864000000;
        if (digits.empty() || error != std::errc{} || rest != end || !(value >= 0) ||
            value * unit.milliseconds > tenDays) {
            return std::nullopt;
        }
        return std::chrono::milliseconds(std::llround(value * unit.milliseconds));
    }
    return std::nullopt;
}

std::optional<std::string> parseHex(std::string_view text) {
    std::string bytes;
    std::string digits;
    for (const char c : text) {
        if (c == ' ' || c == '\t') {
            if (digits.size() == 1) {
                return std::nullopt;
            }
            continue;
        }
        digits += c;
        if (digits.size() < 2) {
            continue;
        }
        unsigned value = 0;
        const auto [rest, error] = std::from_chars(digits.data(), digits.data() + 2, value, 16);
        if (error != std::errc{} || rest != digits.data() + 2) {
            return std::nullopt;
        }
        bytes += static_cast<char>(value);
        digits.clear();
    }
    if (!digits.empty() || bytes.empty()) {
        return std::nullopt;
    }
    return bytes;
}

std::string hexText(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        text += fmt::format("{:02x}", static_cast<unsigned char>(c));
    }
    return text;
}

bool isUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        const std::size_t more = first < 0x80             ? 0U
                                 : (first & 0xe0) == 0xc0 ? 1U
                                 : (first & 0xf0) == 0xe0 ? 2U
                                 : (first & 0xf8) == 0xf0 ? 3U
                                                          : text.size();
        if (more >= text.size() - i) {
            return false;
        }
        for (std::size_t k = 1; k <= more; ++k) {
            if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80) {
                return false;
            }
        }
        i += more + 1;
    }
    return true;
}

std::string quoteText(std::string_view text) {
    const bool readable = isUtf8(text);
    std::string result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !readable)) {
            result += fmt::format("\\x{:02x}", byte);
        } else {
            result += c;
        }
    }
    return result + "\"";
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string readFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error(
            fmt::format("{}: {}", path, errno != 0 ? std::strerror(errno) : "cannot be read"));
    }
    return text;
}

} // namespace vxp
