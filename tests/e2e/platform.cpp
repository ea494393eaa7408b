// SPDX-License-Identifier: MIT
#include "platform.h"

#include <algorithm>
#include <fstream>
#include <iterator>
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

void Platform::read_journal() const {
    std::ifstream file(folder_ / "journal.jsonl");
    file.seekg(journal_read_);
    for (std::string line; std::getline(file, line);) {
        if (file.eof())
            break; // the last line is still on its way
        journal_.push_back(nlohmann::json::parse(line));
        journal_read_ += static_cast<std::streamoff>(line.size() + 1);
    }
}

std::vector<nlohmann::json> Platform::events(const std::string& kind) const {
    read_journal();
    std::vector<nlohmann::json> result;
    std::copy_if(journal_.begin(), journal_.end(), std::back_inserter(result),
                 [&](const nlohmann::json& event) { return is_kind(event, kind); });
    return result;
}

const nlohmann::json* Platform::find_event(const std::string& kind, std::size_t number) const {
    read_journal();
    for (const nlohmann::json& event : journal_) {
        if (is_kind(event, kind) && --number == 0)
            return &event;
    }
    return nullptr;
}

nlohmann::json Platform::wait_for(const std::string& kind, std::size_t count,
                                  std::chrono::milliseconds limit) const {
    const nlohmann::json* found = nullptr;
    wait_until([&] { return (found = find_event(kind, count)) != nullptr; }, limit);
    if (found == nullptr)
        throw std::runtime_error("no " + kind + " number " + std::to_string(count) +
                                 " at the platform: " + process_->output());
    return *found;
}

std::size_t Platform::count(const std::string& kind) const {
    read_journal();
    return static_cast<std::size_t>(
        std::count_if(journal_.begin(), journal_.end(),
                      [&](const nlohmann::json& event) { return is_kind(event, kind); }));
}

nlohmann::json Platform::ask(const std::string& line) const {
    const std::size_t before = count("answer");
    command(line);
    return wait_for("answer", before + 1);
}

} // namespace e2e
