// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gateway.h"
#include "platform.h"
#include "transports.h"

namespace e2e {
namespace {

using std::chrono::seconds;

struct BadReply {
    std::string name;
    std::string words; ///< for the platform's set command
};

void PrintTo(const BadReply& reply, std::ostream* stream) {
    *stream << reply.name;
}

std::vector<BadReply> bad_replies() {
    return {
        {"NoPayload", "empty"},
        {"NoJson", "raw=nonsense"},
        {"CutShort", "raw={\"errcode\":"},
        {"Array", "raw=[1,2,3]"},
        {"Null", "raw=null"},
        {"Text", "raw=\"text\""},
        {"NoErrcode", "raw={}"},
        {"BinaryBytes", "rawhex=00ff00ff7b"},
        {"DeeplyNested", "raw=" + std::string(5000, '[')},
        {"Huge", "raw={\"errcode\":7,\"padding\":\"" + std::string(200000, 'x') + "\"}"},
    };
}

class Replies : public testing::TestWithParam<BadReply> {};

// A reply to the registration that makes no sense counts as -1: the next attempt follows.
TEST_P(Replies, SenselessReplyIsSurvived) {
    const Platform platform;
    Gateway gateway(platform.port());
    platform.command("set register times=1 " + GetParam().words);
    gateway.start();
    platform.wait_for("request:register", 2);
    EXPECT_EQ(platform.wait_for("response:register", 2).at("errcode"), 0);
    platform.wait_for("close");
    EXPECT_EQ(platform.events("connect").size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Faults, Replies, testing::ValuesIn(bad_replies()),
                         [](const testing::TestParamInfo<BadReply>& reply) {
                             return reply.param.name;
                         });

class Wire : public testing::TestWithParam<Transport> {
protected:
    Platform platform{GetParam()};
    Gateway gateway{platform.fault_port(), platform.is_tls()};
};

INSTANTIATE_TEST_SUITE_P(Faults, Wire, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

TEST_P(Wire, ConnectionThatEndsInsideAMessageIsReplaced) {
    gateway.go_online(platform);
    platform.command("fault cut 7");
    platform.command("rename");
    platform.wait_for("request:login", 2);
    platform.command("fault off");
    platform.wait_for("request:heartbeat", 2);
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
}

TEST_P(Wire, ResetConnectionIsReplaced) {
    gateway.go_online(platform);
    platform.command("fault reset");
    platform.command("fault off");
    platform.wait_for("request:heartbeat", 2);
}

TEST_P(Wire, PlatformThatSaysNothingIsLeftAndTriedAgain) {
    platform.command("fault mute");
    gateway.start();
    ASSERT_TRUE(wait_until([&] { return gateway.logged("QUILAN_APP_REGISTER"); }));
    platform.command("fault close");
    platform.command("fault off");
    platform.wait_for("request:register", 1, seconds(30));
}

// libcoap loses the framing of the stream then; only the missing replies tell.
TEST(Framing, HeaderCutInTwoEndsInAReconnect) {
    const Platform platform;
    Gateway gateway(platform.fault_port());
    gateway.go_online(platform);
    // Its answer tells that the gateway has read all that came before; the end of one more reply in
    // the same read would move the cut.
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
    platform.command("fault split-header 2");
    platform.command("rename");
    platform.wait_for("request:login", 2, seconds(180));
    platform.command("fault off");
    platform.wait_for("request:heartbeat", 6); // one, four in vain, and the one after them
}

} // namespace
} // namespace e2e
