// SPDX-License-Identifier: MIT
// The whole channel: real threads, real sockets, a platform on loopback that shares no code with
// the daemon, a clock that runs faster.
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <thread>

#include <gmock/gmock.h>
#include <sys/socket.h>

#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "support/running.h"
#include "unit_net/kept_key.h"
#include "unit_net/peer_codec.h"
#include "unit_net/platform_session.h"
#include "unit_net/socket_pair.h"
#include "vxquilan/frame_vxquilan_net.h"

namespace {

using peer::kPlatformPort;
using peer::member;
using peer::Session;

/** The gateway with the channel's loop on a thread of its own, and a port for the platform. */
class Channel : public testing::Test {
protected:
    Channel() {
        for (std::atomic<int>* const word : {&g_quilan_status, &g_tcp_flag, &g_tcp_thread,
                                             &g_heartbeat_thread, &g_heartbeat_recvflag})
            *word = 0;
        fake::device().reset();
        fake::log().reset();
        fake::journal().clear();
        for (const char* const getter :
             {"port_device_vendor_get", "port_device_model_get", "port_device_hdversion_get",
              "port_device_swversion_get", "port_device_url_get", "port_device_wanmac_get",
              "port_device_version_get", "port_device_ip_get"})
            fake::device().set_text(getter, "text");
        fake::device().set_text("port_device_gwip_get", address);
        fake::device().set_number("port_device_mode_get", 0);
        fake::device().set_number("port_device_syncswitch_get", 1);
        fake::device().allow({"port_device_uplinktype_get", "port_device_sequence_get",
                              "port_device_sequence_set", "port_device_init_net",
                              "port_device_encryptkey_set", "port_device_encryptkey_get",
                              "vx_device_wifi", "vx_device_wifi_get", "vx_device_wifitimer_get",
                              "vx_device_wpsswitch", "vx_device_upgrade"});
        fake::device().on_call("port_device_encryptkey_set", keep_key);
    }

    ~Channel() override {
        stop();
        EXPECT_THAT(fake::journal().complaints(), testing::IsEmpty());
        fake::device().reset();
    }

    void start() { loop_.emplace(); }
    void stop() { loop_.reset(); }
    Session accept() { return Session(peer::accept_on(listener)); }
    Session opened() {
        Session session = accept();
        session.open();
        return session;
    }

