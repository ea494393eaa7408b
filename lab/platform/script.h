// SPDX-License-Identifier: MIT
#pragma once

#include "command.h"

#include <deque>
#include <string>
#include <vector>

namespace vxp {

/// The source of lines that were typed.
inline constexpr std::string_view promptSource = "prompt";

/// One command and where it comes from.
struct ScriptLine {
    std::string source; ///< file name, or promptSource
    int number = 0;     ///< line, from 1
    std::string text;
    Step step;

    /// "online.vxp:12"
    [[nodiscard]] std::string place() const;
};

/**
 * Understands a text line by line; empty lines and those that begin with "#" are left out.
 *
 * @param directory where relative file names start
 * @param firstNumber the number of the text's first line
 * @throws UsageError "FILE:LINE: reason" for the first line that can't be understood
 */
std::vector<ScriptLine> parseScript(const std::string& source, std::string_view text,
                                    const std::string& directory, int firstNumber = 1);

/// Reads and understands a script file.
/// @throws UsageError likewise, or naming the file when it can't be read
std::vector<ScriptLine> loadScript(const std::string& path);

/// The commands that are still to be run, and the one that waits.
class ScriptRunner {
public:
    void append(std::vector<ScriptLine> lines);

    /// In front of everything that is still to be run: for a script that calls a script.
    void prepend(std::vector<ScriptLine> lines);

    /**
     * Runs commands up to the next one that has to wait.
     *
     * @throws StepFailed "FILE:LINE: reason"; the command is over then
     */
    void advance(Platform& platform);

    /// Forgets what is still to be run of scripts that the prompt has called.
    void abandonScripts();

    /// Whether there is nothing left to run or to wait for.
    [[nodiscard]] bool idle() const { return !m_waiting && m_lines.empty(); }

    /// When to call advance at the latest; time_point::max() when only events matter.
    [[nodiscard]] Clock::time_point deadline() const;

private:
    /// @return whether the command that waits is done
    bool waited(Platform& platform);

    std::deque<ScriptLine> m_lines;
    std::string m_place;
    std::optional<Waiting> m_waiting;
};

} // namespace vxp
