// SPDX-License-Identifier: MIT
// Written out member by member, the way one writes a document with cJSON when nothing else counts.
#include "documents/handwritten.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vxquilan/device.h>
#include <vxquilan/log.h>

namespace bench {

namespace {

const char* band_name(int band) {
    return band == VX_BAND_2G ? "2.4GHz" : "5GHz";
}

/** Prints a document, logs the text as the daemon does, and takes the tree apart. */
char* finish(cJSON* document) {
    char* const text = cJSON_Print(document);
    vx_mod_log_printf("quilan", VX_LOG_PROGRESS, "%s\n", text);
    cJSON_Delete(document);
    return text;
}

void add_fact(cJSON* object, const char* key, int (*getter)(char*)) {
    char text[257] = {};
    getter(text);
    cJSON_AddStringToObject(object, key, text);
}

void add_device_information(cJSON* object) {
    cJSON* const information = cJSON_AddObjectToObject(object, "devInfo");
    add_fact(information, "sn", port_device_sn_get);
    add_fact(information, "cuei", port_device_cuei_get);
    add_fact(information, "model", port_device_model_get);
    add_fact(information, "devType", port_device_devtype_get);
    add_fact(information, "manu", port_device_manu_get);
    add_fact(information, "prodId", port_device_prodid_get);
    add_fact(information, "mac", port_device_mac_get);
    add_fact(information, "hwv", port_device_hdversion_get);
    add_fact(information, "swv", port_device_swversion_get);
    int protocol = -1;
    port_device_prottype_get(&protocol);
    cJSON_AddNumberToObject(information, "protType", protocol);
}

cJSON* host_object(const vx_host& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "AccessRecord", record.access_record);
    cJSON_AddBoolToObject(object, "Active", record.active);
    cJSON_AddStringToObject(object, "QosclassID", record.qosclass_id);
    cJSON_AddNumberToObject(object, "DeviceMaxDownLoadRate", record.device_max_down_load_rate);
    cJSON_AddNumberToObject(object, "DeviceMaxUpLoadRate", record.device_max_up_load_rate);
    cJSON_AddStringToObject(object, "HostName", record.host_name);
    cJSON_AddBoolToObject(object, "Active46", record.active46);
    cJSON_AddBoolToObject(object, "ParentControl", record.parent_control);
    cJSON_AddNumberToObject(object, "LeaseTime", record.lease_time);
    cJSON_AddStringToObject(object, "ID", record.id);
    cJSON_AddNumberToObject(object, "ClassQueue", record.class_queue);
    cJSON_AddStringToObject(object, "Layer2Interface", record.layer2_interface);
    cJSON_AddStringToObject(object, "ActualName", record.actual_name);
    cJSON_AddBoolToObject(object, "WlanActive", record.wlan_active);
    cJSON_AddStringToObject(object, "IPAddress", record.ip_address);
    cJSON_AddStringToObject(object, "domain", record.domain);
    cJSON_AddStringToObject(object, "MACAddress", record.mac_address);
    cJSON_AddStringToObject(object, "PolicerID", record.policer_id);
    cJSON_AddBoolToObject(object, "DeviceDownRateEnable", record.device_down_rate_enable);
    cJSON_AddStringToObject(object, "AddressSource", record.address_source);
    cJSON_AddBoolToObject(object, "ParentControlEnable", record.parent_control_enable);
    cJSON_AddStringToObject(object, "MacFilterID", record.mac_filter_id);
    cJSON_AddStringToObject(object, "IconType", record.icon_type);
    cJSON* const weak = cJSON_AddObjectToObject(object, "WeakInfo");
    cJSON_AddBoolToObject(weak, "WeakInfo", record.weak_info);
    cJSON_AddNumberToObject(weak, "SuggestValue", record.suggest_value);
    cJSON_AddBoolToObject(weak, "WeakFltEnable", record.weak_flt_enable);
    cJSON_AddNumberToObject(object, "BindWANLine", record.bind_wan_line);
    cJSON_AddNumberToObject(object, "RealWANLine", record.real_wan_line);
    cJSON_AddNumberToObject(object, "TelOperator", record.tel_operator);
    cJSON_AddBoolToObject(object, "IsSlave", record.is_slave);
    cJSON_AddStringToObject(object, "DevBrands", record.dev_brands);
    cJSON_AddNumberToObject(object, "DownRate", record.down_rate);
    cJSON_AddNumberToObject(object, "UpRate", record.up_rate);
    return object;
}

cJSON* network_object(const vx_wlan_network& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddBoolToObject(object, "WMMEnable", record.wmm_enable);
    cJSON_AddStringToObject(object, "WpaPreSharedKey", record.wpa_pre_shared_key);
    cJSON_AddNumberToObject(object, "TransmitPower", record.transmit_power);
    cJSON_AddStringToObject(object, "X_Wlan11NHtMcs", record.x_wlan11n_ht_mcs);
    cJSON_AddStringToObject(object, "BeaconType", record.beacon_type);
    cJSON_AddStringToObject(
        object, "WpaEncryptionMode",
        std::strcmp(record.beacon_type, "None") == 0 ? "" : record.wpa_encryption_mode);
    cJSON_AddStringToObject(object, "WlanStandard", record.wlan_standard);
    cJSON_AddBoolToObject(object, "WifiEnable", record.wifi_enable);
    cJSON_AddStringToObject(object, "FrequencyBand", record.frequency_band);
    cJSON_AddNumberToObject(object, "WifiSsidIndex", record.wifi_ssid_index);
    cJSON_AddStringToObject(object, "X_Wlan11NBWControl", record.x_wlan11n_bw_control);
    cJSON_AddStringToObject(object, "BasicAuthMode", record.basic_auth_mode);
    cJSON_AddBoolToObject(object, "WifiSsidEnable", record.wifi_ssid_enable);
    cJSON_AddBoolToObject(object, "WifiHideBroadcast", record.wifi_hide_broadcast);
    cJSON_AddStringToObject(object, "WifiSsid", record.wifi_ssid);
    cJSON_AddStringToObject(object, "WifiSsidFactory", record.wifi_ssid_factory);
    cJSON_AddStringToObject(object, "X_Wlan11NGIControl", record.x_wlan11n_gi_control);
    cJSON_AddBoolToObject(object, "X_WlanIsolateControl", record.x_wlan_isolate_control);
    cJSON_AddNumberToObject(object, "Channel", record.channel);
    cJSON_AddNumberToObject(object, "X_AssociateDeviceNum", record.x_associate_device_num);
    cJSON_AddStringToObject(object, "MaxBitRate", record.max_bit_rate);
    return object;
}

cJSON* filtered_object(const vx_mac_filter_entry& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "MACAddress", record.mac_address);
    cJSON_AddStringToObject(object, "HostName", record.host_name);
    return object;
}

