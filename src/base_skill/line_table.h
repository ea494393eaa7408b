// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/** @file A small text file in memory, line by line, on the caller's stack. */
namespace vxq {

/** A part of a line. */
struct Piece {
    const char* begin;
    std::size_t length;

    bool equals(const char* text) const;
};

/** A setting that a line holds. */
struct Setting {
    char separator;
    Piece value; ///< with the line's end, if it reaches so far
};

/** Characters of a line, its end included; what is longer becomes several lines. */
inline constexpr std::size_t kLongestLine = 255;
/** Characters of a line that is written, its end included. */
inline constexpr std::size_t kLongestWrittenLine = 254;

/** One line, its end included. Bytes behind a NUL are kept, but not looked at. */
struct Line {
    char text[kLongestLine + 2]; ///< room for an end that is added, and the NUL
    std::uint16_t length;

    bool full() const;
    bool ended() const;
    void add(char character);

    /** The setting with this key; false when the line is a comment or holds another one. */
    bool find(const char* key, Setting& setting) const;
    /** Makes this the line of a setting, cut to kLongestWrittenLine. */
    void set(const char* key, char separator, const char* value);
};

/** The lines of a file. About 260 KB: whoever has one needs a stack for it. */
class LineTable {
public:
    static constexpr std::size_t kCapacity = 1024;

    /** Reads as many lines as there is room for; false when the file can't be opened. */
    bool read(const char* path);
    /** False when the file has more lines, or reading failed on the way. */
    bool whole() const { return whole_; }
    /**
     * Writes all lines over the file, which must be there, one by one.
     * @return false at the first line that can't be written; the file ends before it
     */
    bool write(const char* path) const;

    /** The first line with this key; null when there is none. */
    Line* find(const char* key, Setting& setting);
    /** A new line behind the last one, which gets an end if it has none; null without room. */
    Line* append();

private:
    bool add(char character);

    Line lines_[kCapacity] = {};
    std::size_t count_ = 0;
    bool whole_ = false;
};

static_assert(sizeof(Line) == 260);

} // namespace vxq
