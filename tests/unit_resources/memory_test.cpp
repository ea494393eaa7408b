// SPDX-License-Identifier: MIT
// A gateway that runs out of memory answers nothing rather than half a document, keeps what it has
// in order, and gives all memory back.
#include "protocol/gateway_status.h"
#include "support/fake_coap.h"
#include "support/fake_log.h"
#include "support/json_memory.h"
#include "unit_resources/settings_model.h"

namespace {

class MemoryTest : public SettingsTest {
protected:
    void TearDown() override {
        EXPECT_EQ(memory_.in_use(), 0);
        SettingsTest::TearDown();
    }

    /** Serves with ever more memory until the answer is the whole one. */
    void expect_whole_or_nothing(coap_method_handler_t handler,
                                 const std::optional<std::string>& body,
                                 const std::vector<std::string>& other_answers) {
        const std::string whole = serve(handler, body);
        const Request request(body);
        for (int allocations = 0;; ++allocations) {
            ASSERT_LT(allocations, 100'000);
            const std::size_t before = fake::coap().answers().size();
            fake::log().reset();
            memory_.refuse_from(allocations);
            handler(nullptr, g_coap_session, request.pdu(), nullptr, nullptr);
            const bool ran_out = memory_.refused();
            memory_.refuse_none();
            ASSERT_EQ(memory_.in_use(), 0) << allocations;
            if (fake::coap().answers().size() == before) {
                EXPECT_EQ(logged(3), std::vector<std::string>{"no memory for a message\n"});
                continue;
            }
            const std::string answer = fake::coap().answers().back().body;
            if (answer == whole && !ran_out)
                return;
            if (answer != whole) {
                EXPECT_NE(std::find(other_answers.begin(), other_answers.end(), answer),
                          other_answers.end())
                    << answer;
            }
        }
    }

    JsonMemory memory_;
};

TEST_F(MemoryTest, Questions) {
    fill<140036>("vx_device_hostinfo", RecordBytes(140036).number(140032, 2));
    fill<8296>("vx_device_wlanbasic", RecordBytes(8296).number(4, 2));
    fill<16548>("vx_device_wlanfilterenhance_get",
                RecordBytes(16548).number(8268, 2).number(16544, 2));
    fill<444>("vx_device_guest_network_get", RecordBytes(444).number(440, 2));
    fill<1092>("vx_device_wlantimeswitch_get", RecordBytes(1092).number(1088, 2));
    fake::device().allow(
        {"vx_device_wandiagnose", "vx_device_info", "vx_device_lanhost", "vx_device_wan"});
    for (const coap_method_handler_t handler :
         {profession_sys_gateway_ntwk_wandiagnose, profession_sys_gateway_system_hostinfo,
          profession_sys_gateway_system_deviceinfo, profession_sys_gateway_ntwk_lanhost,
          profession_sys_gateway_ntwk_wan, profession_sys_gateway_ntwk_wlanbasic,
          profession_sys_gateway_ntwk_wlanfilterenhance, profession_sys_gateway_ntwk_wlantimeswitch,
          profession_sys_gateway_ntwk_guest_network})
        expect_whole_or_nothing(handler, {}, {});
}

TEST_F(MemoryTest, Settings) {
    for (const SettingsModel& model : settings_models()) {
        SCOPED_TRACE(model.name);
        fake::device().allow({model.setter});
        if (model.check != nullptr)
            fake::device().allow({model.check});
        // A body that there is no memory for cannot be parsed. Between the two parses of one body
        // the memory may go, too.
        expect_whole_or_nothing(
            model.handler, model.body.dump(),
            {failure(-1, model.unreadable_path),
             failure(-1, "InternetGatewayDevice.QueueManagement.Policer.data")});
    }
}

TEST_F(MemoryTest, Refusals) {
    nlohmann::json body = model("QosHost").body;
    body["data"].erase("ID");
    expect_whole_or_nothing(model("QosHost").handler, body.dump(),
                            {failure(-1, model("QosHost").unreadable_path)});
}

} // namespace
