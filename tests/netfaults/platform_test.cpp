// SPDX-License-Identifier: MIT
// What can become of the platform: it restarts, or its TLS is not what it should be.
#include <chrono>
#include <string>

#include "certificate_folder.h"
#include "fault_test.h"

namespace netfaults {
namespace {

using e2e::Transport;
using std::chrono::seconds;
using transport::Certificate;

class Restarts : public FaultTest, public testing::WithParamInterface<Share> {};

TEST_P(Restarts, AreSurvived) {
    Site& site = build({});
    Report report("platform killed and restarted", kReplaced);
    site.go_online();
    const std::size_t descriptors = site.gateway().daemon().descriptors();
    const std::size_t threads = site.gateway().daemon().threads();
    const int trials = (all_trials() ? 500 : 20) / GetParam().of;
    for (int trial = 0; trial < trials; ++trial) {
        site.kill_platform();
        if (!report.expect_online(site, site.start_platform()))
            return;
    }
    // The simulated gateway has its state file open now and then.
    EXPECT_LE(site.gateway().daemon().descriptors(), descriptors + 2);
    EXPECT_TRUE(e2e::wait_until([&] { return site.gateway().daemon().threads() == threads; }));
}

INSTANTIATE_TEST_SUITE_P(Platform, Restarts, testing::ValuesIn(shares(5)), name_of);

class Outage : public TransportFault {};

TEST_P(Outage, OfSomeConnectsIsWaitedOut) {
    Site& site = build({.transport = GetParam()});
    Report report(title("platform away, then back"), kRefused);
    site.go_online();
    for (int trial = 0; trial < (all_trials() ? 10 : 2); ++trial) {
        const int connects = site.gateway().times_logged("QUILAN_APP_CONNECT");
        site.kill_platform();
        ASSERT_TRUE(e2e::wait_until(
            [&] { return site.gateway().times_logged("QUILAN_APP_CONNECT") >= connects + 3; },
            seconds(60)));
        if (!report.expect_online(site, site.start_platform()))
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Platform, Outage, testing::Values(Transport::tcp, Transport::tls),
                         e2e::name_of_transport);

class Certificates : public FaultTest {
protected:
    Certificate good() const { return authority().sign(names_); }
    Certificate expired() const { return authority().sign(names_, true); }
    Certificate other_host() const { return authority().sign("DNS:elsewhere.example"); }

    /** The default build takes it, as it takes any. */
    void take(const Certificate& certificate, const std::string& title) {
        Site& site =
            build({.transport = Transport::tls, .certificate = folder_.offer(certificate)});
        Report report(title, kReplaced);
        site.gateway().start(folder_.trusting());
        site.platform().wait_for("response:heartbeat");
        const double since = now();
        site.platform().command("drop");
        report.expect_online(site, since);
    }
    /** The strict build refuses it, and takes the good one that comes then. */
    void refuse(const Certificate& certificate, const std::string& title) {
        Site& site =
            build({.transport = Transport::tls, .certificate = folder_.offer(certificate)});
        Report report(title, kRefusedStrict);
        site.gateway().start_program(VXQUILAN_STRICT, folder_.trusting());
        ASSERT_TRUE(e2e::wait_until(
            [&] { return site.gateway().times_logged("QUILAN_APP_CONNECT") >= 3; }, seconds(60)));
        EXPECT_EQ(site.platform().count("request:login"), 0u);
        site.kill_platform();
        site.set_certificate(folder_.offer(good()));
        report.expect_online(site, site.start_platform());
    }

private:
    const transport::Authority& authority() const { return folder_.authority(); }

    const std::string names_ = std::string("IP:") + kPlatformAddress;
    e2e::CertificateFolder folder_;
};

TEST_F(Certificates, ExpiredIsTaken) {
    take(expired(), "TLS: expired certificate, default build");
}

TEST_F(Certificates, OfAnotherHostIsTaken) {
    take(other_host(), "TLS: other host's certificate, default build");
}

TEST_F(Certificates, ExpiredIsRefusedByTheStrictBuild) {
    refuse(expired(), "TLS: expired, then good certificate, strict build");
}

TEST_F(Certificates, OfAnotherHostIsRefusedByTheStrictBuild) {
    refuse(other_host(), "TLS: other host's, then good certificate, strict build");
}

class Handshake : public FaultTest, public testing::WithParamInterface<Share> {};

TEST_P(Handshake, CutAtEveryByte) {
    Site& site = build({.transport = Transport::tls, .relay = true});
    const std::size_t length = bytes_before_reply("login"); // tickets and announcement included
    Report report("TLS: handshake cut at byte N", kRefused);
    GetParam().cut_at_each_byte(length, 97, [&](std::size_t byte) {
        return report.expect_online(site, start_until(byte, Then::close));
    });
}

INSTANTIATE_TEST_SUITE_P(Platform, Handshake, testing::ValuesIn(shares(12)), name_of);

class Stall : public FaultTest, public testing::WithParamInterface<int> {};

TEST_P(Stall, InsideTheHandshake) {
    Site& site = build({.transport = Transport::tls, .relay = true});
    Report report("TLS: handshake that stops at byte N", kSilentLogin);
    site.relay().allow(static_cast<std::size_t>(GetParam()), Then::hold);
    site.gateway().start();
    report.expect_online(site, wait_for_relay());
}

INSTANTIATE_TEST_SUITE_P(Platform, Stall, testing::Values(0, 3, 60, 600),
                         [](const testing::TestParamInfo<int>& byte) {
                             return "AtByte" + std::to_string(byte.param);
                         });

} // namespace
} // namespace netfaults
