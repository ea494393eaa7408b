// SPDX-License-Identifier: MIT
#include "process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "waiting.h"

extern char** environ;

namespace e2e {

namespace {

/** A null-terminated vector of C strings, as exec wants it. */
class Arguments {
public:
    explicit Arguments(std::vector<std::string> texts) : texts_(std::move(texts)) {
        for (std::string& text : texts_)
            pointers_.push_back(text.data());
        pointers_.push_back(nullptr);
    }
    char** data() { return pointers_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

std::vector<std::string> merged(const std::map<std::string, std::string>& additional) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!additional.contains(text.substr(0, text.find('='))))
            result.push_back(text);
    }
    for (const auto& [name, value] : additional)
        result.push_back(name + "=" + value);
    return result;
}

std::size_t count_entries(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator()));
}

} // namespace

std::vector<std::string> words_of(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "vxquilan-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp: " + std::string(std::strerror(errno)));
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Process::Process(std::vector<std::string> command, std::map<std::string, std::string> environment,
                 std::filesystem::path output)
    : output_(std::move(output)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2: " + std::string(std::strerror(errno)));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output_.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const std::string program = command.front();
    Arguments arguments(std::move(command));
    Arguments variables(merged(environment));
    const int error =
        posix_spawnp(&id_, program.c_str(), &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    input_ = ends[1];
    if (error != 0)
        throw std::runtime_error(program + ": " + std::strerror(error));
}

Process::~Process() {
    if (running()) {
        signal(SIGKILL);
        reap(true);
    }
    if (input_ >= 0)
        close(input_);
}

void Process::write_line(const std::string& line) const {
    const std::string text = line + "\n";
    if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("write: " + std::string(std::strerror(errno)));
}

void Process::signal(int number) const {
    kill(id_, number);
}

bool Process::reap(bool block) {
    if (status_ >= 0)
        return true;
    int status = 0;
    if (waitpid(id_, &status, block ? 0 : WNOHANG) != id_)
        return false;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

bool Process::running() {
    return !reap(false);
}

int Process::end(int signal_number) {
    signal(signal_number);
    return wait_for_end();
}

int Process::wait_for_end() {
    return wait_until([this] { return !running(); }) ? status_ : -1;
}

std::string Process::output() const {
    std::ifstream file(output_);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t Process::descriptors() const {
    return count_entries("/proc/" + std::to_string(id_) + "/fd");
}

std::size_t Process::threads() const {
    return count_entries("/proc/" + std::to_string(id_) + "/task");
}

long Process::private_kilobytes() const {
    std::ifstream file("/proc/" + std::to_string(id_) + "/smaps_rollup");
    long total = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        long kilobytes = 0;
        if (words >> name >> kilobytes && name == "Private_Dirty:")
            total += kilobytes;
    }
    return total;
}

} // namespace e2e
