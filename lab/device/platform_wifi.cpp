// SPDX-License-Identifier: MIT
// The same wireless networks as the platform channel sees them, and its timers and switches.

#include "export.h"
#include "operation.h"
#include "records.h"
#include "wireless.h"

#include <algorithm>
#include <cstring>

namespace vxdevice {
namespace {

struct Code {
    std::int32_t code;
    const char* name; ///< as a network's member has it
};

constexpr Code auth_codes[] = {
    {VX_WIFI_AUTH_OPEN, "None"},
    {VX_WIFI_AUTH_SHARE, "Basic"},
    {VX_WIFI_AUTH_WPA, "WPA-EAP"},
    {VX_WIFI_AUTH_WPA2, "WPA2-EAP"},
    {VX_WIFI_AUTH_WPAPSK, "WPA"},
    {VX_WIFI_AUTH_WPA2PSK, "11i"},
    {VX_WIFI_AUTH_WPAPSKWPA2PSK, "WPAand11i"},
};

constexpr Code cipher_codes[] = {
    {VX_WIFI_ENCRYPT_NONE, ""},
    {VX_WIFI_ENCRYPT_TKIP, "TKIPEncryption"},
    {VX_WIFI_ENCRYPT_AES, "AESEncryption"},
    {VX_WIFI_ENCRYPT_AESTKIP, "TKIPandAESEncryption"},
};

template <std::size_t count>
std::int32_t code_of(const Code (&codes)[count], const std::string& name) {
    const auto* const found = std::find_if(std::begin(codes), std::end(codes),
                                           [&](const Code& code) { return code.name == name; });
    return found == std::end(codes) ? 0 : found->code;
}

template <std::size_t count>
const char* name_of(const Code (&codes)[count], std::int32_t code) {
    const auto* const found = std::find_if(std::begin(codes), std::end(codes),
                                           [&](const Code& c) { return c.code == code; });
    return found == std::end(codes) ? nullptr : found->name;
}

void fill_access_point(const Json& network, std::int32_t index, wifi_ap& ap) {
    fill(layout::wifi_ap_ssid, network, &ap);
    ap.apidx = index;
    ap.auth = code_of(auth_codes, network.value("beacon_type", ""));
    ap.encrypt = code_of(cipher_codes, network.value("wpa_encryption_mode", ""));
}

void fill_radio(const Json& radio, wifi_radio& record) {
    record.mode = band_of(radio);
    record.channel = radio.value("channel", 0);
    record.ap_num = 0;
    for (const Json& network : array_at(radio, "/networks")) {
        fill_access_point(network, record.ap_num, record.ap[record.ap_num]);
        ++record.ap_num;
    }
}

/// Texts and codes that the platform left out stay as they are.
int put_access_point(Json& networks, const wifi_ap& ap) {
    if (ap.apidx < 0 || static_cast<std::size_t>(ap.apidx) >= networks.size()) {
        return kNotFound;
    }
    Json& network = networks[static_cast<std::size_t>(ap.apidx)];
    merge(layout::wifi_ap_ssid, &ap, network);
    if (const char* security = name_of(auth_codes, ap.auth)) {
        const char* cipher = name_of(cipher_codes, ap.encrypt);
        if (cipher == nullptr) {
            return kBadValue;
        }
        network["beacon_type"] = security;
        network["wpa_encryption_mode"] = cipher;
    }
    return acceptable(network) ? kDone : kBadValue;
}

int put_radio(Json& state, const wifi_radio& record) {
    if (record.ap_num < 0 || record.ap_num > VX_WIFI_AP_CAPACITY) {
        return kBadValue;
    }
    if (record.mode == 0) {
        return kDone; // the platform named none
    }
    Json* radio = find_radio(state, record.mode);
    if (radio == nullptr) {
        return kNotFound;
    }
    (*radio)["channel"] = record.channel;
    int result = kDone;
    for (std::int32_t i = 0; i < record.ap_num && result == kDone; ++i) {
        result = put_access_point(networks_of(*radio), record.ap[i]);
    }
    return result;
}

bool any_radio_on(const Json& state) {
    const Json& radios = array_at(state, "/wireless/radios");
    return std::any_of(radios.begin(), radios.end(),
                       [](const Json& radio) { return is_on(find(radio, "/wifi_enable")); });
}

void switch_radios(Json& state, bool on) {
    for (const std::int32_t band : {VX_BAND_2G, VX_BAND_5G}) {
        if (Json* radio = find_radio(state, band)) {
            (*radio)["wifi_enable"] = on;
        }
    }
}

} // namespace
} // namespace vxdevice

using namespace vxdevice;

int vx_device_wifi(const struct wifi_cfg* config) {
    return act(__func__, describe(layout::wifi, config), [&](Json& state) {
        if (config->radio_num < 0 || config->radio_num > VX_WIFI_RADIO_CAPACITY) {
            return kBadValue;
        }
        int result = kDone;
        for (std::int32_t i = 0; i < config->radio_num && result == kDone; ++i) {
            result = put_radio(state, config->radio[i]);
        }
        return result;
    });
}

int vx_device_wifi_get(struct wifi_cfg* config) {
    return look(__func__, [&](const Json& state) {
        config->radio_num = 0;
        for (const Json& radio : array_at(state, "/wireless/radios")) {
            fill_radio(radio, config->radio[config->radio_num++]);
        }
        return kDone;
    });
}

// The record can't tell a request without timers from one with none: without, they stay.
int vx_device_wifitimer(const struct wifitimer_cfg* config) {
    return act(__func__, describe(layout::wifitimer, config), [&](Json& state) {
        if (config->timer_num < 0 || config->timer_num > VX_WIFI_TIMER_CAPACITY) {
            return kBadValue;
        }
        if (config->wifiswitch_set != 0) {
            switch_radios(state, config->wifiswitch != 0);
        }
        if (config->ledswitch_set != 0) {
            state["led_switch"] = config->ledswitch != 0;
        }
        if (config->timer_num > 0) {
            merge(layout::wifi_timers, config, state);
        }
        return kDone;
    });
}

int vx_device_wifitimer_get(struct wifitimer_cfg* config, const struct status_req* request) {
    return look(__func__, [&](const Json& state) {
        if (request->wifiswitch != 0) {
            config->wifiswitch_set = 1;
            config->wifiswitch = any_radio_on(state) ? 1 : 0;
        }
        if (request->ledswitch != 0) {
            config->ledswitch_set = 1;
            config->ledswitch = is_on(find(state, "/led_switch")) ? 1 : 0;
        }
        if (request->wifitimer != 0) {
            fill(layout::wifi_timers, state, config);
        }
        return kDone;
    });
}

int vx_device_wpsswitch(int on) {
    return act(__func__, {{"on", on}}, [&](Json& state) {
        state["wireless"]["wps"] = on != 0;
        return kDone;
    });
}
