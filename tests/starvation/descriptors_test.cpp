// SPDX-License-Identifier: MIT
// No descriptors left: while connecting on either channel, and for the configuration file.
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "asking.h"
#include "descriptors.h"
#include "gateway.h"
#include "memory.h"
#include "support/fake_device.h"
#include "transport/census.h"
#include "trials.h"
#include "unit_net/socket_pair.h"
#include "vx_coap/frame_coap.h"
#include "vx_socket/frame_socket.h"
#include <vxquilan/entry_points.h>

namespace starvation {

namespace {

using transport::open_descriptors;

constexpr int kMoreThanEnough = 12;

class Descriptors : public testing::Test {
protected:
    void SetUp() override { equip_gateway(); }

    /**
     * Attempts something with none left, with one, and so on; each failure must be in the log, and
     * nothing may stay open.
     *
     * @param attempt  ends what it has begun; false when it has failed
     */
    static void expect_recovered(const std::string& figure, const std::function<bool()>& attempt) {
        ASSERT_TRUE(attempt()) << "fails without need";
        const int before = open_descriptors();
        bool succeeded = false;
        for (int left = 0; left < kMoreThanEnough; ++left) {
            forget();
            {
                const FewDescriptors few(left);
                succeeded = attempt();
            }
            add_to_figure(figure, 1, succeeded ? 0 : 1);
            EXPECT_TRUE(succeeded || !complaints().empty()) << "nothing in the log, left " << left;
            EXPECT_EQ(open_descriptors(), before) << "left " << left;
            EXPECT_TRUE(attempt()) << "not recovered, left " << left;
        }
        EXPECT_TRUE(succeeded);
    }
};

TEST_F(Descriptors, AreMissedWhileConnectingOnTheAppChannel) {
    for (const CoapType type : {kPlain, kTls}) {
        const transport::Listener listener;
        set_platform(listener.address(), listener.port(), type);
        expect_recovered("no descriptors, app channel", [] {
            const bool connected = connect();
            frame_coap_close();
            frame_coap_recv_abandon();
            return connected;
        });
    }
}

TEST_F(Descriptors, AreMissedWhileConnectingOnThePlatformChannel) {
    const std::string address = peer::own_loopback_address();
    const peer::Descriptor listener = peer::listen_on(address, kPlatformPort);
    fake::device().set_text("port_device_gwip_get", address);
    expect_recovered("no descriptors, platform channel", [&] {
        int sock = -1;
        const int result = frame_socket_connect_tcp(&sock);
        EXPECT_EQ(result != 0, sock == 0);
        if (result == 0) {
            close(sock);
            // Or the listener's queue would fill up.
            return peer::accept_on(listener).get() >= 0;
        }
        return false;
    });
}

TEST_F(Descriptors, AreMissedForTheConfigurationFile) {
    const std::string name = testing::TempDir() + "starvation-" + std::to_string(getpid());
    const char* const path = name.c_str();
    std::ofstream(path) << "mode:1\nname:gateway\n";
    const int before = open_descriptors();
    char value[256] = {};
    {
        const FewDescriptors few(0);
        EXPECT_EQ(vx_getcfgx(path, "name", value), 0);
        EXPECT_EQ(vx_setcfgx(path, "name", "other"), 0);
        EXPECT_STREQ(value, "");
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(vx_getcfgx(path, "name", value), 1);
    EXPECT_STREQ(value, "gateway");
    EXPECT_EQ(vx_setcfgx(path, "name", "other"), 1);
    std::ifstream stream(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "mode:1\nname:other\n");
    std::remove(path);
}

} // namespace

} // namespace starvation
