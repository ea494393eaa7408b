// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <ios>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "process.h"
#include "waiting.h"

/** @file The platform emulator, driven through its prompt and watched through its journal. */
namespace e2e {

enum class Transport { tcp, tls };

/** For the names of tests. */
inline void PrintTo(Transport transport, std::ostream* stream) {
    *stream << (transport == Transport::tls ? "TLS" : "TCP");
}

class Platform {
public:
    explicit Platform(Transport transport = Transport::tcp,
                      const std::vector<std::string>& options = {});

    Transport transport() const { return transport_; }
    bool is_tls() const { return transport_ == Transport::tls; }
    /** The port that gateways connect to. */
    int port() const { return port_; }
    /** The port in front of it on which faults can be switched on. */
    int fault_port() const { return fault_port_; }

    void command(const std::string& line) const { process_->write_line(line); }

    /** All events so far, or those of one kind; a kind may name its topic: "request:login". */
    std::vector<nlohmann::json> events(const std::string& kind = "") const;
    std::size_t count(const std::string& kind) const;
    /** Waits until there are `count` events of a kind; the last of these. */
    nlohmann::json wait_for(const std::string& kind, std::size_t count = 1,
                            std::chrono::milliseconds limit = std::chrono::seconds(40)) const;
    /** Gives a command that asks the gateway for something, and waits for the answer. */
    nlohmann::json ask(const std::string& line) const;

    Process& process() { return *process_; }

private:
    int wait_for_port(const std::string& transport) const;
    void read_journal() const;
    /** The event of a kind with that number, from 1; null as long as there is none. */
    const nlohmann::json* find_event(const std::string& kind, std::size_t number) const;

    TemporaryFolder folder_;
    Transport transport_;
    std::unique_ptr<Process> process_;
    int port_ = 0;
    int fault_port_ = 0;
    mutable std::vector<nlohmann::json> journal_; ///< each event is read once
    mutable std::streamoff journal_read_ = 0;     ///< bytes of the journal file
};

} // namespace e2e
