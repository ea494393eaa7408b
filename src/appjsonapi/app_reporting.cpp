// SPDX-License-Identifier: MIT
#include "appjsonapi/app_reporting.h"

#include <algorithm>

#include "appjsonapi/device_facts.h"
#include "appjsonapi/document.h"
#include "os/clock.h"
#include "text/text.h"
#include <vxquilan/device.h>

namespace {

using vxq::DeviceFact;
using vxq::json_add;
using vxq::JsonText;
using vxq::JsonTree;

constexpr DeviceFact kDeviceId[] = {
    vxq::text_fact<128>("devId", port_device_id_get),
};

bool add_station(cJSON* services, const vx_station& station) {
    cJSON* const entry = vxq::json_append(services, cJSON_CreateObject());
    return entry != nullptr && json_add(entry, "mac", cJSON_CreateString(station.mac)) != nullptr &&
           json_add(entry, "name", cJSON_CreateString(station.name)) != nullptr &&
           json_add(entry, "time", cJSON_CreateString(station.time)) != nullptr &&
           json_add(entry, "type", cJSON_CreateNumber(station.type)) != nullptr;
}

bool add_stations(cJSON* services, const vx_station_list& stations) {
    // A library that reports more than the record can hold must not make the daemon read past it.
    const int count = std::min<int>(stations.count, VX_STATION_CAPACITY);
    for (int index = 0; index < count; ++index) {
        if (!add_station(services, stations.entries[index]))
            return false;
    }
    return true;
}

JsonText build_data(const vx_station_list& stations) {
    const JsonTree document(cJSON_CreateObject());
    bool complete = add_device_facts(document.get(), kDeviceId);
    cJSON* const services = json_add(document.get(), "services", cJSON_CreateArray());
    complete = complete && services != nullptr && add_stations(services, stations);
    return finish_document(document, complete);
}

} // namespace

JsonText app_sys_devinfosync() {
    const JsonTree document(cJSON_CreateArray());
    cJSON* const device = vxq::json_append(document.get(), cJSON_CreateObject());
    return finish_document(document, device != nullptr && add_device_facts(device, kDeviceId) &&
                                         vxq::add_device_information(device));
}

JsonText app_sys_heartbeat() {
    // The platform has always been sent local time with a "Z" behind it, and reads it as such.
    char timestamp[32];
    const std::tm now = vxq::local_time();
    vxq::format_text(timestamp, sizeof timestamp, "%d%02d%02dT%02d%02d%02dZ", now.tm_year + 1900,
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
