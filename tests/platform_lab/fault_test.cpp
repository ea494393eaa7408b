// SPDX-License-Identifier: MIT
#include "lab_session.h"

namespace vxp::test {
namespace {

class FaultPort : public LabSession {
protected:
    void arm(const std::string& command) {
        const std::size_t before = platform->count("fault");
        platform->command(command);
        expectEvent("fault", "", before + 1);
    }
};

TEST_F(FaultPort, PassesEverythingWithoutAFault) {
    start({"--fault-tcp", "127.0.0.1:0"});
    goOnline("fault-tcp");
    EXPECT_EQ(platform->last("connect")["via"], "fault-tcp");
    gateway->answerBody = std::string(300000, 'x');
    platform->command("hosts");
    expectEvent("answer", "hosts");
    EXPECT_EQ(platform->last("answer")["length"], 300000);
    disconnect();
    EXPECT_EQ(finish(), 0) << platform->errors();
}

TEST_F(FaultPort, TlsPassesToo) {
    startTls({"--fault-tls", "127.0.0.1:0"});
    goOnline("fault-tls");
    EXPECT_EQ(platform->last("connect")["via"], "fault-tls");
    EXPECT_EQ(heartbeat()["errcode"], 0);
}

TEST_F(FaultPort, MuteKeepsTheFirstAnnouncementBack) {
    start({"--fault-tcp", "127.0.0.1:0"});
    (void)platform->port("fault-tcp");
    arm("fault mute");
    connectTo("fault-tcp");
    expectEvent("ready"); // the gateway's announcement has come through, ours has not
    EXPECT_FALSE(gateway->ready());
    platform->command("sleep 200ms");
    platform->command("echo done");
    expectEvent("command", "echo");
    EXPECT_FALSE(gateway->ready());
    gateway.reset();
    arm("fault off");
    connect("fault-tcp");
}

TEST_F(FaultPort, CutEndsTheConnectionInsideAMessage) {
    start({"--fault-tcp", "127.0.0.1:0"});
    connect("fault-tcp");
    arm("fault cut 5");
    gateway->post(".sys/register", R"({"mac":"M"})", nullptr);
    until("close", [&] { return gateway->closed(); });
    EXPECT_TRUE(gateway->replies.empty());
    expectEvent("fault", "cut");
}

TEST_F(FaultPort, SplitHeaderMakesTheLibraryLoseItsPlace) {
    start({"--fault-tcp", "127.0.0.1:0"});
    goOnline("fault-tcp");
    arm("fault split-header");
    platform->command("wan");
    expectEvent("fault", "split-header");
    // The request and everything behind it stay unseen, while the connection is there.
    platform->command("sleep 200ms");
    platform->command("echo done");
    expectEvent("command", "echo");
    EXPECT_TRUE(gateway->requests.empty());
    EXPECT_FALSE(gateway->closed());
    // Others are not touched.
    connect("fault-tcp");
    platform->command("wan");
    expectEvent("answer", "wan");
}

TEST_F(FaultPort, RawBytesReachTheGateway) {
    start({"--fault-tcp", "127.0.0.1:0"});
    connect("fault-tcp");
    platform->command("fault raw 20 45 ff 7b"); // a reply without token: "{"
    until("reply", [&] { return !gateway->replies.empty(); });
    EXPECT_EQ(gateway->replies.front().payload, "{");
    platform->command("fault raw ffffffffffffffffffffffff");
    until("close", [&] { return gateway->closed(); });
}

TEST_F(FaultPort, CloseAndReset) {
    start({"--fault-tcp", "127.0.0.1:0"});
    for (const char* command : {"fault close", "fault reset"}) {
        connect("fault-tcp");
        platform->command(command);
        until("close", [&] { return gateway->closed(); });
        gateway.reset();
    }
    expectEvent("close", "", 2);
    platform->command("fault close");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"],
              "prompt:3: no gateway is connected to the fault port");
}

TEST_F(FaultPort, StalledPlatformGetsEverythingLater) {
    start({"--fault-tcp", "127.0.0.1:0"});
    goOnline("fault-tcp");
    arm("fault stall");
    gateway->answerBody = std::string(3000000, 'x');
    platform->command("hosts");
    until("request", [&] { return !gateway->requests.empty(); });
    EXPECT_EQ(platform->count("answer"), 0U);
    arm("fault off");
    expectEvent("answer", "hosts");
    EXPECT_EQ(platform->last("answer")["length"], 3000000);
}

TEST_F(FaultPort, CorruptedHandshakeFails) {
    startTls({"--fault-tls", "127.0.0.1:0"});
    (void)platform->port("fault-tls");
    arm("fault corrupt 200");
    connectTo("fault-tls");
    until("failure", [&] { return gateway->failed() || gateway->closed(); });
    EXPECT_FALSE(gateway->ready());
    expectEvent("close");
    connect("fault-tls"); // once only
}

TEST_F(FaultPort, RefuseClosesItAsWell) {
    start({"--fault-tcp", "127.0.0.1:0"});
    connect("fault-tcp");
    platform->command("refuse");
    until("close", [&] { return gateway->closed(); });
    connectTo("fault-tcp");
    until("refusal", [&] { return gateway->failed() || gateway->closed(); });
    platform->command("accept");
    expectEvent("listening", "", 4);
    connect("fault-tcp");
}

TEST_F(FaultPort, IsNeededForFaults) {
    start();
    platform->command("fault mute");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"],
              "prompt:1: there is no fault port (see --fault-tcp and --fault-tls)");
}

TEST_F(FaultPort, GarbageOnTheTlsPortLeavesNothingBehind) {
    startTls();
    for (int i = 0; i < 50; ++i) {
        gateway =
            std::make_unique<GatewayClient>(platform->port("tls"), false); // speaks plain CoAP
        expectEvent("close", "", static_cast<std::size_t>(i + 1));
        gateway.reset();
    }
    EXPECT_EQ(platform->count("connect"), 50U);
    platform->command("show connections");
    goOnline("tls");
}

} // namespace
} // namespace vxp::test
