// SPDX-License-Identifier: MIT
// The platform channel: its waits before it connects again, and its log lines with messages in
// them.
#include <chrono>
#include <string>

#include "unit_net/net_fixture.h"

#include "aes_cbc/dh.h"
#include "protocol/platform_session.h"
#include "strict/strictness.h"
#include "tnjsonapi/tn_wifi.h"
#include "vxquilan/frame_vxquilan_net.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class NetWaits : public NetTest {
protected:
    NetWaits() {
        loop.start();
        fake::device().set_result("port_device_ip_get", -1);
        loop.pass(); // the first one always counts as a change of the mode
        fake::device().set_result("port_device_ip_get", 0);
        fake::os().reset();
    }
    double pass_in(int state) {
        g_quilan_status = state;
        const fake::Microseconds start = fake::os().elapsed();
        loop.pass();
        return std::chrono::duration<double>(fake::os().elapsed() - start).count();
    }

    vxq::NetLoop loop;
};

TEST_F(NetWaits, AFailedConnectIsRepeatedInTenSecondsOrUpToTwenty) {
    fake::frame().set_connect_result(-1);
    fake::os().set_random({1234, 10000});
    EXPECT_DOUBLE_EQ(pass_in(kNetTcpConnect), kStrict ? 11.234 : 10.0);
    EXPECT_DOUBLE_EQ(pass_in(kNetTcpConnect), kStrict ? 20.0 : 10.0);
}

TEST_F(NetWaits, ALostConnectionIsReplacedAtOnceOrWithinTenSeconds) {
    fake::os().set_random({1234});
    EXPECT_DOUBLE_EQ(pass_in(kNetTcpClose), kStrict ? 1.234 : 0.0);
    EXPECT_EQ(g_quilan_status, kNetGetIpAddress);
}

class NetLog : public NetTest {};

TEST_F(NetLog, KeysOfTheAgreement) {
    fake::device().allow({"port_device_sequence_set", "port_device_encryptkey_set"});
    fake::frame().add_reply(R"({"data":{"dh_key":"Aw=="}})");
    testing::internal::CaptureStdout();
    EXPECT_EQ(profession_dh_public_key(kSock), 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    if (kStrict) {
        EXPECT_EQ(printed, "");
        EXPECT_THAT(fake::log().whole(), HasSubstr("\"dh_key\":\t\"***\""));
        EXPECT_THAT(fake::log().whole(), Not(HasSubstr("Aw==")));
    } else {
        EXPECT_THAT(printed, HasSubstr("-----Public key:\n"));
        EXPECT_THAT(fake::log().whole(), HasSubstr("Aw=="));
    }
    // What went out was whole.
    ASSERT_EQ(sent_texts().size(), 1u);
    EXPECT_THAT(sent_texts()[0], Not(HasSubstr("***")));
}

TEST_F(NetLog, WifiKeysOfACommand) {
    static wifi_cfg record;
    tn_wifi_parse(R"({"set":{"wifi":[{"ap":[{"apidx":0,"ssid":"Attic","key":"under the mat"}]}]}})",
                  &record);
    EXPECT_THAT(fake::log().whole(), HasSubstr("\"ssid\":\"Attic\""));
    EXPECT_THAT(fake::log().whole(),
                HasSubstr(kStrict ? R"("key":"***")" : R"("key":"under the mat")"));
}

} // namespace