cJSON* band_object(const vx_mac_filter_band& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "FrequencyBand", band_name(record.band));
    cJSON_AddBoolToObject(object, "MACAddressControlEnabled", record.enabled);
    cJSON_AddStringToObject(object, "ID", record.id);
    cJSON_AddNumberToObject(object, "MacFilterPolicy", record.policy);
    cJSON* const list =
        cJSON_AddArrayToObject(object, record.policy != 0 ? "WMACAddresses" : "BMACAddresses");
    for (int index = 0; index < record.filter_count; ++index)
        cJSON_AddItemToArray(list, filtered_object(record.filters[index]));
    return object;
}

cJSON* schedule_object(const vx_time_switch_entry& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "RepeatDay", record.repeat_day);
    cJSON_AddNumberToObject(object, "ID", record.id);
    cJSON_AddStringToObject(object, "StartTime", record.start_time);
    cJSON_AddBoolToObject(object, "Enable", record.enable);
    cJSON_AddStringToObject(object, "EndTime", record.end_time);
    return object;
}

cJSON* guest_object(const vx_guest_entry& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "SecOpt", record.sec_opt);
    cJSON_AddStringToObject(object, "FrequencyBand", band_name(record.band));
    cJSON_AddBoolToObject(object, "EnableFrequency", record.enable);
    cJSON_AddStringToObject(object, "ID", record.id);
    cJSON_AddBoolToObject(object, "CanEnableFrequency", record.can_enable);
    cJSON_AddStringToObject(object, "WifiSsid", record.wifi_ssid);
    cJSON_AddStringToObject(object, "WpaPreSharedKey", record.wpa_pre_shared_key);
    cJSON_AddNumberToObject(object, "ValidTime ", record.valid_time);
    cJSON_AddNumberToObject(object, "RestTime  ", record.rest_time);
    return object;
}

