// SPDX-License-Identifier: MIT
#include "records.h"

#include <vxquilan/records.h>

namespace vxdevice::layout {

// The lines below read as tables; each macro carries the name, kind, place and size of a member.
#define FIELD VXDEVICE_FIELD
#define FIELD_AS VXDEVICE_FIELD_AS
#define FLAG VXDEVICE_FLAG
#define FLAG_AS VXDEVICE_FLAG_AS
#define LIST VXDEVICE_LIST

namespace {

constexpr Field station_fields[] = {
    FIELD(vx_station, mac),
    FIELD(vx_station, name),
    FIELD(vx_station, time),
    FIELD(vx_station, type),
};
constexpr Layout station{sizeof(vx_station), station_fields};
constexpr Field stations_fields[] = {
    LIST(vx_station_list, entries, count, station, "stations"),
};

constexpr Field wan_diagnosis_fields[] = {
    FIELD(vx_wan_diagnosis, status_code),
    FIELD(vx_wan_diagnosis, status),
    FIELD(vx_wan_diagnosis, result),
    FLAG(vx_wan_diagnosis, has_internet_wan),
    FIELD(vx_wan_diagnosis, external_ip_address),
    FIELD(vx_wan_diagnosis, mac_address),
};

constexpr Field host_fields[] = {
    FIELD(vx_host, access_record),
    FLAG(vx_host, active),
    FIELD(vx_host, qosclass_id),
    FIELD(vx_host, device_max_down_load_rate),
    FIELD(vx_host, device_max_up_load_rate),
    FIELD(vx_host, host_name),
    FLAG(vx_host, active46),
    FLAG(vx_host, parent_control),
    FIELD(vx_host, lease_time),
    FIELD(vx_host, id),
    FIELD(vx_host, class_queue),
    FIELD(vx_host, layer2_interface),
    FIELD(vx_host, actual_name),
    FLAG(vx_host, wlan_active),
    FIELD(vx_host, ip_address),
    FIELD(vx_host, domain),
    FIELD(vx_host, mac_address),
    FIELD(vx_host, policer_id),
    FLAG(vx_host, device_down_rate_enable),
    FIELD(vx_host, address_source),
    FLAG(vx_host, parent_control_enable),
    FIELD(vx_host, mac_filter_id),
    FIELD(vx_host, icon_type),
    FLAG(vx_host, weak_info),
    FIELD(vx_host, suggest_value),
    FLAG(vx_host, weak_flt_enable),
    FIELD(vx_host, bind_wan_line),
    FIELD(vx_host, real_wan_line),
    FIELD(vx_host, tel_operator),
    FLAG(vx_host, is_slave),
    FIELD(vx_host, dev_brands),
    FIELD(vx_host, down_rate),
    FIELD(vx_host, up_rate),
};
constexpr Layout host{sizeof(vx_host), host_fields};
constexpr Field hosts_fields[] = {
    LIST(vx_host_table, entries, count, host, "hosts"),
};

constexpr Field device_information_fields[] = {
    FIELD(vx_device_information, device_name),
    FIELD(vx_device_information, serial_number),
    FIELD(vx_device_information, sn_hash_type),
    FIELD(vx_device_information, manufacturer_oui),
    FIELD(vx_device_information, software_version),
    FIELD(vx_device_information, hardware_version),
    FIELD(vx_device_information, up_time),
    FIELD(vx_device_information, friendly_name),
    FIELD(vx_device_information, cpu_usage),
    FIELD(vx_device_information, mem_free),
    FIELD(vx_device_information, mem_total),
    FIELD(vx_device_information, pppoe_up_time),
    FIELD(vx_device_information, modem_s_version),
    FIELD(vx_device_information, modem_h_version),
    FIELD(vx_device_information, manufacturer),
    FIELD(vx_device_information, bootloader_version),
    FIELD(vx_device_information, firmware_version),
    FIELD(vx_device_information, chip_model),
    FIELD(vx_device_information, release_date),
    FLAG(vx_device_information, guide),
    FIELD(vx_device_information, first_login),
};

constexpr Field lan_host_fields[] = {
    FIELD(vx_lan_host, first_mac),   FIELD(vx_lan_host, dev_name),
    FLAG(vx_lan_host, first_enable), FIELD(vx_lan_host, id),
    FIELD(vx_lan_host, first_ip),    FIELD(vx_lan_host, mac_address),
    FIELD(vx_lan_host, domain_name), FLAG(vx_lan_host, show_lan_domain_enable),
};

constexpr Field wan_fields[] = {
    FIELD(vx_wan, id),
    FIELD(vx_wan, username),
    FIELD(vx_wan, password),
    FIELD(vx_wan, access_type),
    FIELD(vx_wan, access_status),
    FIELD(vx_wan, connection_type),
    FIELD(vx_wan, connection_status),
    FIELD(vx_wan, nat_type),
    FIELD(vx_wan, up_bandwidth),
    FIELD(vx_wan, down_bandwidth),
    FIELD(vx_wan, ipv4_dns_servers),
    FLAG(vx_wan, dns_override_allowed),
    FLAG(vx_wan, enable),
    FIELD(vx_wan, x_spe_dial_mode),
    FIELD(vx_wan, mru),
    FIELD(vx_wan, ipv4_addr),
    FIELD(vx_wan, ppp_trigger),
    FIELD(vx_wan, service_list),
    FIELD(vx_wan, lower_layer),
    FIELD(vx_wan, mtu),
    FIELD(vx_wan, ipv4_addr_type),
    FIELD(vx_wan, ipv4_mask),
    FIELD(vx_wan, dial_num),
    FIELD(vx_wan, mac_colone),
    FIELD(vx_wan, mss),
    FIELD(vx_wan, ppp_idletime),
    FLAG(vx_wan, mac_colone_enable),
    FLAG(vx_wan, is_default),
    FIELD(vx_wan, ipv4_gateway),
    FIELD(vx_wan, alias),
    FIELD(vx_wan, name),
    FIELD(vx_wan, pppoe_service_name),
    FIELD(vx_wan, ppp_auth_mode),
    FIELD(vx_wan, up_bandwidth_max),
    FIELD(vx_wan, down_bandwidth_max),
    FIELD(vx_wan, bandwidth_time),
    FIELD(vx_wan, down_bandwidth_history),
    FIELD(vx_wan, up_bandwidth_history),
    FIELD(vx_wan, ppp_dial_ip_mode),
    FIELD(vx_wan, ppp_dial_ip_addr),
    FIELD(vx_wan, is_configured),
    FIELD(vx_wan, wan_type),
    FLAG(vx_wan, ipv4_enable),
    FIELD(vx_wan, pppoe_ac_name),
    FIELD(vx_wan, tel_operator),
};

constexpr Field mac_filter_entry_fields[] = {
    FIELD(vx_mac_filter_entry, mac_address),
    FIELD(vx_mac_filter_entry, host_name),
};
constexpr Layout mac_filter_entry{sizeof(vx_mac_filter_entry), mac_filter_entry_fields};
constexpr Field mac_filter_band_fields[] = {
    FIELD(vx_mac_filter_band, band),
    FLAG(vx_mac_filter_band, enabled),
    FIELD(vx_mac_filter_band, id),
    FIELD(vx_mac_filter_band, policy),
    LIST(vx_mac_filter_band, filters, filter_count, mac_filter_entry, "filters"),
};
constexpr Field schedule_fields[] = {
    FIELD(vx_time_switch_entry, id),         FLAG(vx_time_switch_entry, enable),
    FIELD(vx_time_switch_entry, start_time), FIELD(vx_time_switch_entry, end_time),
    FIELD(vx_time_switch_entry, repeat_day),
};
constexpr Field wifi_timer_fields[] = {
    FLAG(wifitimer_entry, enable),
    FIELD(wifitimer_entry, weekday),
    FIELD(wifitimer_entry, time),
};
constexpr Layout wifi_timer{sizeof(wifitimer_entry), wifi_timer_fields};
constexpr Field wifi_timers_fields[] = {
    LIST(wifitimer_cfg, timer, timer_num, wifi_timer, "timers"),
};

constexpr Field radio_fields[] = {
    FIELD(vx_wlan_network, frequency_band),
    FLAG(vx_wlan_network, wifi_enable),
    FIELD(vx_wlan_network, channel),
    FIELD(vx_wlan_network, transmit_power),
    FIELD(vx_wlan_network, wlan_standard),
    FIELD(vx_wlan_network, max_bit_rate),
    FIELD(vx_wlan_network, x_wlan11n_ht_mcs),
    FIELD(vx_wlan_network, x_wlan11n_bw_control),
    FIELD(vx_wlan_network, x_wlan11n_gi_control),
    FLAG(vx_wlan_network, wmm_enable),
};
constexpr Field network_fields[] = {
    FIELD(vx_wlan_network, wifi_ssid_index),
    FLAG(vx_wlan_network, wifi_ssid_enable),
    FIELD(vx_wlan_network, wifi_ssid),
    FIELD(vx_wlan_network, wifi_ssid_factory),
    FLAG(vx_wlan_network, wifi_hide_broadcast),
    FIELD(vx_wlan_network, beacon_type),
    FIELD(vx_wlan_network, wpa_encryption_mode),
    FIELD(vx_wlan_network, wpa_pre_shared_key),
    FIELD(vx_wlan_network, basic_auth_mode),
    FLAG(vx_wlan_network, x_wlan_isolate_control),
    FIELD(vx_wlan_network, x_associate_device_num),
};

// A network's member keeps its name, whatever a request calls it.
constexpr Field guest_fields[] = {
    FIELD_AS(vx_guest_entry, sec_opt, "beacon_type"),
    FLAG_AS(vx_guest_entry, enable, "wifi_ssid_enable"),
    FIELD(vx_guest_entry, wifi_ssid),
    FIELD(vx_guest_entry, wpa_pre_shared_key),
    FIELD(vx_guest_entry, id),
    // what a request can't set
    FLAG(vx_guest_entry, can_enable),
    FIELD(vx_guest_entry, valid_time),
    FIELD(vx_guest_entry, rest_time),
};
constexpr std::size_t settable_guest_fields = 5;

constexpr Field ssid_update_fields[] = {
    FIELD_AS(vx_ssid_entry, ssid, "wifi_ssid"),
    FLAG_AS(vx_ssid_entry, ssid_enable, "wifi_ssid_enable"),
    FIELD(vx_ssid_entry, beacon_type),
    FIELD_AS(vx_ssid_entry, wpa_enc_mode, "wpa_encryption_mode"),
    FIELD_AS(vx_ssid_entry, wpa_key, "wpa_pre_shared_key"),
    FIELD_AS(vx_ssid_entry, basic_enc_mode, "basic_encryption_mode"),
    FIELD(vx_ssid_entry, basic_auth_mode),
    FIELD(vx_ssid_entry, wep_key_len),
    FIELD_AS(vx_ssid_entry, current_wep_key, "wep_key"),
    FIELD(vx_ssid_entry, wep_key_index),
    FIELD(vx_ssid_entry, ra_server),
    FIELD(vx_ssid_entry, ra_port),
    FIELD(vx_ssid_entry, ra_key),
};
constexpr Field guide_update_fields[] = {
    FIELD_AS(vx_guide_entry, ssid, "wifi_ssid"),
    FLAG_AS(vx_guide_entry, ssid_enable, "wifi_ssid_enable"),
    FIELD(vx_guide_entry, beacon_type),
    FIELD_AS(vx_guide_entry, wpa_enc_mode, "wpa_encryption_mode"),
    FIELD_AS(vx_guide_entry, wpa_key, "wpa_pre_shared_key"),
    FIELD(vx_guide_entry, upassword),
    FIELD(vx_guide_entry, advertisement),
};
constexpr Field guide_guest_fields[] = {
    FIELD_AS(vx_guide_entry, ssid, "wifi_ssid"),
};
constexpr Field wifi_ap_ssid_fields[] = {
    FLAG_AS(wifi_ap, enable, "wifi_ssid_enable"),
    FIELD_AS(wifi_ap, ssid, "wifi_ssid"),
    FIELD_AS(wifi_ap, key, "wpa_pre_shared_key"),
};
constexpr Field qos_update_fields[] = {
    FIELD(vx_qos_host, qosclass_id),
    FLAG(vx_qos_host, device_down_rate_enable),
    FIELD(vx_qos_host, class_queue),
    FIELD(vx_qos_host, device_max_down_load_rate),
    FIELD(vx_qos_host, host_name),
    FIELD(vx_qos_host, actual_name),
    FIELD(vx_qos_host, device_max_up_load_rate),
};

constexpr Field radio_entry_fields[] = {
    FIELD(vx_radio_entry, band),
    FIELD(vx_radio_entry, id),
    FLAG(vx_radio_entry, enable),
};
constexpr Layout radio_entry{sizeof(vx_radio_entry), radio_entry_fields};
constexpr Field radio_switch_fields[] = {
    LIST(vx_radio_switch, entries, count, radio_entry, "entries"),
};

constexpr Field ssid_entry_fields[] = {
    FIELD(vx_ssid_entry, band),
    FIELD(vx_ssid_entry, id),
    FIELD(vx_ssid_entry, ssid),
    FLAG(vx_ssid_entry, ssid_enable),
    FIELD(vx_ssid_entry, beacon_type),
    FIELD(vx_ssid_entry, wpa_enc_mode),
    FIELD(vx_ssid_entry, wpa_key),
    FIELD(vx_ssid_entry, basic_enc_mode),
    FIELD(vx_ssid_entry, basic_auth_mode),
    FIELD(vx_ssid_entry, wep_key_len),
    FIELD(vx_ssid_entry, current_wep_key),
    FIELD(vx_ssid_entry, wep_key_index),
    FIELD(vx_ssid_entry, ra_server),
    FIELD(vx_ssid_entry, ra_port),
    FIELD(vx_ssid_entry, ra_key),
};
constexpr Layout ssid_entry{sizeof(vx_ssid_entry), ssid_entry_fields};
constexpr Field ssid_settings_fields[] = {
    FLAG(vx_ssid_settings, dbho_enable),
    LIST(vx_ssid_settings, entries, count, ssid_entry, "entries"),
};

constexpr Field guide_entry_fields[] = {
    FIELD(vx_guide_entry, band),          FIELD(vx_guide_entry, id),
    FIELD(vx_guide_entry, ssid),          FLAG(vx_guide_entry, ssid_enable),
    FIELD(vx_guide_entry, beacon_type),   FIELD(vx_guide_entry, wpa_enc_mode),
    FIELD(vx_guide_entry, wpa_key),       FIELD(vx_guide_entry, upassword),
    FIELD(vx_guide_entry, advertisement),
};
constexpr Layout guide_entry{sizeof(vx_guide_entry), guide_entry_fields};
constexpr Field guide_fields[] = {
    FLAG_AS(vx_guide, entries[0].dbho_enable, "dbho_enable"),
    FLAG_AS(vx_guide, entries[0].guide, "guide"),
    FLAG(vx_guide, set_guest_ssid),
    LIST(vx_guide, entries, count, guide_entry, "entries"),
};

constexpr Field guest_entry_fields[] = {
    FIELD(vx_guest_entry, band),      FIELD(vx_guest_entry, id),
    FIELD(vx_guest_entry, sec_opt),   FLAG(vx_guest_entry, enable),
    FIELD(vx_guest_entry, wifi_ssid), FIELD(vx_guest_entry, wpa_pre_shared_key),
};
constexpr Layout guest_entry{sizeof(vx_guest_entry), guest_entry_fields};
constexpr Field guest_network_fields[] = {
    LIST(vx_guest_network, entries, count, guest_entry, "entries"),
};

constexpr Field qos_host_fields[] = {
    FIELD(vx_qos_host, qosclass_id),
    FLAG(vx_qos_host, device_down_rate_enable),
    FIELD(vx_qos_host, class_queue),
    FIELD(vx_qos_host, device_max_down_load_rate),
    FIELD(vx_qos_host, mac_address),
    FIELD(vx_qos_host, host_name),
    FIELD(vx_qos_host, actual_name),
    FIELD(vx_qos_host, id),
    FIELD(vx_qos_host, device_max_up_load_rate),
};

constexpr Field wifi_ap_fields[] = {
    FIELD(wifi_ap, apidx), FIELD(wifi_ap, enable), FIELD(wifi_ap, ssid),
    FIELD(wifi_ap, key),   FIELD(wifi_ap, auth),   FIELD(wifi_ap, encrypt),
};
constexpr Layout wifi_ap_entry{sizeof(wifi_ap), wifi_ap_fields};
constexpr Field wifi_radio_fields[] = {
    FIELD(wifi_radio, mode),
    FIELD(wifi_radio, channel),
    LIST(wifi_radio, ap, ap_num, wifi_ap_entry, "ap"),
};
constexpr Layout wifi_radio_entry{sizeof(wifi_radio), wifi_radio_fields};
constexpr Field wifi_fields[] = {
    LIST(wifi_cfg, radio, radio_num, wifi_radio_entry, "radio"),
};
constexpr Field wifitimer_fields[] = {
    FIELD(wifitimer_cfg, wifiswitch_set),
    FIELD(wifitimer_cfg, wifiswitch),
    FIELD(wifitimer_cfg, ledswitch_set),
    FIELD(wifitimer_cfg, ledswitch),
    LIST(wifitimer_cfg, timer, timer_num, wifi_timer, "timer"),
};
constexpr Field upgrade_fields[] = {
    FIELD(vx_upgrade, downurl),
    FIELD(vx_upgrade, isreboot),
};

} // namespace

constexpr Layout mac_filter_band{sizeof(vx_mac_filter_band), mac_filter_band_fields};
constexpr Layout schedule{sizeof(vx_time_switch_entry), schedule_fields};

namespace {
constexpr Field mac_filter_fields[] = {
    LIST(vx_mac_filter, entries, count, mac_filter_band, "mac_filter"),
};
constexpr Field schedules_fields[] = {
    LIST(vx_time_switch, entries, count, schedule, "schedules"),
};
} // namespace

constexpr Layout stations{sizeof(vx_station_list), stations_fields};
constexpr Layout wan_diagnosis{sizeof(vx_wan_diagnosis), wan_diagnosis_fields};
constexpr Layout hosts{sizeof(vx_host_table), hosts_fields};
constexpr Layout device_information{sizeof(vx_device_information), device_information_fields};
constexpr Layout lan_host{sizeof(vx_lan_host), lan_host_fields};
constexpr Layout wan{sizeof(vx_wan), wan_fields};
constexpr Layout mac_filter{sizeof(vx_mac_filter), mac_filter_fields};
constexpr Layout schedules{sizeof(vx_time_switch), schedules_fields};
constexpr Layout wifi_timers{sizeof(wifitimer_cfg), wifi_timers_fields};

constexpr Layout radio{sizeof(vx_wlan_network), radio_fields};
constexpr Layout network{sizeof(vx_wlan_network), network_fields};
constexpr Layout guest{sizeof(vx_guest_entry), guest_fields};
constexpr Layout guest_update{sizeof(vx_guest_entry),
                              std::span(guest_fields).first<settable_guest_fields>()};
constexpr Layout ssid_update{sizeof(vx_ssid_entry), ssid_update_fields};
constexpr Layout guide_update{sizeof(vx_guide_entry), guide_update_fields};
constexpr Layout guide_guest{sizeof(vx_guide_entry), guide_guest_fields};
constexpr Layout wifi_ap_ssid{sizeof(wifi_ap), wifi_ap_ssid_fields};
constexpr Layout qos_update{sizeof(vx_qos_host), qos_update_fields};

constexpr Layout radio_switch{sizeof(vx_radio_switch), radio_switch_fields};
constexpr Layout ssid_settings{sizeof(vx_ssid_settings), ssid_settings_fields};
constexpr Layout guide{sizeof(vx_guide), guide_fields};
constexpr Layout guest_network{sizeof(vx_guest_network), guest_network_fields};
constexpr Layout qos_host{sizeof(vx_qos_host), qos_host_fields};
constexpr Layout wifi{sizeof(wifi_cfg), wifi_fields};
constexpr Layout wifitimer{sizeof(wifitimer_cfg), wifitimer_fields};
constexpr Layout upgrade{sizeof(vx_upgrade), upgrade_fields};

} // namespace vxdevice::layout
