// SPDX-License-Identifier: MIT
// Wireless networks, guest networks, MAC filter, schedules, rate limits: setters, checks, and that
// the next getter shows what was set.

#include "support.h"

#include <vxquilan/device.h>

namespace {

using lab::Json;

class Wireless : public lab::DeviceLab {
protected:
    static vx_wlan_status status() {
        vx_wlan_status record{};
        EXPECT_EQ(vx_device_wlanbasic(&record), 0);
        return record;
    }
    /// The sample with a change: what the file must be now.
    static void expect_state(const std::function<void(Json&)>& change) {
        Json expected = lab::sample();
        change(expected);
        EXPECT_EQ(lab::state(), expected);
    }
    static void expect_unchanged() { EXPECT_EQ(lab::state(), lab::sample()); }
};

template <std::size_t size>
void put(char (&field)[size], const char* text) {
    std::strncpy(field, text, size - 1);
}

Json& network(Json& state, int radio, int index) {
    return state["wireless"]["radios"][static_cast<std::size_t>(radio)]["networks"]
                [static_cast<std::size_t>(index)];
}

// ---- radios ----

TEST_F(Wireless, RadiosAreSwitchedByBand) {
    vx_radio_switch record{};
    record.count = 1;
    record.entries[0].band = VX_BAND_5G;
    ASSERT_EQ(vx_device_wlanbasic_set(&record), 0);
    expect_state([](Json& state) { state["wireless"]["radios"][1]["wifi_enable"] = false; });
    EXPECT_EQ(status().entries[0].wifi_enable, 1);
    EXPECT_EQ(status().entries[2].wifi_enable, 0);
    EXPECT_EQ(status().entries[3].wifi_enable, 0);
    record.entries[0].enable = 3; // a number in the request
    ASSERT_EQ(vx_device_wlanbasic_set(&record), 0);
    EXPECT_EQ(lab::state(), lab::sample());
}

TEST_F(Wireless, SwitchOfAnUnknownRadioChangesNothing) {
    vx_radio_switch record{};
    record.count = 2;
    record.entries[0].band = VX_BAND_2G;
    record.entries[1].band = 9;
    EXPECT_EQ(vx_device_wlanbasic_set(&record), 1);
    record.count = 5;
    EXPECT_EQ(vx_device_wlanbasic_set(&record), 2);
    record.count = -1;
    EXPECT_EQ(vx_device_wlanbasic_set(&record), 2);
    expect_unchanged();
}

// ---- SSID settings ----

vx_ssid_settings ssid_settings() {
    vx_ssid_settings record{};
    record.count = 2;
    record.dbho_enable = 1;
    vx_ssid_entry& first = record.entries[0];
    first.band = VX_BAND_2G;
    put(first.id, "1");
    put(first.ssid, "Orchard");
    first.ssid_enable = 0;
    put(first.beacon_type, "11i");
    put(first.wpa_enc_mode, "AESEncryption");
    put(first.wpa_key, "new-key-24");
    vx_ssid_entry& second = record.entries[1];
    second.band = VX_BAND_5G;
    put(second.id, "5");
    put(second.ssid, "Orchard-5G");
    second.ssid_enable = 1;
    put(second.beacon_type, "None");
    return record;
}

TEST_F(Wireless, SsidSettingsShowInTheNextStatus) {
    const vx_ssid_settings record = ssid_settings();
    ASSERT_EQ(vx_device_ssidsetting(&record), 0);
    const vx_wlan_status now = status();
    EXPECT_EQ(now.dbho_enable, 1);
    EXPECT_EQ(now.count, 4);
    EXPECT_STREQ(now.entries[0].wifi_ssid, "Orchard");
    EXPECT_EQ(now.entries[0].wifi_ssid_enable, 0);
    EXPECT_STREQ(now.entries[0].beacon_type, "11i");
    EXPECT_STREQ(now.entries[0].wpa_encryption_mode, "AESEncryption");
    EXPECT_STREQ(now.entries[0].wpa_pre_shared_key, "new-key-24");
    EXPECT_STREQ(now.entries[2].wifi_ssid, "Orchard-5G");
    EXPECT_STREQ(now.entries[2].beacon_type, "None");
    EXPECT_STREQ(now.entries[2].wpa_pre_shared_key, "orchard-5104") << "not in the request";
    EXPECT_STREQ(now.entries[1].wifi_ssid, "Maple-Lane-Guest");
}

TEST_F(Wireless, RefusedSsidSettingsChangeNothing) {
    vx_ssid_settings unknown = ssid_settings();
    put(unknown.entries[1].id, "1"); // a 2.4 GHz network's number
    EXPECT_EQ(vx_device_ssidsetting(&unknown), 1);
    vx_ssid_settings short_key = ssid_settings();
    put(short_key.entries[0].wpa_key, "1234567");
    std::memset(short_key.entries[0].wpa_key + 7, 0, sizeof short_key.entries[0].wpa_key - 7);
    EXPECT_EQ(vx_device_ssidsetting(&short_key), 2);
    vx_ssid_settings long_name = ssid_settings();
    put(long_name.entries[1].ssid, "123456789012345678901234567890123");
    EXPECT_EQ(vx_device_ssidsetting(&long_name), 2);
    vx_ssid_settings many = ssid_settings();
    many.count = 3;
    EXPECT_EQ(vx_device_ssidsetting(&many), 2);
    expect_unchanged();
}

TEST_F(Wireless, SendSettingIsCounted) {
    const vx_wlan_status nothing{};
    lab::errors_of([&] {
        EXPECT_EQ(vx_device_sendsetting(&nothing), 0);
        EXPECT_EQ(vx_device_sendsetting(&nothing), 0);
    });
    expect_state([](Json& state) { state["wireless"]["settings_sent"] = 2; });
}

// ---- guide ----

vx_guide guide() {
    vx_guide record{};
    record.count = 3;
    record.set_guest_ssid = 1;
    record.entries[0].guide = 1;
    constexpr const char* names[] = {"House", "House-5G", "House-Guest"};
    constexpr const char* keys[] = {"house-key-24", "house-key-50", ""};
    for (int i = 0; i < 3; ++i) {
        record.entries[i].band = i + 1;
        put(record.entries[i].ssid, names[i]);
        put(record.entries[i].wpa_key, keys[i]);
        record.entries[i].ssid_enable = 1;
    }
    put(record.entries[0].beacon_type, "11i");
    put(record.entries[1].beacon_type, "WPAand11i");
    return record;
}

TEST_F(Wireless, GuideWithoutClashPasses) {
    const vx_guide record = guide();
    EXPECT_EQ(vx_device_wifi_check(&record), 0);
}

TEST_F(Wireless, GuideClashes) {
    vx_guide same_2g = guide();
    put(same_2g.entries[0].ssid, "House-Guest");
    EXPECT_EQ(vx_device_wifi_check(&same_2g), 1);

    vx_guide same_5g = guide();
    put(same_5g.entries[1].ssid, "House-Guest");
    EXPECT_EQ(vx_device_wifi_check(&same_5g), 2);

    vx_guide key_2g = guide();
    put(key_2g.entries[1].wpa_key, "welcome-2104");
    EXPECT_EQ(vx_device_wifi_check(&key_2g), 3);

    vx_guide key_5g = guide();
    put(key_5g.entries[0].wpa_key, "welcome-5104");
    EXPECT_EQ(vx_device_wifi_check(&key_5g), 4);

    vx_guide same_bands = guide();
    put(same_bands.entries[1].ssid, "House");
    std::memset(same_bands.entries[1].ssid + 5, 0, 3);
    EXPECT_EQ(vx_device_wifi_check(&same_bands), 5);
    same_bands.entries[0].dbho_enable = 1;
    EXPECT_EQ(vx_device_wifi_check(&same_bands), 0) << "band steering wants one name";
}

TEST_F(Wireless, GuideIsCheckedAgainstWhatItLeavesAlone) {
    vx_guide record{};
    record.count = 1;
    record.entries[0].band = VX_BAND_2G;
    put(record.entries[0].ssid, "Maple-Lane-Guest");
    EXPECT_EQ(vx_device_wifi_check(&record), 1);
    put(record.entries[0].ssid, "Maple-Lane-5G-Guest");
    EXPECT_EQ(vx_device_wifi_check(&record), 1);
    std::memset(record.entries[0].ssid, 0, sizeof record.entries[0].ssid);
    put(record.entries[0].ssid, "Maple-Lane-5G");
    EXPECT_EQ(vx_device_wifi_check(&record), 5);
    record.entries[0].band = VX_BAND_2G_GUEST;
    EXPECT_EQ(vx_device_wifi_check(&record), 0) << "the guest name is not to be set";
    record.set_guest_ssid = 1;
    EXPECT_EQ(vx_device_wifi_check(&record), 2);
    record.count = 5;
    EXPECT_EQ(vx_device_wifi_check(&record), 2);
}

TEST_F(Wireless, GuideIsApplied) {
    const vx_guide record = guide();
    ASSERT_EQ(vx_device_wlanguidebasic(&record), 0);
    const vx_wlan_status now = status();
    EXPECT_STREQ(now.entries[0].wifi_ssid, "House");
    EXPECT_STREQ(now.entries[0].wpa_pre_shared_key, "house-key-24");
    EXPECT_STREQ(now.entries[1].wifi_ssid, "House-Guest");
    EXPECT_STREQ(now.entries[1].wpa_pre_shared_key, "welcome-2104");
    EXPECT_EQ(now.entries[1].wifi_ssid_enable, 1) << "the guest network keeps its switch";
    EXPECT_STREQ(now.entries[2].wifi_ssid, "House-5G");
    EXPECT_EQ(now.entries[3].wifi_ssid_enable, 0);
    vx_device_information information{};
    EXPECT_EQ(vx_device_info(&information), 0);
    EXPECT_EQ(information.guide, 1);
}

TEST_F(Wireless, GuideLeavesTheGuestNameUnlessToldTo) {
    vx_guide record = guide();
    record.set_guest_ssid = 0;
    ASSERT_EQ(vx_device_wlanguidebasic(&record), 0);
    EXPECT_STREQ(status().entries[1].wifi_ssid, "Maple-Lane-Guest");
}

TEST_F(Wireless, RefusedGuideChangesNothing) {
    vx_guide record = guide();
    record.entries[1].band = 8;
    EXPECT_EQ(vx_device_wlanguidebasic(&record), 1);
    record.count = -1;
    EXPECT_EQ(vx_device_wlanguidebasic(&record), 2);
    expect_unchanged();
}

// ---- guest networks ----

vx_guest_network guests(int band, const char* ssid, const char* key) {
    vx_guest_network record{};
    record.count = 1;
    vx_guest_entry& entry = record.entries[0];
    entry.band = band;
    entry.enable = 1;
    put(entry.id, "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.9.");
    put(entry.sec_opt, "11i");
    put(entry.wifi_ssid, ssid);
    put(entry.wpa_pre_shared_key, key);
    return record;
}

TEST_F(Wireless, GuestClashes) {
    struct Case {
        const char* ssid;
        const char* key;
        int code;
    };
    constexpr Case cases[] = {
        {"Visitors", "visitor-key", 0},      {"Maple-Lane", "visitor-key", 1},
        {"Maple-Lane-5G", "visitor-key", 2}, {"Visitors", "orchard-2104", 3},
        {"Visitors", "orchard-5104", 4},     {"Maple-Lane-5G", "orchard-2104", 2},
        {"maple-lane", "Orchard-2104", 0},   {"Maple-Lane-Guest", "welcome-2104", 0},
    };
    for (const Case& c : cases) {
        for (const int band : {VX_BAND_2G, VX_BAND_5G}) {
            const vx_guest_network record = guests(band, c.ssid, c.key);
            EXPECT_EQ(vx_device_guest_check(&record), c.code) << c.ssid << " " << c.key;
        }
    }
    vx_guest_network second = guests(VX_BAND_2G, "Visitors", "visitor-key");
    second.count = 2;
    second.entries[1] = guests(VX_BAND_5G, "Visitors-5G", "orchard-5104").entries[0];
    EXPECT_EQ(vx_device_guest_check(&second), 4);
    second.count = 3;
    EXPECT_EQ(vx_device_guest_check(&second), 2);
}

TEST_F(Wireless, AbsentNamesAndKeysDoNotClash) {
    lab::edit([](Json& state) {
        network(state, 0, 0)["wpa_pre_shared_key"] = "";
        network(state, 0, 0)["beacon_type"] = "None";
    });
    const vx_guest_network record = guests(VX_BAND_2G, "Visitors", "");
    EXPECT_EQ(vx_device_guest_check(&record), 0);
}

TEST_F(Wireless, GuestNetworkShowsInTheNextGet) {
    const vx_guest_network record = guests(VX_BAND_5G, "Visitors", "visitor-key");
    ASSERT_EQ(vx_device_guest_network_set(&record), 0);
    vx_guest_network now{};
    ASSERT_EQ(vx_device_guest_network_get(&now), 0);
    EXPECT_EQ(now.count, 2);
    EXPECT_STREQ(now.entries[0].wifi_ssid, "Maple-Lane-Guest");
    EXPECT_EQ(now.entries[1].band, VX_BAND_5G);
    EXPECT_EQ(now.entries[1].enable, 1);
    EXPECT_EQ(now.entries[1].can_enable, 1);
    EXPECT_STREQ(now.entries[1].wifi_ssid, "Visitors");
    EXPECT_STREQ(now.entries[1].wpa_pre_shared_key, "visitor-key");
    EXPECT_STREQ(now.entries[1].sec_opt, "11i");
    EXPECT_STREQ(now.entries[1].id, "InternetGatewayDevice.X_Config.Wifi.Radio.1.Ssid.9.");
    EXPECT_STREQ(status().entries[3].wifi_ssid, "Visitors") << "one network, two views";
}

TEST_F(Wireless, RefusedGuestNetworkChangesNothing) {
    const vx_guest_network short_key = guests(VX_BAND_2G, "Visitors", "short");
    EXPECT_EQ(vx_device_guest_network_set(&short_key), 2);
    const vx_guest_network unknown = guests(3, "Visitors", "visitor-key");
    EXPECT_EQ(vx_device_guest_network_set(&unknown), 1);
    expect_unchanged();
}

// ---- MAC filter ----

TEST_F(Wireless, MacFilterIsReplacedByBand) {
    vx_mac_filter record{};
    record.count = 1;
    vx_mac_filter_band& band = record.entries[0];
    band.band = VX_BAND_5G;
    band.enabled = 1;
    band.policy = 1;
    put(band.id, "new-id");
    band.filter_count = 3;
    put(band.filters[0].mac_address, "02:00:00:00:00:01");
    put(band.filters[0].host_name, "one");
    put(band.filters[1].host_name, "no address");
    put(band.filters[2].mac_address, "02:00:00:00:00:03");
    ASSERT_EQ(vx_device_wlanfilterenhance_set(&record), 0);
    vx_mac_filter now{};
    ASSERT_EQ(vx_device_wlanfilterenhance_get(&now), 0);
    EXPECT_EQ(now.count, 2);
    EXPECT_EQ(now.entries[0].filter_count, 2) << "the other band stays";
    EXPECT_EQ(now.entries[1].band, VX_BAND_5G);
    EXPECT_EQ(now.entries[1].enabled, 1);
    EXPECT_EQ(now.entries[1].policy, 1);
    EXPECT_STREQ(now.entries[1].id, "new-id");
    ASSERT_EQ(now.entries[1].filter_count, 2) << "an entry without an address filters nothing";
    EXPECT_STREQ(now.entries[1].filters[0].host_name, "one");
    EXPECT_STREQ(now.entries[1].filters[1].mac_address, "02:00:00:00:00:03");
}

TEST_F(Wireless, MacFilterOfAnAbsentBandIsAdded) {
    lab::edit([](Json& state) { state.erase("mac_filter"); });
    vx_mac_filter record{};
    record.count = 1;
    record.entries[0].band = VX_BAND_2G;
    ASSERT_EQ(vx_device_wlanfilterenhance_set(&record), 0);
    vx_mac_filter now{};
    ASSERT_EQ(vx_device_wlanfilterenhance_get(&now), 0);
    EXPECT_EQ(now.count, 1);
    EXPECT_EQ(now.entries[0].filter_count, 0);
}

TEST_F(Wireless, RefusedMacFilterChangesNothing) {
    vx_mac_filter record{};
    record.count = 2;
    record.entries[0].band = VX_BAND_2G;
    record.entries[1].band = VX_BAND_5G;
    record.entries[1].filter_count = 65;
    EXPECT_EQ(vx_device_wlanfilterenhance_set(&record), 2);
    record.entries[1].filter_count = 0;
    record.entries[1].band = 3;
    EXPECT_EQ(vx_device_wlanfilterenhance_set(&record), 2);
    expect_unchanged();
}

// ---- schedules ----

vx_time_switch_entry schedule(const char* action, int id) {
    vx_time_switch_entry entry{};
    put(entry.action, action);
    entry.id = id;
    entry.enable = 1;
    put(entry.start_time, "22:00");
    put(entry.end_time, "07:00");
    put(entry.repeat_day, "1,2");
    return entry;
}

TEST_F(Wireless, SchedulesAreAddedReplacedAndDeleted) {
    const auto ids = [] {
        vx_time_switch now{};
        EXPECT_EQ(vx_device_wlantimeswitch_get(&now), 0);
        std::string text;
        for (int i = 0; i < now.count; ++i) {
            text += std::to_string(now.entries[i].id) + "@" + now.entries[i].start_time + " ";
        }
        return text;
    };
    const vx_time_switch_entry added = schedule("add", 7);
    ASSERT_EQ(vx_device_wlantimeswitch_set(&added), 0);
    EXPECT_EQ(ids(), "1@23:30 2@01:00 7@22:00 ");
    const vx_time_switch_entry replaced = schedule("modify", 1);
    ASSERT_EQ(vx_device_wlantimeswitch_set(&replaced), 0);
    EXPECT_EQ(ids(), "1@22:00 2@01:00 7@22:00 ");
    const vx_time_switch_entry deleted = schedule("delete", 2);
    ASSERT_EQ(vx_device_wlantimeswitch_set(&deleted), 0);
    EXPECT_EQ(ids(), "1@22:00 7@22:00 ");
    EXPECT_EQ(vx_device_wlantimeswitch_set(&deleted), 1);
    EXPECT_EQ(lab::journal().at(0)["arguments"]["action"], "add");
}

TEST_F(Wireless, SixteenSchedulesFit) {
    for (int id = 3; id <= 16; ++id) {
        const vx_time_switch_entry entry = schedule("add", id);
        ASSERT_EQ(vx_device_wlantimeswitch_set(&entry), 0);
    }
    const vx_time_switch_entry one_more = schedule("add", 17);
    EXPECT_EQ(vx_device_wlantimeswitch_set(&one_more), 3);
    const vx_time_switch_entry known = schedule("add", 16);
    EXPECT_EQ(vx_device_wlantimeswitch_set(&known), 0);
    EXPECT_EQ(lab::state()["schedules"].size(), 16U);
}

// ---- rate limits ----

TEST_F(Wireless, RateLimitShowsInTheHostTable) {
    vx_qos_host record{};
    put(record.mac_address, "02:5e:10:00:01:03");
    put(record.qosclass_id, "class-3");
    put(record.actual_name, "Television");
    record.device_down_rate_enable = 1;
    record.class_queue = 2;
    record.device_max_down_load_rate = 2048;
    record.device_max_up_load_rate = 512;
    ASSERT_EQ(vx_device_qosclasshost(&record), 0);
    lab::Guarded memory(sizeof(vx_host_table));
    auto* hosts = memory.as<vx_host_table>();
    ASSERT_EQ(vx_device_hostinfo(hosts), 0);
    const vx_host& host = hosts->entries[2];
    EXPECT_STREQ(host.qosclass_id, "class-3");
    EXPECT_STREQ(host.actual_name, "Television");
    EXPECT_STREQ(host.host_name, "tv-box") << "not in the request";
    EXPECT_EQ(host.device_down_rate_enable, 1);
    EXPECT_EQ(host.class_queue, 2);
    EXPECT_EQ(host.device_max_down_load_rate, 2048);
    EXPECT_EQ(host.device_max_up_load_rate, 512);
    EXPECT_EQ(hosts->entries[1].class_queue, 0);
}

TEST_F(Wireless, RateLimitOfAnUnknownHostIsRefused) {
    vx_qos_host record{};
    put(record.mac_address, "02:00:00:00:00:00");
    EXPECT_EQ(vx_device_qosclasshost(&record), 1);
    expect_unchanged();
}

// ---- platform channel ----

TEST_F(Wireless, PlatformSeesTheSameNetworks) {
    wifi_cfg now{};
    ASSERT_EQ(vx_device_wifi_get(&now), 0);
    EXPECT_EQ(now.radio_num, 2);
    EXPECT_EQ(now.radio[0].mode, VX_BAND_2G);
    EXPECT_EQ(now.radio[0].channel, 6);
    EXPECT_EQ(now.radio[1].mode, VX_BAND_5G);
    ASSERT_EQ(now.radio[1].ap_num, 2);
    const wifi_ap& ap = now.radio[1].ap[1];
    EXPECT_EQ(ap.apidx, 1);
    EXPECT_EQ(ap.enable, 0);
    EXPECT_STREQ(ap.ssid, "Maple-Lane-5G-Guest");
    EXPECT_STREQ(ap.key, "welcome-5104");
    EXPECT_EQ(ap.auth, VX_WIFI_AUTH_WPA2PSK);
    EXPECT_EQ(ap.encrypt, VX_WIFI_ENCRYPT_AES);
}

TEST_F(Wireless, EveryCodeReadsBack) {
    for (int auth = 1; auth <= 7; ++auth) {
        for (int encrypt = 0; encrypt <= 3; ++encrypt) {
            wifi_cfg config{};
            config.radio_num = 1;
            config.radio[0].mode = VX_BAND_2G;
            config.radio[0].channel = auth;
            config.radio[0].ap_num = 1;
            config.radio[0].ap[0].enable = 1;
            config.radio[0].ap[0].auth = auth;
            config.radio[0].ap[0].encrypt = encrypt;
            ASSERT_EQ(vx_device_wifi(&config), 0);
            wifi_cfg now{};
            ASSERT_EQ(vx_device_wifi_get(&now), 0);
            EXPECT_EQ(now.radio[0].channel, auth);
            EXPECT_EQ(now.radio[0].ap[0].auth, auth);
            EXPECT_EQ(now.radio[0].ap[0].encrypt, encrypt);
            EXPECT_STREQ(now.radio[0].ap[0].ssid, "Maple-Lane") << "not in the request";
        }
    }
}

TEST_F(Wireless, RefusedPlatformSettingsChangeNothing) {
    wifi_cfg config{};
    config.radio_num = 1;
    config.radio[0].mode = VX_BAND_2G;
    config.radio[0].channel = 11;
    config.radio[0].ap_num = 1;
    config.radio[0].ap[0].apidx = 2;
    EXPECT_EQ(vx_device_wifi(&config), 1);
    config.radio[0].ap[0].apidx = 0;
    config.radio[0].ap[0].auth = VX_WIFI_AUTH_WPA2PSK;
    config.radio[0].ap[0].encrypt = 4;
    EXPECT_EQ(vx_device_wifi(&config), 2);
    config.radio[0].ap_num = 17;
    EXPECT_EQ(vx_device_wifi(&config), 2);
    config.radio_num = 3;
    EXPECT_EQ(vx_device_wifi(&config), 2);
    expect_unchanged();
}

TEST_F(Wireless, SwitchesAndTimers) {
    wifitimer_cfg config{};
    config.wifiswitch_set = 1;
    config.ledswitch = 0; // without its set flag
    config.timer_num = 1;
    config.timer[0].enable = 1;
    put(config.timer[0].weekday, "7");
    put(config.timer[0].time, "10:00-11:00");
    ASSERT_EQ(vx_device_wifitimer(&config), 0);
    EXPECT_EQ(status().entries[0].wifi_enable, 0);
    EXPECT_EQ(lab::state()["led_switch"], true);

    wifitimer_cfg now{};
    const status_req all{0, 1, 1, 1};
    ASSERT_EQ(vx_device_wifitimer_get(&now, &all), 0);
    EXPECT_EQ(now.wifiswitch, 0);
    EXPECT_EQ(now.ledswitch, 1);
    ASSERT_EQ(now.timer_num, 1);
    EXPECT_EQ(now.timer[0].enable, 1);
    EXPECT_STREQ(now.timer[0].weekday, "7");
    EXPECT_STREQ(now.timer[0].time, "10:00-11:00");

    wifitimer_cfg led{};
    led.ledswitch_set = 1;
    ASSERT_EQ(vx_device_wifitimer(&led), 0);
    EXPECT_EQ(lab::state()["led_switch"], false);
    EXPECT_EQ(lab::state()["timers"].size(), 1U) << "a request without timers leaves them";
    led.timer_num = 8;
    EXPECT_EQ(vx_device_wifitimer(&led), 2);
}

TEST_F(Wireless, StatusHasWhatWasAskedFor) {
    wifitimer_cfg now{};
    const status_req nothing{1, 0, 0, 0};
    ASSERT_EQ(vx_device_wifitimer_get(&now, &nothing), 0);
    const wifitimer_cfg zero{};
    EXPECT_EQ(std::memcmp(&now, &zero, sizeof now), 0);
}

TEST_F(Wireless, WpsIsSwitched) {
    ASSERT_EQ(vx_device_wpsswitch(1), 0);
    expect_state([](Json& state) { state["wireless"]["wps"] = true; });
    ASSERT_EQ(vx_device_wpsswitch(0), 0);
    expect_unchanged();
}

} // namespace
