// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kPath = "InternetGatewayDevice.wlantimeswitch";

class TimeSwitchTest : public SettingsTest {};

TEST_F(TimeSwitchTest, NoData) {
    for (const json& body :
         {json::object(), json::array(), json(5), json(nullptr), json{{"action", "add"}}})
        expect_refused(model("TimeSwitch"), body, kPath);
}

TEST_F(TimeSwitchTest, DataOfOtherTypes) {
    for (const json& data :
         {json::object(), json::array(), json(5), json("datelist"), json(nullptr)})
        expect_refused(model("TimeSwitch"), {{"action", "add"}, {"data", data}}, kPath);
}

TEST_F(TimeSwitchTest, AListOfSchedulesIsRefused) {
    json body = model("TimeSwitch").body;
    body["data"]["datelist"] = json::array({body["data"]["datelist"]});
    expect_refused(model("TimeSwitch"), body, kPath);
}

TEST_F(TimeSwitchTest, AScheduleOfAnotherType) {
    for (const json& value : {json(5), json("x"), json(nullptr), json::object()}) {
        json body = model("TimeSwitch").body;
        body["data"]["datelist"] = value;
        expect_refused(model("TimeSwitch"), body, kPath);
    }
}

} // namespace