cJSON* station_object(const vx_station& record) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "mac", record.mac);
    cJSON_AddStringToObject(object, "name", record.name);
    cJSON_AddStringToObject(object, "time", record.time);
    cJSON_AddNumberToObject(object, "type", record.type);
    return object;
}

template <class Entry>
void add_entries(cJSON* array, cJSON* (*object)(const Entry&), const Entry* entries, int count) {
    for (int index = 0; index < count; ++index)
        cJSON_AddItemToArray(array, object(entries[index]));
}

} // namespace

char* write_register() {
    cJSON* const object = cJSON_CreateObject();
    add_fact(object, "mac", port_device_mac_get);
    add_fact(object, "sn", port_device_sn_get);
    add_fact(object, "cuei", port_device_cuei_get);
    add_fact(object, "vendor", port_device_vendor_get);
    add_fact(object, "model", port_device_model_get);
    cJSON_AddStringToObject(object, "from", "1");
    return finish(object);
}

char* write_login() {
    cJSON* const object = cJSON_CreateObject();
    add_fact(object, "devId", port_device_id_get);
    add_fact(object, "secret", port_device_secret_get);
    return finish(object);
}

char* write_devinfosync() {
    cJSON* const array = cJSON_CreateArray();
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddItemToArray(array, object);
    add_fact(object, "devId", port_device_id_get);
    add_device_information(object);
    return finish(array);
}

char* write_data() {
    vx_station_list record{};
    vx_device_stainfo_get(&record);
    cJSON* const object = cJSON_CreateObject();
    add_fact(object, "devId", port_device_id_get);
    add_entries(cJSON_AddArrayToObject(object, "services"), station_object, record.entries,
                record.count);
    return finish(object);
}

char* write_wandiagnose() {
    vx_wan_diagnosis record{};
    vx_device_wandiagnose(&record);
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "StatusCode", record.status_code);
    cJSON_AddStringToObject(object, "Status", record.status);
    cJSON_AddStringToObject(object, "ErrReason", record.status_code);
    cJSON_AddStringToObject(object, "string", record.result);
    cJSON_AddBoolToObject(object, "HasInternetWan", record.has_internet_wan);
    cJSON_AddStringToObject(object, "ExternalIPAddress", record.external_ip_address);
    cJSON_AddStringToObject(object, "MACAddress", record.mac_address);
    return finish(object);
}

char* write_hostinfo() {
    vx_host_table record{};
    vx_device_hostinfo(&record);
    cJSON* const array = cJSON_CreateArray();
    add_entries(array, host_object, record.entries, record.count);
    return finish(array);
}

