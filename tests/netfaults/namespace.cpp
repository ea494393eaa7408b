// SPDX-License-Identifier: MIT
#include "namespace.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include "process.h"
#include "waiting.h"

namespace netfaults {

namespace {

const std::string kPrefix = "vxq-faults-";
const std::filesystem::path kNames = "/run/netns";
const std::filesystem::path kConfigurations = "/etc/netns";

std::runtime_error failure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

void remove_namespace(const std::string& name) {
    std::error_code ignored;
    std::filesystem::remove_all(kConfigurations / name, ignored);
    std::filesystem::remove(kConfigurations, ignored); // only when nobody else has one
    e2e::Process({"ip", "netns", "del", name}, {}, "/dev/null").wait_for_end();
}

/** Whether the process that made it is gone. */
bool is_left_over(const std::string& name) {
    if (!name.starts_with(kPrefix))
        return false;
    const int process = std::atoi(name.c_str() + kPrefix.size());
    return process > 0 && kill(process, 0) != 0 && errno == ESRCH;
}

void sweep() {
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(kNames, none)) {
        if (is_left_over(entry.path().filename()))
            remove_namespace(entry.path().filename());
    }
}

std::string try_namespace() {
    if (unshare(CLONE_NEWNET) != 0)
        return std::string("no network namespaces here: ") + std::strerror(errno);
    const int tunnel = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    if (tunnel < 0)
        return std::string("/dev/net/tun: ") + std::strerror(errno);
    close(tunnel);
    return "";
}

} // namespace

std::string obstacle() {
    if (geteuid() != 0)
        return "network namespaces need root";
    try {
        run({"ip", "-V"});
    } catch (const std::runtime_error&) {
        return "there is no \"ip\" (Debian: iproute2)";
    }
    return std::async(std::launch::async, try_namespace).get();
}

void run(const std::vector<std::string>& command) {
    const e2e::TemporaryFolder folder;
    e2e::Process process(command, {}, folder / "output");
    const int status = process.wait_for_end();
    if (status == 0)
        return;
    std::string text;
    for (const std::string& word : command)
        text += word + " ";
    throw std::runtime_error(text + "ended with " + std::to_string(status) + ": " +
                             process.output());
}

Namespace::Namespace(const std::string& role)
    : name_(kPrefix + std::to_string(getpid()) + "-" + role) {
    sweep();
    run({"ip", "netns", "add", name_});
    try {
        ip("link set lo up");
    } catch (...) {
        remove();
        throw;
    }
}

Namespace::~Namespace() {
    remove();
}

void Namespace::remove() const {
    remove_namespace(name_);
}

void Namespace::enter() const {
    const int descriptor = open((kNames / name_).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw failure(name_);
    const int result = setns(descriptor, CLONE_NEWNET);
    close(descriptor);
    if (result != 0)
        throw failure("setns");
}

void Namespace::inside(const std::function<void()>& action) const {
    std::async(std::launch::async, [&] {
        enter();
        action();
    }).get();
}

void Namespace::ip(const std::string& words) const {
    std::vector<std::string> command = {"ip", "-n", name_};
    for (const std::string& word : e2e::words_of(words))
        command.push_back(word);
    run(command);
}

void Namespace::set_resolver(const std::string& text) const {
    const std::filesystem::path folder = kConfigurations / name_;
    // Another process may take the folder of all away before there is anything in it.
    std::error_code error;
    e2e::wait_until([&] {
        std::filesystem::create_directories(folder, error);
        return !error;
    });
    std::ofstream file(folder / "resolv.conf");
    file << text;
    file.close();
    if (!file)
        throw failure(folder / "resolv.conf");
}

bool Namespace::is_settled() const {
    bool empty = true;
    inside([&] {
        std::ifstream table("/proc/thread-self/net/tcp");
        std::string line;
        std::getline(table, line); // the heads of the columns
        while (std::getline(table, line)) {
            // number, local, remote, state (01: established), send queue:receive queue
            const std::vector<std::string> columns = e2e::words_of(line);
            if (columns.size() > 4 && columns[3] == "01" && columns[4] != "00000000:00000000")
                empty = false;
        }
    });
    return empty;
}

} // namespace netfaults
