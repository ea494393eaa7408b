/* SPDX-License-Identifier: MIT */
#ifndef VXQUILAN_RECORDS_H
#define VXQUILAN_RECORDS_H

/**
 * @file
 * The records that the daemon and the device library hand to each other by pointer.
 *
 * Layouts are fixed byte for byte and are checked below, offset by offset. Integers are signed, 32
 * bits wide, in the processor's own byte order. Texts are NUL-terminated inside their array; the
 * array's size includes the NUL. The daemon zero-fills every record before it is filled, so that a
 * member that nobody sets reads as 0 or as the empty text; the members called reserved stay zero.
 *
 * A flag that the device library fills is 0 for off and anything else for on. A flag that the
 * daemon takes from a platform request carries the JSON type of the request's member: 0 false, 1
 * true, 2 null, 3 number, 4 string, 5 array, 6 object. Treat 0 as off and everything else as on.
 *
 * A record belongs to the caller and is only valid during the call. Counts are never larger than
 * the capacity named for their array; whoever fills a record must keep to that.
 */

#include <stddef.h>
#include <stdint.h>

/** How many entries the arrays in the records have room for. */
enum vx_capacity {
    VX_STATION_CAPACITY = 64,
    VX_HOST_CAPACITY = 64,
    VX_WLAN_NETWORK_CAPACITY = 8,
    VX_RADIO_ENTRY_CAPACITY = 4,
    VX_SSID_ENTRY_CAPACITY = 2,
    VX_GUIDE_ENTRY_CAPACITY = 4,
    VX_GUEST_ENTRY_CAPACITY = 2,
    VX_MAC_FILTER_BAND_CAPACITY = 2,
    VX_MAC_FILTER_CAPACITY = 64, /**< filters of one band */
    VX_TIME_SWITCH_CAPACITY = 16,
    VX_WIFI_RADIO_CAPACITY = 2,
    VX_WIFI_AP_CAPACITY = 16, /**< access points of one radio */
    VX_WIFI_TIMER_CAPACITY = 7
};

/** Values of the members called band, and of wifi_radio's mode. */
enum vx_band {
    VX_BAND_2G = 1,      /**< 2.4 GHz */
    VX_BAND_5G = 2,      /**< 5 GHz */
    VX_BAND_2G_GUEST = 3 /**< guest network at 2.4 GHz; in vx_guide_entry only */
};

/** Authentication codes in wifi_ap; 0 stands for a mode that was not understood. */
enum vx_wifi_auth {
    VX_WIFI_AUTH_OPEN = 1,
    VX_WIFI_AUTH_SHARE = 2,
    VX_WIFI_AUTH_WPA = 3,
    VX_WIFI_AUTH_WPA2 = 4,
    VX_WIFI_AUTH_WPAPSK = 5,
    VX_WIFI_AUTH_WPA2PSK = 6,
    VX_WIFI_AUTH_WPAPSKWPA2PSK = 7
};

/** Cipher codes in wifi_ap. */
enum vx_wifi_encrypt {
    VX_WIFI_ENCRYPT_NONE = 0,
    VX_WIFI_ENCRYPT_TKIP = 1,
    VX_WIFI_ENCRYPT_AES = 2,
    VX_WIFI_ENCRYPT_AESTKIP = 3
};

/* ---- attached stations -------------------------------------------------------------------- */

/** One attached station, as reported to the platform. */
struct vx_station {
    char mac[32];
    char name[64];
    char time[32]; /**< when the station attached, in the device library's own form */
    int32_t type;  /**< kind of attachment, in the device library's own codes */
};

/** The attached stations; filled by the device library. */
struct vx_station_list {
    struct vx_station entries[VX_STATION_CAPACITY];
    int32_t count; /**< valid entries, 0 to VX_STATION_CAPACITY */
};

/* ---- status of the gateway; all filled by the device library ------------------------------ */

/** Result of the WAN diagnosis. */
struct vx_wan_diagnosis {
    char status_code[32]; /**< decimal code as text; also reported as the reason of an error */
    char status[32];
    char result[32];
    int32_t has_internet_wan; /**< flag */
    char external_ip_address[32];
    char mac_address[32];
};

