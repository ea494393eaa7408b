// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform.h"
#include "process.h"

/** @file The real daemon on the simulated gateway. */
namespace e2e {

/** The daemon's programs and libraries, as one build made them. */
struct Build {
    std::string runner; ///< what runs them on this machine, with its arguments; empty: nothing
    std::string daemon;
    std::string net;       ///< the platform channel by itself
    std::string libraries; ///< folders of the device and the log library, separated by colons
};

/** The build beside the tests, under a tool such as valgrind (VXQUILAN_TEST_DAEMON_WRAPPER). */
Build own_build();

class Gateway {
public:
    /**
     * Prepares a gateway from the shipped sample, never seen by any platform and without a
     * registration code of its own; its platform is 127.0.0.1:port.
     */
    explicit Gateway(int port, bool tls = false, Build build = own_build());

    /** Makes gateway and platform know each other, as after an earlier activation. */
    void introduce_to(const Platform& platform) const;
    /** Starts the daemon on a gateway that the platform knows, and waits until it is online. */
    void go_online(const Platform& platform);

    /** Changes the state file, before or while the daemon runs. */
    void edit(const std::function<void(nlohmann::json&)>& change) const;
    nlohmann::json state() const;

    /** Starts the daemon, optionally with another library in front of the bundled one. */
    void start(const std::map<std::string, std::string>& environment = {});
    /** Starts the platform channel by itself instead. */
    void start_net(const std::map<std::string, std::string>& environment = {});

    /** Starts another build of either. */
    void start_program(const std::string& program,
                       const std::map<std::string, std::string>& environment = {});

    /** Says something to the simulated gateway's control channel, e.g. "register-code 4711". */
    void control(const std::string& line) const;

    /** The setters and actions that the daemon has called, in order. */
    std::vector<nlohmann::json> calls() const;
    bool called(const std::string& operation) const;

    std::string log() const { return daemon_->output(); }
    bool logged(const std::string& text) const;
    int times_logged(const std::string& text) const;

    /** Whether a tool that the daemon runs under found something, or an assertion failed. */
    bool complained() const;

    Process& daemon() { return *daemon_; }

private:
    Build build_;
    TemporaryFolder folder_;
    std::unique_ptr<Process> daemon_;
};

} // namespace e2e
