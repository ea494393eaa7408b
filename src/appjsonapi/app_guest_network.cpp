// SPDX-License-Identifier: MIT
#include "appjsonapi/app_guest_network.h"

#include "appjsonapi/parameter_paths.h"
#include "appjsonapi/record_reader.h"
#include "appjsonapi/record_writer.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr ListPlace kGuests =
    list_place(VXQ_AT(vx_guest_network, entries), VXQ_AT(vx_guest_network, count));

// The platform knows the last two by keys that end in blanks.
constexpr Member kGuest[] = {
    text_member("SecOpt", VXQ_AT(vx_guest_entry, sec_opt)),
    band_member("FrequencyBand", VXQ_AT(vx_guest_entry, band)),
    flag_member("EnableFrequency", VXQ_AT(vx_guest_entry, enable)),
    text_member("ID", VXQ_AT(vx_guest_entry, id)),
    flag_member("CanEnableFrequency", VXQ_AT(vx_guest_entry, can_enable)),
    text_member("WifiSsid", VXQ_AT(vx_guest_entry, wifi_ssid)),
    text_member("WpaPreSharedKey", VXQ_AT(vx_guest_entry, wpa_pre_shared_key)),
    number_member("ValidTime ", VXQ_AT(vx_guest_entry, valid_time)),
    number_member("RestTime  ", VXQ_AT(vx_guest_entry, rest_time)),
};

// Whatever is missing is reported as the guest network as a whole.
constexpr Setting kGuestSettings[] = {
    percent_text_setting("ID", VXQ_AT(vx_guest_entry, id), ""),
    percent_text_setting("SecOpt", VXQ_AT(vx_guest_entry, sec_opt), ""),
    percent_text_setting("WifiSsid", VXQ_AT(vx_guest_entry, wifi_ssid), ""),
    flag_setting("Enable", VXQ_AT(vx_guest_entry, enable), ""),
    percent_text_setting("WpaPreSharedKey", VXQ_AT(vx_guest_entry, wpa_pre_shared_key), ""),
};
constexpr SettingGroup kGuestGroup{kGuestWlanPath, kGuestSettings};

constexpr Setting kData[] = {
    network_setting("config2g", VX_BAND_2G, VXQ_AT(vx_guest_entry, band), kGuests, kGuestGroup),
    network_setting("config5g", VX_BAND_5G, VXQ_AT(vx_guest_entry, band), kGuests, kGuestGroup),
};
constexpr SettingGroup kDataGroup{kGuestWlanPath, kData};

constexpr Setting kBody[] = {
    object_setting("data", kDataGroup, ""),
};
constexpr SettingsDocument kGuestDocument{{kGuestWlanPath, kBody}, kGuestWlanPath, true};

} // namespace

} // namespace vxq

using namespace vxq;

JsonText app_sys_gateway_ntwk_guest_network() {
    return write_status(vx_device_guest_network_get, list_document(kGuests, kGuest));
}

int app_sys_gateway_ntwk_guest_network_parse(const RequestBody& body, vx_guest_network& record,
                                             ParameterPath& path) {
    return read_settings({__func__, __LINE__}, body, kGuestDocument, &record, path);
}