/** One host of the local network. */
struct vx_host {
    char access_record[32];
    int32_t active; /**< flag */
    char qosclass_id[256];
    int32_t device_max_down_load_rate; /**< limit, in the unit of vx_qos_host */
    int32_t device_max_up_load_rate;   /**< limit, in the unit of vx_qos_host */
    char host_name[64];
    int32_t active46;       /**< flag: reachable by IPv4 or IPv6 */
    int32_t parent_control; /**< flag */
    int32_t lease_time;     /**< seconds */
    char id[256];
    int32_t class_queue;
    char layer2_interface[256];
    char actual_name[64];
    int32_t wlan_active; /**< flag: attached by Wi-Fi */
    char ip_address[16]; /**< dotted quad */
    char domain[256];
    char mac_address[32];
    char policer_id[256];
    int32_t device_down_rate_enable; /**< flag */
    char address_source[16];
    int32_t parent_control_enable; /**< flag */
    char mac_filter_id[256];
    char icon_type[96];
    int32_t weak_info;       /**< flag */
    int32_t suggest_value;   /**< number that goes with weak_info */
    int32_t weak_flt_enable; /**< flag */
    int32_t bind_wan_line;
    int32_t real_wan_line;
    int32_t tel_operator;
    int32_t is_slave; /**< flag */
    char dev_brands[256];
    int32_t down_rate; /**< present rate */
    int32_t up_rate;   /**< present rate */
};

/** The hosts of the local network. */
struct vx_host_table {
    struct vx_host entries[VX_HOST_CAPACITY];
    int32_t count; /**< valid entries, 0 to VX_HOST_CAPACITY */
};

/** The gateway itself. */
struct vx_device_information {
    char device_name[32];
    char serial_number[64];
    int32_t sn_hash_type;
    char manufacturer_oui[64];
    char software_version[64];
    char hardware_version[64];
    int32_t up_time; /**< seconds since the gateway started */
    char friendly_name[64];
    int32_t cpu_usage;     /**< per cent */
    int32_t mem_free;      /**< in the unit of mem_total */
    int32_t mem_total;     /**< in the device library's own unit */
    int32_t pppoe_up_time; /**< seconds since the dial-up connection was made */
    char modem_s_version[64];
    char modem_h_version[64];
    char manufacturer[64];
    char bootloader_version[64];
    char firmware_version[64];
    char chip_model[64];
    char release_date[192];
    int32_t guide; /**< flag: the first-time set-up has been done */
    int32_t first_login;
};

/** The gateway's own address in the local network. */
struct vx_lan_host {
    char first_mac[32];
    char dev_name[128];
    int32_t first_enable; /**< flag */
    char id[256];
    char first_ip[16]; /**< dotted quad */
    char mac_address[32];
    char domain_name[128];
    int32_t show_lan_domain_enable; /**< flag */
};

/** The WAN connection. */
struct vx_wan {
    char id[256];
    char username[256];
    char password[256]; /**< in clear; the platform is told it as it stands */
    char access_type[16];
    char access_status[16];
    char connection_type[32];
    char connection_status[32];
    int32_t nat_type;
    int32_t up_bandwidth;
    int32_t down_bandwidth;
    char ipv4_dns_servers[64];
    int32_t dns_override_allowed; /**< flag */
    int32_t enable;               /**< flag */
    int32_t x_spe_dial_mode;
    int32_t mru;        /**< bytes */
    char ipv4_addr[16]; /**< dotted quad */
    char ppp_trigger[16];
    char service_list[64];
    char lower_layer[256];
    int32_t mtu; /**< bytes */
    char ipv4_addr_type[8];
    char ipv4_mask[16]; /**< dotted quad */
    char dial_num[16];
    char mac_colone[32];  /**< MAC address to show to the network instead of the gateway's own */
    int32_t mss;          /**< bytes */
    int32_t ppp_idletime; /**< seconds */
    int32_t mac_colone_enable; /**< flag */
    int32_t is_default;        /**< flag */
    char ipv4_gateway[16];     /**< dotted quad */
    char alias[64];
    char name[128];
    char pppoe_service_name[256];
    char ppp_auth_mode[16];
    int32_t up_bandwidth_max;
    int32_t down_bandwidth_max;
    int32_t bandwidth_time;
    int32_t down_bandwidth_history;
    int32_t up_bandwidth_history;
    char ppp_dial_ip_mode[16];
    char ppp_dial_ip_addr[16];
    int32_t is_configured; /**< a number, although it reads like a flag */
    char wan_type[32];
    int32_t ipv4_enable; /**< flag */
    char pppoe_ac_name[32];
    int32_t tel_operator;
};

/* ---- wireless networks -------------------------------------------------------------------- */

