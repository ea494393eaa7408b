// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <ios>
#include <memory>
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

/**
 * A loopback address of this process's own, for the platform channel: gateways know no other port
 * of it than 32768.
 */
std::string own_address();

/** Where a platform runs and listens. */
struct Place {
    std::string runner; ///< what starts it there, with its arguments; empty: nothing
    std::string host = "127.0.0.1";
    int port = 0; ///< 0: the system chooses
};

class Platform {
public:
    /** @param certificate  folder with the platform's certificate; empty for one of its own */
    explicit Platform(Transport transport = Transport::tcp,
                      const std::vector<std::string>& options = {},
                      const std::filesystem::path& certificate = {}, const Place& place = {});

    /**
     * Whether the emulator runs on a libcoap that puts split headers together. The tests run it on
     * the one in VXQUILAN_TEST_PLATFORM_LIBRARIES, the gateway on the one that it was built with.
     */
    static bool keeps_framing();

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

    TemporaryFolder folder_;
    Transport transport_;
    std::unique_ptr<Process> process_;
    int port_ = 0;
    int fault_port_ = 0;
    mutable std::vector<nlohmann::json> journal_; ///< each event is read once
    mutable std::streamoff journal_read_ = 0;     ///< bytes of the journal file
};

} // namespace e2e
