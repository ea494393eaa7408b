// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gateway.h"
#include "name_server.h"
#include "namespace.h"
#include "platform.h"
#include "relay.h"
#include "wire.h"

/** @file A gateway and a platform, each on a host of its own, and the wire between them. */
namespace netfaults {

inline constexpr char kGatewayAddress[] = "10.77.0.1";
inline constexpr char kPlatformAddress[] = "10.77.0.2"; ///< the relay's, too
inline constexpr char kNetAddress[] = "10.77.0.3";      ///< the platform channel behind its relay
inline constexpr char kNameServerAddress[] = "10.77.0.4";
inline constexpr int kRelayPort = 5700;
inline constexpr int kNetPort = 32768;

/** Seconds since 1970, as in the platform's journal. */
double now();

/** What a site is made of. */
struct Plan {
    e2e::Transport transport = e2e::Transport::tcp;
    bool relay = false; ///< between the gateway and the platform
    /**
     * Run the daemon on a libcoap that keeps its place in the stream when a header comes in pieces,
     * as the gateway's build has it. Debian's does not.
     */
    bool keeps_framing = false;
    std::string host = kPlatformAddress; ///< what the gateway knows the platform by
    std::string listen = kPlatformAddress;
    std::filesystem::path certificate = {}; ///< its folder; empty: the platform makes one
};

class Site {
public:
    explicit Site(const Plan& plan = {});

    /** Another gateway in place of the one there is, not yet started. */
    void renew_gateway();
    /** Starts the daemon, and waits until it is online. */
    void go_online();
    /** Ends the platform without a farewell. */
    void kill_platform() { platform_.reset(); }
    /** Starts it, on the same port, knowing the gateway; since when it has listened. */
    double start_platform();
    void set_certificate(const std::filesystem::path& folder) { plan_.certificate = folder; }

    /** Seconds from `since` to the first heartbeat behind it; negative: none came in time. */
    double online_after(double since, double limit) const;

    const Namespace& gateway_host() const { return gateway_host_; }
    const Namespace& platform_host() const { return platform_host_; }
    Wire& wire() { return *wire_; }
    Relay& relay() { return *relay_; }
    NameServer& names() { return *names_; }
    e2e::Platform& platform() { return *platform_; }
    e2e::Gateway& gateway() { return *gateway_; }

private:
    int platform_port() const;

    Plan plan_;
    e2e::TemporaryFolder folder_;
    Namespace gateway_host_{"gateway"};
    Namespace platform_host_{"platform"};
    std::unique_ptr<Wire> wire_;
    std::unique_ptr<NameServer> names_;
    std::unique_ptr<e2e::Platform> platform_;
    std::unique_ptr<Relay> relay_;
    std::unique_ptr<e2e::Gateway> gateway_;
};

} // namespace netfaults