/** One wireless network with its radio's settings. */
struct vx_wlan_network {
    int32_t wmm_enable; /**< flag */
    char wpa_pre_shared_key[64];
    int32_t transmit_power; /**< per cent */
    char x_wlan11n_ht_mcs[72];
    char beacon_type[68];          /**< "None" for an open network */
    char wpa_encryption_mode[288]; /**< reported as the empty text when beacon_type is "None" */
    char wlan_standard[12];
    int32_t wifi_enable; /**< flag: the radio is on */
    char reserved1[48];
    char frequency_band[16]; /**< "2.4GHz" or "5GHz" */
    int32_t wifi_ssid_index; /**< the network's number; requests name it by this ID */
    char x_wlan11n_bw_control[16];
    char basic_auth_mode[32];
    int32_t wifi_ssid_enable; /**< flag: the network is on */
    char reserved2[32];
    int32_t wifi_hide_broadcast; /**< flag */
    char wifi_ssid[40];
    char wifi_ssid_factory[32];
    char x_wlan11n_gi_control[16];
    int32_t x_wlan_isolate_control; /**< flag */
    int32_t channel;                /**< 0 for automatic choice */
    int32_t x_associate_device_num; /**< stations attached now */
    char max_bit_rate[264];
};

/**
 * All wireless networks. Filled by the device library for vx_device_wlanbasic; passed all zero to
 * vx_device_sendsetting.
 */
struct vx_wlan_status {
    int32_t dbho_enable; /**< flag: band steering, one name for both bands */
    int32_t count;       /**< valid entries, 0 to VX_WLAN_NETWORK_CAPACITY */
    struct vx_wlan_network entries[VX_WLAN_NETWORK_CAPACITY];
};

/** One radio to switch. */
struct vx_radio_entry {
    char reserved1[8];
    char id[256]; /**< decimal text */
    char reserved2[40];
    int32_t enable; /**< flag from a request */
    char reserved3[172];
    int32_t band; /**< VX_BAND_2G or VX_BAND_5G */
    char reserved4[676];
};

/** Radios to switch on or off; filled by the daemon. */
struct vx_radio_switch {
    struct vx_radio_entry entries[VX_RADIO_ENTRY_CAPACITY]; /**< filled from index 0 upward */
    char reserved[12];
    int32_t count; /**< filled entries, 0 to 2 */
};

/** New settings of one network; which members are filled depends on beacon_type. */
struct vx_ssid_entry {
    char id[256]; /**< decimal text */
    char ssid[40];
    int32_t ssid_enable; /**< flag from a request */
    char beacon_type[32];
    char wpa_enc_mode[32];
    char wpa_key[64];
    char reserved[44];
    int32_t band; /**< VX_BAND_2G or VX_BAND_5G */
    char basic_enc_mode[32];
    char basic_auth_mode[32];
    int32_t wep_key_len;
    char current_wep_key[512];
    int32_t wep_key_index;
    char ra_server[32]; /**< RADIUS server */
    int32_t ra_port;
    char ra_key[64];
};

/** New settings of networks; filled by the daemon. */
struct vx_ssid_settings {
    struct vx_ssid_entry entries[VX_SSID_ENTRY_CAPACITY]; /**< filled from index 0 upward */
    int32_t count;       /**< filled entries, 0 to VX_SSID_ENTRY_CAPACITY */
    int32_t dbho_enable; /**< flag from a request: band steering */
};

/**
 * One network of the first-time set-up. The first two members belong to the whole record and are
 * only meaningful in entry 0; they stay zero in the others.
 */
struct vx_guide_entry {
    int32_t dbho_enable; /**< entry 0 only: flag from a request, band steering */
    int32_t guide;       /**< entry 0 only: flag from a request, the set-up is done */
    char id[256];
    char ssid[40];
    int32_t ssid_enable; /**< flag from a request */
    char beacon_type[32];
    char wpa_enc_mode[32];
    char wpa_key[64];
    char upassword[40];
    int32_t advertisement;
    int32_t band; /**< VX_BAND_2G, VX_BAND_5G, or VX_BAND_2G_GUEST with id and ssid only */
    char reserved[676];
};

/** First-time set-up of the networks; filled by the daemon. */
struct vx_guide {
    struct vx_guide_entry entries[VX_GUIDE_ENTRY_CAPACITY]; /**< filled from index 0 upward */
    char reserved[8];
    int32_t set_guest_ssid; /**< flag from a request: the guest network is to be set too */
    int32_t count;          /**< filled entries, 0 to 3 */
};

/** One guest network. */
struct vx_guest_entry {
    char sec_opt[32];
    int32_t enable;     /**< flag */
    int32_t can_enable; /**< flag; not set by the daemon */
    char wifi_ssid[40];
    char wpa_pre_shared_key[64];
    int32_t band; /**< VX_BAND_2G; any other value is reported as 5 GHz */
    char id[64];
    int32_t valid_time; /**< not set by the daemon */
    int32_t rest_time;  /**< not set by the daemon */
};

