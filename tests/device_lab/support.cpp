// SPDX-License-Identifier: MIT
#include "support.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {
namespace {

class Folder {
public:
    Folder() {
        path_ = std::filesystem::temp_directory_path() / "device_lab.XXXXXX";
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        if (getpid() == owner_) {
            std::filesystem::remove_all(path_);
        }
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    pid_t owner_ = getpid();
};

[[noreturn]] void become(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment, int output,
                         int errors) {
    for (const auto& [name, value] : environment) {
        value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    }
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

std::string unique_path(const std::string& name) {
    static int number = 0;
    return folder() + "/" + name + "." + std::to_string(++number);
}

} // namespace

const std::string& folder() {
    static const Folder folder;
    return folder.path();
}

std::string state_path() {
    return folder() + "/gateway.json";
}

std::string journal_path() {
    return folder() + "/journal";
}

std::string read_file(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

void write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
}

Json sample() {
    return Json::parse(read_file(SAMPLE_STATE));
}

Json state() {
    return Json::parse(read_file(state_path()));
}

void edit(const std::function<void(Json&)>& change) {
    Json edited = state();
    change(edited);
    write_file(state_path(), edited.dump(2) + "\n");
}

std::vector<Json> journal() {
    std::istringstream lines(read_file(journal_path()));
    std::vector<Json> entries;
    for (std::string line; std::getline(lines, line);) {
        entries.push_back(Json::parse(line));
    }
    return entries;
}

void DeviceLab::SetUp() {
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
        if (entry.path() != state_path()) { // which the library watches
            std::filesystem::remove(entry.path());
        }
    }
    write_file(state_path(), read_file(SAMPLE_STATE));
    write_file(journal_path(), "");
}

Background::Background(const std::vector<std::string>& command,
                       const std::map<std::string, std::string>& environment)
    : errors_path_(unique_path("errors")) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    const int errors = open(errors_path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    process_ = fork();
    if (process_ == 0) {
        become(command, environment, ends[1], errors);
    }
    close(ends[1]);
    close(errors);
    output_ = ends[0];
}

Background::~Background() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(output_);
}

std::string Background::read_line() {
    std::string line;
    char character = 0;
    while (read(output_, &character, 1) == 1 && character != '\n') {
        line += character;
    }
    return line;
}

Outcome Background::finish() {
    Outcome outcome;
    char chunk[4096];
    for (ssize_t size = 0; (size = read(output_, chunk, sizeof chunk)) > 0;) {
        outcome.output.append(chunk, static_cast<std::size_t>(size));
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.errors = read_file(errors_path_);
    return outcome;
}

Outcome run(const std::vector<std::string>& command,
            const std::map<std::string, std::string>& environment) {
    return Background(command, environment).finish();
}

Outcome call(std::vector<std::string> arguments,
             const std::map<std::string, std::string>& environment) {
    arguments.insert(arguments.begin(), LAB_CALL);
    return run(arguments, environment);
}

std::string errors_of(const std::function<void()>& body) {
    const std::string path = unique_path("own-errors");
    const int saved = dup(STDERR_FILENO);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(file, STDERR_FILENO);
    close(file);
    body();
    dup2(saved, STDERR_FILENO);
    close(saved);
    return read_file(path);
}

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

} // namespace lab
