// SPDX-License-Identifier: MIT
#include "appjsonapi/app_wlan_basic.h"

#include "protocol/gateway_settings.h"
#include "support/fake_log.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kObject = "InternetGatewayDevice.LANDevice.1.WLANConfiguration";
const std::string kPolicerData = "InternetGatewayDevice.QueueManagement.Policer.data";
const std::string kId = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.ID";

class WlanBasicTest : public SettingsTest {
protected:
    /** The action itself is refused; no parser and no setter is called. */
    void expect_no_action(const std::string& body, const std::string& path) {
        EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanbasic_parse, body), failure(-1, path))
            << body;
        EXPECT_EQ(deeds(), std::vector<std::string>{"frame_coap_response()"});
        EXPECT_EQ(logged(4), std::vector<std::string>{
                                 "ERROR (app_sys_gateway_system_wlanbasic_action)# failed\n"});
    }
};

TEST_F(WlanBasicTest, UnknownActionsLeaveThePathEmpty) {
    for (const char* const action : {"sendsettings", "BasicSettings ", "", "Reboot"})
        expect_no_action(json{{"action", action}, {"data", json::object()}}.dump(), "");
}

TEST_F(WlanBasicTest, ABodyWithoutAction) {
    for (const char* const body : {"{}", R"({"data": {"action": "BasicSettings"}})", "[]", "5",
                                   "null", R"("action")", R"(["action", "BasicSettings"])"})
        expect_no_action(body, kObject + ".1.action");
}

TEST_F(WlanBasicTest, AnActionThatIsNoText) {
    for (const char* const action : {"1", "true", "null", "[]", R"({"action": "BasicSettings"})"})
        expect_no_action(std::string(R"({"data": {}, "action": )") + action + "}",
                         kObject + ".1.action");
}

TEST_F(WlanBasicTest, ActionsByNumber) {
    const std::pair<const char*, int> actions[] = {
        {"BasicSettings", 1}, {"SsidSettings", 2}, {"SendSettings", 3}, {"Settings", -1}};
    for (const auto& [name, number] : actions) {
        const std::string body = json{{"action", name}}.dump();
        ParameterPath path{};
        EXPECT_EQ(app_sys_gateway_system_wlanbasic_action({body.data(), body.size()}, path),
                  number);
        EXPECT_STREQ(path, "");
    }
}

TEST_F(WlanBasicTest, SendSettingsHandsOverAnEmptyRecord) {
    fake::device().allow({"vx_device_sendsetting"});
    for (const char* const body :
         {R"({"action": "SendSettings"})",
          R"({"action": "SendSettings", "data": {"config2g": {"ID": 1}}})"}) {
        EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanbasic_parse, body), success());
        EXPECT_EQ(deeds(), (std::vector<std::string>{"vx_device_sendsetting(record)",
                                                     "frame_coap_response()"}));
        const auto records = given("vx_device_sendsetting");
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0], RecordBytes(8296).bytes());
    }
}

TEST_F(WlanBasicTest, SendSettingsRefused) {
    fake::device().set_result("vx_device_sendsetting", 12);
    EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanbasic_parse, R"({"action": "SendSettings"})"),
              failure(12, kObject + "."));
}

TEST_F(WlanBasicTest, NoNetworksAreACountOfZero) {
    for (const json& data : {json::object(), json::array(), json(5), json("x"), json(nullptr)}) {
        expect_applied(model("BasicSettings"), {{"action", "BasicSettings"}, {"data", data}},
                       RecordBytes(4656));
        expect_applied(model("SsidUnknown"),
                       {{"action", "SsidSettings"}, {"DbhoEnable", false}, {"data", data}},
                       RecordBytes(2328));
    }
}

TEST_F(WlanBasicTest, ABodyWithoutData) {
    expect_refused(model("BasicSettings"), {{"action", "BasicSettings"}}, kPolicerData);
    expect_refused(model("SsidUnknown"), {{"action", "SsidSettings"}, {"DbhoEnable", true}},
                   kPolicerData);
}

TEST_F(WlanBasicTest, AMissingBandSteeringIsToldFirst) {
    expect_refused(model("SsidUnknown"),
                   {{"action", "SsidSettings"}, {"data", {{"config2g", json::object()}}}},
                   kPolicerData);
}

TEST_F(WlanBasicTest, OneRadio) {
    expect_applied(model("BasicSettings"), json::parse(R"({"action": "BasicSettings", "data": {
                       "config2g": {"ID": 1, "enable": 1}}})"),
                   RecordBytes(4656).text(8, "1").number(304, 3).number(480, 1).number(4652, 1));
    expect_applied(model("BasicSettings"), json::parse(R"({"action": "BasicSettings", "data": {
                       "config5g": {"ID": -2147483648, "enable": false}}})"),
                   RecordBytes(4656).text(8, "-2147483648").number(480, 2).number(4652, 1));
}

