// SPDX-License-Identifier: MIT
#pragma once

#include "json.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace vxp::test {

/// How long anything may take before a test gives up; far beyond what a loaded machine needs.
inline constexpr std::chrono::seconds patience{60};

/// A folder that is removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();
    [[nodiscard]] std::string file(const std::string& name) const { return m_path + "/" + name; }
    /// @return the file's whole name
    [[nodiscard]] std::string write(const std::string& name, const std::string& text) const;

private:
    std::string m_path;
};

/**
 * The real program, driven through its standard input; its journal goes to its standard output.
 *
 * VXPLATFORM_WRAPPER in the environment, e.g. "valgrind -q --error-exitcode=99", runs it under that
 * program.
 */
class PlatformProcess {
public:
    explicit PlatformProcess(const std::vector<std::string>& arguments);
    PlatformProcess(const PlatformProcess&) = delete;
    PlatformProcess& operator=(const PlatformProcess&) = delete;
    ~PlatformProcess();

    /// One line for the prompt.
    void command(const std::string& line);

    /// No more commands.
    void closeInput();

    /// Nobody reads the program's standard error any more.
    void closeErrors();

    void signal(int number) const;

    /// Takes what the program has written; waits for it at most that long.
    void pump(int milliseconds);

    /// @return the program's exit status, 128 + N when signal N has ended it
    int wait();

    /// Whether the program has closed its standard output.
    [[nodiscard]] bool ended() const { return m_output < 0; }

    /// The port that "listening NAME ..." told; waits for it.
    std::uint16_t port(const std::string& transport);

    /// @return the number of events that match
    [[nodiscard]] std::size_t count(const std::string& event, const std::string& name = "") const;

    /// @return the newest event of that kind
    [[nodiscard]] Json last(const std::string& event, const std::string& name = "") const;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] const std::string& errors() const { return m_errorText; }
    [[nodiscard]] const std::string& otherOutput() const { return m_other; }

    std::vector<Json> events;

private:
    void takeLine(const std::string& line);
    static void readSome(int& descriptor, std::string& text);

    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
    int m_errors = -1;
    std::string m_pendingOutput;
    std::string m_other; ///< lines that are not of the journal
    std::string m_errorText;
};

} // namespace vxp::test