/** The guest networks; filled by the device library when read, by the daemon when set. */
struct vx_guest_network {
    struct vx_guest_entry entries[VX_GUEST_ENTRY_CAPACITY];
    int32_t count; /**< valid entries, 0 to VX_GUEST_ENTRY_CAPACITY */
};

/* ---- MAC filter, schedules, rate limits --------------------------------------------------- */

/** One filtered host. */
struct vx_mac_filter_entry {
    char mac_address[64];
    char host_name[64];
};

/** The MAC filter of one band. */
struct vx_mac_filter_band {
    int32_t band;    /**< VX_BAND_2G; any other value is reported as 5 GHz */
    int32_t enabled; /**< flag */
    char id[64];
    int32_t policy; /**< 0 black list, anything else white list */
    struct vx_mac_filter_entry filters[VX_MAC_FILTER_CAPACITY];
    int32_t filter_count; /**< filters in use, 0 to VX_MAC_FILTER_CAPACITY */
};

/** The MAC filters; filled by the device library when read, by the daemon when set. */
struct vx_mac_filter {
    struct vx_mac_filter_band entries[VX_MAC_FILTER_BAND_CAPACITY]; /**< those in use come first */
    int32_t count; /**< entries in use, 0 to VX_MAC_FILTER_BAND_CAPACITY */
};

/** One schedule of the Wi-Fi; handed over alone when it is set. */
struct vx_time_switch_entry {
    char action[8]; /**< the request's action; empty when the schedules are read */
    int32_t enable; /**< flag */
    char end_time[16];
    char start_time[16];
    int32_t id;
    char repeat_day[16];
    char reserved[4];
};

/** All schedules of the Wi-Fi; filled by the device library. */
struct vx_time_switch {
    struct vx_time_switch_entry entries[VX_TIME_SWITCH_CAPACITY];
    int32_t count; /**< valid entries, 0 to VX_TIME_SWITCH_CAPACITY */
};

/** Rate limits of one host; filled by the daemon. */
struct vx_qos_host {
    char qosclass_id[64];
    int32_t device_down_rate_enable; /**< flag from a request */
    int32_t class_queue;
    int32_t device_max_down_load_rate; /**< in the platform's unit, passed through */
    char mac_address[32];              /**< names the host */
    char host_name[64];
    char actual_name[64];
    char id[256];
    int32_t device_max_up_load_rate; /**< in the platform's unit, passed through */
};

/* ---- platform channel --------------------------------------------------------------------- */

/** One access point (SSID) of a radio. */
struct wifi_ap {
    int32_t apidx;   /**< index within the radio */
    int32_t enable;  /**< 1 on, 0 off */
    char ssid[33];   /**< at most 32 characters */
    char key[128];   /**< pass phrase, at most 127 characters */
    char padding[3]; /**< zero */
    int32_t auth;    /**< vx_wifi_auth, or 0 */
    int32_t encrypt; /**< vx_wifi_encrypt */
};

/** One radio with its access points. */
struct wifi_radio {
    int32_t mode; /**< VX_BAND_2G or VX_BAND_5G; 0 when the request had none */
    int32_t channel;
    int32_t ap_num; /**< elements of ap in use, 0 to VX_WIFI_AP_CAPACITY */
    struct wifi_ap ap[VX_WIFI_AP_CAPACITY];
};

/** Radios and access points; filled by the daemon when set, by the device library when read. */
struct wifi_cfg {
    int32_t radio_num; /**< elements of radio in use, 0 to VX_WIFI_RADIO_CAPACITY */
    struct wifi_radio radio[VX_WIFI_RADIO_CAPACITY];
};

/** One Wi-Fi timer; the syntax of its texts is between the platform and the device library. */
struct wifitimer_entry {
    int32_t enable; /**< 1 on, 0 off */
    char weekday[64];
    char time[64];
};

/** Switches and timers; filled by the daemon when set, by the device library when read. */
struct wifitimer_cfg {
    int32_t wifiswitch_set; /**< 1 when wifiswitch is to be applied */
    int32_t wifiswitch;     /**< 1 on, 0 off */
    int32_t ledswitch_set;  /**< 1 when ledswitch is to be applied */
    int32_t ledswitch;      /**< 1 on, 0 off */
    int32_t timer_num;      /**< elements of timer in use, 0 to VX_WIFI_TIMER_CAPACITY */
    struct wifitimer_entry timer[VX_WIFI_TIMER_CAPACITY];
};

