// SPDX-License-Identifier: MIT
// A device library that has every record ready in memory, so that a measurement sees what the
// daemon costs and not what a gateway does.
//
//   BENCH_PORT     the platform's CoAP port
//   BENCH_TLS      1 for TLS
//   BENCH_GATEWAY  file with a GatewaySize; without it, one of the process's own

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "gateway/gateway.h"
#include "shared_file.h"
#pragma GCC visibility push(default)
#include <vxquilan/device.h>
#pragma GCC visibility pop

namespace {

int setting(const char* name, int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

bench::GatewaySize& size() {
    static bench::GatewaySize own{16, 16};
    static bench::GatewaySize* const shared =
        bench::map_shared_file<bench::GatewaySize>("BENCH_GATEWAY");
    return shared != nullptr ? *shared : own;
}

struct Credentials {
    char id[128] = "0f6b3c52-bench";
    char secret[128] = "5d41402abc4b2a76b9719d911017c592";
    char code[32] = "";
    char access_token[128] = "";
    char refresh_token[128] = "";
    unsigned char key[128] = "0123456789abcde";
    int expiry = 0;
    int sequence = 1;
};

template <std::size_t Size>
int keep(char (&place)[Size], const char* text) {
    std::snprintf(place, Size, "%s", text);
    return 0;
}

#define TEXT(member, value) std::snprintf(record.member, sizeof record.member, "%s", value)
#define NUMBERED(member, format, number)                                                           \
    std::snprintf(record.member, sizeof record.member, format, number)

/** What a daemon asks for by itself. */
struct Identity {
    Credentials credentials;
    vx_station_list stations{};

    Identity() {
        stations.count = 16;
        for (int index = 0; index < stations.count; ++index)
            fill_station(stations.entries[index], index);
    }

    static void fill_station(vx_station& record, int index) {
        NUMBERED(mac, "02:5E:10:00:01:%02X", index);
        NUMBERED(name, "station-%d", index);
        TEXT(time, "2024-03-01 07:45:12");
        record.type = 1 + index % 3;
    }
};

/** What it only asks for when the platform does. */
struct Records {
    vx_wan_diagnosis diagnosis{};
    vx_device_information information{};
    vx_lan_host lan{};
    vx_wan wan{};
    vx_wlan_status wlan{};
    vx_mac_filter filter{};
    vx_time_switch schedules{};
    vx_guest_network guests{};
    wifi_cfg wifi{};
    wifitimer_cfg timers{};

    Records() {
        fill_diagnosis(diagnosis);
        fill_information(information);
        fill_lan(lan);
        fill_wan(wan);
        wlan.count = 4;
        for (int index = 0; index < wlan.count; ++index)
            fill_network(wlan.entries[index], index);
        filter.count = VX_MAC_FILTER_BAND_CAPACITY;
        for (int index = 0; index < filter.count; ++index)
            fill_band(filter.entries[index], index);
        schedules.count = 4;
        for (int index = 0; index < schedules.count; ++index)
            fill_schedule(schedules.entries[index], index);
        guests.count = VX_GUEST_ENTRY_CAPACITY;
        for (int index = 0; index < guests.count; ++index)
            fill_guest(guests.entries[index], index);
        fill_wifi();
    }

    static void fill_host(vx_host& record, int index) {
        TEXT(access_record, "2024-03-01 07:45:12");
        record.active = 1;
        NUMBERED(qosclass_id, "InternetGatewayDevice.QueueManagement.Classification.%d.", 1);
        record.device_max_down_load_rate = 20480;
        record.device_max_up_load_rate = 4096;
        NUMBERED(host_name, "host-%02d", index);
        record.active46 = 1;
        record.lease_time = 86400;
        NUMBERED(id, "InternetGatewayDevice.LANDevice.1.Hosts.Host.%02d.", index);
        TEXT(layer2_interface, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.");
        NUMBERED(actual_name, "Work laptop %02d", index);
        record.wlan_active = 1;
        NUMBERED(ip_address, "192.168.1.%03d", 100 + index);
        NUMBERED(domain, "host-%02d.home", index);
        NUMBERED(mac_address, "02:5E:10:00:01:%02X", index);
        TEXT(policer_id, "InternetGatewayDevice.QueueManagement.Policer.1.");
        TEXT(address_source, "DHCP");
        TEXT(icon_type, "pc");
        record.suggest_value = 3;
        record.bind_wan_line = 1;
        record.real_wan_line = 1;
        TEXT(dev_brands, "unknown");
        record.down_rate = 1234;
        record.up_rate = 567;
    }

    static void fill_diagnosis(vx_wan_diagnosis& record) {
        TEXT(status_code, "0");
        TEXT(status, "Connected");
        TEXT(result, "Internet reachable");
        record.has_internet_wan = 1;
        TEXT(external_ip_address, "203.0.113.25");
        TEXT(mac_address, "02:5E:10:00:00:02");
    }

    static void fill_information(vx_device_information& record) {
        TEXT(device_name, "gateway");
        TEXT(serial_number, "VX2024030100001");
        record.sn_hash_type = 1;
        TEXT(manufacturer_oui, "025E10");
        TEXT(software_version, "1.0.0");
        TEXT(hardware_version, "A1");
        record.up_time = 86400;
        TEXT(friendly_name, "Home gateway");
        record.cpu_usage = 7;
        record.mem_free = 65536;
        record.mem_total = 131072;
        record.pppoe_up_time = 86300;
        TEXT(modem_s_version, "2.1");
        TEXT(modem_h_version, "B");
        TEXT(manufacturer, "VX Labs");
        TEXT(bootloader_version, "1.1");
        TEXT(firmware_version, "1.0.0-20240301");
        TEXT(chip_model, "VX-SOC-1");
        TEXT(release_date, "2024-03-01");
        record.guide = 1;
    }

    static void fill_lan(vx_lan_host& record) {
        TEXT(first_mac, "02:5E:10:00:00:01");
        TEXT(dev_name, "br0");
        record.first_enable = 1;
        TEXT(id, "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.IPInterface.1.");
        TEXT(first_ip, "192.168.1.1");
        TEXT(mac_address, "02:5E:10:00:00:01");
        TEXT(domain_name, "gateway.home");
    }

    static void fill_wan(vx_wan& record) {
        TEXT(id, "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANPPPConnection.1.");
        TEXT(username, "subscriber@example.net");
        TEXT(password, "correct horse battery staple");
        TEXT(access_type, "Ethernet");
        TEXT(access_status, "Up");
        TEXT(connection_type, "IP_Routed");
        TEXT(connection_status, "Connected");
        record.nat_type = 1;
        record.up_bandwidth = 51200;
        record.down_bandwidth = 512000;
        TEXT(ipv4_dns_servers, "192.0.2.53,192.0.2.54");
        record.enable = 1;
        record.mru = 1492;
        TEXT(ipv4_addr, "203.0.113.25");
        TEXT(ppp_trigger, "AlwaysOn");
        TEXT(service_list, "INTERNET");
        TEXT(lower_layer, "InternetGatewayDevice.WANDevice.1.WANEthernetInterfaceConfig.");
        record.mtu = 1492;
        TEXT(ipv4_addr_type, "PPPoE");
        TEXT(ipv4_mask, "255.255.255.0");
        TEXT(mac_colone, "02:5E:10:00:00:02");
        record.mss = 1452;
        record.ppp_idletime = 300;
        record.is_default = 1;
        TEXT(ipv4_gateway, "203.0.113.1");
        TEXT(alias, "internet");
        TEXT(name, "1_INTERNET_R_VID_100");
        TEXT(ppp_auth_mode, "AUTO");
        record.up_bandwidth_max = 102400;
        record.down_bandwidth_max = 1024000;
        record.bandwidth_time = 1709279112;
        record.is_configured = 1;
        TEXT(wan_type, "PPPoE");
        record.ipv4_enable = 1;
    }

    static void fill_network(vx_wlan_network& record, int index) {
        record.wmm_enable = 1;
        TEXT(wpa_pre_shared_key, "correct horse battery");
        record.transmit_power = 100;
        TEXT(x_wlan11n_ht_mcs, "auto");
        TEXT(beacon_type, index == 3 ? "None" : "WPAand11i");
        TEXT(wpa_encryption_mode, "TKIPandAESEncryption");
        TEXT(wlan_standard, "b/g/n");
        record.wifi_enable = 1;
        TEXT(frequency_band, index % 2 == 0 ? "2.4GHz" : "5GHz");
        record.wifi_ssid_index = index + 1;
        TEXT(x_wlan11n_bw_control, "20/40");
        TEXT(basic_auth_mode, "None");
        record.wifi_ssid_enable = 1;
        NUMBERED(wifi_ssid, "home-%d", index);
        TEXT(wifi_ssid_factory, "VX-0001");
        TEXT(x_wlan11n_gi_control, "auto");
        record.channel = 6;
        record.x_associate_device_num = 3;
        TEXT(max_bit_rate, "Auto");
    }

    static void fill_band(vx_mac_filter_band& record, int index) {
        record.band = index == 0 ? VX_BAND_2G : VX_BAND_5G;
        record.enabled = 1;
        NUMBERED(id, "InternetGatewayDevice.X_Config.Wifi.Radio.%d.Ssid.1.", index + 1);
        for (int entry = 0; entry < VX_MAC_FILTER_CAPACITY; ++entry)
            fill_filter(record.filters[entry], entry);
    }

    static void fill_filter(vx_mac_filter_entry& record, int index) {
        NUMBERED(mac_address, "02:5E:10:00:02:%02X", index);
        NUMBERED(host_name, "filtered-%02d", index);
    }

    static void fill_schedule(vx_time_switch_entry& record, int index) {
        record.enable = 1;
        TEXT(end_time, "23:00");
        TEXT(start_time, "06:30");
        record.id = index + 1;
        TEXT(repeat_day, "1,2,3,4,5");
    }

    static void fill_guest(vx_guest_entry& record, int index) {
        TEXT(sec_opt, "WPAand11i");
        record.enable = 1;
        TEXT(wifi_ssid, "guests");
        TEXT(wpa_pre_shared_key, "welcome to our home");
        record.band = index == 0 ? VX_BAND_2G : VX_BAND_5G;
        NUMBERED(id, "InternetGatewayDevice.LANDevice.2.WLANConfiguration.%d.", index + 1);
    }

    void fill_wifi() {
        wifi.radio_num = VX_WIFI_RADIO_CAPACITY;
        for (int index = 0; index < wifi.radio_num; ++index) {
            wifi_radio& radio = wifi.radio[index];
            radio.mode = index == 0 ? VX_BAND_2G : VX_BAND_5G;
            radio.channel = 6;
            radio.ap_num = 2;
            for (wifi_ap& record : radio.ap) {
                record.enable = 1;
                TEXT(ssid, "home");
                TEXT(key, "correct horse battery");
                record.auth = VX_WIFI_AUTH_WPA2PSK;
                record.encrypt = VX_WIFI_ENCRYPT_AES;
            }
        }
        timers.wifiswitch = 1;
        timers.timer_num = 2;
        for (wifitimer_entry& record : timers.timer) {
            record.enable = 1;
            TEXT(weekday, "1,2,3");
            TEXT(time, "22:00");
        }
    }
};

// The daemon asks from several threads, but nothing here changes while it is measured.
Identity& memory() {
    static Identity identity;
    return identity;
}

// These are made when they are first asked for: they are not the daemon's memory. Each daemon asks
// from one thread only.
const Records& records() {
    static const Records made;
    return made;
}

const vx_host* hosts() {
    static vx_host entries[VX_HOST_CAPACITY];
    if (entries[0].active == 0) {
        for (int index = 0; index < VX_HOST_CAPACITY; ++index)
            Records::fill_host(entries[index], index);
    }
    return entries;
}

template <class Record>
int give(Record* place, const Record& record) {
    *place = record;
    return 0;
}

} // namespace

bench::GatewaySize* bench_gateway_size() {
    return &size();
}

#define CONSTANT_TEXT(name, value)                                                                 \
    int name(char* text) {                                                                         \
        std::strcpy(text, value);                                                                  \
        return 0;                                                                                  \
    }
#define STORED_TEXT(name, member)                                                                  \
    int name##_get(char* text) {                                                                   \
        std::strcpy(text, memory().credentials.member);                                            \
        return 0;                                                                                  \
    }                                                                                              \
    int name##_set(const char* text) {                                                             \
        return keep(memory().credentials.member, text);                                            \
    }
