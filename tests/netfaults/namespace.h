// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

/** @file Hosts of the test's own: network namespaces that never outlive it. */
namespace netfaults {

/** Why this process cannot make network namespaces; empty when it can. */
std::string obstacle();

/** Runs a program to its end. @throws std::runtime_error with what it said, when it failed */
void run(const std::vector<std::string>& command);

/**
 * A network namespace, named after this process, with its loopback up. The ones that a killed
 * process has left behind are removed by the next that makes one.
 */
class Namespace {
public:
    explicit Namespace(const std::string& role);
    ~Namespace();
    Namespace(const Namespace&) = delete;
    Namespace& operator=(const Namespace&) = delete;

    /** Does something inside, on a thread of its own; sockets made there stay there. */
    void inside(const std::function<void()>& action) const;
    /** Moves the calling thread into it, for good. */
    void enter() const;
    /** Runs "ip" with these words inside. */
    void ip(const std::string& words) const;
    /** The resolver's configuration of programs that are started inside. */
    void set_resolver(const std::string& text) const;
    /**
     * Whether its programs have read all that has come on TCP connections, and all that they have
     * sent has been acknowledged.
     */
    bool is_settled() const;
    /** What a program is started with to run inside. */
    std::string runner() const { return "ip netns exec " + name_; }

private:
    void remove() const;

    std::string name_;
};

} // namespace netfaults
