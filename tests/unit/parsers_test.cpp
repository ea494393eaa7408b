// SPDX-License-Identifier: MIT
// The parsers of the platform's replies: what they give back, log and store.
#include "unit/fixture.h"

#include <optional>

#include "appjsonapi/app_provisioning.h"

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

struct Parser {
    const char* name;
    int (*parse)(const char*);
};

constexpr Parser kErrcode{"Errcode", app_sys_errcode_parse};
constexpr Parser kActivate{"Activate", app_sys_activate_parse};
constexpr Parser kLogin{"Login", app_sys_login_parse};
constexpr Parser kRefresh{"Refresh", app_sys_refresh_parse};

class ParserTest : public DaemonTest {
protected:
    ParserTest() {
        fake::device().allow({"port_device_id_set", "port_device_secret_set",
                              "port_device_accesstoken_set", "port_device_refreshtoken_set",
                              "port_device_timeout_set"});
    }
    static Texts lines() { return fake::journal().calls({fake::Source::log}); }
};

struct NoCodeCase {
    const char* name;
    std::optional<std::string> text;
    const char* line;
};

void PrintTo(const NoCodeCase& row, std::ostream* out) {
    *out << row.name;
}

const NoCodeCase kNoCode[] = {
    {"NoPayload", std::nullopt, "4 null\n"},
    {"EmptyText", "", "4 not json\n"},
    {"Garbage", "\xff\xfe not json", "4 not json\n"},
    {"CutInTheMiddle", "{\"errcode\":0,\"devId\":\"a", "4 not json\n"},
    {"CutAfterTheKey", "{\"errcode\"", "4 not json\n"},
    {"OnlyBraces", "{", "4 not json\n"},
    {"DeeplyNestedArrays", std::string(200'000, '['), "4 not json\n"},
    {"DeeplyNestedObjects",
     [] {
         std::string text;
         for (int level = 0; level < 20'000; ++level)
             text += "{\"errcode\":";
         return text;
     }(),
     "4 not json\n"},
    {"EmptyObject", "{}", "4 not errcode\n"},
    {"OtherKeysOnly", "{\"code\":0,\"errcodes\":0}", "4 not errcode\n"},
    {"ErrcodeOneLevelDown", "{\"data\":{\"errcode\":0}}", "4 not errcode\n"},
    {"Array", "[{\"errcode\":0}]", "4 not errcode\n"},
    {"EmptyArray", "[]", "4 not errcode\n"},
    {"Number", "0", "4 not errcode\n"},
    {"String", "\"errcode\"", "4 not errcode\n"},
    {"Null", "null", "4 not errcode\n"},
    {"HugeWithoutErrcode", "{\"x\":\"" + std::string(1'000'000, 'x') + "\"}", "4 not errcode\n"},
};

class NoCode : public ParserTest, public testing::WithParamInterface<NoCodeCase> {};

TEST_P(NoCode, IsMinusOneAndStoresNothing) {
    for (const Parser& parser : {kErrcode, kActivate, kLogin, kRefresh}) {
        fake::journal().clear();
        EXPECT_EQ(parser.parse(GetParam().text ? GetParam().text->c_str() : nullptr), -1);
        EXPECT_THAT(lines(), ElementsAre(GetParam().line)) << parser.name;
        EXPECT_THAT(fake::journal().deeds(), ElementsAre()) << parser.name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, NoCode, testing::ValuesIn(kNoCode), case_name<NoCodeCase>);

struct CodeCase {
    const char* name;
    const char* errcode; ///< as it stands in the reply
    int expected;
};

void PrintTo(const CodeCase& row, std::ostream* out) {
    *out << row.name;
}

constexpr CodeCase kCodes[] = {
    {"Zero", "0", 0},
    {"One", "1", 1},
    {"MinusOne", "-1", -1},
    {"Listed", "4999", 4999},
    {"Unlisted", "123456", 123456},
    {"Largest", "2147483647", 2147483647},
    {"Smallest", "-2147483648", -2147483647 - 1},
    {"Fraction", "5.9", 5},
    {"Exponent", "1e3", 1000},
    {"TooLarge", "1e300", 2147483647},
    {"TooSmall", "-1e300", -2147483647 - 1},
    {"Text", "\"5\"", 0},
    {"True", "true", 0},
    {"False", "false", 0},
    {"NullValue", "null", 0},
    {"ArrayValue", "[5]", 0},
    {"ObjectValue", "{\"errcode\":5}", 0},
};

class Code : public ParserTest, public testing::WithParamInterface<CodeCase> {};

TEST_P(Code, IsReadAsAnInteger) {
    const std::string reply = std::string("{\"errcode\":") + GetParam().errcode + "}";
    EXPECT_EQ(app_sys_errcode_parse(reply.c_str()), GetParam().expected);
    EXPECT_THAT(lines(), ElementsAre("6 errcode:" + std::to_string(GetParam().expected) + "\n"));
}

/** With its credentials: a reply is only a success when "errcode" reads as 0. */
TEST_P(Code, DecidesWhetherCredentialsAreStored) {
    const std::string reply = std::string("{\"errcode\":") + GetParam().errcode +
                              ",\"devId\":\"d\",\"secret\":\"s\",\"accessToken\":\"a\","
                              "\"refreshToken\":\"r\",\"timeOut\":9}";
    for (const Parser& parser : {kActivate, kLogin, kRefresh}) {
        fake::journal().clear();
        EXPECT_EQ(parser.parse(reply.c_str()), GetParam().expected) << parser.name;
        EXPECT_EQ(fake::journal().deeds().empty(), GetParam().expected != 0) << parser.name;
        EXPECT_THAT(lines(), ElementsAre()) << parser.name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Code, testing::ValuesIn(kCodes), case_name<CodeCase>);

struct CredentialCase {
    const char* name;
    Parser parser;
    std::string reply;
    int result;
    Texts stored;
    Texts lines;
};

void PrintTo(const CredentialCase& row, std::ostream* out) {
    *out << row.name;
}

const Texts kIdAndSecret{"port_device_id_set(\"d-1\")", "port_device_secret_set(\"s-1\")"};
const Texts kIdOnly{"port_device_id_set(\"d-1\")"};
const Texts kTokens{"port_device_accesstoken_set(\"a-1\")",
                    "port_device_refreshtoken_set(\"r-1\")"};
const Texts kAccessOnly{"port_device_accesstoken_set(\"a-1\")"};

Texts with(Texts texts, const char* more) {
    texts.push_back(more);
    return texts;
}

const Texts kAll = with(kTokens, "port_device_timeout_set(7200)");

const CredentialCase kCredentials[] = {
    {"Activate", kActivate, R"({"errcode":0,"devId":"d-1","secret":"s-1"})", 0, kIdAndSecret, {}},
    {"ActivateInAnyOrder",
     kActivate,
     R"({"secret":"s-1","devId":"d-1","errcode":0})",
     0,
     kIdAndSecret,
     {}},
    {"ActivateInAnyCase",
     kActivate,
     R"({"ERRCODE":0,"DevID":"d-1","SECRET":"s-1"})",
     0,
     kIdAndSecret,
     {}},
    {"ActivateWithoutDevId",
     kActivate,
     R"({"errcode":0,"secret":"s-1"})",
     -1,
     {},
     {"4 not devId\n"}},
    {"ActivateWithoutSecret",
     kActivate,
     R"({"errcode":0,"devId":"d-1"})",
     -1,
     kIdOnly,
     {"4 not secret\n"}},
    {"ActivateWithNothing", kActivate, R"({"errcode":0})", -1, {}, {"4 not devId\n"}},
    {"ActivateWithEmptyTexts",
     kActivate,
     R"({"errcode":0,"devId":"","secret":""})",
     0,
     {"port_device_id_set(\"\")", "port_device_secret_set(\"\")"},
     {}},
    {"ActivateWithNumericDevId",
     kActivate,
     R"({"errcode":0,"devId":17,"secret":"s-1"})",
     -1,
     {},
     {"4 not devId\n"}},
    {"ActivateWithNullSecret",
     kActivate,
     R"({"errcode":0,"devId":"d-1","secret":null})",
     -1,
     kIdOnly,
     {"4 not secret\n"}},
    {"ActivateWithEscapes",
     kActivate,
     R"({"errcode":0,"devId":"a\"b\\c\u00e4","secret":"s-1"})",
     0,
     {"port_device_id_set(\"a\\\"b\\\\c\xc3\xa4\")", "port_device_secret_set(\"s-1\")"},
     {}},
    {"ActivateWithOtherKeys",
     kActivate,
     R"({"x":[1,{"devId":"no"}],"errcode":0,"devId":"d-1","secret":"s-1","secret":"later"})",
     0,
     kIdAndSecret,
     {}},

    {"Login",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":7200})",
     0,
     kAll,
     {}},
    {"LoginInAnyCase",
     kLogin,
     R"({"ErrCode":0,"AccessToken":"a-1","refreshtoken":"r-1","timeout":7200})",
     0,
     kAll,
     {}},
    {"LoginWithoutAccessToken",
     kLogin,
     R"({"errcode":0,"refreshToken":"r-1","timeOut":7200})",
     -1,
     {},
     {"4 not accessToken\n"}},
    {"LoginWithoutRefreshToken",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","timeOut":7200})",
     -1,
     kAccessOnly,
     {"4 not refreshToken\n"}},
    {"LoginWithoutTimeOut",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1"})",
     -1,
     kTokens,
     {"4 not timeOut\n"}},
    {"LoginWithBooleanToken",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":true,"timeOut":7200})",
     -1,
     kAccessOnly,
     {"4 not refreshToken\n"}},
    {"LoginWithFractionalTimeOut",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":7200.9})",
     0,
     kAll,
     {}},
    {"LoginWithNegativeTimeOut",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":-5})",
     0,
     with(kTokens, "port_device_timeout_set(-5)"),
     {}},
    {"LoginWithTextualTimeOut",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":"7200"})",
     0,
     with(kTokens, "port_device_timeout_set(0)"),
     {}},
    {"LoginWithNullTimeOut",
     kLogin,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":null})",
     0,
     with(kTokens, "port_device_timeout_set(0)"),
     {}},
    {"LoginIgnoresDeviceCredentials",
     kLogin,
     R"({"errcode":0,"devId":"d","secret":"s","accessToken":"a-1","refreshToken":"r-1","timeOut":7200})",
     0,
     kAll,
     {}},

    {"Refresh",
     kRefresh,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":7200})",
     0,
     kAll,
     {}},
    {"RefreshInAnyCase",
     kRefresh,
     R"({"ERRCODE":0,"ACCESSTOKEN":"a-1","REFRESHTOKEN":"r-1","TIMEOUT":7200})",
     0,
     kAll,
     {}},
    {"RefreshWithoutAccessToken",
     kRefresh,
     R"({"errcode":0,"refreshToken":"r-1","timeOut":7200})",
     -1,
     {},
     {"4 not devId\n"}},
    {"RefreshWithoutRefreshToken",
     kRefresh,
     R"({"errcode":0,"accessToken":"a-1","timeOut":7200})",
     -1,
     kAccessOnly,
     {"4 not secret\n"}},
    {"RefreshWithoutTimeOut",
     kRefresh,
     R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1"})",
     -1,
     kTokens,
     {"4 not secret\n"}},
    {"RefreshWithArrayForAToken",
     kRefresh,
     R"({"errcode":0,"accessToken":["a-1"],"refreshToken":"r-1","timeOut":7200})",
     -1,
     {},
     {"4 not devId\n"}},
};

class Credentials : public ParserTest, public testing::WithParamInterface<CredentialCase> {};

TEST_P(Credentials, AreStoredOneByOneUpToTheFirstThatIsMissing) {
    EXPECT_EQ(GetParam().parser.parse(GetParam().reply.c_str()), GetParam().result);
    EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(GetParam().stored));
    EXPECT_THAT(lines(), ElementsAreArray(GetParam().lines));
}

INSTANTIATE_TEST_SUITE_P(All, Credentials, testing::ValuesIn(kCredentials),
                         case_name<CredentialCase>);

TEST_F(ParserTest, ASetterThatFailsIsNotNoticed) {
    fake::device().set_result("port_device_accesstoken_set", -1);
    EXPECT_EQ(app_sys_login_parse(
                  R"({"errcode":0,"accessToken":"a-1","refreshToken":"r-1","timeOut":7200})"),
              0);
    EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(kAll));
}

TEST_F(ParserTest, AHugeCredentialIsHandedOnWhole) {
    const std::string token(1'000'000, 't');
    const std::string reply =
        R"({"errcode":0,"accessToken":")" + token + R"(","refreshToken":"r-1","timeOut":7200})";
    EXPECT_EQ(app_sys_login_parse(reply.c_str()), 0);
    EXPECT_EQ(fake::journal().deeds().front(), "port_device_accesstoken_set(\"" + token + "\")");
}

TEST_F(ParserTest, NothingIsLeakedOnAnyWayOut) {
    const JsonMemory memory;
    for (const CredentialCase& row : kCredentials)
        row.parser.parse(row.reply.c_str());
    for (const NoCodeCase& row : kNoCode)
        app_sys_login_parse(row.text ? row.text->c_str() : nullptr);
    EXPECT_EQ(memory.in_use(), 0);
}

TEST_F(ParserTest, AReplyThatFindsNoMemoryIsNone) {
    JsonMemory memory;
    memory.refuse(3);
    EXPECT_EQ(app_sys_activate_parse(R"({"errcode":0,"devId":"d-1","secret":"s-1"})"), -1);
    EXPECT_THAT(fake::journal().deeds(), ElementsAre());
    EXPECT_EQ(memory.in_use(), 0);
}

} // namespace