/** Which parts of the status the platform asked for: 1 asked for, 0 not. Filled by the daemon. */
struct status_req {
    int32_t wifi;
    int32_t wifiswitch;
    int32_t ledswitch;
    int32_t wifitimer;
};

/** A firmware upgrade; filled by the daemon. */
struct vx_upgrade {
    char downurl[256]; /**< where the firmware image is */
    int32_t isreboot;  /**< reboot flag as the platform sent it; non-zero: reboot afterwards */
};

/* ---- layout ------------------------------------------------------------------------------- */

#if defined(__cplusplus) && __cplusplus >= 201103L
#define VX_LAYOUT_ASSERT(name, condition) static_assert(condition, #name)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define VX_LAYOUT_ASSERT(name, condition) _Static_assert(condition, #name)
#else
#define VX_LAYOUT_ASSERT(name, condition) typedef char name[(condition) ? 1 : -1]
#endif
#define VX_AT(record, member, position)                                                            \
    VX_LAYOUT_ASSERT(vx_offset_of_##record##_##member,                                             \
                     offsetof(struct record, member) == (position))
#define VX_SIZE(record, size) VX_LAYOUT_ASSERT(vx_size_of_##record, sizeof(struct record) == (size))

VX_AT(vx_station, mac, 0);
VX_AT(vx_station, name, 32);
VX_AT(vx_station, time, 96);
VX_AT(vx_station, type, 128);
VX_SIZE(vx_station, 132);

VX_AT(vx_station_list, entries, 0);
VX_AT(vx_station_list, count, 8448);
VX_SIZE(vx_station_list, 8452);

VX_AT(vx_wan_diagnosis, status_code, 0);
VX_AT(vx_wan_diagnosis, status, 32);
VX_AT(vx_wan_diagnosis, result, 64);
VX_AT(vx_wan_diagnosis, has_internet_wan, 96);
VX_AT(vx_wan_diagnosis, external_ip_address, 100);
VX_AT(vx_wan_diagnosis, mac_address, 132);
VX_SIZE(vx_wan_diagnosis, 164);

VX_AT(vx_host, access_record, 0);
VX_AT(vx_host, active, 32);
VX_AT(vx_host, qosclass_id, 36);
VX_AT(vx_host, device_max_down_load_rate, 292);
VX_AT(vx_host, device_max_up_load_rate, 296);
VX_AT(vx_host, host_name, 300);
VX_AT(vx_host, active46, 364);
VX_AT(vx_host, parent_control, 368);
VX_AT(vx_host, lease_time, 372);
VX_AT(vx_host, id, 376);
VX_AT(vx_host, class_queue, 632);
VX_AT(vx_host, layer2_interface, 636);
VX_AT(vx_host, actual_name, 892);
VX_AT(vx_host, wlan_active, 956);
VX_AT(vx_host, ip_address, 960);
VX_AT(vx_host, domain, 976);
VX_AT(vx_host, mac_address, 1232);
VX_AT(vx_host, policer_id, 1264);
VX_AT(vx_host, device_down_rate_enable, 1520);
VX_AT(vx_host, address_source, 1524);
VX_AT(vx_host, parent_control_enable, 1540);
VX_AT(vx_host, mac_filter_id, 1544);
VX_AT(vx_host, icon_type, 1800);
VX_AT(vx_host, weak_info, 1896);
VX_AT(vx_host, suggest_value, 1900);
VX_AT(vx_host, weak_flt_enable, 1904);
VX_AT(vx_host, bind_wan_line, 1908);
VX_AT(vx_host, real_wan_line, 1912);
VX_AT(vx_host, tel_operator, 1916);
VX_AT(vx_host, is_slave, 1920);
VX_AT(vx_host, dev_brands, 1924);
VX_AT(vx_host, down_rate, 2180);
VX_AT(vx_host, up_rate, 2184);
VX_SIZE(vx_host, 2188);

VX_AT(vx_host_table, entries, 0);
VX_AT(vx_host_table, count, 140032);
VX_SIZE(vx_host_table, 140036);