#define NUMBER(name, value)                                                                        \
    int name(int* number) {                                                                        \
        *number = value;                                                                           \
        return 0;                                                                                  \
    }
#define RECORD(name, type, member)                                                                 \
    int name(type* record) {                                                                       \
        return give(record, records().member);                                                     \
    }
#define ACCEPT(name, argument)                                                                     \
    int name(argument) {                                                                           \
        return 0;                                                                                  \
    }

int port_device_init() {
    memory();
    return 0;
}
ACCEPT(port_device_init_net, void)
CONSTANT_TEXT(port_areacode_get, "")
NUMBER(port_device_mode_get, 0)
ACCEPT(port_device_mode_set, int)
STORED_TEXT(port_device_id, id)
STORED_TEXT(port_device_secret, secret)
STORED_TEXT(port_device_code, code)
STORED_TEXT(port_device_accesstoken, access_token)
STORED_TEXT(port_device_refreshtoken, refresh_token)
NUMBER(port_device_timeout_get, memory().credentials.expiry)
int port_device_timeout_set(int timeout) {
    memory().credentials.expiry = static_cast<int>(std::time(nullptr)) + timeout;
    return 0;
}
ACCEPT(port_device_firstguide_set, int)
CONSTANT_TEXT(port_device_mac_get, "02:5E:10:00:00:01")
CONSTANT_TEXT(port_device_sn_get, "VX2024030100001")
CONSTANT_TEXT(port_device_cuei_get, "00000000-VXG-025E10000001")
CONSTANT_TEXT(port_device_vendor_get, "VX")
CONSTANT_TEXT(port_device_model_get, "VX-HG100")
CONSTANT_TEXT(port_device_devtype_get, "gateway")
CONSTANT_TEXT(port_device_manu_get, "VX Labs")
CONSTANT_TEXT(port_device_prodid_get, "vx-home-gateway-100")
CONSTANT_TEXT(port_device_hdversion_get, "A1")
CONSTANT_TEXT(port_device_swversion_get, "1.0.0")
NUMBER(port_device_prottype_get, 2)

