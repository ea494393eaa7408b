// SPDX-License-Identifier: MIT
// The station reports, by number of stations and by way of asking for them.
#include "unit/fixture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "appjsonapi/app_reporting.h"

using fake::Source;
using testing::Contains;
using testing::HasSubstr;

namespace {

vx_station station(int number) {
    vx_station entry{};
    std::snprintf(entry.mac, sizeof entry.mac, "02:00:00:00:00:%02X",
                  static_cast<unsigned>(number));
    std::snprintf(entry.name, sizeof entry.name, "station %d", number);
    std::snprintf(entry.time, sizeof entry.time, "2024-01-01 00:%02d", number);
    entry.type = number;
    return entry;
}

/** A full record that claims to have `count` entries. */
std::unique_ptr<vx_station_list> stations(int count) {
    auto list = std::make_unique<vx_station_list>();
    for (int number = 0; number < VX_STATION_CAPACITY; ++number)
        list->entries[number] = station(number);
    list->count = count;
    return list;
}

struct Report {
    const char* name;
    const char* getter;
    vxq::JsonText (*build)();
};

void PrintTo(const Report& row, std::ostream* out) {
    *out << row.name;
}

vxq::JsonText report_selected() {
    return app_sys_data_report(7);
}

constexpr Report kAll{"All", "vx_device_stainfo_get", app_sys_data};
constexpr Report kSelected{"Selected", "vx_device_stainfo_byget", report_selected};

class Stations : public DaemonTest, public testing::WithParamInterface<Report> {
protected:
    static std::string report(int count) {
        fake::device().set_record(GetParam().getter, *stations(count));
        return GetParam().build().get();
    }
    static std::ptrdiff_t reported(const std::string& text) {
        return std::count(text.begin(), text.end(), '{') - 1;
    }
};

TEST_P(Stations, NoneIsAnEmptyArray) {
    EXPECT_EQ(report(0), "{\n"
                         "\t\"devId\":\t\"dev-0001\",\n"
                         "\t\"services\":\t[]\n"
                         "}");
}

TEST_P(Stations, OneIsAnArrayOfOneObject) {
    EXPECT_EQ(report(1), "{\n"
                         "\t\"devId\":\t\"dev-0001\",\n"
                         "\t\"services\":\t[{\n"
                         "\t\t\t\"mac\":\t\"02:00:00:00:00:00\",\n"
                         "\t\t\t\"name\":\t\"station 0\",\n"
                         "\t\t\t\"time\":\t\"2024-01-01 00:00\",\n"
                         "\t\t\t\"type\":\t0\n"
                         "\t\t}]\n"
                         "}");
}

TEST_P(Stations, TwoKeepTheirOrder) {
    EXPECT_EQ(report(2), "{\n"
                         "\t\"devId\":\t\"dev-0001\",\n"
                         "\t\"services\":\t[{\n"
                         "\t\t\t\"mac\":\t\"02:00:00:00:00:00\",\n"
                         "\t\t\t\"name\":\t\"station 0\",\n"
                         "\t\t\t\"time\":\t\"2024-01-01 00:00\",\n"
                         "\t\t\t\"type\":\t0\n"
                         "\t\t}, {\n"
                         "\t\t\t\"mac\":\t\"02:00:00:00:00:01\",\n"
                         "\t\t\t\"name\":\t\"station 1\",\n"
                         "\t\t\t\"time\":\t\"2024-01-01 00:01\",\n"
                         "\t\t\t\"type\":\t1\n"
                         "\t\t}]\n"
                         "}");
}

TEST_P(Stations, AFullRecordIsReportedWhole) {
    const std::string text = report(64);
    EXPECT_EQ(reported(text), 64);
    EXPECT_THAT(text, HasSubstr("\"station 63\""));
}

TEST_P(Stations, MoreThanTheRecordHoldsAreNotRead) {
    for (const int count : {65, 1000, 2147483647})
        EXPECT_EQ(reported(report(count)), 64) << count;
}

TEST_P(Stations, ANegativeNumberIsNone) {
    for (const int count : {-1, -2147483647 - 1})
        EXPECT_EQ(reported(report(count)), 0) << count;
}

TEST_P(Stations, TypesAreSignedNumbers) {
    auto list = stations(1);
    list->entries[0].type = -2147483647 - 1;
    fake::device().set_record(GetParam().getter, *list);
    EXPECT_THAT(GetParam().build().get(), HasSubstr("\"type\":\t-2147483648\n"));
}

TEST_P(Stations, TextsThatFillTheirMembersUpToTheEndAreWhole) {
    auto list = std::make_unique<vx_station_list>();
    std::memset(list->entries[0].mac, 'm', sizeof list->entries[0].mac - 1);
    std::memset(list->entries[0].name, 'n', sizeof list->entries[0].name - 1);
    std::memset(list->entries[0].time, 't', sizeof list->entries[0].time - 1);
    list->count = 1;
    fake::device().set_record(GetParam().getter, *list);
    const std::string text = GetParam().build().get();
    EXPECT_THAT(text, HasSubstr("\"" + std::string(31, 'm') + "\""));
    EXPECT_THAT(text, HasSubstr("\"" + std::string(63, 'n') + "\""));
    EXPECT_THAT(text, HasSubstr("\"" + std::string(31, 't') + "\""));
}

TEST_P(Stations, ALibraryThatFailsReportsNone) {
    fake::device().set_result(GetParam().getter, -1);
    EXPECT_EQ(reported(GetParam().build().get()), 0);
}

TEST_P(Stations, NoMemoryInTheMiddleGivesNothingAndLeaksNothing) {
    fake::device().set_record(GetParam().getter, *stations(3));
    JsonMemory memory;
    for (long request = 0;; ++request) {
        memory.refuse(request);
        const bool built = GetParam().build() != nullptr;
        EXPECT_EQ(memory.in_use(), 0) << request;
        EXPECT_NE(built, memory.refused()) << request;
        if (built)
            break;
    }
}

INSTANTIATE_TEST_SUITE_P(By, Stations, testing::Values(kAll, kSelected), case_name<Report>);

struct SelectorCase {
    const char* name;
    int selector;
    const char* call;
};

void PrintTo(const SelectorCase& row, std::ostream* out) {
    *out << row.name;
}

class Selector : public DaemonTest, public testing::WithParamInterface<SelectorCase> {};

TEST_P(Selector, IsPassedOnUnchanged) {
    fake::device().set_record("vx_device_stainfo_byget", *stations(0));
    app_sys_data_report(GetParam().selector);
    EXPECT_THAT(fake::journal().calls({Source::query}), Contains(GetParam().call));
}

INSTANTIATE_TEST_SUITE_P(
    All, Selector,
    testing::Values(SelectorCase{"Zero", 0, "vx_device_stainfo_byget(record, 0)"},
                    SelectorCase{"One", 1, "vx_device_stainfo_byget(record, 1)"},
                    SelectorCase{"Negative", -1, "vx_device_stainfo_byget(record, -1)"},
                    SelectorCase{"Largest", 2147483647,
                                 "vx_device_stainfo_byget(record, 2147483647)"}),
    case_name<SelectorCase>);

} // namespace