VX_AT(vx_device_information, device_name, 0);
VX_AT(vx_device_information, serial_number, 32);
VX_AT(vx_device_information, sn_hash_type, 96);
VX_AT(vx_device_information, manufacturer_oui, 100);
VX_AT(vx_device_information, software_version, 164);
VX_AT(vx_device_information, hardware_version, 228);
VX_AT(vx_device_information, up_time, 292);
VX_AT(vx_device_information, friendly_name, 296);
VX_AT(vx_device_information, cpu_usage, 360);
VX_AT(vx_device_information, mem_free, 364);
VX_AT(vx_device_information, mem_total, 368);
VX_AT(vx_device_information, pppoe_up_time, 372);
VX_AT(vx_device_information, modem_s_version, 376);
VX_AT(vx_device_information, modem_h_version, 440);
VX_AT(vx_device_information, manufacturer, 504);
VX_AT(vx_device_information, bootloader_version, 568);
VX_AT(vx_device_information, firmware_version, 632);
VX_AT(vx_device_information, chip_model, 696);
VX_AT(vx_device_information, release_date, 760);
VX_AT(vx_device_information, guide, 952);
VX_AT(vx_device_information, first_login, 956);
VX_SIZE(vx_device_information, 960);

VX_AT(vx_lan_host, first_mac, 0);
VX_AT(vx_lan_host, dev_name, 32);
VX_AT(vx_lan_host, first_enable, 160);
VX_AT(vx_lan_host, id, 164);
VX_AT(vx_lan_host, first_ip, 420);
VX_AT(vx_lan_host, mac_address, 436);
VX_AT(vx_lan_host, domain_name, 468);
VX_AT(vx_lan_host, show_lan_domain_enable, 596);
VX_SIZE(vx_lan_host, 600);

VX_AT(vx_wan, id, 0);
VX_AT(vx_wan, username, 256);
VX_AT(vx_wan, password, 512);
VX_AT(vx_wan, access_type, 768);
VX_AT(vx_wan, access_status, 784);
VX_AT(vx_wan, connection_type, 800);
VX_AT(vx_wan, connection_status, 832);
VX_AT(vx_wan, nat_type, 864);
VX_AT(vx_wan, up_bandwidth, 868);
VX_AT(vx_wan, down_bandwidth, 872);
VX_AT(vx_wan, ipv4_dns_servers, 876);
VX_AT(vx_wan, dns_override_allowed, 940);
VX_AT(vx_wan, enable, 944);
VX_AT(vx_wan, x_spe_dial_mode, 948);
VX_AT(vx_wan, mru, 952);
VX_AT(vx_wan, ipv4_addr, 956);
VX_AT(vx_wan, ppp_trigger, 972);
VX_AT(vx_wan, service_list, 988);
VX_AT(vx_wan, lower_layer, 1052);
VX_AT(vx_wan, mtu, 1308);
VX_AT(vx_wan, ipv4_addr_type, 1312);
VX_AT(vx_wan, ipv4_mask, 1320);
VX_AT(vx_wan, dial_num, 1336);
VX_AT(vx_wan, mac_colone, 1352);
VX_AT(vx_wan, mss, 1384);
VX_AT(vx_wan, ppp_idletime, 1388);
VX_AT(vx_wan, mac_colone_enable, 1392);
VX_AT(vx_wan, is_default, 1396);
VX_AT(vx_wan, ipv4_gateway, 1400);
VX_AT(vx_wan, alias, 1416);
VX_AT(vx_wan, name, 1480);
VX_AT(vx_wan, pppoe_service_name, 1608);
VX_AT(vx_wan, ppp_auth_mode, 1864);
VX_AT(vx_wan, up_bandwidth_max, 1880);
VX_AT(vx_wan, down_bandwidth_max, 1884);
VX_AT(vx_wan, bandwidth_time, 1888);
VX_AT(vx_wan, down_bandwidth_history, 1892);
VX_AT(vx_wan, up_bandwidth_history, 1896);
VX_AT(vx_wan, ppp_dial_ip_mode, 1900);
VX_AT(vx_wan, ppp_dial_ip_addr, 1916);
VX_AT(vx_wan, is_configured, 1932);
VX_AT(vx_wan, wan_type, 1936);
VX_AT(vx_wan, ipv4_enable, 1968);
VX_AT(vx_wan, pppoe_ac_name, 1972);
VX_AT(vx_wan, tel_operator, 2004);
VX_SIZE(vx_wan, 2008);

