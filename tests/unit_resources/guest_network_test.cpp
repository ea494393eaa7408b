// SPDX-License-Identifier: MIT
#include "protocol/gateway_settings.h"
#include "protocol/gateway_status.h"
#include "unit_resources/settings_model.h"

using nlohmann::json;

namespace {

const std::string kGuest = "InternetGatewayDevice.LANDevice.2.WLANConfiguration.1.";

class GuestNetworkTest : public SettingsTest {};

TEST_F(GuestNetworkTest, ClashMessages) {
    const std::pair<int, const char*> clashes[] = {
        {1, "WifiSsid : SSID.same_as_2g"},
        {2, "WifiSsid : SSID.same_as_5g"},
        {3, "WpaPreSharedKey : Wpa.same_as_2g"},
        {4, "WpaPreSharedKey : Wpa.same_as_5g"},
        {5, ""},
        {-1, ""},
    };
    for (const auto& [code, message] : clashes) {
        SCOPED_TRACE(code);
        fake::device().set_result("vx_device_guest_check", code);
        EXPECT_EQ(serve(profession_sys_gateway_ntwk_guest_network_parse,
                        model("GuestNetwork").body.dump()),
                  failure(9003, message));
        EXPECT_EQ(deeds(), (std::vector<std::string>{"vx_device_guest_check(record)",
                                                     "frame_coap_response()"}));
    }
}

TEST_F(GuestNetworkTest, OnlyTheFiveGigahertzNetwork) {
    RecordBytes record(444);
    record.text(0, "opt").number(32, 1).text(40, "name").text(80, "key").number(144, 2);
    record.text(148, "id").number(440, 1);
    expect_applied(model("GuestNetwork"),
                   json::parse(R"({"data": {"config5g": {"ID": "id", "SecOpt": "opt",
                       "WifiSsid": "name", "Enable": true, "WpaPreSharedKey": "key"}}})"),
                   record);
    fill<444>("vx_device_guest_network_get", record);
    const json answer = json::parse(serve(profession_sys_gateway_ntwk_guest_network));
    ASSERT_EQ(answer.size(), 1U);
    EXPECT_EQ(answer[0]["FrequencyBand"], "5GHz");
    EXPECT_EQ(answer[0]["WifiSsid"], "name");
}

TEST_F(GuestNetworkTest, NoNetworksAreACountOfZero) {
    for (const json& data : {json::object(), json::array(), json(5), json("x"), json(nullptr)})
        expect_applied(model("GuestNetwork"), {{"data", data}}, RecordBytes(444));
}

TEST_F(GuestNetworkTest, NoData) {
    for (const json& body : {json::object(), json::array(), json(5), json("data"), json(nullptr)})
        expect_refused(model("GuestNetwork"), body, kGuest);
}

TEST_F(GuestNetworkTest, ABandThatIsNoObject) {
    for (const json& value : {json(5), json::array(), json("x"), json(nullptr)}) {
        expect_refused(model("GuestNetwork"), {{"data", {{"config2g", value}}}}, kGuest);
        expect_refused(model("GuestNetwork"), {{"data", {{"config5g", value}}}}, kGuest);
    }
}

TEST_F(GuestNetworkTest, AMissingSwitchIsReportedAsTheNetwork) {
    json body = model("GuestNetwork").body;
    body["data"]["config2g"].erase("Enable");
    expect_refused(model("GuestNetwork"), body, kGuest);
}

TEST_F(GuestNetworkTest, TheBodyIsLoggedOnceItIsParsed) {
    fake::device().allow({"vx_device_guest_check", "vx_device_guest_network_set"});
    const std::string body = model("GuestNetwork").body.dump();
    serve(profession_sys_gateway_ntwk_guest_network_parse, body);
    EXPECT_EQ(logged(6), (std::vector<std::string>{"POST .sys/gateway/ntwk/guest_network\n",
                                                   body + "\n", success() + "\n"}));
    serve(profession_sys_gateway_ntwk_guest_network_parse, "{\"not\": \"data %s\"}");
    EXPECT_EQ(logged(6),
              (std::vector<std::string>{"POST .sys/gateway/ntwk/guest_network\n",
                                        "{\"not\": \"data %s\"}\n", failure(-1, kGuest) + "\n"}));
}

} // namespace
