// SPDX-License-Identifier: MIT
#include "appjsonapi/app_wlan_guide.h"

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"

namespace vxq {

namespace {

constexpr Setting kNetworkSettings[] = {
    percent_text_setting("ID", VXQ_AT(vx_guide_entry, id), "ID"),
    percent_text_setting("ssid", VXQ_AT(vx_guide_entry, ssid), "ssid"),
    flag_setting("ssidenable", VXQ_AT(vx_guide_entry, ssid_enable), "ssidenable"),
    percent_text_setting("beacontype", VXQ_AT(vx_guide_entry, beacon_type), "beacontype"),
    // An open network has no encryption mode. A clash without a message of its own is reported with
    // the path that is left behind here.
    unless_absent(
        Absent::note,
        percent_text_setting("wpaencmode", VXQ_AT(vx_guide_entry, wpa_enc_mode), "wpaencmode")),
    number_setting("advertisement", VXQ_AT(vx_guide_entry, advertisement), "advertisement"),
    percent_text_setting("wpakey", VXQ_AT(vx_guide_entry, wpa_key), "wpakey"),
    unless_absent(Absent::pass, percent_text_setting("upassword", VXQ_AT(vx_guide_entry, upassword),
                                                     "upassword")),
};
constexpr SettingGroup kNetwork{kWlanPath, kNetworkSettings};

constexpr Setting kGuestSettings[] = {
    percent_text_setting("ID", VXQ_AT(vx_guide_entry, id), "ID"),
    percent_text_setting("WifiSsid", VXQ_AT(vx_guide_entry, ssid), "WifiSsid"),
};
constexpr SettingGroup kGuest{kGuestWlanPath, kGuestSettings};

constexpr ListPlace kEntries = list_place(VXQ_AT(vx_guide, entries), VXQ_AT(vx_guide, count));

// The first two flags lie in the first entry, where the record begins.
static_assert(offsetof(vx_guide, entries) == 0);

constexpr Setting kData[] = {
    unless_absent(Absent::log, flag_setting("guide", VXQ_AT(vx_guide_entry, guide), "guide")),
    flag_setting("setGuestSsid", VXQ_AT(vx_guide, set_guest_ssid), "guide"),
    flag_setting("DbhoEnable", VXQ_AT(vx_guide_entry, dbho_enable), "DbhoEnable"),
    network_setting("config2g", VX_BAND_2G, VXQ_AT(vx_guide_entry, band), kEntries, kNetwork),
    network_setting("config5g", VX_BAND_5G, VXQ_AT(vx_guide_entry, band), kEntries, kNetwork),
    network_setting("guest2g", VX_BAND_2G_GUEST, VXQ_AT(vx_guide_entry, band), kEntries, kGuest),
};
constexpr SettingGroup kDataGroup{kWlanPath, kData};

constexpr Setting kBody[] = {
    object_setting("data", kDataGroup, "data"),
};
constexpr SettingsDocument kGuideDocument{{kPolicerPath, kBody}, kPolicerDataPath};

} // namespace

} // namespace vxq

int app_sys_gateway_ntwk_wlanguidebasic_parse(const RequestBody& body, vx_guide& record,
                                              ParameterPath& path) {
    return vxq::read_settings({__func__, __LINE__}, body, vxq::kGuideDocument, &record, path);
}
