// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vxp {

/// @return the whole text as a decimal number, or nothing
std::optional<long long> parseInteger(std::string_view text);

/// "300ms", "20s", "2m" or plain seconds ("20", "0.5").
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);

/// Pairs of hexadecimal digits, blanks between the pairs allowed.
std::optional<std::string> parseHex(std::string_view text);

/// The bytes as lower-case hexadecimal digits.
std::string hexText(std::string_view bytes);

bool isUtf8(std::string_view text);

/// The text on one line in double quotes, with escapes for what does not print.
std::string quoteText(std::string_view text);

/// Everything before the first and behind the last character that is no blank is left out.
std::string_view trimmed(std::string_view text);

/// @return the file's bytes
/// @throws std::runtime_error naming the file and the reason
std::string readFile(const std::string& path);

} // namespace vxp
