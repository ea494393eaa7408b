// SPDX-License-Identifier: MIT
#include "platform.h"

#include <fstream>
#include <stdexcept>

namespace e2e {

namespace {

bool is_kind(const nlohmann::json& event, const std::string& kind) {
    const std::string name = event.at("event");
    const std::string topic = event.value("name", "");
    return kind.empty() || kind == name || kind == name + ":" + topic;
}

} // namespace

Platform::Platform(Transport transport, const std::vector<std::string>& options)
    : transport_(transport) {
    const std::string channel = is_tls() ? "tls" : "tcp";
    std::vector<std::string> command = {
        VXQUILAN_PLATFORM, "--" + channel,  "127.0.0.1:0", "--fault-" + channel,      "127.0.0.1:0",
        "--tls-dir",       folder_ / "tls", "--journal",   folder_ / "journal.jsonl", "--prompt",
        "--serve",         "--quiet"};
    command.insert(command.end(), options.begin(), options.end());
    process_ = std::make_unique<Process>(command, std::map<std::string, std::string>(),
                                         folder_ / "platform.log");
    port_ = wait_for_port(channel);
    fault_port_ = wait_for_port("fault-" + channel);
}

int Platform::wait_for_port(const std::string& transport) const {
    int port = 0;
    wait_until([&] {
        for (const nlohmann::json& event : events("listening")) {
            if (event.at("transport") == transport)
                port = event.at("port");
        }
        return port != 0;
    });
    if (port == 0)
        throw std::runtime_error("the platform does not listen: " + process_->output());
    return port;
}

std::vector<nlohmann::json> Platform::events(const std::string& kind) const {
    std::vector<nlohmann::json> result;
    std::ifstream file(folder_ / "journal.jsonl");
    for (std::string line; std::getline(file, line);) {
        if (file.eof())
            break; // the last line is still on its way
        nlohmann::json event = nlohmann::json::parse(line);
        if (is_kind(event, kind))
            result.push_back(std::move(event));
    }
    return result;
}

nlohmann::json Platform::wait_for(const std::string& kind, std::size_t count,
                                  std::chrono::milliseconds limit) const {
    std::vector<nlohmann::json> found;
    const bool enough = wait_until(
        [&] {
            found = events(kind);
            return found.size() >= count;
        },
        limit);
    if (!enough)
        throw std::runtime_error("no " + kind + " number " + std::to_string(count) +
                                 " at the platform: " + process_->output());
    return found.back();
}

nlohmann::json Platform::ask(const std::string& line) const {
    const std::size_t before = events("answer").size();
    command(line);
    return wait_for("answer", before + 1);
}

} // namespace e2e