TEST_F(WlanBasicTest, TheOrderOfTheBandsIsFixed) {
    expect_applied(model("BasicSettings"),
                   json::parse(R"({"data": {"config5g": {"enable": false, "ID": 5},
                       "config2g": {"enable": true, "ID": 1}}, "action": "BasicSettings"})"),
                   model("BasicSettings").record);
}

TEST_F(WlanBasicTest, ABandThatIsNoObjectLacksItsId) {
    for (const json& band : {json(5), json("x"), json(nullptr), json::array()}) {
        for (const char* const key : {"config2g", "config5g"}) {
            expect_refused(model("BasicSettings"),
                           {{"action", "BasicSettings"}, {"data", {{key, band}}}}, kId);
            expect_refused(
                model("SsidUnknown"),
                {{"action", "SsidSettings"}, {"DbhoEnable", true}, {"data", {{key, band}}}}, kId);
        }
    }
}

TEST_F(WlanBasicTest, OnlyTheFiveGigahertzNetwork) {
    expect_applied(model("SsidUnknown"),
                   json::parse(R"({"action": "SsidSettings", "DbhoEnable": false, "data": {
                       "config5g": {"ID": 5, "ssid": "five", "ssidenable": true,
                                    "beacontype": "OPEN"}}})"),
                   RecordBytes(2328)
                       .text(0, "5")
                       .text(256, "five")
                       .number(296, 1)
                       .text(300, "OPEN")
                       .number(472, 2)
                       .number(2320, 1));
}

TEST_F(WlanBasicTest, UnknownBeaconTypesReadNothingMore) {
    const SettingsModel& wpa = model("SsidWpa");
    for (const char* const type :
         {"OPEN", "wpa", "WPA ", "WPAand11i2", "", "8021x", "NONE", "WPA3", "WPA-EAPx"}) {
        json body = wpa.body;
        RecordBytes record = wpa.record;
        for (const char* const band : {"config2g", "config5g"})
            body["data"][band]["beacontype"] = type;
        for (const std::size_t base : {std::size_t{0}, std::size_t{1160}})
            record.clear(base + 300, 128).text(base + 300, type);
        expect_applied(wpa, body, record);
    }
}

TEST_F(WlanBasicTest, ALongBeaconTypeIsNoneOfTheKnownOnes) {
    json body = model("SsidNone").body;
    body["data"].erase("config5g");
    for (const char* const key :
         {"basicencmode", "basicauthmode", "wepkeyLen", "CurrentWepKey", "wepkeyindex"})
        body["data"]["config2g"].erase(key);
    body["data"]["config2g"]["beacontype"] = "None" + std::string(40, ' ');
    expect_applied(model("SsidNone"), body,
                   RecordBytes(2328)
                       .text(0, "1")
                       .text(256, "config2g ssid")
                       .number(296, 1)
                       .text(300, "None" + std::string(27, ' '))
                       .number(472, 1)
                       .number(2320, 1)
                       .number(2324, 1));
}

TEST_F(WlanBasicTest, AnOpenNetworkStillNeedsItsKeyLength) {
    json body = model("SsidNone").body;
    body["data"]["config2g"].erase("wepkeyLen");
    expect_refused(model("SsidNone"), body, kId);
}

TEST_F(WlanBasicTest, ALongSsidIsCut) {
    json body = model("SsidUnknown").body;
    body["data"]["config2g"]["ssid"] = std::string(45, 's');
    RecordBytes record = model("SsidUnknown").record;
    expect_applied(model("SsidUnknown"), body, record.text(256, std::string(39, 's')));
}

TEST_F(WlanBasicTest, AFailureInTheSecondNetworkAppliesNeither) {
    json body = model("SsidWpa").body;
    body["data"]["config5g"].erase("wpakey");
    expect_refused(model("SsidWpa"), body, kId);
    body = model("BasicSettings").body;
    body["data"]["config5g"].erase("enable");
    expect_refused(model("BasicSettings"), body, kObject + ".1.enable");
}

TEST_F(WlanBasicTest, ParsersNameTheLineOfTheFailingMember) {
    // Two members that share one path are still told apart in the log.
    std::vector<std::string> lines;
    for (const char* const key : {"ssid", "beacontype"}) {
        json body = model("SsidUnknown").body;
        body["data"]["config2g"].erase(key);
        const std::string text = body.dump();
        vx_ssid_settings record{};
        ParameterPath path{};
        fake::log().reset();
        EXPECT_EQ(
            app_sys_gateway_system_ssidsetting_parse({text.data(), text.size()}, record, path), -1);
        ASSERT_EQ(fake::log().lines().size(), 1U);
        lines.push_back(fake::log().lines()[0].text);
        EXPECT_EQ(lines.back().rfind("ERROR (app_sys_gateway_system_ssidsetting_parse)", 0), 0U);
    }
    EXPECT_NE(lines[0], lines[1]);
}

} // namespace
