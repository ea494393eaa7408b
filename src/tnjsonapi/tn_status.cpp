// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_status.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "message/document.h"
#include "text/text.h"
#include "tnjsonapi/tn_message.h"
#include "tnjsonapi/wifi_codes.h"

namespace {

using vxq::json_add;
using vxq::json_append;
using vxq::JsonText;
using vxq::JsonTree;

bool add_text(cJSON* object, const char* key, const char* text) {
    return json_add(object, key, cJSON_CreateString(text)) != nullptr;
}

bool add_number(cJSON* object, const char* key, std::int32_t number) {
    return json_add(object, key, vxq::json_number(number)) != nullptr;
}

/** Adds a record's field, which ends with its array even if it has no NUL. */
template <std::size_t Size>
bool add_field(cJSON* object, const char* key, const char (&field)[Size]) {
    vxq::TextBuffer<Size> text;
    std::memcpy(text.data(), field, Size);
    return add_text(object, key, text.text());
}

/** Entries that a record really has, whatever its count says. */
std::int32_t within(std::int32_t count, std::int32_t capacity) {
    return std::clamp<std::int32_t>(count, 0, capacity);
}

bool add_ap(cJSON* aps, const wifi_ap& ap) {
    cJSON* const entry = json_append(aps, cJSON_CreateObject());
    // The index travels under the name of a channel; platforms read it from there.
    return entry != nullptr && add_number(entry, "channel", ap.apidx) &&
           add_text(entry, "enable", ap.enable == 1 ? "yes" : "no") &&
           add_field(entry, "ssid", ap.ssid) && add_field(entry, "key", ap.key) &&
           add_text(entry, "auth", vxq::auth_name(ap.auth)) &&
           add_text(entry, "encrypt", vxq::encrypt_name(ap.encrypt));
}

bool add_radio(cJSON* radios, const wifi_radio& radio) {
    cJSON* const entry = json_append(radios, cJSON_CreateObject());
    cJSON* const settings = json_add(entry, "radio", cJSON_CreateObject());
    if (settings == nullptr ||
        !add_text(settings, "mode", radio.mode == VX_BAND_2G ? "2.4G" : "5G") ||
        !add_number(settings, "channel", radio.channel))
        return false;
    cJSON* const aps = json_add(entry, "ap", cJSON_CreateArray());
    const std::int32_t count = within(radio.ap_num, VX_WIFI_AP_CAPACITY);
    return aps != nullptr && std::all_of(radio.ap, radio.ap + count,
                                         [aps](const wifi_ap& ap) { return add_ap(aps, ap); });
}

bool add_timer(cJSON* timers, const wifitimer_entry& timer) {
    cJSON* const entry = json_append(timers, cJSON_CreateObject());
    return entry != nullptr && add_field(entry, "weekday", timer.weekday) &&
           add_field(entry, "time", timer.time) &&
           add_text(entry, "enable", timer.enable == 1 ? "1" : "0");
}

/** What a status is made from. */
struct Settings {
    const wifi_cfg& wifi;
    const wifitimer_cfg& timer;
};

bool add_wifi(cJSON* status, const char* key, const Settings& settings) {
    cJSON* const radios = json_add(status, key, cJSON_CreateArray());
    const wifi_radio* const first = settings.wifi.radio;
    const std::int32_t count = within(settings.wifi.radio_num, VX_WIFI_RADIO_CAPACITY);
    return radios != nullptr &&
           std::all_of(first, first + count,
                       [radios](const wifi_radio& radio) { return add_radio(radios, radio); });
}

/** "NO" stands for on: the platform has always been told so. */
bool add_switch(cJSON* status, const char* key, std::int32_t value) {
    cJSON* const entry = json_add(status, key, cJSON_CreateObject());
    return entry != nullptr && add_text(entry, "status", value == 1 ? "NO" : "OFF");
}

bool add_wifiswitch(cJSON* status, const char* key, const Settings& settings) {
    return add_switch(status, key, settings.timer.wifiswitch);
}

bool add_ledswitch(cJSON* status, const char* key, const Settings& settings) {
    return add_switch(status, key, settings.timer.ledswitch);
}

bool add_timers(cJSON* status, const char* key, const Settings& settings) {
    cJSON* const timers = json_add(status, key, cJSON_CreateArray());
    const wifitimer_entry* const first = settings.timer.timer;
    const std::int32_t count = within(settings.timer.timer_num, VX_WIFI_TIMER_CAPACITY);
    return timers != nullptr &&
           std::all_of(first, first + count,
                       [timers](const wifitimer_entry& timer) { return add_timer(timers, timer); });
}

/** A part of the status: its name, the flag that asks for it, and its writer. */
struct Part {
    const char* name;
    std::int32_t status_req::*wanted;
    bool (*add)(cJSON* status, const char* key, const Settings&);
};

constexpr Part kParts[] = {
    {"Wi-Fi", &status_req::wifi, add_wifi},
    {"Wi-Fiswitch", &status_req::wifiswitch, add_wifiswitch},
    {"ledswitch", &status_req::ledswitch, add_ledswitch},
    {"Wi-Fitimer", &status_req::wifitimer, add_timers},
};

void ask_for(const char* name, status_req& request) {
    for (const Part& part : kParts) {
        if (std::strcmp(name, part.name) == 0)
            request.*part.wanted = 1;
    }
}

} // namespace

int tn_status_parse(const char* text, status_req* request) {
    const vxq::PlatformRequest query = vxq::open_request(text, "tn_status_parse", "get");
    if (query.content == nullptr)
        return -1;
    const cJSON* element = nullptr;
    cJSON_ArrayForEach(element, query.content) {
        const char* const name = vxq::json_text(cJSON_GetObjectItem(element, "name"));
        if (name != nullptr)
            ask_for(name, *request);
    }
    return 0;
}

JsonText tn_status(const status_req& request, int sequence, const wifi_cfg& wifi,
                   const wifitimer_cfg& timer) {
    const JsonTree message = vxq::new_message("status", sequence);
    cJSON* const status = json_add(message.get(), "status", cJSON_CreateObject());
    const Settings settings{wifi, timer};
    const bool complete =
        status != nullptr && std::all_of(std::begin(kParts), std::end(kParts), [&](const Part& p) {
            return request.*p.wanted != 1 || p.add(status, p.name, settings);
        });
    return finish_document(message, complete);
}
