// SPDX-License-Identifier: MIT
#include "arguments.h"

#include "text.h"

#include <fmt/format.h>

#include <filesystem>
#include <utility>

namespace vxp {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/**
 * Reads one word that starts at a position and moves the position behind it.
 *
 * @param strict whether a quote must be closed; else it reaches to the end of the line
 */
std::string takeWord(std::string_view line, std::size_t& at, bool strict) {
    std::string word;
    bool quotedPart = false;
    for (; at < line.size(); ++at) {
        const char c = line[at];
        if (c == '"') {
            quotedPart = !quotedPart;
        } else if (c == '\\' && quotedPart && at + 1 < line.size()) {
            const char escaped = line[++at];
            word += escaped == 'n' ? '\n' : escaped;
        } else if (isBlank(c) && !quotedPart) {
            break;
        } else {
            word += c;
        }
    }
    if (quotedPart && strict) {
        throw UsageError("a quote is not closed");
    }
    return word;
}

void skipBlanks(std::string_view line, std::size_t& at) {
    while (at < line.size() && isBlank(line[at])) {
        ++at;
    }
}

} // namespace

Arguments::Arguments(const std::string& line, std::string directory)
    : m_line(trimmed(line)), m_directory(std::move(directory)) {}

std::string_view Arguments::name() const {
    return std::string_view(m_line).substr(0, m_line.find_first_of(" \t"));
}

std::vector<std::string> Arguments::words() const {
    std::vector<std::string> result;
    std::size_t at = name().size();
    skipBlanks(m_line, at);
    while (at < m_line.size()) {
        result.push_back(takeWord(m_line, at, true));
        skipBlanks(m_line, at);
    }
    return result;
}

std::vector<std::string> Arguments::words(std::size_t least, std::size_t most) const {
    std::vector<std::string> result = words();
    if (result.size() < least) {
        throw UsageError("something is missing");
    }
    if (result.size() > most) {
        throw UsageError(fmt::format("too much: {}", quoteText(result[most])));
    }
    return result;
}

std::string_view Arguments::rest(std::size_t words) const {
    std::size_t at = 0;
    for (std::size_t i = 0; i < words; ++i) {
        takeWord(m_line, at, false);
        skipBlanks(m_line, at);
    }
    return std::string_view(m_line).substr(at);
}

std::string Arguments::resolve(const std::string& file) const {
    const std::filesystem::path path(file);
    return path.is_absolute() || m_directory.empty()
               ? file
               : (std::filesystem::path(m_directory) / path).string();
}

} // namespace vxp
