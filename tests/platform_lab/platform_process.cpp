// SPDX-License-Identifier: MIT
#include "platform_process.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vxp::test {

TemporaryFolder::TemporaryFolder() {
    std::string pattern = ::testing::TempDir() + "/platform-lab-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(std::strerror(errno));
    }
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name), std::ios::binary) << text;
    return file(name);
}

namespace {

std::vector<std::string> commandLine(const std::vector<std::string>& arguments) {
    std::vector<std::string> words;
    if (const char* wrapper = std::getenv("VXPLATFORM_WRAPPER")) {
        std::istringstream stream(wrapper);
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
    }
    words.emplace_back(VXPLATFORM_BINARY);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

} // namespace

PlatformProcess::PlatformProcess(const std::vector<std::string>& arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> words = commandLine(arguments);
    std::vector<char*> raw;
    for (std::string& word : words) {
        raw.push_back(word.data());
    }
    raw.push_back(nullptr);
    int input[2];
    int output[2];
    int errors[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0 ||
        ::pipe2(errors, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    m_pid = ::fork();
    if (m_pid == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::dup2(errors[1], STDERR_FILENO);
        ::execvp(raw[0], raw.data());
        ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    ::close(errors[1]);
    m_input = input[1];
    m_output = output[0];
    m_errors = errors[0];
    ::fcntl(m_output, F_SETFL, O_NONBLOCK);
    ::fcntl(m_errors, F_SETFL, O_NONBLOCK);
}

PlatformProcess::~PlatformProcess() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    for (const int descriptor : {m_input, m_output, m_errors}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

void PlatformProcess::command(const std::string& line) {
    const std::string text = line + "\n";
    EXPECT_EQ(::write(m_input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void PlatformProcess::closeInput() {
    ::close(m_input);
    m_input = -1;
}

void PlatformProcess::closeErrors() {
    ::close(m_errors);
    m_errors = -1;
}

void PlatformProcess::signal(int number) const {
    ::kill(m_pid, number);
}

void PlatformProcess::readSome(int& descriptor, std::string& text) {
    char buffer[65536];
    for (;;) {
        const ssize_t count = descriptor < 0 ? -1 : ::read(descriptor, buffer, sizeof buffer);
        if (count > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
            continue;
        }
        if (count == 0) {
            ::close(descriptor);
            descriptor = -1;
        }
        return;
    }
}

void PlatformProcess::pump(int milliseconds) {
    pollfd descriptors[] = {{m_output, POLLIN, 0}, {m_errors, POLLIN, 0}};
    ::poll(descriptors, 2, milliseconds);
    readSome(m_errors, m_errorText);
    readSome(m_output, m_pendingOutput);
    std::size_t end = 0;
    while ((end = m_pendingOutput.find('\n')) != std::string::npos) {
        takeLine(m_pendingOutput.substr(0, end));
        m_pendingOutput.erase(0, end + 1);
    }
}

void PlatformProcess::takeLine(const std::string& line) {
    auto event = line.starts_with('{') ? parseJson(line) : std::nullopt;
    if (event && event->contains("seq")) {
        events.push_back(std::move(*event));
    } else {
        m_other += line + "\n";
    }
}

int PlatformProcess::wait() {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!ended() && std::chrono::steady_clock::now() < deadline) {
        pump(100);
    }
    if (!ended()) {
        ADD_FAILURE() << "the program does not end";
        ::kill(m_pid, SIGKILL);
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    readSome(m_errors, m_errorText);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::uint16_t PlatformProcess::port(const std::string& transport) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < deadline && !ended()) {
        for (const Json& event : events) {
            if (event["event"] == "listening" && event["transport"] == transport) {
                return event["port"].get<std::uint16_t>();
            }
        }
        pump(100);
    }
    throw std::runtime_error("the program does not listen: " + m_errorText);
}

std::size_t PlatformProcess::count(const std::string& event, const std::string& name) const {
    return static_cast<std::size_t>(
        std::count_if(events.begin(), events.end(), [&](const Json& candidate) {
            return candidate["event"] == event &&
                   (name.empty() || candidate.value("name", std::string{}) == name);
        }));
}

Json PlatformProcess::last(const std::string& event, const std::string& name) const {
    for (auto candidate = events.rbegin(); candidate != events.rend(); ++candidate) {
        if ((*candidate)["event"] == event &&
            (name.empty() || candidate->value("name", std::string{}) == name)) {
            return *candidate;
        }
    }
    return nullptr;
}

} // namespace vxp::test
