// SPDX-License-Identifier: MIT
// What of a message's text the log gets, in either build.
#include "log/log_text.h"
#include "strict/strictness.h"
#include "support/case_name.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct Case {
    const char* name;
    std::string text;
    std::string masked;
};

void PrintTo(const Case& row, std::ostream* out) {
    *out << row.name;
}

const char* const kSecretKeys[] = {
    "secret",        "accessToken", "refreshToken", "code",     "WpaPreSharedKey", "wpakey",
    "CurrentWepKey", "rakey",       "key",          "Password", "upassword",       "dh_key"};

const Case kCases[] = {
    {"NoSecret", R"({"errcode":0,"ssid":"Attic"})", R"({"errcode":0,"ssid":"Attic"})"},
    {"Empty", "", ""},
    {"NoJson", "nonsense", "nonsense"},
    {"Formatted", "{\n\t\"secret\":\t\"s-1\",\n\t\"a\":\t1\n}",
     "{\n\t\"secret\":\t\"***\",\n\t\"a\":\t1\n}"},
    {"EmptyValue", R"({"key":""})", R"({"key":"***"})"},
    {"Number", R"({"code":4711})", R"({"code":"***"})"},
    {"ShortestNumbers", R"({"key":1,"key":2,"key":3})", R"({"key":"***","key":"***","key":"***"})"},
    {"Null", R"([{"key":null}])", R"([{"key":"***"}])"},
    {"Object", R"({"key":{"a":"}","b":[1,{}]},"z":1})", R"({"key":"***","z":1})"},
    {"Array", R"({"key":["a]",["b"]],"z":1})", R"({"key":"***","z":1})"},
    {"QuoteInside", R"({"key":"a\"b\\","z":"c"})", R"({"key":"***","z":"c"})"},
    {"OtherCase", R"({"WPAKEY":"x","Accesstoken":"y"})", R"({"WPAKEY":"***","Accesstoken":"***"})"},
    {"EscapedKey", R"({"wpa\u006bey":"x"})", R"({"wpa\u006bey":"***"})"},
    {"SpacesOfTheParser", "{\"key\"\x01\x1f:\x02\"x\"}", "{\"key\"\x01\x1f:\x02\"***\"}"},
    {"KeyThatBeginsLikeOne", R"({"keymode":"dh","wepkeyLen":5})",
     R"({"keymode":"dh","wepkeyLen":5})"},
    {"ValueLikeAKey", R"({"ssid":"key","name":"secret"})", R"({"ssid":"key","name":"secret"})"},
    {"CutInTheValue", R"({"key":"abc)", R"({"key":"***")"},
    {"CutBeforeTheValue", R"({"key":)", R"({"key":)"},
    {"CutInTheKey", R"({"ke)", R"({"ke)"},
    {"CutBehindABackslash", R"({"key":"abc\)", R"({"key":"***")"},
    {"MissingValue", R"({"key":,"z":1})", R"({"key":,"z":1})"},
    {"ValueInAValue", R"({"a":{"b":[{"Password":"p"}]}})", R"({"a":{"b":[{"Password":"***"}]}})"},
};

class Text : public testing::TestWithParam<Case> {};

TEST_P(Text, IsAsTheBuildHasIt) {
    const vxq::LogText shown(GetParam().text.c_str());
    const std::string expected = kStrict ? GetParam().masked : GetParam().text;
    EXPECT_EQ(std::string(shown.text()), expected);
}

// In a block of just its size, so that a sanitizer sees a step past it.
TEST_P(Text, NeedsNoTerminator) {
    const std::string& text = GetParam().text;
    const auto block = std::make_unique<char[]>(text.size());
    text.copy(block.get(), text.size());
    const vxq::LogText shown(block.get(), text.size());
    EXPECT_EQ(std::string(shown.text(), static_cast<std::size_t>(shown.length())),
              kStrict ? GetParam().masked : text);
}

INSTANTIATE_TEST_SUITE_P(All, Text, testing::ValuesIn(kCases), case_name<Case>);

TEST(Secrets, AreMaskedUnderEachOfTheirKeys) {
    for (const std::string key : kSecretKeys) {
        const std::string text = "{\"a\":1,\"" + key + "\":\"it is me\"}";
        const vxq::LogText shown(text.c_str());
        EXPECT_EQ(std::string(shown.text()).find("it is me") == std::string::npos, kStrict) << key;
    }
}

TEST(Secrets, AreShownElsewhereInTheSameBuildsOnly) {
    EXPECT_EQ(vxq::log_shows_secrets(), !kStrict);
}

} // namespace
