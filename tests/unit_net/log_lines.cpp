// SPDX-License-Identifier: MIT
#include "unit_net/log_lines.h"

#include <algorithm>
#include <cctype>

#include "support/fake_log.h"

namespace {

constexpr const char* kFunctionPrefixes[] = {"frame_", "profession_", "tn_"};
constexpr const char* kSocketTexts[] = {"socketid:", "socket = "};

bool is_digit(char character) {
    return std::isdigit(static_cast<unsigned char>(character)) != 0;
}

/** Puts # in the place of the number at a position, if there is one. */
void hide_number(std::string& text, std::size_t position) {
    std::size_t end = position;
    while (end < text.size() && is_digit(text[end]))
        ++end;
    if (end != position)
        text.replace(position, end - position, "#");
}

void hide_source_line(std::string& text) {
    for (const std::string prefix : kFunctionPrefixes) {
        if (text.compare(0, prefix.size(), prefix) == 0)
            hide_number(text, std::min(text.find_first_of(": "), text.size() - 1) + 1);
    }
}

void hide_socket(std::string& text) {
    for (const std::string before : kSocketTexts) {
        const std::size_t found = text.find(before);
        if (found != std::string::npos)
            hide_number(text, found + before.size());
    }
}

std::string shape(std::string text) {
    hide_source_line(text);
    hide_socket(text);
    return text;
}

} // namespace

Lines log_lines() {
    Lines lines;
    for (const fake::LogLine& line : fake::log().lines())
        lines.push_back(std::to_string(line.level) + ' ' + shape(line.text));
    return lines;
}

Lines log_lines(int level) {
    Lines lines;
    for (const fake::LogLine& line : fake::log().lines()) {
        if (line.level == level)
            lines.push_back(shape(line.text));
    }
    return lines;
}
