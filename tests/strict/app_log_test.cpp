// SPDX-License-Identifier: MIT
// The app channel's log lines with the messages in them, in either build.
#include "unit/fixture.h"

#include "appjsonapi/app_provisioning.h"
#include "appjsonapi/app_wlan_guide.h"
#include "protocol/provisioning.h"
#include "strict/strictness.h"
#include "vxquilan/coap_dispatch.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

/** Whether the log has what the build lets it have. */
void expect_logged(const std::string& whole, const std::string& masked, const std::string& secret) {
    EXPECT_THAT(fake::log().whole(), HasSubstr(kStrict ? masked : whole));
    if (kStrict) {
        EXPECT_THAT(fake::log().whole(), Not(HasSubstr(secret)));
    }
}

class AppLog : public SessionTest {};

TEST_F(AppLog, LoginOnItsWayOut) {
    fake::device().set_text("port_device_secret_get", "s-4711");
    profession_sys_login();
    expect_logged("\"secret\":\t\"s-4711\"", "\"secret\":\t\"***\"", "s-4711");
    // The message itself is whole.
    ASSERT_EQ(fake::coap().sent().size(), 1u);
    EXPECT_THAT(fake::coap().sent()[0].body, HasSubstr("\"secret\":\t\"s-4711\""));
}

TEST_F(AppLog, ActivationCode) {
    fake::device().set_text("port_device_code_get", "c-4711");
    profession_sys_activate();
    expect_logged("\"code\":\t\"c-4711\"", "\"code\":\t\"***\"", "c-4711");
}

TEST_F(AppLog, TokensOfAReply) {
    fake::device().allow(
        {"port_device_accesstoken_set", "port_device_refreshtoken_set", "port_device_timeout_set"});
    g_quilan_status = 12;
    frame_coap_process(
        R"({"errcode":0,"accessToken":"a-4711","refreshToken":"a-4711","timeOut":7200})");
    expect_logged(R"("accessToken":"a-4711")", R"("accessToken":"***","refreshToken":"***")",
                  "a-4711");
    // The device library is given them all the same.
    EXPECT_THAT(fake::journal().deeds(), Contains("port_device_accesstoken_set(\"a-4711\")"));
}

TEST_F(AppLog, AReplyWithoutAPayload) {
    g_quilan_status = 16;
    frame_coap_process(nullptr);
    EXPECT_THAT(fake::log().texts(7), Contains("(null)\n"));
}

} // namespace
