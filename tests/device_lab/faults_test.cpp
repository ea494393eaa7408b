// SPDX-License-Identifier: MIT
// Faults that the state file asks for, and the journal.

#include "support.h"

#include <vxquilan/device.h>

namespace {

using lab::Json;

class Faults : public lab::DeviceLab {
protected:
    static void set(const char* operation, int code) {
        lab::edit([&](Json& state) { state["faults"] = {{operation, code}}; });
    }
    static Json without_faults() {
        Json state = lab::state();
        state["faults"] = Json::object();
        return state;
    }
};

TEST_F(Faults, SetterReturnsTheCodeAndChangesNothing) {
    set("port_device_mode_set", 5);
    EXPECT_EQ(port_device_mode_set(1), 5);
    EXPECT_EQ(without_faults(), lab::sample());
    set("vx_device_ssidsetting", 6);
    vx_ssid_settings settings{};
    settings.dbho_enable = 1;
    EXPECT_EQ(vx_device_ssidsetting(&settings), 6);
    EXPECT_EQ(without_faults(), lab::sample());
}

TEST_F(Faults, ActionReturnsTheCodeAndDoesNothing) {
    set("vx_device_reboot", -3);
    EXPECT_EQ(lab::errors_of([] { EXPECT_EQ(vx_device_reboot(), -3); }), "");
    EXPECT_EQ(without_faults(), lab::sample());
}

TEST_F(Faults, GetterReturnsTheCodeAndLeavesTheBuffer) {
    set("port_device_mac_get", 7);
    char mac[32] = "untouched";
    EXPECT_EQ(port_device_mac_get(mac), 7);
    EXPECT_STREQ(mac, "untouched");
    set("vx_device_wan", 8);
    vx_wan wan{};
    EXPECT_EQ(vx_device_wan(&wan), 8);
    EXPECT_STREQ(wan.id, "");
}

TEST_F(Faults, CheckReturnsTheCode) {
    set("vx_device_wifi_check", 77);
    const vx_guide guide{};
    EXPECT_EQ(vx_device_wifi_check(&guide), 77);
}

TEST_F(Faults, UpgradeDoesNothing) {
    set("vx_device_upgrade", 1);
    vx_upgrade upgrade{"http://example.invalid/9.9.bin", 1};
    EXPECT_EQ(vx_device_upgrade(&upgrade), nullptr);
    EXPECT_EQ(without_faults(), lab::sample());
}

TEST_F(Faults, OthersWorkAndTheFaultCanGo) {
    set("port_device_mode_set", 5);
    EXPECT_EQ(port_device_id_set("x"), 0);
    lab::edit([](Json& state) { state["faults"] = Json::object(); });
    EXPECT_EQ(port_device_mode_set(1), 0);
}

class Journal : public lab::DeviceLab {};

TEST_F(Journal, HasOneLinePerSetterWithArgumentsAndResult) {
    lab::edit([](Json& state) { state["faults"] = {{"port_device_secret_set", 9}}; });
    port_device_mode_set(1);
    port_device_secret_set("hidden");
    port_device_sequence_set();
    port_device_timeout_set(7200);
    const auto entries = lab::journal();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0], Json::parse(R"({"operation": "port_device_mode_set",
                                          "arguments": {"mode": 1}, "result": 0})"));
    EXPECT_EQ(entries[1], Json::parse(R"({"operation": "port_device_secret_set",
                                          "arguments": {"device_secret": "hidden"},
                                          "result": 9})"));
    EXPECT_EQ(entries[2], Json::parse(R"({"operation": "port_device_sequence_set",
                                          "arguments": {}, "result": 0})"));
    EXPECT_EQ(entries[3], Json::parse(R"({"operation": "port_device_timeout_set",
                                          "arguments": {"timeout": 7200}, "result": 0})"));
}

TEST_F(Journal, ShowsARecordAsItCame) {
    vx_ssid_settings settings{};
    settings.count = 1;
    settings.dbho_enable = 3;
    settings.entries[0].band = VX_BAND_2G;
    settings.entries[0].ssid_enable = 4;
    std::strcpy(settings.entries[0].id, "1");
    std::strcpy(settings.entries[0].ssid, "New");
    EXPECT_EQ(vx_device_ssidsetting(&settings), 0);
    const auto entries = lab::journal();
    ASSERT_EQ(entries.size(), 1U);
    const Json& arguments = entries[0]["arguments"];
    EXPECT_EQ(arguments["dbho_enable"], 3);
    EXPECT_EQ(arguments["count"], 1);
    ASSERT_EQ(arguments["entries"].size(), 1U);
    EXPECT_EQ(arguments["entries"][0]["ssid_enable"], 4);
    EXPECT_EQ(arguments["entries"][0]["ssid"], "New");
    EXPECT_EQ(arguments["entries"][0]["wpa_key"], "");
}

TEST_F(Journal, ReadsNoTextBeyondItsArray) {
    vx_ssid_settings settings{};
    settings.count = 1;
    settings.entries[0].band = VX_BAND_2G;
    settings.entries[0].ssid_enable = 0x61616161;
    std::memset(settings.entries[0].ssid, 'a', sizeof settings.entries[0].ssid);
    EXPECT_NE(vx_device_ssidsetting(&settings), 0);
    EXPECT_EQ(lab::journal().at(0)["arguments"]["entries"][0]["ssid"], std::string(40, 'a'));
}

TEST_F(Journal, SurvivesCountsBeyondTheCapacity) {
    for (const int count : {-1, 3, 65, 2147483647}) {
        lab::write_file(lab::journal_path(), "");
        vx_mac_filter filters{};
        filters.count = count;
        EXPECT_EQ(vx_device_wlanfilterenhance_set(&filters), 2);
        EXPECT_EQ(lab::journal().at(0)["arguments"]["count"], count);
    }
    EXPECT_EQ(lab::state(), lab::sample());
}

TEST_F(Journal, LeavesGettersAndChecksOut) {
    int mode = 0;
    port_device_mode_get(&mode);
    const vx_guide guide{};
    vx_device_wifi_check(&guide);
    vx_wan wan{};
    vx_device_wan(&wan);
    EXPECT_TRUE(lab::journal().empty());
}

} // namespace