VX_AT(vx_wlan_network, wmm_enable, 0);
VX_AT(vx_wlan_network, wpa_pre_shared_key, 4);
VX_AT(vx_wlan_network, transmit_power, 68);
VX_AT(vx_wlan_network, x_wlan11n_ht_mcs, 72);
VX_AT(vx_wlan_network, beacon_type, 144);
VX_AT(vx_wlan_network, wpa_encryption_mode, 212);
VX_AT(vx_wlan_network, wlan_standard, 500);
VX_AT(vx_wlan_network, wifi_enable, 512);
VX_AT(vx_wlan_network, reserved1, 516);
VX_AT(vx_wlan_network, frequency_band, 564);
VX_AT(vx_wlan_network, wifi_ssid_index, 580);
VX_AT(vx_wlan_network, x_wlan11n_bw_control, 584);
VX_AT(vx_wlan_network, basic_auth_mode, 600);
VX_AT(vx_wlan_network, wifi_ssid_enable, 632);
VX_AT(vx_wlan_network, reserved2, 636);
VX_AT(vx_wlan_network, wifi_hide_broadcast, 668);
VX_AT(vx_wlan_network, wifi_ssid, 672);
VX_AT(vx_wlan_network, wifi_ssid_factory, 712);
VX_AT(vx_wlan_network, x_wlan11n_gi_control, 744);
VX_AT(vx_wlan_network, x_wlan_isolate_control, 760);
VX_AT(vx_wlan_network, channel, 764);
VX_AT(vx_wlan_network, x_associate_device_num, 768);
VX_AT(vx_wlan_network, max_bit_rate, 772);
VX_SIZE(vx_wlan_network, 1036);

VX_AT(vx_wlan_status, dbho_enable, 0);
VX_AT(vx_wlan_status, count, 4);
VX_AT(vx_wlan_status, entries, 8);
VX_SIZE(vx_wlan_status, 8296);

VX_AT(vx_radio_entry, reserved1, 0);
VX_AT(vx_radio_entry, id, 8);
VX_AT(vx_radio_entry, reserved2, 264);
VX_AT(vx_radio_entry, enable, 304);
VX_AT(vx_radio_entry, reserved3, 308);
VX_AT(vx_radio_entry, band, 480);
VX_AT(vx_radio_entry, reserved4, 484);
VX_SIZE(vx_radio_entry, 1160);

VX_AT(vx_radio_switch, entries, 0);
VX_AT(vx_radio_switch, reserved, 4640);
VX_AT(vx_radio_switch, count, 4652);
VX_SIZE(vx_radio_switch, 4656);

VX_AT(vx_ssid_entry, id, 0);
VX_AT(vx_ssid_entry, ssid, 256);
VX_AT(vx_ssid_entry, ssid_enable, 296);
VX_AT(vx_ssid_entry, beacon_type, 300);
VX_AT(vx_ssid_entry, wpa_enc_mode, 332);
VX_AT(vx_ssid_entry, wpa_key, 364);
VX_AT(vx_ssid_entry, reserved, 428);
VX_AT(vx_ssid_entry, band, 472);
VX_AT(vx_ssid_entry, basic_enc_mode, 476);
VX_AT(vx_ssid_entry, basic_auth_mode, 508);
VX_AT(vx_ssid_entry, wep_key_len, 540);
VX_AT(vx_ssid_entry, current_wep_key, 544);
VX_AT(vx_ssid_entry, wep_key_index, 1056);
VX_AT(vx_ssid_entry, ra_server, 1060);
VX_AT(vx_ssid_entry, ra_port, 1092);
VX_AT(vx_ssid_entry, ra_key, 1096);
VX_SIZE(vx_ssid_entry, 1160);

VX_AT(vx_ssid_settings, entries, 0);
VX_AT(vx_ssid_settings, count, 2320);
VX_AT(vx_ssid_settings, dbho_enable, 2324);
VX_SIZE(vx_ssid_settings, 2328);

VX_AT(vx_guide_entry, dbho_enable, 0);
VX_AT(vx_guide_entry, guide, 4);
VX_AT(vx_guide_entry, id, 8);
VX_AT(vx_guide_entry, ssid, 264);
VX_AT(vx_guide_entry, ssid_enable, 304);
VX_AT(vx_guide_entry, beacon_type, 308);
VX_AT(vx_guide_entry, wpa_enc_mode, 340);
VX_AT(vx_guide_entry, wpa_key, 372);
VX_AT(vx_guide_entry, upassword, 436);
VX_AT(vx_guide_entry, advertisement, 476);
VX_AT(vx_guide_entry, band, 480);
VX_AT(vx_guide_entry, reserved, 484);
VX_SIZE(vx_guide_entry, 1160);

VX_AT(vx_guide, entries, 0);
VX_AT(vx_guide, reserved, 4640);
VX_AT(vx_guide, set_guest_ssid, 4648);
VX_AT(vx_guide, count, 4652);
VX_SIZE(vx_guide, 4656);

