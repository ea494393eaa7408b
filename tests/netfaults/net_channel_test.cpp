// SPDX-License-Identifier: MIT
// The platform channel's faults.
#include <chrono>
#include <memory>

#include "fault_test.h"

namespace netfaults {
namespace {

using std::chrono::seconds;

class NetChannel : public FaultTest {
protected:
    /** Behind a relay on the platform's address, as gateways know one port only. */
    Site& build_net() {
        Site& site = build({.relay = true});
        renew_relay();
        return site;
    }
    void renew_relay() {
        relay_.reset();
        relay_ =
            std::make_unique<Relay>(site().platform_host(), Endpoint{kPlatformAddress, kNetPort},
                                    Endpoint{kNetAddress, kNetPort});
    }
    void TearDown() override { relay_.reset(); }
    Relay& relay() { return *relay_; }

    void go_online() {
        const std::size_t before = site().platform().count("response:net-heartbeat");
        site().gateway().start_net();
        site().platform().wait_for("response:net-heartbeat", before + 1);
    }
    double wait_for_relay() {
        EXPECT_TRUE(e2e::wait_until([&] { return relay().done(); }, seconds(80)));
        return now();
    }
    /** Waits for a heartbeat behind a registration behind `since`, and gives an order. */
    bool expect_online(Report& report, double since) {
        double taken = -1;
        e2e::wait_until(
            [&] {
                if (!registered_after(since))
                    return false;
                const auto beats = site().platform().events("request:net-heartbeat");
                if (beats.empty())
                    return false;
                taken = beats.back().at("time").get<double>() - since;
                return true;
            },
            std::chrono::milliseconds(static_cast<int>(report.allowed() * 1500)) + seconds(20));
        report.add(taken);
        EXPECT_TRUE(site().gateway().daemon().running());
        if (taken < 0)
            return false;
        const std::size_t answers = site().platform().count("answer:net-wps");
        site().platform().command("net-wps");
        site().platform().wait_for("answer:net-wps", answers + 1);
        return true;
    }

private:
    bool registered_after(double since) {
        const auto registrations = site().platform().events("response:net-register");
        if (registrations.empty() || registrations.back().at("time").get<double>() < since)
            return false;
        const auto beats = site().platform().events("request:net-heartbeat");
        return !beats.empty() && beats.back().at("time") > registrations.back().at("time");
    }

    std::unique_ptr<Relay> relay_;
};

TEST_F(NetChannel, ResetIdleAndInsideAFrame) {
    build_net();
    Report report("platform channel: reset", kNetLost);
    go_online();
    for (const std::size_t byte : {0U, 12U}) {
        relay().allow(byte, Then::reset);
        site().platform().command("net-wps");
        if (!expect_online(report, wait_for_relay()))
            return;
    }
}

TEST_F(NetChannel, BlackHoleInsideAFrame) {
    build_net();
    Report report("platform channel: black hole inside a frame", kNetSilent);
    go_online();
    relay().allow(12, Then::hold);
    site().platform().command("net-wps");
    const double since = wait_for_relay();
    site().wire().forget_connections();
    expect_online(report, since);
}

TEST_F(NetChannel, PlatformThatRestarts) {
    build_net();
    Report report("platform channel: platform killed and restarted", kNetLost);
    go_online();
    for (int trial = 0; trial < (all_trials() ? 20 : 3); ++trial) {
        site().kill_platform();
        if (!expect_online(report, site().start_platform()))
            return;
    }
}

class NetCut : public NetChannel, public testing::WithParamInterface<Share> {};

// Key mode, key, registration; then the connection is replaced without a pause.
TEST_P(NetCut, EveryByteOfTheNegotiation) {
    Site& site = build_net();
    site.platform().command("net-fault silence net-heartbeat");
    site.gateway().start_net();
    site.platform().wait_for("request:net-heartbeat");
    const std::size_t course = relay().passed();
    site.platform().command("net-fault off");
    Report report("platform channel: cut at byte N of the negotiation", kNetNegotiation);
    GetParam().cut_at_each_byte(course, 67, [&](std::size_t byte) {
        site.renew_gateway();
        renew_relay();
        relay().allow(byte, Then::close);
        site.gateway().start_net();
        return expect_online(report, wait_for_relay());
    });
}

INSTANTIATE_TEST_SUITE_P(Net, NetCut, testing::ValuesIn(shares(4)), name_of);

} // namespace
} // namespace netfaults
