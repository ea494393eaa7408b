// SPDX-License-Identifier: MIT
#include "appjsonapi/app_wlan_filter.h"

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"
#include "appjsonapi/record_writer.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

bool is_white_list(const vx_mac_filter_band& filter) {
    return filter.policy != 0;
}
bool is_black_list(const vx_mac_filter_band& filter) {
    return !is_white_list(filter);
}

constexpr ListPlace kBands =
    list_place(VXQ_AT(vx_mac_filter, entries), VXQ_AT(vx_mac_filter, count));
constexpr ListPlace kHosts =
    list_place(VXQ_AT(vx_mac_filter_band, filters), VXQ_AT(vx_mac_filter_band, filter_count));

constexpr Member kHost[] = {
    text_member("MACAddress", VXQ_AT(vx_mac_filter_entry, mac_address)),
    text_member("HostName", VXQ_AT(vx_mac_filter_entry, host_name)),
};

constexpr Member kBand[] = {
    band_member("FrequencyBand", VXQ_AT(vx_mac_filter_band, band)),
    flag_member("MACAddressControlEnabled", VXQ_AT(vx_mac_filter_band, enabled)),
    text_member("ID", VXQ_AT(vx_mac_filter_band, id)),
    number_member("MacFilterPolicy", VXQ_AT(vx_mac_filter_band, policy)),
    when<is_white_list>(list_member("WMACAddresses", kHosts, kHost)),
    when<is_black_list>(list_member("BMACAddresses", kHosts, kHost)),
};

// An item without an address still takes its place in the list.
constexpr Setting kHostSettings[] = {
    unless_absent(Absent::end_group,
                  text_setting("MACAddress", VXQ_AT(vx_mac_filter_entry, mac_address), "")),
    unless_absent(Absent::pass,
                  text_setting("HostName", VXQ_AT(vx_mac_filter_entry, host_name), "")),
};
constexpr SettingGroup kHostGroup{kRadioSsidPath, kHostSettings};

// Only the list of the policy in force is read. The keys of the lists are not those of the status.
constexpr Setting kBandSettings[] = {
    text_setting("ID", VXQ_AT(vx_mac_filter_band, id), ""),
    flag_setting("MACAddressControlEnabled", VXQ_AT(vx_mac_filter_band, enabled), ""),
    number_setting("MacFilterPolicy", VXQ_AT(vx_mac_filter_band, policy), ""),
    when<is_white_list>(
        unless_absent(Absent::pass, list_setting("WMacFilters", kHosts, kHostGroup, ""))),
    when<is_black_list>(
        unless_absent(Absent::pass, list_setting("BMacFilters", kHosts, kHostGroup, ""))),
};
constexpr SettingGroup kBandGroup{kRadioSsidPath, kBandSettings};

constexpr Setting kData[] = {
    network_setting("config2g", VX_BAND_2G, VXQ_AT(vx_mac_filter_band, band), kBands, kBandGroup),
    network_setting("config5g", VX_BAND_5G, VXQ_AT(vx_mac_filter_band, band), kBands, kBandGroup),
};
constexpr SettingGroup kDataGroup{kRadioSsidPath, kData};

constexpr Setting kBody[] = {
    object_setting("data", kDataGroup, "data"),
};
constexpr SettingsDocument kFilterDocument{{kPolicerPath, kBody}, kPolicerDataPath};

} // namespace

} // namespace vxq

using namespace vxq;

JsonText app_sys_gateway_ntwk_wlanfilterenhance() {
    return write_status(vx_device_wlanfilterenhance_get, list_document(kBands, kBand));
}

int app_sys_gateway_ntwk_wlanfilterenhance_parse(const RequestBody& body, vx_mac_filter& record,
                                                 ParameterPath& path) {
    return read_settings({__func__, __LINE__}, body, kFilterDocument, &record, path);
}
