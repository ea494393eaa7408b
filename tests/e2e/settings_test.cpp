// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gateway.h"
#include "platform.h"
#include "resource_table.h"
#include "transports.h"

namespace e2e {
namespace {

using nlohmann::json;

class Settings : public testing::TestWithParam<Transport> {
protected:
    void SetUp() override { gateway.go_online(platform); }

    json answer_to(const std::string& name, const std::string& body) const {
        return platform.ask(post(settings_request(name).path, body)).at("text");
    }
    json apply(const std::string& name) const {
        return answer_to(name, settings_request(name).body);
    }
    json shown(const std::string& command) const { return platform.ask(command).at("json"); }

    Platform platform{GetParam()};
    Gateway gateway{platform.port(), platform.is_tls()};
};

INSTANTIATE_TEST_SUITE_P(Transports, Settings, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

/** One value that a settings request changes: where the platform reads it, and where it is kept. */
struct Change {
    const char* settings;
    const char* command; ///< that shows it; empty when nothing does
    const char* shown_at;
    const char* kept_at;
    json value;
};

std::vector<Change> changes() {
    return {
        {"rate-limits", "hosts", "/7/QosclassID", "/hosts/7/qosclass_id", "class-3"},
        {"rate-limits", "hosts", "/7/DeviceMaxDownLoadRate", "/hosts/7/device_max_down_load_rate",
         20480},
        {"rate-limits", "hosts", "/7/DeviceMaxUpLoadRate", "/hosts/7/device_max_up_load_rate",
         4096},
        {"rate-limits", "hosts", "/7/ClassQueue", "/hosts/7/class_queue", 3},
        {"rate-limits", "hosts", "/7/DeviceDownRateEnable", "/hosts/7/device_down_rate_enable",
         true},
        {"radios", "wlan", "/WifiConfig/0/WifiEnable", "/wireless/radios/0/wifi_enable", false},
        {"networks", "wlan", "/DbhoEnable", "/wireless/dbho_enable", true},
        {"networks", "wlan", "/WifiConfig/2/WifiSsid", "/wireless/radios/1/networks/0/wifi_ssid",
         "Attic"},
        {"networks", "wlan", "/WifiConfig/2/BeaconType",
         "/wireless/radios/1/networks/0/beacon_type", "11i"},
        {"networks", "wlan", "/WifiConfig/2/WpaPreSharedKey",
         "/wireless/radios/1/networks/0/wpa_pre_shared_key", "key under the mat"},
        {"sending", "", "", "/wireless/settings_sent", 1},
        {"guide", "device-info", "/other/guide", "/device_information/guide", false},
        {"guide", "wlan", "/WifiConfig/0/WifiSsid", "/wireless/radios/0/networks/0/wifi_ssid",
         "Cellar"},
        {"guide", "guest", "/0/WifiSsid", "/wireless/radios/0/networks/1/wifi_ssid", "Visitors"},
        {"mac-filter", "mac-filter", "/1/MacFilterPolicy", "/mac_filter/1/policy", 0},
        {"mac-filter", "mac-filter", "/1/BMACAddresses/0/MACAddress",
         "/mac_filter/1/filters/0/mac_address", "02:5E:10:00:09:09"},
        {"schedule", "time-switch", "/datelist/2/StartTime", "/schedules/2/start_time", "22:15"},
        {"schedule", "time-switch", "/datelist/2/RepeatDay", "/schedules/2/repeat_day", "5"},
        {"guests", "guest", "/1/WifiSsid", "/wireless/radios/1/networks/1/wifi_ssid",
         "Café \"100%\""},
        {"guests", "guest", "/1/EnableFrequency", "/wireless/radios/1/networks/1/wifi_ssid_enable",
         true},
    };
}

TEST_P(Settings, ChangesAreSeenByTheNextRequestAndKept) {
    for (const SettingsRequest& request : settings_requests()) {
        const json before = gateway.state();
        std::vector<Change> expected;
        for (const Change& change : changes()) {
            if (std::string(request.name) == change.settings)
                expected.push_back(change);
        }
        ASSERT_FALSE(expected.empty()) << request.name;
        for (const Change& change : expected) {
            const json::json_pointer place(change.kept_at);
            EXPECT_NE(before.contains(place) ? before.at(place) : json(), change.value)
                << change.kept_at << " would not change";
        }
        EXPECT_EQ(apply(request.name), kSuccess) << request.name;
        const json after = gateway.state();
        for (const Change& change : expected) {
            EXPECT_EQ(after.at(json::json_pointer(change.kept_at)), change.value) << change.kept_at;
            if (*change.command == '\0')
                continue;
            const json document = shown(change.command);
            EXPECT_EQ(document.at(json::json_pointer(change.shown_at)), change.value)
                << change.command << change.shown_at;
        }
    }
}

TEST_P(Settings, SchedulesAreReplacedDeletedAndRunOutOfRoom) {
    const auto schedule = [](const std::string& action, int id) {
        return R"({"action":")" + action + R"(","data":{"datelist":{"RepeatDay":"1","ID":)" +
               std::to_string(id) + R"(,"StartTime":"01:00","Enable":false,"EndTime":"02:00"}}})";
    };
    EXPECT_EQ(answer_to("schedule", schedule("modify", 1)), kSuccess);
    EXPECT_EQ(shown("time-switch").at("datelist").at(0).at("StartTime"), "01:00");
    EXPECT_EQ(answer_to("schedule", schedule("delete", 1)), kSuccess);
    EXPECT_EQ(shown("time-switch").at("datelist").size(), 1u);
    const std::string object = settings_request("schedule").object;
    EXPECT_EQ(answer_to("schedule", schedule("delete", 1)), refusal(1, object));
    for (int id = 3; id < 18; ++id)
        EXPECT_EQ(answer_to("schedule", schedule("add", id)), kSuccess) << id;
    EXPECT_EQ(answer_to("schedule", schedule("add", 18)), refusal(3, object));
    EXPECT_EQ(shown("time-switch").at("datelist").size(), 16u);
}

TEST_P(Settings, SetterFailuresAreToldAndChangeNothing) {
    int code = 40;
    for (const SettingsRequest& request : settings_requests()) {
        ++code;
        gateway.edit([&](json& state) { state["faults"] = {{request.setter, code}}; });
        const json before = gateway.state();
        EXPECT_EQ(apply(request.name), refusal(code, request.object)) << request.name;
        EXPECT_EQ(gateway.state(), before) << request.name;
        EXPECT_EQ(gateway.calls().back().at("operation"), request.setter);
        EXPECT_EQ(gateway.calls().back().at("result"), code);
    }
    gateway.edit([](json& state) { state["faults"] = json::object(); });
    for (const SettingsRequest& request : settings_requests())
        EXPECT_EQ(apply(request.name), kSuccess) << request.name;
}

TEST_P(Settings, GatewayThatRefusesAnEntryRefusesTheRequest) {
    const auto object = [](const char* name) {
        return settings_request(name).object;
    };
    EXPECT_EQ(answer_to("rate-limits",
                        R"({"data":{"QosclassID":"","DeviceDownRateEnable":true,"ClassQueue":1,)"
                        R"("DeviceMaxDownLoadRate":"1","MACAddress":"02:00:00:00:00:00",)"
                        R"("HostName":"","ActualName":"","ID":"","DeviceMaxUpLoadRate":"1"}})"),
              refusal(1, object("rate-limits")));
    EXPECT_EQ(answer_to("networks",
                        R"({"action":"SsidSettings","DbhoEnable":true,"data":{"config2g":)"
                        R"({"ID":1,"ssid":"Hall","ssidenable":true,"beacontype":"11i",)"
                        R"("wpaencmode":"AESEncryption","wpakey":"short"}}})"),
              refusal(2, object("networks")));
    EXPECT_EQ(shown("wlan").at("WifiConfig").at(0).at("WifiSsid"), "Maple-Lane");
    EXPECT_EQ(shown("wlan").at("DbhoEnable"), false);
}

/** A request that a check turns down, and what the platform is told. */
struct Clash {
    const char* settings;
    std::string body;
    const char* message;
};

std::string guide(const std::string& networks, const std::string& flags = "\"DbhoEnable\":false") {
    return R"({"data":{"setGuestSsid":false,)" + flags + "," + networks + "}}";
}

std::string guide_network(const std::string& name, const std::string& ssid,
                          const std::string& key) {
    return "\"" + name + R"(":{"ID":"1","ssid":")" + ssid +
           R"(","ssidenable":true,"beacontype":"11i","wpaencmode":"AESEncryption",)"
           R"("advertisement":0,"wpakey":")" +
           key + "\"}";
}

std::string guest(const std::string& name, const std::string& ssid, const std::string& key) {
    return R"({"data":{")" + name + R"(":{"ID":"1","SecOpt":"11i","WifiSsid":")" + ssid +
           R"(","Enable":true,"WpaPreSharedKey":")" + key + "\"}}}";
}

std::vector<Clash> clashes() {
    return {
        {"guide", guide(guide_network("config2g", "Maple-Lane-Guest", "new-key-2104")),
         "WifiSsid : SSID.2g_same_as_guest"},
        {"guide", guide(guide_network("config2g", "Maple-Lane-5G-Guest", "new-key-2104")),
         "WifiSsid : SSID.2g_same_as_guest"},
        {"guide", guide(guide_network("config5g", "Maple-Lane-Guest", "new-key-2104")),
         "WifiSsid : SSID.5g_same_as_guest"},
        {"guide", guide(guide_network("config2g", "Porch", "welcome-2104")),
         "WpaPreSharedKey: Wpa.same_as_2g_guest"},
        {"guide", guide(guide_network("config5g", "Porch", "welcome-5104")),
         "WpaPreSharedKey: Wpa.same_as_5g_guest"},
        {"guide", guide(guide_network("config2g", "Maple-Lane-5G", "new-key-2104")),
         "WifiSsid : SSID.2g_same_as_5g"},
        {"guests", guest("config2g", "Maple-Lane", "new-key-2104"), "WifiSsid : SSID.same_as_2g"},
        {"guests", guest("config2g", "Maple-Lane-5G", "new-key-2104"),
         "WifiSsid : SSID.same_as_5g"},
        {"guests", guest("config5g", "Porch", "orchard-2104"), "WpaPreSharedKey : Wpa.same_as_2g"},
        {"guests", guest("config5g", "Porch", "orchard-5104"), "WpaPreSharedKey : Wpa.same_as_5g"},
    };
}

TEST_P(Settings, ClashesAreToldByTheirMessagesAndChangeNothing) {
    const json before = gateway.state();
    for (const Clash& clash : clashes())
        EXPECT_EQ(answer_to(clash.settings, clash.body), refusal(9003, clash.message))
            << clash.body;
    EXPECT_EQ(gateway.state(), before);
    EXPECT_FALSE(gateway.called("vx_device_wlanguidebasic"));
    EXPECT_FALSE(gateway.called("vx_device_guest_network_set"));
}

TEST_P(Settings, ClashWithoutAMessageLeavesTheParsersPath) {
    gateway.edit([](json& state) {
        state["faults"] = {{"vx_device_wifi_check", 6}, {"vx_device_guest_check", 5}};
    });
    EXPECT_EQ(apply("guide"), refusal(9003, ""));
    EXPECT_EQ(apply("guests"), refusal(9003, ""));
    EXPECT_EQ(answer_to("guide", guide(R"("config2g":{"ID":"1","ssid":"Porch","ssidenable":true,)"
                                       R"("beacontype":"11i","advertisement":0,)"
                                       R"("wpakey":"new-key-2104"})")),
              refusal(9003, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.wpaencmode"));
}

TEST_P(Settings, OneNameForBothBandsIsNoClashWithBandSteering) {
    const std::string networks = guide_network("config2g", "Maple-Lane-5G", "new-key-2104");
    EXPECT_EQ(answer_to("guide", guide(networks, "\"DbhoEnable\":true")), kSuccess);
    EXPECT_EQ(shown("wlan").at("WifiConfig").at(0).at("WifiSsid"), "Maple-Lane-5G");
}

} // namespace
} // namespace e2e
