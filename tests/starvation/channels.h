// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "gateway.h"
#include "support/running.h"
#include "unit_net/platform_session.h"
#include "unit_net/socket_pair.h"
#include "vx_socket/frame_socket.h"
#include "vxquilan/frame_vxquilan.h"
#include "vxquilan/frame_vxquilan_net.h"

/**
 * @file
 * Both channels whole: the daemon's loops and threads on a clock that runs 25 times faster, and a
 * platform.
 */
namespace starvation {

class ChannelTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

/** The app channel, with a platform that speaks bytes. */
class AppChannelTest : public ChannelTest {
protected:
    void SetUp() override;
    void TearDown() override;

    void start() { loop_.emplace(); }
    /** Takes a connection, up to the request for a login. */
    transport::Connection accept_login();
    static void reply(transport::Connection& platform, const std::string& text);
    /** Lets the gateway log in and describe itself, as far as the reply to that. */
    static void bring_online(transport::Connection& platform);

    transport::Listener listener_;

private:
    std::optional<Running<vxq::AppLoop>> loop_;
};

/** The platform channel. */
class NetChannelTest : public ChannelTest {
protected:
    void SetUp() override;
    void TearDown() override;

    void start() { loop_.emplace(); }
    peer::Session accept() { return peer::Session(peer::accept_on(listener_)); }

private:
    const std::string address_ = peer::own_loopback_address();
    const peer::Descriptor listener_ = peer::listen_on(address_, kPlatformPort);
    std::optional<Running<vxq::NetLoop>> loop_;
};

/** Waits until a line has been logged that many times. */
bool wait_for_line(int level, const std::string& text, long times = 1);
long count_lines(int level, const std::string& text);

} // namespace starvation
