// SPDX-License-Identifier: MIT
// Threads that cannot be created.
#include <gtest/gtest.h>

#include "channels.h"
#include "state/state.h"
#include "threads.h"
#include "transport/waiting.h"
#include "trials.h"
#include <vxquilan/log.h>

namespace starvation {

namespace {

using transport::wait_until;

class NoAppThreads : public AppChannelTest {};
class NoNetThreads : public NetChannelTest {};

constexpr char kNoReceiveThread[] = "frame_vxquilan:creat_thread_wait_info error!\n";
constexpr char kNoHeartbeatThread[] = "frame_coap_process:creat_thread_wait_info error!\n";
constexpr char kNoNetThread[] = "frame_vxquilan_net:creat_thread_wait_info error!\n";

TEST_F(NoAppThreads, WithoutReceiveThreadTheLoopRunsOutOfLoginsAndConnectsAgain) {
    set_threads(Threads::refused);
    start();
    ASSERT_TRUE(wait_for_line(VX_LOG_ERROR, kNoReceiveThread));
    set_threads(Threads::real);
    const transport::Connection lost = listener_.accept();
    transport::Connection platform = accept_login();
    EXPECT_EQ(count_lines(VX_LOG_ERROR, kNoReceiveThread), 1);
    bring_online(platform);
    EXPECT_EQ(platform.next_exchange().path(), ".sys/heartbeat");
    add_to_figure("thread, app channel's receive", 1, 1);
}

TEST_F(NoAppThreads, WithoutHeartbeatThreadTheGatewayIsOnlineAndTriesAgain) {
    start();
    transport::Connection platform = accept_login();
    set_threads(Threads::refused);
    bring_online(platform);
    ASSERT_TRUE(wait_for_line(VX_LOG_ERROR, kNoHeartbeatThread));
    ASSERT_TRUE(wait_until([] { return g_quilan_status == kAppOnline; }));
    ASSERT_TRUE(wait_until([] { return refused_threads() >= 2; })) << "doesn't try again";
    add_to_figure("thread, app channel's heartbeat", refused_threads(), 0);
    set_threads(Threads::real);
    EXPECT_EQ(platform.next_exchange().path(), ".sys/heartbeat");
    reply(platform, R"({"errcode":0})");
    EXPECT_TRUE(wait_until([] { return g_heartbeat_app_thread == 1; }));
}

TEST_F(NoNetThreads, WithoutReceiveThreadTheHeartbeatGivesTheConnectionUp) {
    start();
    {
        peer::Session session = accept();
        session.choose_key_mode();
        session.agree_on_key();
        set_threads(Threads::refused);
        session.let_register();
        ASSERT_TRUE(wait_for_line(VX_LOG_ERROR, kNoNetThread));
        set_threads(Threads::real);
        EXPECT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
    }
    peer::Session session = accept();
    session.open();
    EXPECT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
    add_to_figure("thread, platform channel's receive", 1, 1);
}

TEST_F(NoNetThreads, WithoutHeartbeatThreadTheLoopTriesAgain) {
    start();
    peer::Session session = accept();
    session.choose_key_mode();
    session.agree_on_key();
    set_threads(Threads::one_more); // the receive thread
    session.let_register();
    ASSERT_TRUE(wait_for_line(VX_LOG_ERROR, kNoNetThread));
    ASSERT_TRUE(wait_until([] { return refused_threads() >= 2; })) << "doesn't try again";
    add_to_figure("thread, platform channel's heartbeat", refused_threads(), 0);
    set_threads(Threads::real);
    EXPECT_EQ(peer::member(session.receive(), {"type"}), "keepalive");
}

} // namespace

} // namespace starvation
