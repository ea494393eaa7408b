// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_wifi.h"

#include <algorithm>
#include <cstring>

#include "log/log.h"
#include "message/parse.h"
#include "text/text.h"
#include "tnjsonapi/tn_message.h"
#include "tnjsonapi/wifi_codes.h"

namespace {

using vxq::json_text;

constexpr char kWifiParser[] = "tn_wifi_parse";
constexpr char kTimerParser[] = "tn_wifitimer_parse";

bool equals(const char* text, const char* expected) {
    return std::strcmp(text, expected) == 0;
}

bool missing(const char* parser, const char* key) {
    QUILAN_LOG(VX_LOG_UNUSUAL, "%s %d:no %s\n", parser, __LINE__, key);
    return false;
}

/** Elements of an array that a record with room for `capacity` of them takes. */
std::int32_t count_elements(const cJSON* array, std::int32_t capacity) {
    return std::min<std::int32_t>(cJSON_GetArraySize(array), capacity);
}

/** The text of a member that was understood; logs one that was not, and leaves the code 0. */
void set_code(bool (*find)(const char*, std::int32_t&), const char* name, std::int32_t& code) {
    if (!find(name, code))
        QUILAN_LOG(VX_LOG_UNUSUAL, "%s %d:not support\n", kWifiParser, __LINE__);
}

/** One member of an access point: a text, or a number when there is no `set_text`. */
struct ApMember {
    const char* key;
    void (*set_text)(wifi_ap&, const char*);
};

void set_auth(wifi_ap& ap, const char* text) {
    set_code(vxq::auth_code, text, ap.auth);
}
void set_enable(wifi_ap& ap, const char* text) {
    ap.enable = equals(text, "yes") ? 1 : 0;
}
void set_encrypt(wifi_ap& ap, const char* text) {
    set_code(vxq::encrypt_code, text, ap.encrypt);
}
void set_ssid(wifi_ap& ap, const char* text) {
    vxq::copy_text(ap.ssid, text);
}
void set_key(wifi_ap& ap, const char* text) {
    vxq::copy_text(ap.key, text);
}

constexpr ApMember kApMembers[] = {
    {"auth", set_auth}, {"enable", set_enable}, {"encrypt", set_encrypt},
    {"ssid", set_ssid}, {"key", set_key},
};

void read_index(const cJSON* element, wifi_ap& ap) {
    const cJSON* const index = cJSON_GetObjectItem(element, "apidx");
    if (index != nullptr)
        ap.apidx = vxq::json_int(index);
    else
        missing(kWifiParser, "apidx");
}

void read_ap(const cJSON* element, wifi_ap& ap) {
    read_index(element, ap);
    for (const ApMember& member : kApMembers) {
        const char* const text = json_text(cJSON_GetObjectItem(element, member.key));
        if (text != nullptr)
            member.set_text(ap, text);
        else
            missing(kWifiParser, member.key);
    }
}

void read_radio_settings(const cJSON* settings, wifi_radio& radio) {
    const char* const mode = json_text(cJSON_GetObjectItem(settings, "mode"));
    if (mode != nullptr)
        radio.mode = equals(mode, "2.4G") ? VX_BAND_2G : VX_BAND_5G;
    else
        missing(kWifiParser, "mode");
    const cJSON* const channel = cJSON_GetObjectItem(settings, "channel");
    if (channel != nullptr)
        radio.channel = vxq::json_int(channel);
    else
        missing(kWifiParser, "channel");
}

void read_radio(const cJSON* element, wifi_radio& radio) {
    const cJSON* const settings = cJSON_GetObjectItem(element, "radio");
    if (settings != nullptr)
        read_radio_settings(settings, radio);
    const cJSON* const aps = cJSON_GetObjectItem(element, "ap");
    radio.ap_num = count_elements(aps, VX_WIFI_AP_CAPACITY);
    for (std::int32_t index = 0; index < radio.ap_num; ++index) {
        const cJSON* const ap = cJSON_GetArrayItem(aps, index);
        if (cJSON_IsNull(ap) == 0)
            read_ap(ap, radio.ap[index]);
    }
}

/** A switch of the timer command and where it goes. */
struct Switch {
    const char* key;
    std::int32_t wifitimer_cfg::*is_set;
    std::int32_t wifitimer_cfg::*value;
};

constexpr Switch kSwitches[] = {
    {"Wi-Fiswitch", &wifitimer_cfg::wifiswitch_set, &wifitimer_cfg::wifiswitch},
    {"ledswitch", &wifitimer_cfg::ledswitch_set, &wifitimer_cfg::ledswitch},
};

std::int32_t is_on(const char* status) {
    return equals(status, "ON") ? 1 : 0;
}

void read_switch(const cJSON* set, const Switch& entry, wifitimer_cfg& config) {
    const cJSON* const member = cJSON_GetObjectItem(set, entry.key);
    if (member == nullptr) {
        missing(kTimerParser, entry.key);
        return;
    }
    const char* const status = json_text(cJSON_GetObjectItem(member, "status"));
    if (status == nullptr)
        return;
    config.*entry.is_set = 1;
    config.*entry.value = is_on(status);
}

/** A timer's member; null when it is missing, which has been logged. */
const char* timer_text(const cJSON* element, const char* key, std::int32_t index) {
    const char* const text = json_text(cJSON_GetObjectItem(element, key));
    if (text == nullptr)
        QUILAN_LOG(VX_LOG_UNUSUAL, "%s %d:no %s %d\n", kTimerParser, __LINE__, key,
                   static_cast<int>(index));
    return text;
}

/** Reads a timer up to the first member that is missing. */
void read_timer(const cJSON* element, std::int32_t index, wifitimer_entry& timer) {
    const char* const weekday = timer_text(element, "weekday", index);
    if (weekday == nullptr)
        return;
    vxq::copy_text(timer.weekday, weekday);
    const char* const time = timer_text(element, "time", index);
    if (time == nullptr)
        return;
    vxq::copy_text(timer.time, time);
    const char* const enable = timer_text(element, "enable", index);
    if (enable != nullptr)
        timer.enable = vxq::decimal_value(enable);
}

void read_timers(const cJSON* timers, wifitimer_cfg& config) {
    config.timer_num = count_elements(timers, VX_WIFI_TIMER_CAPACITY);
    for (std::int32_t index = 0; index < config.timer_num; ++index) {
        const cJSON* const timer = cJSON_GetArrayItem(timers, index);
        if (cJSON_IsNull(timer) == 0)
            read_timer(timer, index, config.timer[index]);
    }
}

} // namespace

