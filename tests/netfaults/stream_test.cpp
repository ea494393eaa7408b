// SPDX-License-Identifier: MIT
// What can become of the stream of bytes from the platform: cut, in pieces, in bursts.
#include <chrono>
#include <set>
#include <string>

#include "fault_test.h"

namespace netfaults {
namespace {

using e2e::Transport;
using std::chrono::milliseconds;

constexpr std::size_t kBurst = 500;

/** Bytes to the gateway until its first heartbeat has been answered, and those of a request. */
struct Lengths {
    std::size_t course;
    std::size_t request;
};

Lengths measure(Site& site) {
    site.go_online();
    site.platform().ask("rename");
    const std::size_t first = site.relay().passed();
    site.platform().ask("rename");
    const std::size_t second = site.relay().passed();
    return {first - (second - first), second - first};
}

class Cut : public FaultTest, public testing::WithParamInterface<Share> {
protected:
    void cut_requests(Transport transport, const std::string& title) {
        Site& site = build({.transport = transport, .relay = true});
        const std::size_t request = measure(site).request;
        Report report(title, kReplaced);
        GetParam().cut_at_each_byte(request, 13, [&](std::size_t byte) {
            site.relay().allow(byte, Then::close);
            site.platform().command("rename");
            return report.expect_online(site, wait_for_relay());
        });
    }
};

// Announcement, replies to login, device information and heartbeat: each may end anywhere.
TEST_P(Cut, EveryByteUpToTheFirstHeartbeatsReply) {
    Site& site = build({.relay = true});
    const std::size_t course = measure(site).course;
    Report report("connection cut at byte N of the course", kReplaced);
    GetParam().cut_at_each_byte(course, 11, [&](std::size_t byte) {
        return report.expect_online(site, start_until(byte, Then::close));
    });
}

TEST_P(Cut, EveryByteOfARequest) {
    cut_requests(Transport::tcp, "connection cut at byte N of a request, TCP");
}

TEST_P(Cut, EveryByteOfARequestInTls) {
    cut_requests(Transport::tls, "connection cut at byte N of a request, TLS");
}

INSTANTIATE_TEST_SUITE_P(Stream, Cut, testing::ValuesIn(shares(6)), name_of);

class Pieces : public TransportFault {
protected:
    void SetUp() override {
        FaultTest::SetUp();
        if (!IsSkipped() && !e2e::Platform::keeps_framing())
            GTEST_SKIP() << "a header in two pieces needs the repaired libcoap "
                            "(VXQUILAN_TEST_PLATFORM_LIBRARIES)";
    }
    static Plan plan() { return {.transport = GetParam(), .relay = true, .keeps_framing = true}; }
    /** Has the platform send that many requests, which the relay keeps. */
    void hold_burst() {
        const std::size_t sent = site().platform().count("sent");
        site().relay().allow(0, Then::hold);
        for (std::size_t request = 0; request < kBurst; ++request)
            site().platform().command("device-info");
        site().platform().wait_for("sent", sent + kBurst);
    }
};

TEST_P(Pieces, ARequestInTwoAtEveryByte) {
    Site& site = build(plan());
    const std::size_t request = measure(site).request;
    Report report(title("request in two pieces, cut at byte N"), kNoLoss);
    for (std::size_t byte = 1; byte < request; ++byte) {
        SCOPED_TRACE(byte);
        const std::size_t answers = site.platform().count("answer");
        site.relay().allow(byte, Then::hold);
        site.platform().command("rename");
        wait_for_relay();
        wait_until_settled();
        const double since = now();
        site.relay().release();
        const nlohmann::json answer = site.platform().wait_for("answer", answers + 1);
        EXPECT_EQ(answer.at("errcode"), 0);
        report.add(answer.at("time").get<double>() - since);
    }
    EXPECT_EQ(site.platform().count("connect"), 1u);
}

TEST_P(Pieces, OneByteToASegment) {
    Site& site = build(plan());
    Report report(title("1 byte per segment"), kBytewise);
    site.go_online();
    site.relay().set_spacing(milliseconds(static_cast<int>(kSpacing * 1000)));
    site.platform().command("drop");
    if (!report.expect_online(site, now()))
        return;
    const Traffic traffic = site.relay().latest();
    EXPECT_GT(traffic.bytes, 200u);
    EXPECT_GE(traffic.segments, traffic.bytes);
}

TEST_P(Pieces, BurstsOf500RequestsAreAllAnswered) {
    Site& site = build(plan());
    Report report(title("burst of 500 requests, last answer"), kNoLoss);
    site.go_online();
    std::size_t answers = 0;
    for (int burst = 0; burst < (all_trials() ? 20 : 3); ++burst) {
        hold_burst();
        const double since = now();
        site.relay().release();
        answers += kBurst;
        const nlohmann::json last =
            site.platform().wait_for("answer", answers, std::chrono::seconds(60));
        report.add(last.at("time").get<double>() - since);
    }
    std::set<std::string> identities;
    for (const nlohmann::json& answer : site.platform().events("answer")) {
        EXPECT_EQ(answer.at("matched"), true);
        identities.insert(answer.at("options").at("request-id"));
    }
    EXPECT_EQ(identities.size(), answers);
    EXPECT_EQ(site.platform().count("stray"), 0u);
    EXPECT_EQ(site.platform().count("connect"), 1u);
    EXPECT_EQ(site.platform().ask("rename").at("errcode"), 0);
}

INSTANTIATE_TEST_SUITE_P(Stream, Pieces, testing::Values(Transport::tcp, Transport::tls),
                         e2e::name_of_transport);

class Burst : public Pieces {};

TEST_P(Burst, ThatEndsInsideARequestWithTheConnection) {
    Site& site = build(plan());
    Report report(title("burst of 500 requests, connection cut inside"), kReplaced);
    site.go_online();
    for (int burst = 0; burst < (all_trials() ? 20 : 3); ++burst) {
        hold_burst();
        site.relay().allow(site.relay().held() * 2 / 3 + 1, Then::close);
        if (!report.expect_online(site, wait_for_relay()))
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Stream, Burst, testing::Values(Transport::tcp, Transport::tls),
                         e2e::name_of_transport);

class Reset : public TransportFault {};

TEST_P(Reset, IdleAndInsideARequest) {
    Site& site = build({.transport = GetParam(), .relay = true});
    Report report(title("reset"), kReplaced);
    site.go_online();
    for (const std::size_t byte : {0U, 20U}) {
        site.relay().allow(byte, Then::reset);
        site.platform().command("rename");
        if (!report.expect_online(site, wait_for_relay()))
            return;
    }
}

INSTANTIATE_TEST_SUITE_P(Stream, Reset, testing::Values(Transport::tcp, Transport::tls),
                         e2e::name_of_transport);

} // namespace
} // namespace netfaults
