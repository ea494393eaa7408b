// SPDX-License-Identifier: MIT
#include "base_skill/line_table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "text/text.h"

namespace vxq {

namespace {

constexpr char kSeparators[] = {':', ' '};

/** A file's descriptor. Not stdio: its buffers would come from the heap. */
class OpenFile {
public:
    OpenFile(const char* path, int flags) : descriptor_(open(path, flags | O_CLOEXEC)) {}
    ~OpenFile() {
        if (valid())
            ::close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool valid() const { return descriptor_ >= 0; }

    /** The number of bytes read; 0 at the end, -1 on failure. */
    ssize_t read(char* buffer, std::size_t size) const {
        ssize_t count;
        do
            count = ::read(descriptor_, buffer, size);
        while (count < 0 && errno == EINTR);
        return count;
    }

    bool write(const char* bytes, std::size_t size) const {
        while (size != 0) {
            const ssize_t count = ::write(descriptor_, bytes, size);
            if (count < 0 && errno != EINTR)
                return false;
            const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
            bytes += written;
            size -= written;
        }
        return true;
    }

    /** Some file systems tell only now that there was no room. */
    bool close() {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        return ::close(descriptor) == 0;
    }

private:
    int descriptor_;
};

/** The part of a text in front of the first separator; all of it when there is none. */
Piece up_to(const Piece& text, char separator) {
    const void* const found = std::memchr(text.begin, separator, text.length);
    if (found == nullptr)
        return text;
    return {text.begin, static_cast<std::size_t>(static_cast<const char*>(found) - text.begin)};
}

} // namespace

bool Piece::equals(const char* text) const {
    return std::strlen(text) == length && std::memcmp(begin, text, length) == 0;
}

bool Line::full() const {
    return length == kLongestLine;
}

bool Line::ended() const {
    return length != 0 && text[length - 1] == '\n';
}

void Line::add(char character) {
    text[length++] = character;
    text[length] = '\0';
}

bool Line::find(const char* key, Setting& setting) const {
    if (text[0] == '#')
        return false;
    Piece rest{text, std::strlen(text)};
    for (const char separator : kSeparators) {
        const Piece first = up_to(rest, separator);
        if (first.length == rest.length)
            continue;
        if (first.equals(key)) {
            const Piece behind{first.begin + first.length + 1, rest.length - first.length - 1};
            setting = {separator, up_to(behind, separator)};
            return true;
        }
        // A blank only counts in front of the first colon.
        rest = first;
    }
    return false;
}

void Line::set(const char* key, char separator, const char* value) {
    format_text(text, kLongestWrittenLine, "%s%c%s", key, separator, value);
    length = static_cast<std::uint16_t>(std::strlen(text));
    add('\n');
}

bool LineTable::read(const char* path) {
    const OpenFile file(path, O_RDONLY);
    if (!file.valid())
        return false;
    char buffer[512];
    ssize_t count;
    while ((count = file.read(buffer, sizeof buffer)) > 0) {
        if (!std::all_of(buffer, buffer + count, [this](char byte) { return add(byte); }))
            return true;
    }
    whole_ = count == 0;
    return true;
}

bool LineTable::write(const char* path) const {
    OpenFile file(path, O_WRONLY | O_TRUNC);
    return file.valid() &&
           std::all_of(lines_, lines_ + count_,
                       [&file](const Line& line) { return file.write(line.text, line.length); }) &&
           file.close();
}

Line* LineTable::find(const char* key, Setting& setting) {
    Line* const end = lines_ + count_;
    Line* const found =
        std::find_if(lines_, end, [&](const Line& line) { return line.find(key, setting); });
    return found != end ? found : nullptr;
}

Line* LineTable::append() {
    if (count_ == kCapacity)
        return nullptr;
    if (count_ != 0 && !lines_[count_ - 1].ended())
        lines_[count_ - 1].add('\n');
    return &lines_[count_++];
}

/** Puts a character behind the last line, or into a new one; false without room. */
bool LineTable::add(char character) {
    const bool starts_line = count_ == 0 || lines_[count_ - 1].ended() || lines_[count_ - 1].full();
    if (starts_line && count_ == kCapacity)
        return false;
    if (starts_line)
        ++count_;
    lines_[count_ - 1].add(character);
    return true;
}

} // namespace vxq
