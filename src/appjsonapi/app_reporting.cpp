// SPDX-License-Identifier: MIT
#include "appjsonapi/app_reporting.h"

#include "appjsonapi/device_information.h"
#include "appjsonapi/record_writer.h"
#include "message/device_facts.h"
#include "message/document.h"
#include "os/clock.h"
#include "text/text.h"
#include <vxquilan/device.h>

using namespace vxq;

namespace {

constexpr DeviceFact kDeviceId[] = {
    text_fact<128>("devId", port_device_id_get),
};

constexpr Member kStation[] = {
    text_member("mac", VXQ_AT(vx_station, mac)),
    text_member("name", VXQ_AT(vx_station, name)),
    text_member("time", VXQ_AT(vx_station, time)),
    number_member("type", VXQ_AT(vx_station, type)),
};

constexpr ListPlace kStations =
    list_place(VXQ_AT(vx_station_list, entries), VXQ_AT(vx_station_list, count));
constexpr Member kServices = list_member("services", kStations, kStation);

JsonText build_data(const vx_station_list& stations) {
    const JsonTree document(cJSON_CreateObject());
    const bool complete =
        add_device_facts(document.get(), kDeviceId) &&
        json_add(document.get(), kServices.key, create_member(kServices, &stations)) != nullptr;
    return finish_document(document, complete);
}

} // namespace

JsonText app_sys_devinfosync() {
    const JsonTree document(cJSON_CreateArray());
    cJSON* const device = json_append(document.get(), cJSON_CreateObject());
    return finish_document(document, device != nullptr && add_device_facts(device, kDeviceId) &&
                                         add_device_information(device));
}

JsonText app_sys_heartbeat() {
    // The platform has always been sent local time with a "Z" behind it, and reads it as such.
    char timestamp[32];
    const std::tm now = local_time();
    format_text(timestamp, sizeof timestamp, "%d%02d%02dT%02d%02d%02dZ", now.tm_year + 1900,
                now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
    const JsonTree document(cJSON_CreateObject());
    const bool complete = json_add(document.get(), "ts", cJSON_CreateString(timestamp)) != nullptr;
    return finish_document(document, complete);
}

JsonText app_sys_data() {
    vx_station_list stations{};
    vx_device_stainfo_get(&stations);
    return build_data(stations);
}

JsonText app_sys_data_report(int selector) {
    vx_station_list stations{};
    vx_device_stainfo_byget(&stations, selector);
    return build_data(stations);
}
