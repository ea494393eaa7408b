// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/** @file Stands in the log library's place and keeps every line. */
namespace fake {

struct LogLine {
    std::string module;
    int level;
    std::string text;
};

/**
 * Thread-safe. The journal has the lines too, as "6 text", with the source line that follows a
 * function's name shown as #.
 */
class Log {
public:
    void reset();
    [[nodiscard]] std::vector<LogLine> lines() const;
    /** The texts of all lines, one behind the other. */
    [[nodiscard]] std::string whole() const;
    /** Lines of one level, as in the journal but without the level. */
    [[nodiscard]] std::vector<std::string> texts(int level) const;
};

Log& log();

/** "frame_vxquilan 112:NAME" as "frame_vxquilan #:NAME"; other texts unchanged. */
std::string without_source_line(const std::string& text);

} // namespace fake