NUMBER(port_device_coap_type, setting("BENCH_TLS", 0))
NUMBER(port_device_coap_debug, 0)
int port_device_app_ip(char* host, int* port) {
    static const int configured = setting("BENCH_PORT", 5683);
    std::strcpy(host, "127.0.0.1");
    *port = configured;
    return 0;
}
int vx_device_stainfo_get(vx_station_list* record) {
    return give(record, memory().stations);
}
int vx_device_stainfo_byget(vx_station_list* record, int) {
    return vx_device_stainfo_get(record);
}
ACCEPT(vx_device_deldevice, void)
ACCEPT(vx_device_reboot, void)
ACCEPT(vx_device_restoredefcfg, void)
RECORD(vx_device_wandiagnose, vx_wan_diagnosis, diagnosis)
int vx_device_hostinfo(vx_host_table* record) {
    record->count = size().hosts;
    std::copy_n(hosts(), record->count, record->entries);
    return 0;
}
RECORD(vx_device_info, vx_device_information, information)
RECORD(vx_device_lanhost, vx_lan_host, lan)
RECORD(vx_device_wan, vx_wan, wan)
RECORD(vx_device_wlanbasic, vx_wlan_status, wlan)
ACCEPT(vx_device_sendsetting, const vx_wlan_status*)
ACCEPT(vx_device_wlanbasic_set, const vx_radio_switch*)
ACCEPT(vx_device_ssidsetting, const vx_ssid_settings*)
ACCEPT(vx_device_wifi_check, const vx_guide*)
ACCEPT(vx_device_wlanguidebasic, const vx_guide*)
RECORD(vx_device_guest_network_get, vx_guest_network, guests)
ACCEPT(vx_device_guest_check, const vx_guest_network*)
ACCEPT(vx_device_guest_network_set, const vx_guest_network*)
int vx_device_wlanfilterenhance_get(vx_mac_filter* record) {
    *record = records().filter;
    for (vx_mac_filter_band& band : record->entries)
        band.filter_count = size().filters;
    return 0;
}
ACCEPT(vx_device_wlanfilterenhance_set, const vx_mac_filter*)
RECORD(vx_device_wlantimeswitch_get, vx_time_switch, schedules)
ACCEPT(vx_device_wlantimeswitch_set, const vx_time_switch_entry*)
ACCEPT(vx_device_qosclasshost, const vx_qos_host*)