char* write_deviceinfo() {
    vx_device_information record{};
    vx_device_info(&record);
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "DeviceName", record.device_name);
    cJSON_AddStringToObject(object, "SerialNumber", record.serial_number);
    cJSON_AddNumberToObject(object, "SNHashType", record.sn_hash_type);
    cJSON_AddStringToObject(object, "ManufacturerOUI", record.manufacturer_oui);
    cJSON_AddStringToObject(object, "SoftwareVersion", record.software_version);
    cJSON_AddStringToObject(object, "HardwareVersion", record.hardware_version);
    cJSON_AddNumberToObject(object, "UpTime", record.up_time);
    cJSON_AddStringToObject(object, "FriendlyName", record.friendly_name);
    cJSON_AddNumberToObject(object, "CPUUsage", record.cpu_usage);
    cJSON_AddNumberToObject(object, "MemFree", record.mem_free);
    cJSON_AddNumberToObject(object, "MemTotal", record.mem_total);
    cJSON_AddNumberToObject(object, "PppoeUpTime", record.pppoe_up_time);
    cJSON_AddStringToObject(object, "ModemSVersion", record.modem_s_version);
    cJSON_AddStringToObject(object, "ModemHVersion", record.modem_h_version);
    cJSON_AddStringToObject(object, "Manufacturer", record.manufacturer);
    cJSON_AddStringToObject(object, "BootloaderVersion", record.bootloader_version);
    cJSON_AddStringToObject(object, "FirmwareVersion", record.firmware_version);
    cJSON_AddStringToObject(object, "ChipModel", record.chip_model);
    cJSON_AddStringToObject(object, "ReleaseDate", record.release_date);
    cJSON* const other = cJSON_AddObjectToObject(object, "other");
    cJSON_AddBoolToObject(other, "guide", record.guide);
    cJSON_AddNumberToObject(other, "FirstLogin", record.first_login);
    return finish(object);
}

char* write_lanhost() {
    vx_lan_host record{};
    vx_device_lanhost(&record);
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "FirstMac", record.first_mac);
    cJSON_AddStringToObject(object, "DevName", record.dev_name);
    cJSON_AddBoolToObject(object, "FirstEnable", record.first_enable);
    cJSON_AddStringToObject(object, "ID", record.id);
    cJSON_AddStringToObject(object, "FristIP", record.first_ip);
    cJSON_AddStringToObject(object, "MACAddress", record.mac_address);
    cJSON_AddStringToObject(object, "DomainName", record.domain_name);
    cJSON_AddBoolToObject(object, "ShowLanDomainEnable", record.show_lan_domain_enable);
    return finish(object);
}

