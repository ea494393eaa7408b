// SPDX-License-Identifier: MIT
#include "support/fake_log.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "support/journal.h"
#include <vxquilan/log.h>

namespace fake {

namespace {

struct Content {
    std::mutex mutex;
    std::vector<LogLine> lines;
};

Content& content() {
    // Never destroyed: detached threads may have a last word when the process ends.
    static Content& instance = *new Content;
    return instance;
}

bool belongs_to_name(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

bool is_digit(char character) {
    return std::isdigit(static_cast<unsigned char>(character)) != 0;
}

} // namespace

void Log::reset() {
    const std::lock_guard guard(content().mutex);
    content().lines.clear();
}

std::vector<LogLine> Log::lines() const {
    const std::lock_guard guard(content().mutex);
    return content().lines;
}

std::string Log::whole() const {
    std::string text;
    for (const LogLine& line : lines())
        text += line.text;
    return text;
}

std::vector<std::string> Log::texts(int level) const {
    std::vector<std::string> chosen;
    for (const LogLine& line : lines()) {
        if (line.level == level)
            chosen.push_back(without_source_line(line.text));
    }
    return chosen;
}

Log& log() {
    static Log instance;
    return instance;
}

std::string without_source_line(const std::string& text) {
    std::size_t name = 0;
    while (name < text.size() && belongs_to_name(text[name]))
        ++name;
    if (name == 0 || name == text.size() || text[name] != ' ')
        return text;
    std::size_t number = name + 1;
    while (number < text.size() && is_digit(text[number]))
        ++number;
    if (number == name + 1)
        return text;
    return text.substr(0, name + 1) + '#' + text.substr(number);
}

} // namespace fake

void vx_mod_log_printf(const char* module, int level, const char* format, ...) {
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, arguments)), ' ');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    fake::journal().note(fake::Source::log,
                         std::to_string(level) + ' ' + fake::without_source_line(text));
    const std::lock_guard guard(fake::content().mutex);
    fake::content().lines.push_back({module, level, std::move(text)});
}
