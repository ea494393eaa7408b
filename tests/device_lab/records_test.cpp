// SPDX-License-Identifier: MIT
// Getters: which bytes they fill, and that they fill no others.

#include "support.h"

#include <cstdint>
#include <dlfcn.h>
#include <vxquilan/device.h>

namespace {

using lab::Guarded;
using lab::Json;
using lab::Pointer;

class Getters : public lab::DeviceLab {};

// ---- texts ----

struct TextGetter {
    int (*get)(char*);
    const char* pointer;
    std::size_t size;
};

constexpr TextGetter text_getters[] = {
    {port_areacode_get, "/identity/area_code", 32},
    {port_device_id_get, "/credentials/device_id", 128},
    {port_device_secret_get, "/credentials/device_secret", 128},
    {port_device_code_get, "/credentials/code", 32},
    {port_device_accesstoken_get, "/credentials/access_token", 128},
    {port_device_refreshtoken_get, "/credentials/refresh_token", 128},
    {port_device_mac_get, "/identity/mac", 32},
    {port_device_sn_get, "/device_information/serial_number", 128},
    {port_device_cuei_get, "/identity/cuei", 256},
    {port_device_vendor_get, "/identity/vendor", 32},
    {port_device_model_get, "/identity/model", 16},
    {port_device_devtype_get, "/identity/device_type", 16},
    {port_device_manu_get, "/identity/manufacturer", 16},
    {port_device_prodid_get, "/identity/product_id", 128},
    {port_device_hdversion_get, "/device_information/hardware_version", 64},
    {port_device_swversion_get, "/device_information/software_version", 64},
    {port_device_ip_get, "/platform_channel/ip", 16},
    {port_device_gwip_get, "/platform_channel/gateway_ip", 64},
    {port_device_wanmac_get, "/platform_channel/wan_mac", 32},
    {port_device_version_get, "/platform_channel/version", 128},
    {port_device_url_get, "/platform_channel/url", 256},
};

TEST_F(Getters, TextsOfEveryLengthStayInTheirBuffers) {
    for (const std::size_t extra : {0U, 1U, 2U, 500U}) {
        lab::edit([&](Json& state) {
            for (const TextGetter& getter : text_getters) {
                state[Pointer(getter.pointer)] = std::string(getter.size - 1 + extra, 'a');
            }
        });
        for (const TextGetter& getter : text_getters) {
            Guarded buffer(getter.size);
            EXPECT_EQ(getter.get(buffer.data()), 0);
            EXPECT_TRUE(buffer.intact()) << getter.pointer;
            EXPECT_EQ(std::string(buffer.data(), getter.size),
                      std::string(getter.size - 1, 'a') + '\0')
                << getter.pointer;
        }
    }
}

TEST_F(Getters, TextIsCutBetweenCharacters) {
    lab::edit([](Json& state) { state["identity"]["model"] = "0123456789abc\xe6\xb1\x89tail"; });
    char model[16] = {};
    ASSERT_EQ(port_device_model_get(model), 0);
    EXPECT_STREQ(model, "0123456789abc");
}

TEST_F(Getters, MissingMemberFailsAndLeavesTheBuffer) {
    lab::edit([](Json& state) {
        for (const TextGetter& getter : text_getters) {
            const Pointer pointer(getter.pointer);
            state[pointer.parent_pointer()].erase(pointer.back());
        }
        state["identity"].erase("protocol_type");
    });
    for (const TextGetter& getter : text_getters) {
        char buffer[256] = "untouched";
        EXPECT_NE(getter.get(buffer), 0) << getter.pointer;
        EXPECT_STREQ(buffer, "untouched") << getter.pointer;
    }
    int type = -1;
    EXPECT_NE(port_device_prottype_get(&type), 0);
    EXPECT_EQ(type, -1);
}

TEST_F(Getters, AppPlatformHasHostAndPort) {
    lab::edit([](Json& state) {
        state["app_platform"]["host"] = std::string(200, 'h');
        state["app_platform"]["port"] = 61616;
    });
    Guarded host(64);
    int port = -1;
    ASSERT_EQ(port_device_app_ip(host.data(), &port), 0);
    EXPECT_TRUE(host.intact());
    EXPECT_EQ(std::string(host.data(), 64), std::string(63, 'h') + '\0');
    EXPECT_EQ(port, 61616);
}

TEST_F(Getters, GatewayWithoutAnAddressSaysSo) {
    char ip[16] = {};
    EXPECT_EQ(port_device_ip_get(ip), 0);
    EXPECT_STREQ(ip, "203.0.113.25");
    lab::edit([](Json& state) { state["platform_channel"]["ip"] = ""; });
    EXPECT_NE(port_device_ip_get(ip), 0);
}

TEST_F(Getters, Numbers) {
    struct NumberGetter {
        int (*get)(int*);
        const char* pointer;
    };
    constexpr NumberGetter getters[] = {
        {port_device_mode_get, "/settings/mode"},
        {port_device_timeout_get, "/credentials/token_expiry"},
        {port_device_prottype_get, "/identity/protocol_type"},
        {port_device_coap_debug, "/app_platform/coap_debug"},
        {port_device_uplinktype_get, "/platform_channel/uplink_type"},
    };
    int value = 1000;
    for (const NumberGetter& getter : getters) {
        ++value;
        lab::edit([&](Json& state) { state[Pointer(getter.pointer)] = value; });
        int number = -1;
        EXPECT_EQ(getter.get(&number), 0);
        EXPECT_EQ(number, value) << getter.pointer;
    }
}

TEST_F(Getters, FlagsAreOneAndZero) {
    for (const bool on : {true, false}) {
        lab::edit([&](Json& state) {
            state["app_platform"]["tls"] = on;
            state["platform_channel"]["sync_switch"] = on;
        });
        int number = -1;
        EXPECT_EQ(port_device_coap_type(&number), 0);
        EXPECT_EQ(number, on ? 1 : 0);
        number = -1;
        EXPECT_EQ(port_device_syncswitch_get(&number), 0);
        EXPECT_EQ(number, on ? 1 : 0);
    }
}

// ---- records: the bytes, by offsets of their own ----

struct Place {
    const char* key;
    std::size_t offset;
    std::size_t size; ///< 4 is a number, anything else a text
};

constexpr Place host_places[] = {
    {"access_record", 0, 32},
    {"active", 32, 4},
    {"qosclass_id", 36, 256},
    {"device_max_down_load_rate", 292, 4},
    {"device_max_up_load_rate", 296, 4},
    {"host_name", 300, 64},
    {"active46", 364, 4},
    {"parent_control", 368, 4},
    {"lease_time", 372, 4},
    {"id", 376, 256},
    {"class_queue", 632, 4},
    {"layer2_interface", 636, 256},
    {"actual_name", 892, 64},
    {"wlan_active", 956, 4},
    {"ip_address", 960, 16},
    {"domain", 976, 256},
    {"mac_address", 1232, 32},
    {"policer_id", 1264, 256},
    {"device_down_rate_enable", 1520, 4},
    {"address_source", 1524, 16},
    {"parent_control_enable", 1540, 4},
    {"mac_filter_id", 1544, 256},
    {"icon_type", 1800, 96},
    {"weak_info", 1896, 4},
    {"suggest_value", 1900, 4},
    {"weak_flt_enable", 1904, 4},
    {"bind_wan_line", 1908, 4},
    {"real_wan_line", 1912, 4},
    {"tel_operator", 1916, 4},
    {"is_slave", 1920, 4},
    {"dev_brands", 1924, 256},
    {"down_rate", 2180, 4},
    {"up_rate", 2184, 4},
};

constexpr Place wan_diagnosis_places[] = {
    {"status_code", 0, 32},
    {"status", 32, 32},
    {"result", 64, 32},
    {"has_internet_wan", 96, 4},
    {"external_ip_address", 100, 32},
    {"mac_address", 132, 32},
};

constexpr Place device_information_places[] = {
    {"device_name", 0, 32},        {"serial_number", 32, 64},
    {"sn_hash_type", 96, 4},       {"manufacturer_oui", 100, 64},
    {"software_version", 164, 64}, {"hardware_version", 228, 64},
    {"up_time", 292, 4},           {"friendly_name", 296, 64},
    {"cpu_usage", 360, 4},         {"mem_free", 364, 4},
    {"mem_total", 368, 4},         {"pppoe_up_time", 372, 4},
    {"modem_s_version", 376, 64},  {"modem_h_version", 440, 64},
    {"manufacturer", 504, 64},     {"bootloader_version", 568, 64},
    {"firmware_version", 632, 64}, {"chip_model", 696, 64},
    {"release_date", 760, 192},    {"guide", 952, 4},
    {"first_login", 956, 4},
};

constexpr Place lan_host_places[] = {
    {"first_mac", 0, 32},      {"dev_name", 32, 128},
    {"first_enable", 160, 4},  {"id", 164, 256},
    {"first_ip", 420, 16},     {"mac_address", 436, 32},
    {"domain_name", 468, 128}, {"show_lan_domain_enable", 596, 4},
};

constexpr Place wan_places[] = {
    {"id", 0, 256},
    {"username", 256, 256},
    {"password", 512, 256},
    {"access_type", 768, 16},
    {"access_status", 784, 16},
    {"connection_type", 800, 32},
    {"connection_status", 832, 32},
    {"nat_type", 864, 4},
    {"up_bandwidth", 868, 4},
    {"down_bandwidth", 872, 4},
    {"ipv4_dns_servers", 876, 64},
    {"dns_override_allowed", 940, 4},
    {"enable", 944, 4},
    {"x_spe_dial_mode", 948, 4},
    {"mru", 952, 4},
    {"ipv4_addr", 956, 16},
    {"ppp_trigger", 972, 16},
    {"service_list", 988, 64},
    {"lower_layer", 1052, 256},
    {"mtu", 1308, 4},
    {"ipv4_addr_type", 1312, 8},
    {"ipv4_mask", 1320, 16},
    {"dial_num", 1336, 16},
    {"mac_colone", 1352, 32},
    {"mss", 1384, 4},
    {"ppp_idletime", 1388, 4},
    {"mac_colone_enable", 1392, 4},
    {"is_default", 1396, 4},
    {"ipv4_gateway", 1400, 16},
    {"alias", 1416, 64},
    {"name", 1480, 128},
    {"pppoe_service_name", 1608, 256},
    {"ppp_auth_mode", 1864, 16},
    {"up_bandwidth_max", 1880, 4},
    {"down_bandwidth_max", 1884, 4},
    {"bandwidth_time", 1888, 4},
    {"down_bandwidth_history", 1892, 4},
    {"up_bandwidth_history", 1896, 4},
    {"ppp_dial_ip_mode", 1900, 16},
    {"ppp_dial_ip_addr", 1916, 16},
    {"is_configured", 1932, 4},
    {"wan_type", 1936, 32},
    {"ipv4_enable", 1968, 4},
    {"pppoe_ac_name", 1972, 32},
    {"tel_operator", 2004, 4},
};

constexpr Place station_places[] = {
    {"mac", 0, 32}, {"name", 32, 64}, {"time", 96, 32}, {"type", 128, 4}};

constexpr Place schedule_places[] = {{"enable", 8, 4},
                                     {"end_time", 12, 16},
                                     {"start_time", 28, 16},
                                     {"id", 44, 4},
                                     {"repeat_day", 48, 16}};

constexpr Place mac_filter_places[] = {
    {"band", 0, 4}, {"enabled", 4, 4}, {"id", 8, 64}, {"policy", 72, 4}};

constexpr Place radio_places[] = {
    {"transmit_power", 68, 4},
    {"x_wlan11n_ht_mcs", 72, 72},
    {"wlan_standard", 500, 12},
    {"wifi_enable", 512, 4},
    {"x_wlan11n_bw_control", 584, 16},
    {"x_wlan11n_gi_control", 744, 16},
    {"channel", 764, 4},
    {"max_bit_rate", 772, 264},
    {"wmm_enable", 0, 4},
    {"frequency_band", 564, 16},
};

constexpr Place network_places[] = {
    {"wpa_pre_shared_key", 4, 64},      {"beacon_type", 144, 68},
    {"wpa_encryption_mode", 212, 288},  {"wifi_ssid_index", 580, 4},
    {"basic_auth_mode", 600, 32},       {"wifi_ssid_enable", 632, 4},
    {"wifi_hide_broadcast", 668, 4},    {"wifi_ssid", 672, 40},
    {"wifi_ssid_factory", 712, 32},     {"x_wlan_isolate_control", 760, 4},
    {"x_associate_device_num", 768, 4},
};

std::int32_t number_at(const char* place) {
    std::int32_t number = 0;
    std::memcpy(&number, place, sizeof number);
    return number;
}

/// Gives every member a value of its own: numbers count up, texts are too long for their place.
template <std::size_t count>
void set_all(Json& object, const Place (&places)[count], int seed) {
    for (const Place& place : places) {
        ++seed;
        if (place.size == 4) {
            object[place.key] = seed;
        } else {
            object[place.key] = std::to_string(seed) + std::string(place.size, 'z');
        }
    }
}

template <std::size_t count>
void expect_all(const char* record, const Place (&places)[count], int seed) {
    for (const Place& place : places) {
        ++seed;
        if (place.size == 4) {
            EXPECT_EQ(number_at(record + place.offset), seed) << place.key;
            continue;
        }
        std::string text = std::to_string(seed) + std::string(place.size, 'z');
        text.resize(place.size - 1);
        EXPECT_EQ(std::string(record + place.offset, place.size), text + '\0') << place.key;
    }
}

/// A record whose members are all in one object of the state file.
template <class Record, std::size_t count>
void expect_object(int (*get)(Record*), const char* pointer, std::size_t size,
                   const Place (&places)[count]) {
    lab::edit([&](Json& state) { set_all(state[Pointer(pointer)], places, 100); });
    Guarded record(size);
    ASSERT_EQ(get(record.as<Record>()), 0);
    EXPECT_TRUE(record.intact());
    expect_all(record.data(), places, 100);
}

TEST_F(Getters, WanDiagnosis) {
    expect_object(vx_device_wandiagnose, "/wan_diagnosis", 164, wan_diagnosis_places);
}

TEST_F(Getters, DeviceInformation) {
    expect_object(vx_device_info, "/device_information", 960, device_information_places);
}

TEST_F(Getters, LanHost) {
    expect_object(vx_device_lanhost, "/lan_host", 600, lan_host_places);
}

TEST_F(Getters, Wan) {
    expect_object(vx_device_wan, "/wan", 2008, wan_places);
}

/// A record of entries in a list of the state file, full to the last.
template <class Record, std::size_t count>
void expect_list(int (*get)(Record*), const char* key, std::size_t entries, std::size_t entry_size,
                 std::size_t count_offset, std::size_t size, const Place (&places)[count]) {
    for (const std::size_t used : {std::size_t{0}, std::size_t{1}, entries}) {
        lab::edit([&](Json& state) {
            Json list = Json::array();
            for (std::size_t i = 0; i < used; ++i) {
                Json entry = Json::object();
                set_all(entry, places, static_cast<int>(1000 * i));
                list.push_back(entry);
            }
            state[key] = list;
        });
        Guarded record(size);
        ASSERT_EQ(get(record.as<Record>()), 0);
        EXPECT_TRUE(record.intact());
        EXPECT_EQ(number_at(record.data() + count_offset), static_cast<std::int32_t>(used));
        for (std::size_t i = 0; i < used; ++i) {
            expect_all(record.data() + i * entry_size, places, static_cast<int>(1000 * i));
        }
    }
}

TEST_F(Getters, Hosts) {
    expect_list(vx_device_hostinfo, "hosts", 64, 2188, 140032, 140036, host_places);
}

TEST_F(Getters, Stations) {
    expect_list(vx_device_stainfo_get, "stations", 64, 132, 8448, 8452, station_places);
}

TEST_F(Getters, Schedules) {
    expect_list(vx_device_wlantimeswitch_get, "schedules", 16, 68, 1088, 1092, schedule_places);
}

TEST_F(Getters, MacFilters) {
    expect_list(vx_device_wlanfilterenhance_get, "mac_filter", 2, 8272, 16544, 16548,
                mac_filter_places);
    lab::edit([](Json& state) {
        Json filters = Json::array();
        for (int i = 0; i < 64; ++i) {
            filters.push_back({{"mac_address", "m" + std::to_string(i) + std::string(64, 'm')},
                               {"host_name", "h" + std::to_string(i)}});
        }
        state["mac_filter"] = {{{"band", 2}, {"filters", filters}}};
    });
    Guarded record(16548);
    ASSERT_EQ(vx_device_wlanfilterenhance_get(record.as<vx_mac_filter>()), 0);
    EXPECT_TRUE(record.intact());
    EXPECT_EQ(number_at(record.data() + 16544), 1);
    EXPECT_EQ(number_at(record.data() + 8268), 64);
    EXPECT_EQ(std::strlen(record.data() + 76 + 63 * 128), 63U);
    EXPECT_STREQ(record.data() + 76 + 63 * 128 + 64, "h63");
}

TEST_F(Getters, NetworksTakeTheirRadiosMembers) {
    lab::edit([](Json& state) {
        Json radio = Json::object();
        set_all(radio, radio_places, 100);
        for (int i = 0; i < 8; ++i) {
            Json network = Json::object();
            set_all(network, network_places, 1000 * i);
            radio["networks"].push_back(network);
        }
        state["wireless"]["radios"] = Json::array({radio});
        state["wireless"]["dbho_enable"] = true;
    });
    Guarded record(8296);
    ASSERT_EQ(vx_device_wlanbasic(record.as<vx_wlan_status>()), 0);
    EXPECT_TRUE(record.intact());
    EXPECT_EQ(number_at(record.data()), 1);
    EXPECT_EQ(number_at(record.data() + 4), 8);
    for (int i = 0; i < 8; ++i) {
        const char* entry = record.data() + 8 + 1036 * i;
        expect_all(entry, radio_places, 100);
        expect_all(entry, network_places, 1000 * i);
    }
}

TEST_F(Getters, StationsAreChosenByTheirType) {
    lab::edit([](Json& state) {
        state["stations"] = Json::parse(R"([{"mac": "a", "type": 1}, {"mac": "b", "type": 3},
                                            {"mac": "c", "type": 1}])");
    });
    const auto chosen = [](int selector) {
        Guarded record(sizeof(vx_station_list));
        auto* stations = record.as<vx_station_list>();
        EXPECT_EQ(vx_device_stainfo_byget(stations, selector), 0);
        std::string macs;
        for (int i = 0; i < stations->count; ++i) {
            macs += stations->entries[i].mac;
        }
        return macs;
    };
    EXPECT_EQ(chosen(1), "ac");
    EXPECT_EQ(chosen(3), "b");
    EXPECT_EQ(chosen(2), "");
    EXPECT_EQ(chosen(0), "abc");
}

