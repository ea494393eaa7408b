// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

/** @file Programs under test, and folders for them, that never outlive their test. */
namespace e2e {

/** The words of a command line, which has no quotes. */
std::vector<std::string> words_of(const std::string& text);

/** A folder of its own, removed with everything in it. */
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/** A child process; its standard output and error go to one file, its input is a pipe. */
class Process {
public:
    Process(std::vector<std::string> command, std::map<std::string, std::string> environment,
            std::filesystem::path output);
    /** Ends the process, at once if need be. */
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void write_line(const std::string& line) const;
    void signal(int number) const;
    /** Closes its input, or signals it, and waits; the exit code, or 128 + signal. */
    int end(int signal_number);
    /** Waits for an end of its own accord; -1 when that does not come in time. */
    int wait_for_end();
    bool running();

    pid_t id() const { return id_; }
    std::string output() const;
    /** Open descriptors and threads, from /proc. */
    std::size_t descriptors() const;
    std::size_t threads() const;
    /**
     * Private memory that has been written to, in KB, from /proc. What was only read becomes
     * private, too, when other processes with the same files end.
     */
    long private_kilobytes() const;

private:
    bool reap(bool block);

    pid_t id_ = -1;
    int input_ = -1;
    int status_ = -1;
    std::filesystem::path output_;
};

} // namespace e2e
