// SPDX-License-Identifier: MIT
// A device library whose getters take 30 seconds, fail, or leave their buffers as they are.
#include <chrono>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>
#include <malloc.h>

#include "asking.h"
#include "channels.h"
#include "protocol/platform_session.h"
#include "protocol/provisioning.h"
#include "protocol/reporting.h"
#include "state/state.h"
#include "support/case_name.h"
#include "support/fake_device.h"
#include "trials.h"
#include "unit_net/socket_pair.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/frame_tcp_recv.h"

namespace starvation {

namespace {

// 30 seconds of the daemon's clock.
constexpr std::chrono::milliseconds kThirtySeconds{30'000 / 25};

void make_slow(const char* getter) {
    fake::device().on_call(getter, [] { std::this_thread::sleep_for(kThirtySeconds); });
}

class SlowAppGetter : public AppChannelTest, public testing::WithParamInterface<const char*> {};
class SlowNetGetter : public NetChannelTest, public testing::WithParamInterface<const char*> {};

std::string name_of(const testing::TestParamInfo<const char*>& parameter) {
    return parameter.param;
}

// Asked for by the main loop, for each message under libcoap's lock, by a handler inside libcoap's
// processing, and by the heartbeat thread.
INSTANTIATE_TEST_SUITE_P(App, SlowAppGetter,
                         testing::Values("port_device_sn_get", "port_device_accesstoken_get",
                                         "vx_device_hostinfo", "port_device_timeout_get"),
                         name_of);

TEST_P(SlowAppGetter, HoldsThingsUpButLosesNothing) {
    make_slow(GetParam());
    start();
    transport::Connection platform = accept_login();
    const int session = frame_coap_session_number();
    bring_online(platform);
    ASSERT_EQ(platform.next_exchange().path(), ".sys/heartbeat");
    reply(platform, R"({"errcode":0})");
    const std::vector<PlatformRequest> requests = table_requests();
    platform.send(requests.at(1).message);
    const transport::Message answer = platform.next_exchange();
    EXPECT_EQ(answer.code, transport::kContent);
    EXPECT_EQ(answer.option(transport::kEcho1), "one");
    // On the same connection as ever.
    EXPECT_EQ(platform.next_exchange().path(), ".sys/heartbeat");
    EXPECT_EQ(frame_coap_session_number(), session);
    add_to_figure("getter of 30 s, app channel", 1, 0);
}

INSTANTIATE_TEST_SUITE_P(Net, SlowNetGetter, testing::Values("port_device_wanmac_get"), name_of);

TEST_P(SlowNetGetter, HoldsThingsUpButLosesNothing) {
    make_slow(GetParam());
    start();
    peer::Session session = accept();
    session.open();
    ASSERT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
    session.send(R"({"type":"ack","sequence":9})");
    EXPECT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
    add_to_figure("getter of 30 s, platform channel", 1, 0);
}

TEST_F(SlowNetGetter, InsideAQueryEndsTheConnectionAtWorst) {
    start();
    {
        peer::Session session = accept();
        session.open();
        make_slow("vx_device_wifi_get");
        session.send(R"({"type":"get_status","sequence":7,"get":[{"name":"Wi-Fi"}]})");
        EXPECT_EQ(peer::member(session.receive_reply(), {"type"}), "status");
        fake::device().on_call("vx_device_wifi_get", {});
        add_to_figure("getter of 30 s, platform channel", 1, 0);
    }
    peer::Session session = accept();
    session.open();
    EXPECT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
}

/** Everything that the gateway can be made to say, with memory full of a byte. */
std::string everything_said(transport::Listener& listener, unsigned char byte) {
    mallopt(M_PERTURB, byte);
    Session session(listener);
    std::string text;
    const auto soil_stack = [byte] {
        volatile unsigned char soiled[300 * 1024];
        for (volatile unsigned char& place : soiled)
            place = byte;
    };
    for (int (*const send)() :
         {profession_sys_register, profession_sys_activate, profession_sys_login,
          profession_sys_refresh, profession_sys_devinfo, profession_sys_heartbeat,
          profession_sys_data}) {
        soil_stack();
        send();
        text += describe(session.sent());
    }
    for (const PlatformRequest& request : table_requests()) {
        session.platform().send(request.message);
        soil_stack();
        text += describe(session.sent());
    }
    const peer::SocketPair pair = peer::local_pair();
    for (int (*const send)(int) : {profession_device_reg, profession_heartbeat}) {
        // No reply comes: the other end takes no more.
        peer::write_all(pair.platform.get(), "no frame");
        soil_stack();
        send(pair.daemon.get());
    }
    soil_stack();
    frame_tcp_process(pair.daemon.get(),
                      R"({"type":"get_status","sequence":9,"get":[{"name":"Wi-Fi"},)"
                      R"({"name":"Wi-Fiswitch"},{"name":"ledswitch"},{"name":"Wi-Fitimer"}]})");
    text += peer::read_available(pair.platform.get());
    mallopt(M_PERTURB, 0);
    return text;
}

struct Refusal {
    const char* name;
    int result;
};

class SilentGetters : public ChannelTest, public testing::WithParamInterface<Refusal> {
protected:
    void SetUp() override {
        ChannelTest::SetUp();
        silence_gateway(GetParam().result);
    }
};

INSTANTIATE_TEST_SUITE_P(All, SilentGetters,
                         testing::Values(Refusal{"LeaveBuffersAlone", 0}, Refusal{"Fail", -1}),
                         case_name<Refusal>);

TEST_P(SilentGetters, LetNothingOutThatWasInMemory) {
    transport::Listener listener;
    set_platform(listener.address(), listener.port());
    const std::string ordinary = everything_said(listener, 0);
    EXPECT_NE(ordinary.find("\"errcode\""), std::string::npos);
    EXPECT_NE(ordinary.find("\"mac\":\t\"\""), std::string::npos);
    for (const char byte : {'A', '~', '\xc3'})
        EXPECT_EQ(everything_said(listener, static_cast<unsigned char>(byte)), ordinary)
            << "memory full of " << byte;
    add_to_figure(std::string("silent getters: ") + GetParam().name, 3, 0);
}

} // namespace

} // namespace starvation
