// SPDX-License-Identifier: MIT
#include "tnjsonapi/wifi_codes.h"

#include <strings.h>

#include "tnjsonapi/named_code.h"
#include <vxquilan/records.h>

namespace vxq {

namespace {

// A code is reported by the first name that it has: a network set to "none" reads back as "open".
constexpr NamedCode kAuthModes[] = {
    {"open", VX_WIFI_AUTH_OPEN},
    {"share", VX_WIFI_AUTH_SHARE},
    {"wpa", VX_WIFI_AUTH_WPA},
    {"wpa2", VX_WIFI_AUTH_WPA2},
    {"wpapsk", VX_WIFI_AUTH_WPAPSK},
    {"wpa2psk", VX_WIFI_AUTH_WPA2PSK},
    {"wpapskwpa2psk", VX_WIFI_AUTH_WPAPSKWPA2PSK},
    {"none", VX_WIFI_AUTH_OPEN},
};

constexpr NamedCode kCiphers[] = {
    {"none", VX_WIFI_ENCRYPT_NONE},
    {"tkip", VX_WIFI_ENCRYPT_TKIP},
    {"aes", VX_WIFI_ENCRYPT_AES},
    {"aestkip", VX_WIFI_ENCRYPT_AESTKIP},
};

bool code_of(std::span<const NamedCode> table, const char* name, std::int32_t& code) {
    const NamedCode* const row = find_name(table, name, strcasecmp);
    if (row != nullptr)
        code = row->code;
    return row != nullptr;
}

const char* name_of(std::span<const NamedCode> table, std::int32_t code) {
    const NamedCode* const row = find_code(table, code);
    return row != nullptr ? row->name : "";
}

} // namespace

bool auth_code(const char* name, std::int32_t& code) {
    return code_of(kAuthModes, name, code);
}

bool encrypt_code(const char* name, std::int32_t& code) {
    return code_of(kCiphers, name, code);
}

const char* auth_name(std::int32_t code) {
    return name_of(kAuthModes, code);
}

const char* encrypt_name(std::int32_t code) {
    return name_of(kCiphers, code);
}

} // namespace vxq
