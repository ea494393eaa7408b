// SPDX-License-Identifier: MIT
#include "platform.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <unistd.h>

namespace e2e {

namespace {

bool is_kind(const nlohmann::json& event, const std::string& kind) {
    const auto& name = event.at("event").get_ref<const std::string&>();
    if (kind.empty() || kind == name)
        return true;
    return kind.starts_with(name + ":") && kind == name + ":" + event.value("name", "");
}

std::map<std::string, std::string> environment() {
    const char* const libraries = std::getenv("VXQUILAN_TEST_PLATFORM_LIBRARIES");
    if (libraries == nullptr)
        return {};
    return {{"LD_LIBRARY_PATH", libraries}};
}

} // namespace

bool Platform::keeps_framing() {
    return !environment().empty();
}

std::string own_address() {
    const auto id = static_cast<unsigned>(getpid());
    return "127." + std::to_string(100 + (id >> 14) % 100) + "." +
           std::to_string((id >> 7) % 128 + 1) + "." + std::to_string(id % 128 + 1);
}

Platform::Platform(Transport transport, const std::vector<std::string>& options,
                   const std::filesystem::path& certificate, const Place& place)
    : transport_(transport) {
    const std::string channel = is_tls() ? "tls" : "tcp";
    const std::vector<std::string> arguments = {VXQUILAN_PLATFORM,
                                                "--" + channel,
                                                place.host + ":" + std::to_string(place.port),
                                                "--fault-" + channel,
                                                place.host + ":0",
                                                "--tls-dir",
                                                certificate.empty() ? folder_ / "tls" : certificate,
                                                "--journal",
                                                folder_ / "journal.jsonl",
                                                "--prompt",
                                                "--serve",
                                                "--quiet"};
    std::vector<std::string> command = words_of(place.runner);
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), options.begin(), options.end());
    process_ = std::make_unique<Process>(command, environment(), folder_ / "platform.log");
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

nlohmann::json Platform::wait_for(const std::string& kind, std::size_t count,
                                  std::chrono::milliseconds limit) const {
    // Each event is looked at once, however long the wait: journals get long.
    std::size_t seen = 0;
    const bool found = wait_until(
        [&] {
            read_journal();
            for (; count != 0 && seen < journal_.size(); ++seen)
                count -= is_kind(journal_[seen], kind) ? 1u : 0u;
            return count == 0;
        },
        limit);
    if (!found)
        throw std::runtime_error("no " + kind + " at the platform, " + std::to_string(count) +
                                 " missing: " + process_->output());
    return journal_[seen - 1];
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
