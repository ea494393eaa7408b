// SPDX-License-Identifier: MIT
#include "entry_points.h"

#include <vxquilan/entry_points.h>
#include <vxquilan/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>
#include <unistd.h>

namespace device_check {
namespace {

constexpr EntryPoint kEntryPoints[] = {
    {"frame_quilan_state_set", true},
    {"profession_sys_register_code", true},
    {"profession_sys_data_report", true},
    {"frame_vxquilan_net", true},
    {"vx_getcfgx", false},
    {"vx_setcfgx", false},
    {"cJSON_Clear", false},
    {"gwdencrypt_cbcaes_base64", false},
    {"gwddecrypt_cbcaes_base64", false},
    {"base64_encode", false},
    {"base64_decode", false},
};

EntryCalls* s_calls = nullptr;
thread_local bool t_inside = false;

void count(std::string_view name) {
    const auto* const found =
        std::ranges::find_if(kEntryPoints, [&](const EntryPoint& e) { return e.name == name; });
    if (s_calls == nullptr || found == std::end(kEntryPoints))
        return;
    EntryCalls& calls = s_calls[found - std::begin(kEntryPoints)];
    ++calls.all;
    if (t_inside)
        ++calls.inside;
}

} // namespace

std::span<const EntryPoint> entry_points() {
    return kEntryPoints;
}

void count_entry_calls(EntryCalls* calls) {
    s_calls = calls;
}

InsideOperation::InsideOperation(bool examined) {
    t_inside = examined;
}

InsideOperation::~InsideOperation() {
    t_inside = false;
}

} // namespace device_check

using device_check::count;

int frame_quilan_state_set(int) {
    count(__func__);
    return 0;
}

int profession_sys_register_code(const char*) {
    count(__func__);
    return 0;
}

int profession_sys_data_report(int) {
    count(__func__);
    return 0;
}

int frame_vxquilan_net() {
    count(__func__);
    for (;;)
        pause(); // the daemon's never returns either
}

int vx_getcfgx(const char*, const char*, char*) {
    count(__func__);
    return 0;
}

int vx_setcfgx(const char*, const char*, const char*) {
    count(__func__);
    return 0;
}

void cJSON_Clear(cJSON*) {
    count(__func__);
}

char* gwdencrypt_cbcaes_base64(char*, const unsigned char*) {
    count(__func__);
    return nullptr;
}

char* gwddecrypt_cbcaes_base64(const char*, const unsigned char*) {
    count(__func__);
    return nullptr;
}

char* base64_encode(const char*) {
    count(__func__);
    return nullptr;
}

char* base64_decode(const char*) {
    count(__func__);
    return nullptr;
}

// The log library's, which the daemon brings along for the device library.
VXQUILAN_EXPORT void vx_mod_log_printf(const char*, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}