int tn_wifi_parse(const char* text, wifi_cfg* config) {
    const vxq::PlatformRequest request = vxq::open_request(text, kWifiParser, "set");
    if (request.content == nullptr)
        return -1;
    const cJSON* const radios = cJSON_GetObjectItem(request.content, "wifi");
    if (radios == nullptr)
        return vxq::refuse("not wifi\n");
    config->radio_num = count_elements(radios, VX_WIFI_RADIO_CAPACITY);
    for (std::int32_t index = 0; index < config->radio_num; ++index)
        read_radio(cJSON_GetArrayItem(radios, index), config->radio[index]);
    return 0;
}

int tn_wifitimer_parse(const char* text, wifitimer_cfg* config) {
    const vxq::PlatformRequest request = vxq::open_request(text, kTimerParser, "set");
    if (request.content == nullptr)
        return -1;
    for (const Switch& entry : kSwitches)
        read_switch(request.content, entry, *config);
    const cJSON* const timers = cJSON_GetObjectItem(request.content, "Wi-Fitimer");
    if (timers != nullptr)
        read_timers(timers, *config);
    else
        missing(kTimerParser, "Wi-Fitimer");
    return 0;
}

int tn_wpsswitch_parse(const char* text, std::int32_t* on) {
    const vxq::PlatformRequest request = vxq::open_request(text, "tn_wpsswitch_parse", "set");
    if (request.content == nullptr)
        return -1;
    const cJSON* const wps = cJSON_GetObjectItem(request.content, "wpsswitch");
    if (wps == nullptr)
        return vxq::refuse("not wpsswitch\n");
    const char* const status = json_text(cJSON_GetObjectItem(wps, "status"));
    if (status == nullptr)
        return vxq::refuse("not status\n");
    *on = is_on(status);
    return 0;
}
