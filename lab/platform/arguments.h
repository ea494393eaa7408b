// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vxp {

/// A command that cannot be understood; the text is the reason.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command that was understood and did not succeed; the text is the reason.
class StepFailed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * One line of a script or of the prompt, taken apart.
 *
 * Words are separated by blanks. A word, or a part of it, in double quotes may hold blanks; \" \\
 * and \n stand for a quote, a backslash and a new line there.
 */
class Arguments {
public:
    /**
     * @param line the whole line, the command's name first
     * @param directory where relative file names of the line start; empty for the current one
     */
    Arguments(const std::string& line, std::string directory);

    [[nodiscard]] const std::string& line() const { return m_line; }
    [[nodiscard]] const std::string& directory() const { return m_directory; }

    /// The command's name; it cannot be quoted.
    [[nodiscard]] std::string_view name() const;

    /// The words behind the name.
    /// @throws UsageError for a quote that is not closed
    [[nodiscard]] std::vector<std::string> words() const;

    /// Likewise, for commands that take so many of them.
    /// @throws UsageError also when there are fewer or more
    [[nodiscard]] std::vector<std::string> words(std::size_t least, std::size_t most) const;

    /// The line as it stands behind that many words (1: behind the name), blanks trimmed.
    [[nodiscard]] std::string_view rest(std::size_t words) const;

    /// A file name as the line means it.
    [[nodiscard]] std::string resolve(const std::string& file) const;

private:
    std::string m_line;
    std::string m_directory;
};

} // namespace vxp
