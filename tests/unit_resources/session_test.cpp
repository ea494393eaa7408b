// SPDX-License-Identifier: MIT
// A burst may hold requests behind the one that ended the session.
#include "protocol/gateway_settings.h"
#include "protocol/gateway_status.h"
#include "support/fake_coap.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "unit_resources/gateway_fixture.h"

namespace {

constexpr coap_method_handler_t kHandlers[] = {
    profession_sys_gateway_ntwk_wandiagnose,
    profession_sys_gateway_system_hostinfo,
    profession_sys_gateway_system_deviceinfo,
    profession_sys_gateway_ntwk_lanhost,
    profession_sys_gateway_ntwk_wan,
    profession_sys_gateway_ntwk_wlanbasic,
    profession_sys_gateway_ntwk_wlanfilterenhance,
    profession_sys_gateway_ntwk_wlantimeswitch,
    profession_sys_gateway_ntwk_guest_network,
    profession_sys_gateway_app_qosclasshost,
    profession_sys_gateway_ntwk_wlanbasic_parse,
    profession_sys_gateway_ntwk_wlanguidebasic,
    profession_sys_gateway_ntwk_wlanfilterenhance_parse,
    profession_sys_gateway_ntwk_wlantimeswitch_parse,
    profession_sys_gateway_ntwk_guest_network_parse,
};

class SessionTest : public GatewayTest {
protected:
    /** No call of the device library, no answer, no line in the log. */
    static void expect_nothing_served(coap_session_t* session) {
        const Request request(R"({"action": "SendSettings", "data": {}})");
        fake::journal().clear();
        for (const coap_method_handler_t handler : kHandlers)
            handler(nullptr, session, request.pdu(), nullptr, nullptr);
        EXPECT_TRUE(fake::journal().entries().empty());
        EXPECT_TRUE(fake::coap().answers().empty());
    }
};

TEST_F(SessionTest, NothingIsServedAfterTheSessionHasEnded) {
    coap_session_t* const session = g_coap_session;
    frame_coap_close();
    expect_nothing_served(session);
}

TEST_F(SessionTest, NothingIsServedForAnEarlierSession) {
    coap_session_t* const session = g_coap_session;
    fake::coap().open_session();
    ASSERT_NE(session, g_coap_session);
    expect_nothing_served(session);
}

} // namespace
