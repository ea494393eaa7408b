// SPDX-License-Identifier: MIT
#include "tnjsonapi/wifi_codes.h"

#include <algorithm>
#include <cctype>

#include <gmock/gmock.h>

namespace {

struct Code {
    const char* name;
    int code;
    const char* reported;
};

constexpr Code kAuth[] = {
    {"open", 1, "open"},     {"share", 2, "share"},
    {"wpa", 3, "wpa"},       {"wpa2", 4, "wpa2"},
    {"wpapsk", 5, "wpapsk"}, {"wpa2psk", 6, "wpa2psk"},
    {"none", 1, "open"},     {"wpapskwpa2psk", 7, "wpapskwpa2psk"},
};

constexpr Code kCiphers[] = {
    {"none", 0, "none"}, {"tkip", 1, "tkip"}, {"aes", 2, "aes"}, {"aestkip", 3, "aestkip"}};

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

std::string capitalised(const std::string& text) {
    return upper(text.substr(0, 1)) + text.substr(1);
}

template <std::size_t Size>
void expect_codes(const Code (&codes)[Size], bool (*find)(const char*, std::int32_t&),
                  const char* (*name)(std::int32_t)) {
    for (const Code& row : codes) {
        for (const std::string& spelling :
             {std::string(row.name), upper(row.name), capitalised(row.name)}) {
            std::int32_t code = 4711;
            EXPECT_TRUE(find(spelling.c_str(), code)) << spelling;
            EXPECT_EQ(code, row.code) << spelling;
        }
        EXPECT_STREQ(name(row.code), row.reported);
    }
    for (const char* const text : {"", "wep", "wpa3", " open", "aes ", "tkipaes", "wpa2-psk"}) {
        std::int32_t code = 4711;
        EXPECT_FALSE(find(text, code)) << text;
        EXPECT_EQ(code, 4711) << text;
    }
}

} // namespace

TEST(WifiCodes, AuthenticationModesInEverySpelling) {
    expect_codes(kAuth, vxq::auth_code, vxq::auth_name);
    for (const int code : {0, 8, -1, 1'000})
        EXPECT_STREQ(vxq::auth_name(code), "") << code;
}

TEST(WifiCodes, CiphersInEverySpelling) {
    expect_codes(kCiphers, vxq::encrypt_code, vxq::encrypt_name);
    for (const int code : {4, -1, 1'000})
        EXPECT_STREQ(vxq::encrypt_name(code), "") << code;
}