    const std::string address = peer::own_loopback_address();
    peer::Descriptor listener = peer::listen_on(address, kPlatformPort);

private:
    std::optional<Running<vxq::NetLoop>> loop_;
};

std::size_t threads() {
    const std::filesystem::directory_iterator entries("/proc/self/task");
    return static_cast<std::size_t>(
        std::distance(begin(entries), std::filesystem::directory_iterator()));
}

template <class Condition>
bool soon(Condition condition) {
    for (int count = 0; count < 10'000; ++count) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

} // namespace

TEST_F(Channel, NegotiatesRegistersAndServesCommands) {
    start();
    {
        const Session session = opened();
        session.send(R"({"type":"cfg","sequence":40,"set":{"wpsswitch":{"status":"ON"}}})");
        std::string reply = session.receive_reply();
        EXPECT_EQ(member(reply, {"type"}), "ack");
        EXPECT_THAT(reply, testing::HasSubstr("\"sequence\":\t40"));
        session.send(R"({"type":"cfg","sequence":41,"set":{"wifi":[{}]}})");
        EXPECT_THAT(session.receive_reply(), testing::HasSubstr("\"sequence\":\t41"));
        session.send(R"({"type":"get_status","sequence":42,"get":[{"name":"ledswitch"}]})");
        reply = session.receive_reply();
        EXPECT_EQ(member(reply, {"type"}), "status");
        EXPECT_EQ(member(reply, {"status", "ledswitch", "status"}), "OFF");
        session.send(R"({"type":"something","sequence":43})");
        EXPECT_THAT(session.receive_reply(), testing::HasSubstr("\"sequence\":\t43"));
    }
    stop();
    const std::vector<std::string> calls = fake::journal().calls({fake::Source::device});
    EXPECT_THAT(calls, testing::Contains("vx_device_wpsswitch(1)"));
    EXPECT_THAT(calls, testing::Contains("vx_device_wifi(record)"));
}

TEST_F(Channel, KeepsTheConnectionWhileHeartbeatsAreAnswered) {
    start();
    const Session session = opened();
    for (int count = 0; count < 10; ++count) {
        const std::string text = session.receive();
        ASSERT_EQ(member(text, {"type"}), "keepalive") << count;
        session.send(R"({"type":"ack","sequence":1})");
    }
}

TEST_F(Channel, ComesBackWhenThePlatformFallsSilent) {
    start();
    const Session silent = opened();
    EXPECT_EQ(member(silent.receive(), {"type"}), "keepalive");
    EXPECT_EQ(silent.receive(), "") << "closed without another heartbeat";
    const Session next = opened();
    EXPECT_EQ(member(next.receive(), {"type"}), "keepalive");
}

TEST_F(Channel, SurvivesConnectionsThatBreakOffAtEveryStep) {
    start();
    for (int step = 0; step < 8; ++step) {
        const Session session = accept();
        if (step == 0)
            continue;
        EXPECT_EQ(member(session.receive_plain(), {"type"}), "keyngreq");
        const std::string reply = peer::frame(R"({"sequence":1,"keymode":"dh"})");
        switch (step) {
        case 1:
            break;
        case 2:
            peer::write_all(session.socket(), reply.substr(0, 4));
            break;
        case 3:
            peer::write_all(session.socket(), reply.substr(0, 12));
            break;
        case 4:
            peer::write_all(session.socket(), "GET / HTTP/1.1\r\n\r\n");
            break;
        case 5:
            session.send_plain(R"({"sequence":1,"keymode":"rsa"})");
            EXPECT_EQ(session.receive_plain(), "");
            break;
        default:
            peer::write_all(session.socket(), reply);
            EXPECT_EQ(member(session.receive_plain(), {"type"}), "dh");
            if (step == 7)
                session.send_plain(R"({"data":{"dh_key":"no"}})");
            break;
        }
    }
    const Session session = opened();
    EXPECT_EQ(member(session.receive(), {"type"}), "keepalive");
}

TEST_F(Channel, AResetWhileTheGatewaySendsDoesNotEndTheProcess) {
    start();
    for (int count = 0; count < 3; ++count) {
        const Session session = opened();
        EXPECT_EQ(member(session.receive(), {"type"}), "keepalive");
        session.send(R"({"type":"x","sequence":1})");
        const linger at_once{1, 0};
        setsockopt(session.socket(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    }
    const Session session = opened();
    EXPECT_EQ(member(session.receive(), {"type"}), "keepalive");
}

TEST_F(Channel, AModeChangeMakesANewConnection) {
    start();
    const Session old = opened();
    EXPECT_EQ(member(old.receive(), {"type"}), "keepalive");
    fake::device().set_number("port_device_mode_get", 1);
    // The heartbeat thread ends after its wait; the receive thread after its own, in real time.
    const Session next = opened();
    EXPECT_EQ(member(next.receive(), {"type"}), "keepalive");
    while (!old.receive().empty()) {
    }
    EXPECT_EQ(peer::read_exactly(old.socket(), 1), "") << "the old connection is still open";
}

TEST_F(Channel, ReconnectsLeaveNothingBehind) {
    std::thread([] {}).join(); // a sanitizer may start a thread of its own beside the first
    const std::size_t threads_before = threads();
    start();
    std::size_t descriptors = 0;
    for (int count = 0; count < 12; ++count) {
        const Session session = opened();
        EXPECT_EQ(member(session.receive(), {"type"}), "keepalive");
        ASSERT_TRUE(soon([] { return g_quilan_status == kNetIdle; }));
        // The loop, the receive and the heartbeat thread; those of the last session may still be
        // on their way out.
        EXPECT_TRUE(soon([&] { return threads() == threads_before + 3; })) << count;
        if (count == 0)
            descriptors = peer::open_descriptors();
        EXPECT_EQ(peer::open_descriptors(), descriptors) << count;
    }
    stop();
    EXPECT_TRUE(soon([&] { return threads() == threads_before; }));
}