CONSTANT_TEXT(port_device_ip_get, "203.0.113.25")
CONSTANT_TEXT(port_device_gwip_get, "127.0.0.1")
int port_device_encryptkey_get(unsigned char* key) {
    std::memcpy(key, memory().credentials.key, sizeof memory().credentials.key);
    return 0;
}
int port_device_encryptkey_set(const unsigned char* key) {
    std::memcpy(memory().credentials.key, key, sizeof memory().credentials.key);
    return 0;
}
int port_device_sequence_get() {
    return memory().credentials.sequence;
}
int port_device_sequence_set() {
    ++memory().credentials.sequence;
    return 0;
}
CONSTANT_TEXT(port_device_wanmac_get, "02:5E:10:00:00:02")
CONSTANT_TEXT(port_device_version_get, "1.0")
CONSTANT_TEXT(port_device_url_get, "http://192.168.1.1/")
NUMBER(port_device_uplinktype_get, 0)
NUMBER(port_device_syncswitch_get, 1)
ACCEPT(vx_device_wifi, const wifi_cfg*)
RECORD(vx_device_wifi_get, wifi_cfg, wifi)
ACCEPT(vx_device_wifitimer, const wifitimer_cfg*)
int vx_device_wifitimer_get(wifitimer_cfg* record, const status_req*) {
    return give(record, records().timers);
}
ACCEPT(vx_device_wpsswitch, int)
void* vx_device_upgrade(void* order) {
    return order;
}
