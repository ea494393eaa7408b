// SPDX-License-Identifier: MIT
#include "appjsonapi/app_wlan_basic.h"

#include <cstring>

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"
#include "appjsonapi/record_writer.h"
#include "log/log.h"
#include "text/text.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

// ---- status

// An open network keeps its last encryption mode, which is none of the platform's business.
bool is_open(const vx_wlan_network& network) {
    return std::strncmp(network.beacon_type, "None", sizeof network.beacon_type) == 0;
}
bool is_secured(const vx_wlan_network& network) {
    return !is_open(network);
}

constexpr Member kNetwork[] = {
    flag_member("WMMEnable", VXQ_AT(vx_wlan_network, wmm_enable)),
    text_member("WpaPreSharedKey", VXQ_AT(vx_wlan_network, wpa_pre_shared_key)),
    number_member("TransmitPower", VXQ_AT(vx_wlan_network, transmit_power)),
    text_member("X_Wlan11NHtMcs", VXQ_AT(vx_wlan_network, x_wlan11n_ht_mcs)),
    text_member("BeaconType", VXQ_AT(vx_wlan_network, beacon_type)),
    when<is_open>(empty_text_member("WpaEncryptionMode")),
    when<is_secured>(
        text_member("WpaEncryptionMode", VXQ_AT(vx_wlan_network, wpa_encryption_mode))),
    text_member("WlanStandard", VXQ_AT(vx_wlan_network, wlan_standard)),
    flag_member("WifiEnable", VXQ_AT(vx_wlan_network, wifi_enable)),
    text_member("FrequencyBand", VXQ_AT(vx_wlan_network, frequency_band)),
    number_member("WifiSsidIndex", VXQ_AT(vx_wlan_network, wifi_ssid_index)),
    text_member("X_Wlan11NBWControl", VXQ_AT(vx_wlan_network, x_wlan11n_bw_control)),
    text_member("BasicAuthMode", VXQ_AT(vx_wlan_network, basic_auth_mode)),
    flag_member("WifiSsidEnable", VXQ_AT(vx_wlan_network, wifi_ssid_enable)),
    flag_member("WifiHideBroadcast", VXQ_AT(vx_wlan_network, wifi_hide_broadcast)),
    text_member("WifiSsid", VXQ_AT(vx_wlan_network, wifi_ssid)),
    text_member("WifiSsidFactory", VXQ_AT(vx_wlan_network, wifi_ssid_factory)),
    text_member("X_Wlan11NGIControl", VXQ_AT(vx_wlan_network, x_wlan11n_gi_control)),
    flag_member("X_WlanIsolateControl", VXQ_AT(vx_wlan_network, x_wlan_isolate_control)),
    number_member("Channel", VXQ_AT(vx_wlan_network, channel)),
    number_member("X_AssociateDeviceNum", VXQ_AT(vx_wlan_network, x_associate_device_num)),
    text_member("MaxBitRate", VXQ_AT(vx_wlan_network, max_bit_rate)),
};

constexpr ListPlace kNetworks =
    list_place(VXQ_AT(vx_wlan_status, entries), VXQ_AT(vx_wlan_status, count));

constexpr Member kWlanStatus[] = {
    flag_member("DbhoEnable", VXQ_AT(vx_wlan_status, dbho_enable)),
    list_member("WifiConfig", kNetworks, kNetwork),
};

// ---- "BasicSettings"

constexpr Setting kRadioSettings[] = {
    decimal_setting("ID", VXQ_AT(vx_radio_entry, id), "ID"),
    flag_setting("enable", VXQ_AT(vx_radio_entry, enable), "enable"),
};
constexpr SettingGroup kRadio{kWlanPath, kRadioSettings};

constexpr ListPlace kRadios =
    list_place(VXQ_AT(vx_radio_switch, entries), VXQ_AT(vx_radio_switch, count));

constexpr Setting kRadioSwitchData[] = {
    network_setting("config2g", VX_BAND_2G, VXQ_AT(vx_radio_entry, band), kRadios, kRadio),
    network_setting("config5g", VX_BAND_5G, VXQ_AT(vx_radio_entry, band), kRadios, kRadio),
};
constexpr SettingGroup kRadioSwitchGroup{kWlanPath, kRadioSwitchData};

constexpr Setting kRadioSwitchBody[] = {
    object_setting("data", kRadioSwitchGroup, "data"),
};
constexpr SettingsDocument kRadioSwitch{{kPolicerPath, kRadioSwitchBody}, kPolicerDataPath};

// ---- "SsidSettings"

/** Kinds of security; each has members of its own. */
enum Security : unsigned {
    kNoSecurity = 0,
    kWpa = 1u << 0,
    kWep = 1u << 1,
    kRadius = 1u << 2,
};

struct BeaconFamily {
    const char* beacon_type;
    unsigned security;
};

constexpr BeaconFamily kBeaconFamilies[] = {
    {"WPA", kWpa},        {"11i", kWpa},         {"WPAand11i", kWpa},
    {"None", kWep},       {"Basic", kWep},       {"8021X", kWep | kRadius},
    {"WPA-EAP", kRadius}, {"WPA2-EAP", kRadius}, {"WPAWPA2-EAP", kRadius},
};