char* write_wan() {
    vx_wan record{};
    vx_device_wan(&record);
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "ID", record.id);
    cJSON_AddStringToObject(object, "Username", record.username);
    cJSON_AddStringToObject(object, "Password", record.password);
    cJSON_AddStringToObject(object, "AccessType", record.access_type);
    cJSON_AddStringToObject(object, "AccessStatus", record.access_status);
    cJSON_AddStringToObject(object, "ConnectionType", record.connection_type);
    cJSON_AddStringToObject(object, "ConnectionStatus", record.connection_status);
    cJSON_AddNumberToObject(object, "NATType", record.nat_type);
    cJSON_AddNumberToObject(object, "UpBandwidth", record.up_bandwidth);
    cJSON_AddNumberToObject(object, "DownBandwidth", record.down_bandwidth);
    cJSON_AddStringToObject(object, "IPv4DnsServers", record.ipv4_dns_servers);
    cJSON_AddBoolToObject(object, "DNSOverrideAllowed", record.dns_override_allowed);
    cJSON_AddBoolToObject(object, "Enable", record.enable);
    cJSON_AddNumberToObject(object, "X_SpeDialMode", record.x_spe_dial_mode);
    cJSON_AddNumberToObject(object, "MRU", record.mru);
    cJSON_AddStringToObject(object, "IPv4Addr", record.ipv4_addr);
    cJSON_AddStringToObject(object, "PPPTrigger", record.ppp_trigger);
    cJSON_AddStringToObject(object, "ServiceList", record.service_list);
    cJSON_AddStringToObject(object, "LowerLayer", record.lower_layer);
    cJSON_AddNumberToObject(object, "MTU", record.mtu);
    cJSON_AddStringToObject(object, "IPv4AddrType", record.ipv4_addr_type);
    cJSON_AddStringToObject(object, "IPv4Mask", record.ipv4_mask);
    cJSON_AddStringToObject(object, "DialNum", record.dial_num);
    cJSON_AddStringToObject(object, "MACColone", record.mac_colone);
    cJSON_AddNumberToObject(object, "MSS", record.mss);
    cJSON_AddNumberToObject(object, "PPPIdletime", record.ppp_idletime);
    cJSON_AddBoolToObject(object, "MACColoneEnable", record.mac_colone_enable);
    cJSON_AddBoolToObject(object, "IsDefault", record.is_default);
    cJSON_AddStringToObject(object, "IPv4Gateway", record.ipv4_gateway);
    cJSON_AddStringToObject(object, "Alias", record.alias);
    cJSON_AddStringToObject(object, "Name", record.name);
    cJSON_AddStringToObject(object, "PPPoEServiceName", record.pppoe_service_name);
    cJSON_AddStringToObject(object, "PPPAuthMode", record.ppp_auth_mode);
    cJSON_AddNumberToObject(object, "UpBandwidthMax", record.up_bandwidth_max);
    cJSON_AddNumberToObject(object, "DownBandwidthMax", record.down_bandwidth_max);
    cJSON_AddNumberToObject(object, "BandwidthTime", record.bandwidth_time);
    cJSON_AddNumberToObject(object, "DownBandwidthHistory", record.down_bandwidth_history);
    cJSON_AddNumberToObject(object, "UpBandwidthHistory", record.up_bandwidth_history);
    cJSON_AddStringToObject(object, "PPPDialIpMode", record.ppp_dial_ip_mode);
    cJSON_AddStringToObject(object, "PPPDialIpAddr", record.ppp_dial_ip_addr);
    cJSON_AddNumberToObject(object, "IsConfigured", record.is_configured);
    cJSON_AddStringToObject(object, "WanType", record.wan_type);
    cJSON_AddBoolToObject(object, "IPv4Enable", record.ipv4_enable);
    cJSON_AddStringToObject(object, "PPPoEACName", record.pppoe_ac_name);
    cJSON_AddNumberToObject(object, "TelOperator", record.tel_operator);
    return finish(object);
}

char* write_wlanbasic() {
    vx_wlan_status record{};
    vx_device_wlanbasic(&record);
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddBoolToObject(object, "DbhoEnable", record.dbho_enable);
    add_entries(cJSON_AddArrayToObject(object, "WifiConfig"), network_object, record.entries,
                record.count);
    return finish(object);
}

char* write_wlanfilter() {
    vx_mac_filter record{};
    vx_device_wlanfilterenhance_get(&record);
    cJSON* const array = cJSON_CreateArray();
    add_entries(array, band_object, record.entries, record.count);
    return finish(array);
}

char* write_timeswitch() {
    vx_time_switch record{};
    vx_device_wlantimeswitch_get(&record);
    cJSON* const object = cJSON_CreateObject();
    add_entries(cJSON_AddArrayToObject(object, "datelist"), schedule_object, record.entries,
                record.count);
    return finish(object);
}

char* write_guestnetwork() {
    vx_guest_network record{};
    vx_device_guest_network_get(&record);
    cJSON* const array = cJSON_CreateArray();
    add_entries(array, guest_object, record.entries, record.count);
    return finish(array);
}

char* write_errcode(int code, const char* path) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "errcode", code);
    if (code != 0)
        cJSON_AddStringToObject(object, "ID", path);
    return finish(object);
}