VX_AT(vx_guest_entry, sec_opt, 0);
VX_AT(vx_guest_entry, enable, 32);
VX_AT(vx_guest_entry, can_enable, 36);
VX_AT(vx_guest_entry, wifi_ssid, 40);
VX_AT(vx_guest_entry, wpa_pre_shared_key, 80);
VX_AT(vx_guest_entry, band, 144);
VX_AT(vx_guest_entry, id, 148);
VX_AT(vx_guest_entry, valid_time, 212);
VX_AT(vx_guest_entry, rest_time, 216);
VX_SIZE(vx_guest_entry, 220);

VX_AT(vx_guest_network, entries, 0);
VX_AT(vx_guest_network, count, 440);
VX_SIZE(vx_guest_network, 444);

VX_AT(vx_mac_filter_entry, mac_address, 0);
VX_AT(vx_mac_filter_entry, host_name, 64);
VX_SIZE(vx_mac_filter_entry, 128);

VX_AT(vx_mac_filter_band, band, 0);
VX_AT(vx_mac_filter_band, enabled, 4);
VX_AT(vx_mac_filter_band, id, 8);
VX_AT(vx_mac_filter_band, policy, 72);
VX_AT(vx_mac_filter_band, filters, 76);
VX_AT(vx_mac_filter_band, filter_count, 8268);
VX_SIZE(vx_mac_filter_band, 8272);

VX_AT(vx_mac_filter, entries, 0);
VX_AT(vx_mac_filter, count, 16544);
VX_SIZE(vx_mac_filter, 16548);

VX_AT(vx_time_switch_entry, action, 0);
VX_AT(vx_time_switch_entry, enable, 8);
VX_AT(vx_time_switch_entry, end_time, 12);
VX_AT(vx_time_switch_entry, start_time, 28);
VX_AT(vx_time_switch_entry, id, 44);
VX_AT(vx_time_switch_entry, repeat_day, 48);
VX_AT(vx_time_switch_entry, reserved, 64);
VX_SIZE(vx_time_switch_entry, 68);

VX_AT(vx_time_switch, entries, 0);
VX_AT(vx_time_switch, count, 1088);
VX_SIZE(vx_time_switch, 1092);

VX_AT(vx_qos_host, qosclass_id, 0);
VX_AT(vx_qos_host, device_down_rate_enable, 64);
VX_AT(vx_qos_host, class_queue, 68);
VX_AT(vx_qos_host, device_max_down_load_rate, 72);
VX_AT(vx_qos_host, mac_address, 76);
VX_AT(vx_qos_host, host_name, 108);
VX_AT(vx_qos_host, actual_name, 172);
VX_AT(vx_qos_host, id, 236);
VX_AT(vx_qos_host, device_max_up_load_rate, 492);
VX_SIZE(vx_qos_host, 496);

VX_AT(wifi_ap, apidx, 0);
VX_AT(wifi_ap, enable, 4);
VX_AT(wifi_ap, ssid, 8);
VX_AT(wifi_ap, key, 41);
VX_AT(wifi_ap, padding, 169);
VX_AT(wifi_ap, auth, 172);
VX_AT(wifi_ap, encrypt, 176);
VX_SIZE(wifi_ap, 180);

VX_AT(wifi_radio, mode, 0);
VX_AT(wifi_radio, channel, 4);
VX_AT(wifi_radio, ap_num, 8);
VX_AT(wifi_radio, ap, 12);
VX_SIZE(wifi_radio, 2892);

VX_AT(wifi_cfg, radio_num, 0);
VX_AT(wifi_cfg, radio, 4);
VX_SIZE(wifi_cfg, 5788);

VX_AT(wifitimer_entry, enable, 0);
VX_AT(wifitimer_entry, weekday, 4);
VX_AT(wifitimer_entry, time, 68);
VX_SIZE(wifitimer_entry, 132);

VX_AT(wifitimer_cfg, wifiswitch_set, 0);
VX_AT(wifitimer_cfg, wifiswitch, 4);
VX_AT(wifitimer_cfg, ledswitch_set, 8);
VX_AT(wifitimer_cfg, ledswitch, 12);
VX_AT(wifitimer_cfg, timer_num, 16);
VX_AT(wifitimer_cfg, timer, 20);
VX_SIZE(wifitimer_cfg, 944);

VX_AT(status_req, wifi, 0);
VX_AT(status_req, wifiswitch, 4);
VX_AT(status_req, ledswitch, 8);
VX_AT(status_req, wifitimer, 12);
VX_SIZE(status_req, 16);

VX_AT(vx_upgrade, downurl, 0);
VX_AT(vx_upgrade, isreboot, 256);
VX_SIZE(vx_upgrade, 260);

#undef VX_SIZE
#undef VX_AT
#undef VX_LAYOUT_ASSERT

#endif
