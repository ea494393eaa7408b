// SPDX-License-Identifier: MIT
// The resource table: which path, which method, which handler, in which order.
#include "unit/fixture.h"

#include "protocol/gateway_actions.h"
#include "protocol/gateway_settings.h"
#include "protocol/gateway_status.h"
#include "vxquilan/coap_resources.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const fake::ServedResource kServed[] = {
    {".sys/delDevice", nullptr, profession_sys_deldevice},
    {".sys/gateway/ntwk/wandiagnose", profession_sys_gateway_ntwk_wandiagnose, nullptr},
    {".sys/gateway/system/HostInfo", profession_sys_gateway_system_hostinfo, nullptr},
    {".sys/gateway/system/changedevicename", nullptr,
     profession_sys_gateway_system_changedevicename},
    {".sys/gateway/system/deviceinfo", profession_sys_gateway_system_deviceinfo, nullptr},
    {".sys/gateway/ntwk/lan_host", profession_sys_gateway_ntwk_lanhost, nullptr},
    {".sys/gateway/app/qosclass_host", nullptr, profession_sys_gateway_app_qosclasshost},
    {".sys/gateway/ntwk/WlanBasic", profession_sys_gateway_ntwk_wlanbasic,
     profession_sys_gateway_ntwk_wlanbasic_parse},
    {".sys/gateway/ntwk/WlanGuideBasic", nullptr, profession_sys_gateway_ntwk_wlanguidebasic},
    {".sys/gateway/ntwk/wlanfilterenhance", profession_sys_gateway_ntwk_wlanfilterenhance,
     profession_sys_gateway_ntwk_wlanfilterenhance_parse},
    {".sys/gateway/ntwk/wlantimeswitch", profession_sys_gateway_ntwk_wlantimeswitch,
     profession_sys_gateway_ntwk_wlantimeswitch_parse},
    {".sys/gateway/ntwk/guest_network", profession_sys_gateway_ntwk_guest_network,
     profession_sys_gateway_ntwk_guest_network_parse},
    {".sys/gateway/ntwk/wan", profession_sys_gateway_ntwk_wan, nullptr},
    {".sys/gateway/service/reboot.cgi", nullptr, profession_sys_gateway_server_reboot},
    {".sys/gateway/service/restoredefcfg.cgi", nullptr,
     profession_sys_gateway_server_restoredefcfg},
};

auto is(const fake::ServedResource& resource) {
    return testing::AllOf(testing::Field("path", &fake::ServedResource::path, resource.path),
                          testing::Field("get", &fake::ServedResource::get, resource.get),
                          testing::Field("post", &fake::ServedResource::post, resource.post));
}

TEST_F(SessionTest, RegistersTheTableInItsOrder) {
    EXPECT_EQ(frame_coap_register_list(), 0);
    ASSERT_EQ(fake::coap().served().size(), std::size(kServed));
    for (std::size_t row = 0; row < std::size(kServed); ++row)
        EXPECT_THAT(fake::coap().served()[row], is(kServed[row])) << "row " << row;
}

TEST_F(SessionTest, EachNewSessionGetsTheWholeTable) {
    frame_coap_register_list();
    fake::coap().open_session();
    EXPECT_THAT(fake::coap().served(), IsEmpty());
    frame_coap_register_list();
    EXPECT_EQ(fake::coap().served().size(), std::size(kServed));
}

TEST_F(SessionTest, RegisterTakesOneMethod) {
    EXPECT_EQ(frame_coap_register("a/get", 1, profession_sys_gateway_server_reboot), 0);
    EXPECT_EQ(frame_coap_register("a/post", 2, profession_sys_deldevice), 0);
    EXPECT_THAT(fake::coap().served(),
                ElementsAre(is({"a/get", profession_sys_gateway_server_reboot, nullptr}),
                            is({"a/post", nullptr, profession_sys_deldevice})));
}

TEST_F(SessionTest, RegisterGetPostPutsBothOnOneResource) {
    EXPECT_EQ(frame_coap_register_get_post("a", profession_sys_gateway_server_reboot,
                                           profession_sys_deldevice),
              0);
    EXPECT_THAT(fake::coap().served(), ElementsAre(is({"a", profession_sys_gateway_server_reboot,
                                                       profession_sys_deldevice})));
}

} // namespace
