// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kWlan1 = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.";
const std::string kPolicerData = "InternetGatewayDevice.QueueManagement.Policer.data";

class WlanGuideTest : public SettingsTest {
protected:
    void SetUp() override {
        SettingsTest::SetUp();
        fake::device().allow({"vx_device_wifi_check"});
    }
    static json data(const json& members) {
        json all{{"guide", true}, {"setGuestSsid", false}, {"DbhoEnable", false}};
        all.update(members);
        return {{"data", all}};
    }
    void expect_clash(const json& body, const std::string& path) {
        EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanguidebasic, body.dump()),
                  failure(9003, path));
        EXPECT_EQ(deeds(), (std::vector<std::string>{"vx_device_wifi_check(record)",
                                                     "frame_coap_response()"}));
    }
};

TEST_F(WlanGuideTest, ClashMessages) {
    const std::pair<int, const char*> clashes[] = {
        {1, "WifiSsid : SSID.2g_same_as_guest"},
        {2, "WifiSsid : SSID.5g_same_as_guest"},
        {3, "WpaPreSharedKey: Wpa.same_as_2g_guest"},
        {4, "WpaPreSharedKey: Wpa.same_as_5g_guest"},
        {5, "WifiSsid : SSID.2g_same_as_5g"},
        {6, ""},
        {-1, ""},
        {9003, ""},
    };
    for (const auto& [code, message] : clashes) {
        SCOPED_TRACE(code);
        fake::device().set_result("vx_device_wifi_check", code);
        expect_clash(model("Guide").body, message);
    }
}

TEST_F(WlanGuideTest, AClashWithoutAMessageLeavesTheMissingEncryptionMode) {
    json body = model("Guide").body;
    body["data"]["config2g"].erase("wpaencmode");
    fake::device().set_result("vx_device_wifi_check", 7);
    expect_clash(body, kWlan1 + "wpaencmode");
    fake::device().set_result("vx_device_wifi_check", 2);
    expect_clash(body, "WifiSsid : SSID.5g_same_as_guest");
}

TEST_F(WlanGuideTest, ARefusalReplacesTheMissingEncryptionMode) {
    json body = model("Guide").body;
    body["data"]["config5g"].erase("wpaencmode");
    fake::device().set_result("vx_device_wlanguidebasic", 5);
    EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanguidebasic, body.dump()),
              failure(5, "InternetGatewayDevice.LANDevice.1.WLANConfiguration."));
}

TEST_F(WlanGuideTest, AFailureReplacesTheMissingEncryptionMode) {
    json body = model("Guide").body;
    body["data"]["config2g"].erase("wpaencmode");
    body["data"]["config2g"].erase("wpakey");
    expect_refused(model("Guide"), body, kWlan1 + "wpakey");
}

TEST_F(WlanGuideTest, AMissingGuideIsLogged) {
    json body = model("Guide").body;
    body["data"].erase("guide");
    RecordBytes record = model("Guide").record;
    expect_applied(model("Guide"), body, record.number(4, 0));
    EXPECT_EQ(logged(4), std::vector<std::string>{
                             "ERROR (app_sys_gateway_ntwk_wlanguidebasic_parse)# guide\n"});
}

TEST_F(WlanGuideTest, MissingOptionalMembersAreNotLogged) {
    json body = model("Guide").body;
    RecordBytes record = model("Guide").record;
    for (const char* const key : {"wpaencmode", "upassword"})
        body["data"]["config2g"].erase(key);
    expect_applied(model("Guide"), body, record.clear(340, 32).clear(436, 40));
    EXPECT_EQ(logged(4), std::vector<std::string>());
}

TEST_F(WlanGuideTest, AMissingGuestSwitchIsReportedAsTheGuide) {
    json body = model("Guide").body;
    body["data"].erase("setGuestSsid");
    expect_refused(model("Guide"), body, kWlan1 + "guide");
}

TEST_F(WlanGuideTest, NetworksFillTheEntriesFromTheFirst) {
    expect_applied(model("Guide"), data(json::object()), RecordBytes(4656).number(4, 1));
    expect_applied(
        model("Guide"), data({{"guest2g", {{"ID", "i"}, {"WifiSsid", "s"}}}}),
        RecordBytes(4656).number(4, 1).text(8, "i").text(264, "s").number(480, 3).number(4652, 1));
    json body = model("Guide").body;
    body["data"].erase("config2g");
    RecordBytes record(4656);
    record.number(0, 1).number(4, 1).number(4648, 1).number(4652, 2);
    record.text(8, "config5g ID").text(264, "config5g ssid").number(304, 1);
    record.text(308, "config5g beacontype").text(340, "config5g wpaencmode");
    record.text(372, "config5g wpakey").text(436, "config5g upassword");
    record.number(476, 77).number(480, 2);
    record.text(1160 + 8, "the guest").text(1160 + 264, "guest name").number(1160 + 480, 3);
    expect_applied(model("Guide"), body, record);
}

TEST_F(WlanGuideTest, TheFlagsSurviveInTheFirstEntry) {
    for (const bool band_steering : {false, true}) {
        json body = model("Guide").body;
        body["data"]["DbhoEnable"] = band_steering;
        body["data"]["guide"] = !band_steering;
        RecordBytes record = model("Guide").record;
        expect_applied(model("Guide"), body,
                       record.number(0, band_steering ? 1 : 0).number(4, band_steering ? 0 : 1));
    }
}

TEST_F(WlanGuideTest, NoData) {
    for (const json& body : {json::object(), json::array(), json(5), json("data"), json(nullptr)})
        expect_refused(model("Guide"), body, kPolicerData);
}

TEST_F(WlanGuideTest, DataThatIsNoObjectLacksTheGuestSwitch) {
    for (const json& value : {json(5), json::array(), json("x"), json(nullptr), json::object()}) {
        EXPECT_EQ(serve(profession_sys_gateway_ntwk_wlanguidebasic, json{{"data", value}}.dump()),
                  failure(-1, kWlan1 + "guide"));
        EXPECT_EQ(logged(4), (std::vector<std::string>{
                                 "ERROR (app_sys_gateway_ntwk_wlanguidebasic_parse)# guide\n",
                                 "ERROR (app_sys_gateway_ntwk_wlanguidebasic_parse)# failed\n"}));
    }
}

TEST_F(WlanGuideTest, ANetworkThatIsNoObjectLacksItsId) {
    for (const json& value : {json(5), json::array(), json("x"), json(nullptr)}) {
        expect_refused(model("Guide"), data({{"config2g", value}}), kWlan1 + "ID");
        expect_refused(model("Guide"), data({{"config5g", value}}), kWlan1 + "ID");
        expect_refused(model("Guide"), data({{"guest2g", value}}),
                       "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.ID");
    }
}

TEST_F(WlanGuideTest, TheBodyIsNotLogged) {
    fake::device().allow({"vx_device_wlanguidebasic"});
    serve(profession_sys_gateway_ntwk_wlanguidebasic, model("Guide").body.dump());
    EXPECT_EQ(logged(6),
              (std::vector<std::string>{".sys/gateway/ntwk/WlanGuideBasic\n", success() + "\n"}));
}

} // namespace