TEST_F(Getters, SampleIsABelievableHome) {
    Guarded hosts(sizeof(vx_host_table));
    ASSERT_EQ(vx_device_hostinfo(hosts.as<vx_host_table>()), 0);
    EXPECT_EQ(hosts.as<vx_host_table>()->count, 12);
    Guarded networks(sizeof(vx_wlan_status));
    ASSERT_EQ(vx_device_wlanbasic(networks.as<vx_wlan_status>()), 0);
    EXPECT_EQ(networks.as<vx_wlan_status>()->count, 4);
    Guarded guests(sizeof(vx_guest_network));
    ASSERT_EQ(vx_device_guest_network_get(guests.as<vx_guest_network>()), 0);
    EXPECT_EQ(guests.as<vx_guest_network>()->count, 2);
    EXPECT_EQ(guests.as<vx_guest_network>()->entries[0].band, VX_BAND_2G);
    EXPECT_STREQ(guests.as<vx_guest_network>()->entries[1].wifi_ssid, "Maple-Lane-5G-Guest");
}

TEST(Library, HasEveryOperation) {
    for (const char* name : {"port_device_init",
                             "port_device_init_net",
                             "port_areacode_get",
                             "port_device_mode_get",
                             "port_device_mode_set",
                             "port_device_id_get",
                             "port_device_id_set",
                             "port_device_secret_get",
                             "port_device_secret_set",
                             "port_device_code_get",
                             "port_device_code_set",
                             "port_device_accesstoken_get",
                             "port_device_accesstoken_set",
                             "port_device_refreshtoken_get",
                             "port_device_refreshtoken_set",
                             "port_device_timeout_get",
                             "port_device_timeout_set",
                             "port_device_firstguide_set",
                             "port_device_mac_get",
                             "port_device_sn_get",
                             "port_device_cuei_get",
                             "port_device_vendor_get",
                             "port_device_model_get",
                             "port_device_devtype_get",
                             "port_device_manu_get",
                             "port_device_prodid_get",
                             "port_device_hdversion_get",
                             "port_device_swversion_get",
                             "port_device_prottype_get",
                             "port_device_coap_type",
                             "port_device_coap_debug",
                             "port_device_app_ip",
                             "vx_device_stainfo_get",
                             "vx_device_stainfo_byget",
                             "vx_device_deldevice",
                             "vx_device_reboot",
                             "vx_device_restoredefcfg",
                             "vx_device_wandiagnose",
                             "vx_device_hostinfo",
                             "vx_device_info",
                             "vx_device_lanhost",
                             "vx_device_wan",
                             "vx_device_wlanbasic",
                             "vx_device_sendsetting",
                             "vx_device_wlanbasic_set",
                             "vx_device_ssidsetting",
                             "vx_device_wifi_check",
                             "vx_device_wlanguidebasic",
                             "vx_device_guest_network_get",
                             "vx_device_guest_check",
                             "vx_device_guest_network_set",
                             "vx_device_wlanfilterenhance_get",
                             "vx_device_wlanfilterenhance_set",
                             "vx_device_wlantimeswitch_get",
                             "vx_device_wlantimeswitch_set",
                             "vx_device_qosclasshost",
                             "port_device_ip_get",
                             "port_device_gwip_get",
                             "port_device_encryptkey_get",
                             "port_device_encryptkey_set",
                             "port_device_sequence_get",
                             "port_device_sequence_set",
                             "port_device_wanmac_get",
                             "port_device_version_get",
                             "port_device_url_get",
                             "port_device_uplinktype_get",
                             "port_device_syncswitch_get",
                             "vx_device_wifi",
                             "vx_device_wifi_get",
                             "vx_device_wifitimer",
                             "vx_device_wifitimer_get",
                             "vx_device_wpsswitch",
                             "vx_device_upgrade"}) {
        EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;
    }
}

} // namespace
