// SPDX-License-Identifier: MIT
#include "gateway.h"

#include <cstdlib>
#include <fstream>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "waiting.h"

namespace e2e {

namespace {

nlohmann::json read_json(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return nlohmann::json::parse(stream);
}

/** Keeps the device library from writing its state meanwhile, over what is changed here. */
class WritersLock {
public:
    explicit WritersLock(const std::filesystem::path& folder)
        : folder_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        flock(folder_, LOCK_EX);
    }
    ~WritersLock() { close(folder_); }
    WritersLock(const WritersLock&) = delete;
    WritersLock& operator=(const WritersLock&) = delete;

private:
    int folder_;
};

} // namespace

Build own_build() {
    const char* const wrapper = std::getenv("VXQUILAN_TEST_DAEMON_WRAPPER");
    return {wrapper != nullptr ? wrapper : "", VXQUILAN_DAEMON, VXQUILAN_NET, VXQUILAN_LIBRARIES};
}

Gateway::Gateway(int port, bool tls, Build build) : build_(std::move(build)) {
    std::filesystem::copy_file(VXQUILAN_SAMPLE_STATE, folder_ / "gateway.json");
    edit([&](nlohmann::json& state) {
        state["app_platform"]["host"] = "127.0.0.1";
        state["app_platform"]["port"] = port;
        state["app_platform"]["tls"] = tls;
        state.erase("registration");
    });
}

void Gateway::introduce_to(const Platform& platform) const {
    edit([](nlohmann::json& state) {
        state["credentials"]["device_id"] = "gw-known";
        state["credentials"]["device_secret"] = "known-secret";
    });
    platform.command("gateway add mac=" + state()["identity"]["mac"].get<std::string>() +
                     " devId=gw-known secret=known-secret");
}

void Gateway::go_online(const Platform& platform) {
    introduce_to(platform);
    start();
    platform.wait_for("request:heartbeat");
}

void Gateway::edit(const std::function<void(nlohmann::json&)>& change) const {
    const WritersLock lock(folder_.path());
    nlohmann::json content = state();
    change(content);
    const std::filesystem::path next = folder_ / "gateway.json.next";
    std::ofstream(next) << content.dump(2);
    std::filesystem::rename(next, folder_ / "gateway.json");
}

nlohmann::json Gateway::state() const {
    return read_json(folder_ / "gateway.json");
}

void Gateway::start(const std::map<std::string, std::string>& environment) {
    start_program(build_.daemon, environment);
}

void Gateway::start_net(const std::map<std::string, std::string>& environment) {
    start_program(build_.net, environment);
}

void Gateway::start_program(const std::string& program,
                            const std::map<std::string, std::string>& environment) {
    std::map<std::string, std::string> variables = {
        {"VX_DEVICE_STATE", folder_ / "gateway.json"},
        {"VX_DEVICE_JOURNAL", folder_ / "calls.jsonl"},
        {"VX_DEVICE_CONTROL", folder_ / "control"},
        {"VX_LOG_LEVEL", "7"},
        {"LD_LIBRARY_PATH", build_.libraries},
    };
    for (const auto& [name, value] : environment)
        variables[name] = value;
    std::vector<std::string> command = words_of(build_.runner);
    command.push_back(program);
    daemon_ = std::make_unique<Process>(command, variables, folder_ / "daemon.log");
}

void Gateway::control(const std::string& line) const {
    const std::filesystem::path fifo = folder_ / "control";
    int descriptor = -1;
    if (!wait_until([&] {
            descriptor = open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            return descriptor >= 0;
        }))
        throw std::runtime_error("the simulated gateway has no control channel");
    const std::string text = line + "\n";
    const bool whole =
        write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(descriptor);
    if (!whole)
        throw std::runtime_error("the control channel took only part of a line");
}

std::vector<nlohmann::json> Gateway::calls() const {
    std::vector<nlohmann::json> result;
    std::ifstream file(folder_ / "calls.jsonl");
    for (std::string line; std::getline(file, line);) {
        if (!file.eof()) // the last line may still be on its way
            result.push_back(nlohmann::json::parse(line));
    }
    return result;
}

bool Gateway::called(const std::string& operation) const {
    for (const nlohmann::json& call : calls()) {
        if (call.at("operation") == operation)
            return true;
    }
    return false;
}

bool Gateway::complained() const {
    // valgrind, told to be quiet, has lines of its own for errors and leaks only.
    // The emulator says when it meets something that its processor does not have.
    return logged("==" + std::to_string(daemon_->id()) + "==") || logged("Assertion") ||
           logged("qemu: ");
}

bool Gateway::logged(const std::string& text) const {
    return log().find(text) != std::string::npos;
}

int Gateway::times_logged(const std::string& text) const {
    const std::string all = log();
    int times = 0;
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
        ++times;
    return times;
}

} // namespace e2e
