// SPDX-License-Identifier: MIT
#include "channels.h"

#include <algorithm>

#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "threads.h"
#include "transport/waiting.h"
#include "unit_net/kept_key.h"
#include "vx_coap/frame_coap.h"

namespace starvation {

using transport::wait_until;

void ChannelTest::SetUp() {
    equip_gateway();
}

void ChannelTest::TearDown() {
    EXPECT_EQ(fake::journal().complaints(), std::vector<std::string>{});
}

void AppChannelTest::SetUp() {
    ChannelTest::SetUp();
    set_platform(listener_.address(), listener_.port());
}

void AppChannelTest::TearDown() {
    set_threads(Threads::real);
    loop_.reset();
    frame_coap_close();
    EXPECT_TRUE(wait_until([] { return g_coap_recv_thread == 0; }));
    EXPECT_TRUE(wait_until([] { return g_heartbeat_app_thread == 0; }));
    ChannelTest::TearDown();
}

transport::Connection AppChannelTest::accept_login() {
    transport::Connection platform = listener_.accept();
    platform.greet();
    EXPECT_EQ(platform.next_exchange().path(), ".sys/login");
    return platform;
}

void AppChannelTest::reply(transport::Connection& platform, const std::string& text) {
    platform.send(transport::Message{transport::kContent, {}, {}, text});
}

void AppChannelTest::bring_online(transport::Connection& platform) {
    reply(platform, R"({"errcode":0,"accessToken":"a","refreshToken":"b","timeOut":9})");
    EXPECT_EQ(platform.next_exchange().path(), ".sys/devInfoSync");
    reply(platform, R"({"errcode":0})");
}

void NetChannelTest::SetUp() {
    ChannelTest::SetUp();
    fake::device().set_text("port_device_gwip_get", address_);
    fake::device().on_call("port_device_encryptkey_set", keep_key);
}

void NetChannelTest::TearDown() {
    set_threads(Threads::real);
    loop_.reset();
    ChannelTest::TearDown();
}

long count_lines(int level, const std::string& text) {
    const std::vector<std::string> lines = fake::log().texts(level);
    return std::count(lines.begin(), lines.end(), text);
}

bool wait_for_line(int level, const std::string& text, long times) {
    return wait_until([&] { return count_lines(level, text) >= times; });
}

} // namespace starvation
