// SPDX-License-Identifier: MIT
// A configuration file, a key and a value, against a plain model of the file's format. The first
// two bytes are the lengths of key and value.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/harness.h"
#include <vxquilan/entry_points.h>

namespace {

using fuzz::require;
using Lines = std::vector<std::string>;

constexpr std::size_t kLongestLine = 255;
constexpr std::size_t kLongestWritten = 254;
constexpr std::size_t kLongestKey = 126;
constexpr std::size_t kMostLines = 1024;

/** A file in memory, with a path. */
class File {
public:
    File() : descriptor_(memfd_create("settings", MFD_CLOEXEC)) {
        require(descriptor_ >= 0, "no file");
    }
    ~File() { close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] std::string path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }
    void put(const std::string& content) const {
        const ssize_t written = pwrite(descriptor_, content.data(), content.size(), 0);
        require(written == static_cast<ssize_t>(content.size()), "not written");
    }
    [[nodiscard]] std::string content() const {
        std::string content(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
        require(pread(descriptor_, content.data(), content.size(), 0) >= 0, "not read");
        return content;
    }

private:
    int descriptor_;
};

Lines lines_of(const std::string& content) {
    Lines lines;
    for (std::size_t at = 0; at < content.size();) {
        const std::size_t end = content.find('\n', at);
        const std::size_t length = end == std::string::npos ? content.size() - at : end + 1 - at;
        lines.push_back(content.substr(at, std::min(length, kLongestLine)));
        at += lines.back().size();
    }
    return lines;
}

struct Found {
    char separator;
    std::string value;
};

/** The setting in a line, when it is this key's. */
std::optional<Found> find_in(const std::string& line, const std::string& key) {
    std::string rest = line.c_str();
    if (rest[0] == '#')
        return std::nullopt;
    for (const char separator : {':', ' '}) {
        const std::size_t end = rest.find(separator);
        if (end == std::string::npos)
            continue;
        const std::string behind = rest.substr(end + 1);
        rest.resize(end);
        if (rest == key)
            return Found{separator, behind.substr(0, behind.find(separator))};
    }
    return std::nullopt;
}

/** What vx_getcfgx must find. */
std::optional<std::string> get(Lines lines, const std::string& key) {
    lines.resize(std::min(lines.size(), kMostLines));
    for (const std::string& line : lines) {
        if (const auto found = find_in(line, key.substr(0, kLongestKey)))
            return found->value.substr(0, found->value.find_first_of("\r\n"));
    }
    return std::nullopt;
}

std::string written(const std::string& key, char separator, const std::string& value) {
    return (key + separator + value).substr(0, kLongestWritten - 1) + '\n';
}

/** Changes the lines as vx_setcfgx must; gives its result. */
int set(Lines& lines, const std::string& key, const std::string& value) {
    for (std::string& line : lines) {
        if (const auto found = find_in(line, key)) {
            line = written(key, found->separator, value);
            return 1;
        }
    }
    if (lines.size() == kMostLines)
        return 0;
    if (!lines.empty() && lines.back().back() != '\n')
        lines.back() += '\n';
    lines.push_back(written(key, ':', value));
    return 0;
}

std::string text_of(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

void check_get(const File& file, const Lines& lines, const std::string& key) {
    std::array<char, 256> value{};
    const int result = vx_getcfgx(file.path().c_str(), key.c_str(), value.data());
    const std::optional<std::string> expected = get(lines, key);
    require(result == (expected ? 1 : 0), "found, or not, against the model");
    require(value.data() == expected.value_or(""), "another value");
}

} // namespace

void fuzz::run(Input input) {
    const std::size_t key_length = input.byte();
    const std::size_t value_length = input.byte();
    const std::string key = input.text(key_length).c_str();
    const std::string value = input.text(value_length).c_str();
    const std::string content = input.rest();
    const File file;
    file.put(content);

    Lines lines = lines_of(content);
    check_get(file, lines, key);
    const bool whole = lines.size() <= kMostLines;
    const int result = vx_setcfgx(file.path().c_str(), key.c_str(), value.c_str());
    require(result == (whole ? set(lines, key, value) : 0), "another result");
    require(file.content() == (whole ? text_of(lines) : content), "another file");
    check_get(file, lines_of(file.content()), key);
}
