// SPDX-License-Identifier: MIT
// What can become of the link: loss, latency, silence, other addresses; names that don't resolve.
#include <chrono>
#include <string>

#include "fault_test.h"

namespace netfaults {
namespace {

using e2e::Transport;
using std::chrono::milliseconds;
using std::chrono::seconds;

/** The platform ends the connection; as long as the gateway comes back in time, once more. */
void drop_again_and_again(Site& site, Report& report, int drops) {
    for (int drop = 0; drop < drops; ++drop) {
        const double since = now();
        site.platform().command("drop");
        if (!report.expect_online(site, since))
            return;
    }
}

/** The wire is whole again when the gateway has tried to log in three times. */
void repair_behind_three_logins(Site& site, Report& report, seconds limit) {
    ASSERT_TRUE(e2e::wait_until(
        [&] { return site.gateway().times_logged("QUILAN_APP_LOGIN") >= 3; }, limit));
    const double since = now();
    site.wire().set({});
    report.expect_online(site, since);
}

class Link : public TransportFault {
protected:
    Site& start(bool relay) {
        Site& site = build({.transport = GetParam(), .relay = relay});
        site.go_online();
        return site;
    }
    /** Nothing passes any more from that byte on of the first reply to such a request. */
    void fall_silent_inside_reply(const std::string& request, std::size_t byte, double allowed) {
        Site& site = build({.transport = GetParam(), .relay = true});
        Report report(title("black hole inside a " + request + "'s reply"), allowed);
        const std::size_t before = bytes_before_reply(request);
        const double since = start_until(before + byte, Then::hold);
        EXPECT_EQ(site.platform().count("request:" + request), 2u) << "this gateway's is its first";
        site.wire().forget_connections();
        report.expect_online(site, since);
    }
};

TEST_P(Link, LosesAPacketInTen) {
    Site& site = start(false);
    site.wire().set({.loss = 0.1});
    Report report(title("10 % loss each way, reconnect"), kLossy);
    drop_again_and_again(site, report, all_trials() ? 20 : 5);
    Report answers(title("20 % loss each way, answer to a request"), kKept);
    site.wire().set({.loss = 0.2});
    const std::size_t connects = site.platform().count("connect");
    for (int request = 0; request < (all_trials() ? 200 : 30); ++request) {
        const double since = now();
        const nlohmann::json answer = site.platform().ask("device-info");
        answers.add(answer.at("time").get<double>() - since);
    }
    EXPECT_EQ(site.platform().count("connect"), connects);
}

TEST_P(Link, IsTwoSecondsLong) {
    Site& site = start(false);
    site.wire().set({.delay = milliseconds(static_cast<int>(kLatency * 1000))});
    Report report(title("2 s latency each way, reconnect"),
                  GetParam() == Transport::tls ? kFarTls : kFar);
    drop_again_and_again(site, report, all_trials() ? 10 : 2);
}

// The connection alone: nothing of it passes any more, while a new one would.
TEST_P(Link, FallsSilentInsideARequest) {
    Site& site = start(true);
    Report report(title("black hole inside a request"), kSilentSession);
    site.relay().allow(20, Then::hold);
    site.platform().command("rename");
    const double since = wait_for_relay();
    site.wire().forget_connections();
    report.expect_online(site, since);
}

TEST_P(Link, FallsSilentInsideTheHeartbeatsReply) {
    fall_silent_inside_reply("heartbeat", 10, kSilentHeartbeat);
}

TEST_P(Link, FallsSilentInsideTheLoginsReply) {
    fall_silent_inside_reply("login", 20, kSilentLogin);
    EXPECT_EQ(site().platform().count("request:devinfo"), 1u) << "none before the silence";
}

TEST_P(Link, IsBrokenWhileTheGatewayStarts) {
    Site& site = build({.transport = GetParam()});
    Report report(title("link down for 20 s at the start"), kSilentLogin);
    site.wire().set({.broken = true});
    site.gateway().start();
    repair_behind_three_logins(site, report, seconds(40));
}

TEST_P(Link, IsBrokenUntilTheSessionIsGivenUp) {
    Site& site = start(false);
    Report report(title("link down until the session is given up"), kSilentLogin);
    site.wire().set({.broken = true});
    repair_behind_three_logins(site, report, seconds(140));
}

// The platform's host has been replaced meanwhile: it does not know the connection.
TEST_P(Link, LeavesTheConnectionHalfOpen) {
    Site& site = start(true);
    Report report(title("half-open connection"), kHalfOpen);
    site.platform().ask("rename");
    wait_until_settled(); // or the gateway would repeat something, and hear about it at once
    site.wire().set({.broken = true});
    site.relay().allow(0, Then::reset); // nobody will hear of that
    site.platform().command("rename");
    wait_for_relay();
    const double since = now();
    site.wire().set({});
    report.expect_online(site, since);
}

INSTANTIATE_TEST_SUITE_P(Network, Link, testing::Values(Transport::tcp, Transport::tls),
                         e2e::name_of_transport);

class Names : public FaultTest {
protected:
    static constexpr char kHost[] = "platform.example";
    Site& start(const std::string& listen = kPlatformAddress) {
        Site& site = build({.host = kHost, .listen = listen});
        site.go_online();
        return site;
    }
    /** The name cannot be resolved until the gateway has tried twice to connect. */
    void fail(Answer answer, const std::string& title, double allowed) {
        Site& site = start();
        Report report(title, allowed);
        site.names().set(answer);
        site.platform().command("drop");
        ASSERT_TRUE(e2e::wait_until(
            [&] { return site.gateway().times_logged("resolve_address ret") >= 2; }, seconds(80)));
        const double since = now();
        site.names().set(Answer::address, kPlatformAddress);
        report.expect_online(site, since);
    }
};

TEST_F(Names, ThereIsNoSuch) {
    fail(Answer::no_such_name, "DNS: no such name", kNoAddress);
}

TEST_F(Names, TheServerFails) {
    fail(Answer::server_failure, "DNS: server failure", kNoAddress);
}

TEST_F(Names, TheServerIsSilent) {
    fail(Answer::none, "DNS: no answer", kNoNameServer);
}

TEST_F(Names, TheServerTakesItsTime) {
    Site& site = start();
    Report report("DNS: answer after 4 s", kSlowName);
    site.names().set(Answer::address, kPlatformAddress,
                     milliseconds(static_cast<int>(kSlowAnswer * 1000)));
    drop_again_and_again(site, report, all_trials() ? 10 : 2);
}

TEST_F(Names, ThePlatformMoves) {
    Site& site = start("0.0.0.0");
    Report report("address change of the platform", kSilentSession);
    site.platform_host().ip("addr add 10.77.0.7/32 dev wire");
    site.names().set(Answer::address, "10.77.0.7");
    const double since = now();
    site.platform_host().ip(std::string("addr del ") + kPlatformAddress + "/32 dev wire");
    report.expect_online(site, since);
}

TEST_F(Names, TheGatewayMoves) {
    Site& site = start();
    Report report("address change of the gateway", kSilentSession);
    site.gateway_host().ip("addr add 10.77.0.8/32 dev wire");
    const double since = now();
    site.gateway_host().ip(std::string("addr del ") + kGatewayAddress + "/32 dev wire");
    report.expect_online(site, since);
}

} // namespace
} // namespace netfaults