namespace {

const char* text_of(const cJSON* object, const char* key) {
    const cJSON* const member = cJSON_GetObjectItem(object, key);
    return cJSON_IsString(member) ? member->valuestring : nullptr;
}

/** Takes a text; false when it is missing. */
template <std::size_t Size>
bool take(const cJSON* object, const char* key, char (&place)[Size]) {
    const char* const text = text_of(object, key);
    if (text != nullptr)
        std::snprintf(place, Size, "%s", text);
    return text != nullptr;
}

bool take_number(const cJSON* object, const char* key, int& place) {
    const cJSON* const member = cJSON_GetObjectItem(object, key);
    if (cJSON_IsNumber(member))
        place = member->valueint;
    return member != nullptr;
}

bool take_flag(const cJSON* object, const char* key, int& place) {
    const cJSON* const member = cJSON_GetObjectItem(object, key);
    place = cJSON_IsTrue(member);
    return member != nullptr;
}

bool take_decimal(const cJSON* object, const char* key, int& place) {
    const char* const text = text_of(object, key);
    if (text != nullptr)
        place = static_cast<int>(std::strtol(text, nullptr, 10));
    return text != nullptr;
}

/** Takes one band's filter; false when something is missing. */
bool take_band(const cJSON* data, const char* key, int band, vx_mac_filter& record) {
    const cJSON* const object = cJSON_GetObjectItem(data, key);
    vx_mac_filter_band& filter = record.entries[record.count];
    filter.band = band;
    if (object == nullptr || !take(object, "ID", filter.id) ||
        !take_flag(object, "MACAddressControlEnabled", filter.enabled) ||
        !take_number(object, "MacFilterPolicy", filter.policy))
        return false;
    const cJSON* const list =
        cJSON_GetObjectItem(object, filter.policy != 0 ? "WMacFilters" : "BMacFilters");
    const cJSON* item;
    cJSON_ArrayForEach(item, list) {
        vx_mac_filter_entry& entry = filter.filters[filter.filter_count++];
        if (take(item, "MACAddress", entry.mac_address))
            take(item, "HostName", entry.host_name);
    }
    ++record.count;
    return true;
}

} // namespace

int read_qos_host(const RequestBody& body, vx_qos_host& record) {
    cJSON* const root = cJSON_ParseWithLength(body.data, body.length);
    if (root == nullptr)
        return -1;
    vx_mod_log_printf("quilan", VX_LOG_PROGRESS, "%.*s\n", static_cast<int>(body.length),
                      body.data);
    const cJSON* const data = cJSON_GetObjectItem(root, "data");
    const bool complete =
        take(data, "QosclassID", record.qosclass_id) &&
        take_flag(data, "DeviceDownRateEnable", record.device_down_rate_enable) &&
        take_number(data, "ClassQueue", record.class_queue) &&
        take_decimal(data, "DeviceMaxDownLoadRate", record.device_max_down_load_rate) &&
        take(data, "MACAddress", record.mac_address) && take(data, "HostName", record.host_name) &&
        take(data, "ActualName", record.actual_name) && take(data, "ID", record.id) &&
        take_decimal(data, "DeviceMaxUpLoadRate", record.device_max_up_load_rate);
    cJSON_Delete(root);
    return complete ? 0 : -1;
}

int read_mac_filter(const RequestBody& body, vx_mac_filter& record) {
    cJSON* const root = cJSON_ParseWithLength(body.data, body.length);
    const cJSON* const data = cJSON_GetObjectItem(root, "data");
    const bool complete = take_band(data, "config2g", VX_BAND_2G, record) &&
                          take_band(data, "config5g", VX_BAND_5G, record);
    cJSON_Delete(root);
    return complete ? 0 : -1;
}

int read_login_reply(const char* text) {
    cJSON* const root = cJSON_Parse(text);
    const cJSON* const errcode = cJSON_GetObjectItem(root, "errcode");
    int result = cJSON_IsNumber(errcode) ? errcode->valueint : -1;
    const char* const access = text_of(root, "accessToken");
    const char* const refresh = text_of(root, "refreshToken");
    const cJSON* const time_out = cJSON_GetObjectItem(root, "timeOut");
    if (result == 0 && access != nullptr && refresh != nullptr && time_out != nullptr) {
        port_device_accesstoken_set(access);
        port_device_refreshtoken_set(refresh);
        port_device_timeout_set(time_out->valueint);
    } else if (result == 0) {
        result = -1;
    }
    cJSON_Delete(root);
    return result;
}

} // namespace bench