unsigned security_of(const char* beacon_type) {
    for (const BeaconFamily& family : kBeaconFamilies) {
        if (std::strcmp(family.beacon_type, beacon_type) == 0)
            return family.security;
    }
    return kNoSecurity;
}

template <unsigned Kind>
bool uses(const vx_ssid_entry& entry) {
    return (security_of(entry.beacon_type) & Kind) != 0;
}

// Nearly all members are reported as the network's ID.
constexpr Setting kSsidEntrySettings[] = {
    decimal_setting("ID", VXQ_AT(vx_ssid_entry, id), "ID"),
    text_setting("ssid", VXQ_AT(vx_ssid_entry, ssid), "ID"),
    flag_setting("ssidenable", VXQ_AT(vx_ssid_entry, ssid_enable), "enable"),
    text_setting("beacontype", VXQ_AT(vx_ssid_entry, beacon_type), "ID"),
    when<uses<kWpa>>(text_setting("wpaencmode", VXQ_AT(vx_ssid_entry, wpa_enc_mode), "ID")),
    when<uses<kWpa>>(text_setting("wpakey", VXQ_AT(vx_ssid_entry, wpa_key), "ID")),
    when<uses<kWep>>(text_setting("basicencmode", VXQ_AT(vx_ssid_entry, basic_enc_mode), "ID")),
    when<uses<kWep>>(text_setting("basicauthmode", VXQ_AT(vx_ssid_entry, basic_auth_mode), "ID")),
    when<uses<kWep>>(number_setting("wepkeyLen", VXQ_AT(vx_ssid_entry, wep_key_len), "ID")),
    when<uses<kWep>>(text_setting("CurrentWepKey", VXQ_AT(vx_ssid_entry, current_wep_key), "ID")),
    when<uses<kWep>>(number_setting("wepkeyindex", VXQ_AT(vx_ssid_entry, wep_key_index), "ID")),
    when<uses<kRadius>>(text_setting("raserver", VXQ_AT(vx_ssid_entry, ra_server), "ID")),
    when<uses<kRadius>>(number_setting("raport", VXQ_AT(vx_ssid_entry, ra_port), "ID")),
    when<uses<kRadius>>(text_setting("rakey", VXQ_AT(vx_ssid_entry, ra_key), "ID")),
};
constexpr SettingGroup kSsidEntry{kWlanPath, kSsidEntrySettings};

constexpr ListPlace kSsidEntries =
    list_place(VXQ_AT(vx_ssid_settings, entries), VXQ_AT(vx_ssid_settings, count));

constexpr Setting kSsidData[] = {
    network_setting("config2g", VX_BAND_2G, VXQ_AT(vx_ssid_entry, band), kSsidEntries, kSsidEntry),
    network_setting("config5g", VX_BAND_5G, VXQ_AT(vx_ssid_entry, band), kSsidEntries, kSsidEntry),
};
constexpr SettingGroup kSsidGroup{kWlanPath, kSsidData};

// A missing switch is told before anything that the networks may lack.
constexpr Setting kSsidBody[] = {
    flag_setting("DbhoEnable", VXQ_AT(vx_ssid_settings, dbho_enable), "data"),
    object_setting("data", kSsidGroup, "data"),
};
constexpr SettingsDocument kSsidSettingsDocument{{kPolicerPath, kSsidBody}, kPolicerDataPath};

// ---- the action

struct ActionName {
    const char* text;
    WlanBasicAction action;
};

constexpr ActionName kActions[] = {
    {"BasicSettings", kBasicSettings},
    {"SsidSettings", kSsidSettings},
    {"SendSettings", kSendSettings},
};

} // namespace

} // namespace vxq

using namespace vxq;

JsonText app_sys_gateway_system_wlanbasic() {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d\n", __func__, __LINE__);
    return write_status(vx_device_wlanbasic, object_document(kWlanStatus));
}

int app_sys_gateway_system_wlanbasic_action(const RequestBody& body, ParameterPath& path) {
    const JsonTree tree(cJSON_ParseWithLength(body.data, body.length));
    if (!tree) {
        copy_text(path, "InternetGatewayDevice.LANDevice.1.WLANConfiguration");
        return parser_failed({__func__, __LINE__});
    }
    const char* const text = json_text(cJSON_GetObjectItem(tree.get(), "action"));
    if (text == nullptr) {
        copy_text(path, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.action");
        return parser_failed({__func__, __LINE__});
    }
    for (const ActionName& name : kActions) {
        if (std::strcmp(name.text, text) == 0)
            return name.action;
    }
    return parser_failed({__func__, __LINE__});
}

int app_sys_gateway_system_wlanbasic_parse(const RequestBody& body, vx_radio_switch& record,
                                           ParameterPath& path) {
    return read_settings({__func__, __LINE__}, body, kRadioSwitch, &record, path);
}

int app_sys_gateway_system_ssidsetting_parse(const RequestBody& body, vx_ssid_settings& record,
                                             ParameterPath& path) {
    return read_settings({__func__, __LINE__}, body, kSsidSettingsDocument, &record, path);
}

int app_sys_gateway_system_sendsetting_parse(const RequestBody&, vx_wlan_status&, ParameterPath&) {
    return 0;
}
