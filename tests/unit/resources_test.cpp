// SPDX-License-Identifier: MIT
// The resource table: which path, which method, which handler, in which order.
#include "unit/fixture.h"

#include "protocol/gateway_actions.h"
#include "vxquilan/coap_resources.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const fake::ServedResource kServed[] = {
    {".sys/delDevice", nullptr, profession_sys_deldevice},
    {".sys/gateway/system/changedevicename", nullptr,
     profession_sys_gateway_system_changedevicename},
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
    EXPECT_THAT(fake::coap().served(),
                ElementsAre(is(kServed[0]), is(kServed[1]), is(kServed[2]), is(kServed[3])));
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
