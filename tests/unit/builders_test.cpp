// SPDX-License-Identifier: MIT
// The whole text of every message that the gateway sends, as the sample gateway gives it.
#include "unit/fixture.h"

#include "appjsonapi/app_provisioning.h"
#include "appjsonapi/app_reporting.h"

using testing::ElementsAre;

namespace {

std::string text(const vxq::JsonText& document) {
    return document ? document.get() : "(null)";
}

struct BuilderCase {
    const char* name;
    vxq::JsonText (*build)();
    const char* expected;
    const char* expected_of_silent_library; ///< no getter fills anything
};

void PrintTo(const BuilderCase& builder, std::ostream* out) {
    *out << builder.name;
}

const BuilderCase kBuilders[] = {
    {"Register", app_sys_register,
     "{\n"
     "\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
     "\t\"sn\":\t\"SN123456789\",\n"
     "\t\"cuei\":\t\"CUEI-42\",\n"
     "\t\"vendor\":\t\"Acme\",\n"
     "\t\"model\":\t\"GW-1\",\n"
     "\t\"from\":\t\"1\"\n"
     "}",
     "{\n"
     "\t\"mac\":\t\"\",\n"
     "\t\"sn\":\t\"\",\n"
     "\t\"cuei\":\t\"\",\n"
     "\t\"vendor\":\t\"\",\n"
     "\t\"model\":\t\"\",\n"
     "\t\"from\":\t\"1\"\n"
     "}"},
    {"Activate", app_sys_activate,
     "{\n"
     "\t\"code\":\t\"CODE-77\",\n"
     "\t\"devInfo\":\t{\n"
     "\t\t\"sn\":\t\"SN123456789\",\n"
     "\t\t\"cuei\":\t\"CUEI-42\",\n"
     "\t\t\"model\":\t\"GW-1\",\n"
     "\t\t\"devType\":\t\"gateway\",\n"
     "\t\t\"manu\":\t\"AcmeWorks\",\n"
     "\t\t\"prodId\":\t\"PROD-9\",\n"
     "\t\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
     "\t\t\"hwv\":\t\"hw 1.0\",\n"
     "\t\t\"swv\":\t\"sw 2.3.4\",\n"
     "\t\t\"protType\":\t3\n"
     "\t}\n"
     "}",
     "{\n"
     "\t\"code\":\t\"\",\n"
     "\t\"devInfo\":\t{\n"
     "\t\t\"sn\":\t\"\",\n"
     "\t\t\"cuei\":\t\"\",\n"
     "\t\t\"model\":\t\"\",\n"
     "\t\t\"devType\":\t\"\",\n"
     "\t\t\"manu\":\t\"\",\n"
     "\t\t\"prodId\":\t\"\",\n"
     "\t\t\"mac\":\t\"\",\n"
     "\t\t\"hwv\":\t\"\",\n"
     "\t\t\"swv\":\t\"\",\n"
     "\t\t\"protType\":\t-1\n"
     "\t}\n"
     "}"},
    {"Login", app_sys_login,
     "{\n"
     "\t\"devId\":\t\"dev-0001\",\n"
     "\t\"secret\":\t\"secret-0001\"\n"
     "}",
     "{\n"
     "\t\"devId\":\t\"\",\n"
     "\t\"secret\":\t\"\"\n"
     "}"},
    {"Refresh", app_sys_refresh,
     "{\n"
     "\t\"refreshToken\":\t\"refresh-0001\"\n"
     "}",
     "{\n"
     "\t\"refreshToken\":\t\"\"\n"
     "}"},
    {"DevInfoSync", app_sys_devinfosync,
     "[{\n"
     "\t\t\"devId\":\t\"dev-0001\",\n"
     "\t\t\"devInfo\":\t{\n"
     "\t\t\t\"sn\":\t\"SN123456789\",\n"
     "\t\t\t\"cuei\":\t\"CUEI-42\",\n"
     "\t\t\t\"model\":\t\"GW-1\",\n"
     "\t\t\t\"devType\":\t\"gateway\",\n"
     "\t\t\t\"manu\":\t\"AcmeWorks\",\n"
     "\t\t\t\"prodId\":\t\"PROD-9\",\n"
     "\t\t\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n"
     "\t\t\t\"hwv\":\t\"hw 1.0\",\n"
     "\t\t\t\"swv\":\t\"sw 2.3.4\",\n"
     "\t\t\t\"protType\":\t3\n"
     "\t\t}\n"
     "\t}]",
     "[{\n"
     "\t\t\"devId\":\t\"\",\n"
     "\t\t\"devInfo\":\t{\n"
     "\t\t\t\"sn\":\t\"\",\n"
     "\t\t\t\"cuei\":\t\"\",\n"
     "\t\t\t\"model\":\t\"\",\n"
     "\t\t\t\"devType\":\t\"\",\n"
     "\t\t\t\"manu\":\t\"\",\n"
     "\t\t\t\"prodId\":\t\"\",\n"
     "\t\t\t\"mac\":\t\"\",\n"
     "\t\t\t\"hwv\":\t\"\",\n"
     "\t\t\t\"swv\":\t\"\",\n"
     "\t\t\t\"protType\":\t-1\n"
     "\t\t}\n"
     "\t}]"},
    {"Heartbeat", app_sys_heartbeat,
     "{\n"
     "\t\"ts\":\t\"20231114T221320Z\"\n"
     "}",
     "{\n"
     "\t\"ts\":\t\"20231114T221320Z\"\n"
     "}"},
    {"DataWithoutStations", app_sys_data,
     "{\n"
     "\t\"devId\":\t\"dev-0001\",\n"
     "\t\"services\":\t[]\n"
     "}",
     "{\n"
     "\t\"devId\":\t\"\",\n"
     "\t\"services\":\t[]\n"
     "}"},
};

/** What a library can do that knows nothing: succeed or fail, and leave every buffer alone. */
void silence_library(int result) {
    fake::device().reset();
    for (const char* const getter :
         {"port_device_mac_get", "port_device_sn_get", "port_device_cuei_get",
          "port_device_vendor_get", "port_device_model_get", "port_device_devtype_get",
          "port_device_manu_get", "port_device_prodid_get", "port_device_hdversion_get",
          "port_device_swversion_get", "port_device_code_get", "port_device_id_get",
          "port_device_secret_get", "port_device_refreshtoken_get", "port_device_prottype_get",
          "vx_device_stainfo_get"})
        fake::device().set_result(getter, result);
}

class Builder : public DaemonTest, public testing::WithParamInterface<BuilderCase> {
protected:
    Builder() { fake::device().allow({"vx_device_stainfo_get"}); }
};

TEST_P(Builder, BuildsTheWholeText) {
    EXPECT_EQ(text(GetParam().build()), GetParam().expected);
}

TEST_P(Builder, LogsTheTextOnce) {
    GetParam().build();
    ASSERT_EQ(fake::log().lines().size(), 1u);
    EXPECT_EQ(fake::log().lines()[0].level, 6);
    EXPECT_EQ(fake::log().lines()[0].text, std::string(GetParam().expected) + '\n');
}

TEST_P(Builder, SendsEmptyTextsForWhatTheLibraryLeavesAlone) {
    for (const int result : {0, -1}) {
        silence_library(result);
        EXPECT_EQ(text(GetParam().build()), GetParam().expected_of_silent_library);
    }
}

TEST_P(Builder, ChangesNothing) {
    GetParam().build();
    EXPECT_THAT(fake::journal().deeds(), ElementsAre());
    EXPECT_EQ(fake::os().elapsed().count(), 0);
}

TEST_P(Builder, GivesNothingWithoutMemoryAndLeaksNone) {
    JsonMemory memory;
    long request = 0;
    for (;; ++request) {
        fake::log().reset();
        memory.refuse(request);
        const vxq::JsonText document = GetParam().build();
        if (!memory.refused()) {
            EXPECT_EQ(text(document), GetParam().expected);
            break;
        }
        EXPECT_EQ(document, nullptr) << "refused request " << request;
        EXPECT_THAT(fake::log().texts(6), ElementsAre());
        EXPECT_EQ(fake::log().texts(3).size(), 1u);
        EXPECT_EQ(memory.in_use(), 0);
    }
    EXPECT_GT(request, 2);
    EXPECT_EQ(memory.in_use(), 0);
}

TEST_P(Builder, EscapesWhatJsonRequires) {
    for (const char* const getter :
         {"port_device_id_get", "port_device_mac_get", "port_device_sn_get", "port_device_code_get",
          "port_device_refreshtoken_get"})
        fake::device().set_text(getter, "a\"b\\c\n\x01\xc3\xa4");
    if (GetParam().build == app_sys_heartbeat)
        return; // asks the library for nothing
    const std::string built = text(GetParam().build());
    EXPECT_THAT(built, testing::HasSubstr("\"a\\\"b\\\\c\\n\\u0001\xc3\xa4\""));
}

INSTANTIATE_TEST_SUITE_P(All, Builder, testing::ValuesIn(kBuilders), case_name<BuilderCase>);

struct TimeCase {
    const char* name;
    int year, month, day, hour, minute, second;
    const char* expected;
};

void PrintTo(const TimeCase& row, std::ostream* out) {
    *out << row.name;
}

class HeartbeatTime : public DaemonTest, public testing::WithParamInterface<TimeCase> {};

TEST_P(HeartbeatTime, IsLocalTimeInTheFormOfUniversalTime) {
    std::tm now{};
    now.tm_year = GetParam().year - 1900;
    now.tm_mon = GetParam().month - 1;
    now.tm_mday = GetParam().day;
    now.tm_hour = GetParam().hour;
    now.tm_min = GetParam().minute;
    now.tm_sec = GetParam().second;
    now.tm_isdst = 1;
    fake::os().set_local_time(now);
    EXPECT_EQ(text(app_sys_heartbeat()),
              std::string("{\n\t\"ts\":\t\"") + GetParam().expected + "\"\n}");
}

INSTANTIATE_TEST_SUITE_P(
    All, HeartbeatTime,
    testing::Values(TimeCase{"OneDigitEach", 2024, 1, 2, 3, 4, 5, "20240102T030405Z"},
                    TimeCase{"TwoDigitsEach", 2025, 12, 31, 23, 59, 58, "20251231T235958Z"},
                    TimeCase{"LeapSecond", 2016, 12, 31, 23, 59, 60, "20161231T235960Z"},
                    TimeCase{"JustBooted", 1970, 1, 1, 0, 0, 0, "19700101T000000Z"}),
    case_name<TimeCase>);

TEST_F(DaemonTest, HeartbeatTellsTheTimeOfBuilding) {
    EXPECT_EQ(text(app_sys_heartbeat()), "{\n\t\"ts\":\t\"20231114T221320Z\"\n}");
    fake::os().sleep(std::chrono::seconds(41));
    EXPECT_EQ(text(app_sys_heartbeat()), "{\n\t\"ts\":\t\"20231114T221401Z\"\n}");
}

} // namespace
