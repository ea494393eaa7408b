// SPDX-License-Identifier: MIT
#include "races/race_device.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "races/schedule.h"
#include "unit_net/socket_pair.h"
#include <vxquilan/device.h>
#include <vxquilan/log.h>

namespace races {

namespace {

const bool s_log_shown = std::getenv("VXQUILAN_RACE_LOG") != nullptr;
const std::string s_platform_address = peer::own_loopback_address();

constexpr const char* kAreas[] = {"Elsewhere", "Hebei", "Tianjin"};

std::atomic<int> s_sequence{0};
/** The key's bytes, one word each: the channel agrees on a new one while frames are under way. */
std::atomic<unsigned char> s_key[128];
thread_local std::uint32_t t_results = 0;

void check_zeroed(const char* name, const void* buffer, std::size_t size) {
    const auto* const bytes = static_cast<const unsigned char*>(buffer);
    if (std::any_of(bytes, bytes + size, [](unsigned char byte) { return byte != 0; }))
        note_finding(std::string(name) + " was given a buffer that isn't zeroed");
}

/** Mostly success; each thread has its own turns. */
int some_result() {
    return ++t_results % 8 == 0 ? 1 : 0;
}

/** Reads all of it, as a library does that keeps it. */
int take(const void* bytes, std::size_t size) {
    static constinit std::atomic<unsigned> kept{0};
    const auto* const first = static_cast<const unsigned char*>(bytes);
    unsigned sum = 0;
    for (std::size_t index = 0; index < size; ++index)
        sum += first[index];
    put(kept, sum);
    return some_result();
}

const char* text_of(const std::string& operation) {
    if (operation == "port_device_id_get")
        return look(device().bound) ? "device" : "";
    if (operation == "port_areacode_get")
        return kAreas[look(device().area)];
    return operation == "port_device_gwip_get" ? platform_address() : "text";
}

int get_text(const char* name, char* buffer, std::size_t size) {
    stall();
    check_zeroed(name, buffer, size);
    std::strncpy(buffer, text_of(name), size - 1);
    return 0;
}

int set_text(const std::string& name, const char* text) {
    stall();
    if (name == "port_device_id_set")
        put(device().bound, *text != '\0');
    return take(text, std::strlen(text) + 1) * 0;
}

int get_number(const std::string& name, int* number) {
    stall();
    if (name == "port_device_mode_get")
        *number = look(device().mode);
    else if (name == "port_device_coap_type")
        *number = look(device().coap_type);
    else if (name == "port_device_timeout_get")
        *number = look(device().expired) ? 0 : INT_MAX;
    else
        *number = 1;
    return 0;
}

int set_number(const std::string& name, int number) {
    stall();
    if (name == "port_device_mode_set")
        put(device().mode, number);
    if (name == "port_device_timeout_set")
        put(device().expired, false);
    return 0;
}

int act(const std::string& name) {
    stall();
    if (name == "vx_device_deldevice")
        put(device().bound, false);
    // Mostly the gateway takes its time: a reboot ends what else there is to race.
    if ((name == "vx_device_reboot" || name == "vx_device_restoredefcfg") && some_result() != 0)
        put(device().rebooted, true);
    if (name == "port_device_sequence_set")
        s_sequence.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

/** A record of zeros is one with nothing in it. */
template <typename Record>
int get_record(const char* name, Record* record) {
    stall();
    check_zeroed(name, record, sizeof *record);
    return some_result();
}

int get_record(const char* name, vx_station_list* stations) {
    stall();
    check_zeroed(name, stations, sizeof *stations);
    stations->count = 3;
    for (int index = 0; index < stations->count; ++index)
        std::strcpy(stations->entries[index].name, "station");
    return 0;
}

int set_record(const void* record, std::size_t size) {
    stall();
    return take(record, size);
}

} // namespace

void Device::reset() {
    put(mode, 0);
    put(area, 0);
    put(bound, true);
    put(expired, false);
    put(rebooted, false);
}

void Device::set_platform(std::uint16_t new_port, bool tls) {
    put(coap_type, tls ? 1 : 0);
    put(port, int{new_port});
}

Device& device() {
    static constinit Device instance;
    return instance;
}

const char* platform_address() {
    return s_platform_address.c_str();
}

} // namespace races

using namespace races;

#define TEXT_GET(name, size)                                                                       \
    int name(char* buffer) {                                                                       \
        return get_text(#name, buffer, size);                                                      \
    }
#define TEXT_SET(name)                                                                             \
    int name(const char* text) {                                                                   \
        return set_text(#name, text);                                                              \
    }
#define NUMBER_GET(name)                                                                           \
    int name(int* number) {                                                                        \
        return get_number(#name, number);                                                          \
    }
#define NUMBER_SET(name)                                                                           \
    int name(int number) {                                                                         \
        return set_number(#name, number);                                                          \
    }
#define RECORD_GET(name, type)                                                                     \
    int name(type* record) {                                                                       \
        return get_record(#name, record);                                                          \
    }
#define RECORD_SET(name, type)                                                                     \
    int name(const type* record) {                                                                 \
        return set_record(record, sizeof *record);                                                 \
    }
#define ACTION(name)                                                                               \
    int name(void) {                                                                               \
        return act(#name);                                                                         \
    }
#define OTHER(name, shape, size)
#include "support/device_operations.inc"

int port_device_app_ip(char* host, int* port) {
    stall();
    check_zeroed("port_device_app_ip", host, 64);
    std::strcpy(host, "127.0.0.1");
    *port = look(device().port);
    return 0;
}

int vx_device_stainfo_byget(vx_station_list* stations, int) {
    return get_record("vx_device_stainfo_byget", stations);
}

int port_device_encryptkey_get(unsigned char* key) {
    stall();
    check_zeroed("port_device_encryptkey_get", key, std::size(s_key));
    std::transform(std::begin(s_key), std::end(s_key), key, look<unsigned char>);
    return 0;
}

int port_device_encryptkey_set(const unsigned char* key) {
    stall();
    for (std::atomic<unsigned char>& byte : s_key)
        put(byte, *key++);
    return 0;
}

int port_device_sequence_get(void) {
    return look(s_sequence);
}

int vx_device_wifitimer_get(wifitimer_cfg* config, const status_req* request) {
    check_zeroed("vx_device_wifitimer_get", config, sizeof *config);
    return set_record(request, sizeof *request) * 0;
}

void* vx_device_upgrade(void* upgrade) {
    device().upgrades.fetch_add(1, std::memory_order_relaxed);
    for (int round = 0; round < 20; ++round)
        set_record(upgrade, sizeof(vx_upgrade));
    device().upgrades.fetch_sub(1, std::memory_order_relaxed);
    return nullptr;
}

void vx_mod_log_printf(const char* module, int level, const char* format, ...) {
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    if (s_log_shown)
        std::fprintf(stderr, "%s %d %s", module, level, line);
    stall();
}

// The daemon starts and ends the gateway's other daemons; not on the machine that runs the tests.
extern "C" int system(const char*) {
    return 0;
}
