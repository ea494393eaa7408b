// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "process.h"

/** @file vx-device-check on good and on faulty libraries. */
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr int kFit = 0;
constexpr int kUnfit = 1;
constexpr int kCannotTell = 2;

class DeviceCheck : public testing::Test {
protected:
    /** Runs the program; its status. What it prints, errors included, is in `report`. */
    int check(std::vector<std::string> arguments,
              const std::map<std::string, std::string>& environment = {}) {
        arguments.insert(arguments.begin(), KIT_CHECK);
        e2e::Process process(arguments, environment, folder / "report");
        const int status = process.wait_for_end();
        report = process.output();
        return status;
    }
    static std::string faulty(const std::string& defect) { return KIT_FAULTY "/" + defect + ".so"; }
    std::map<std::string, std::string> bundled_environment() {
        std::filesystem::copy_file(KIT_SAMPLE_STATE, state());
        return {{"VX_DEVICE_STATE", state()}};
    }
    std::filesystem::path state() { return folder / "gateway.json"; }
    /** The line about an operation. */
    std::string line(const std::string& operation) const {
        std::istringstream stream(report);
        for (std::string text; std::getline(stream, text);) {
            if (text.find(" " + operation + " ") != std::string::npos)
                return text;
        }
        return "no line about " + operation + " in:\n" + report;
    }

    e2e::TemporaryFolder folder;
    std::string report;
};

std::string content_of(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(DeviceCheck, TheBundledLibraryIsFit) {
    EXPECT_EQ(check({KIT_BUNDLED}, bundled_environment()), kFit) << report;
    EXPECT_THAT(report, HasSubstr("fit; of 73 operations 48 ok, 25 not called, 0 with a defect"));
}

TEST_F(DeviceCheck, WithoutWriteNothingIsChanged) {
    const auto environment = bundled_environment();
    const std::string before = content_of(state());
    EXPECT_EQ(check({KIT_BUNDLED}, environment), kFit) << report;
    EXPECT_EQ(content_of(state()), before);
}

TEST_F(DeviceCheck, WithWriteTheBundledLibraryIsFitToo) {
    EXPECT_EQ(check({"--write", KIT_BUNDLED}, bundled_environment()), kFit) << report;
    EXPECT_THAT(line("port_device_id_set"), HasSubstr("written back"));
    EXPECT_THAT(line("port_device_sequence_set"), HasSubstr("advances by one"));
    EXPECT_THAT(line("vx_device_reboot"), HasSubstr("needs --act"));
}

TEST_F(DeviceCheck, ActionsAreCalledByNameOnly) {
    auto environment = bundled_environment();
    const std::string journal = folder / "journal";
    environment["VX_DEVICE_JOURNAL"] = journal;
    EXPECT_EQ(check({"--act", "vx_device_reboot", "--act", "vx_device_wpsswitch", KIT_BUNDLED},
                    environment),
              kFit)
        << report;
    EXPECT_THAT(content_of(journal), HasSubstr("vx_device_reboot"));
    EXPECT_THAT(content_of(journal), HasSubstr("vx_device_wpsswitch"));
    EXPECT_THAT(content_of(journal), Not(HasSubstr("vx_device_deldevice")));
    EXPECT_EQ(check({"--act", "port_device_id_set", KIT_BUNDLED}, environment), kCannotTell);
}

TEST_F(DeviceCheck, SecretsAreNotPrinted) {
    auto environment = bundled_environment();
    std::string text = content_of(state());
    const std::string empty = "\"device_secret\": \"\"";
    ASSERT_NE(text.find(empty), std::string::npos);
    text.replace(text.find(empty), empty.size(), "\"device_secret\": \"don't tell\"");
    std::ofstream(state()) << text;
    EXPECT_EQ(check({KIT_BUNDLED}, environment), kFit) << report;
    EXPECT_THAT(line("port_device_secret_get"), HasSubstr("10 characters"));
    EXPECT_THAT(report, Not(HasSubstr("don't tell")));
}

struct Defect {
    const char* library;
    const char* operation;
    const char* words;
    std::vector<std::string> options;
};

void PrintTo(const Defect& defect, std::ostream* stream) {
    *stream << defect.library;
}

const Defect kDefects[] = {
    {"overrun", "port_device_model_get", "writes 1 byte beyond its buffer of 16", {}},
    {"overrun_of_record", "vx_device_stainfo_get", "writes 4 bytes beyond its buffer of 8452", {}},
    {"underrun", "port_areacode_get", "writes 1 byte in front of its buffer", {}},
    {"missing_nul", "port_device_mac_get", "no NUL in its 32 bytes", {}},
    {"missing_nul_in_entry",
     "vx_device_wlanfilterenhance_get",
     "entries[1].filters[2].host_name has no NUL in its 64 bytes",
     {}},
    {"count", "vx_device_hostinfo", "count is 65, beyond the capacity of 64", {}},
    {"negative_count", "vx_device_guest_network_get", "count is -1", {}},
    {"count_in_entry",
     "vx_device_wifi_get",
     "radio[0].ap_num is 17, beyond the capacity of 16",
     {}},
    {"missing_symbol", "vx_device_wan", "symbol missing", {}},
    {"crash", "port_device_sn_get", "crashes: Segmentation fault", {}},
    {"ends_process", "port_device_cuei_get", "ends the process with status 3", {}},
    {"hang", "port_device_url_get", "does not return within 1000 ms", {"--limit", "1"}},
    {"other_value",
     "port_device_id_set",
     "port_device_id_get then gives something else",
     {"--write"}},
    {"relative_time",
     "port_device_timeout_set",
     "port_device_timeout_get then gives 0",
     {"--write"}},
    {"writes_argument", "vx_device_wifi", "argument is read-only", {"--write"}},
    {"reads_beyond_argument", "port_device_encryptkey_set", "of exact size", {"--write"}},
    {"calls_back", "port_device_init", "calls profession_sys_register_code before it returns", {}},
    {"hanging_start", "port_device_init", "does not return within 1000 ms", {"--limit", "1"}},
};

class DeviceCheckOnDefect : public DeviceCheck, public testing::WithParamInterface<Defect> {};

TEST_P(DeviceCheckOnDefect, NamesOperationAndDefect) {
    std::vector<std::string> arguments = GetParam().options;
    arguments.push_back(faulty(GetParam().library));
    EXPECT_EQ(check(arguments), kUnfit) << report;
    EXPECT_THAT(line(GetParam().operation), testing::StartsWith("DEFECT "));
    EXPECT_THAT(line(GetParam().operation), HasSubstr(GetParam().words));
    EXPECT_THAT(report, HasSubstr(" 1 with a defect"));
}

INSTANTIATE_TEST_SUITE_P(Libraries, DeviceCheckOnDefect, testing::ValuesIn(kDefects),
                         [](const auto& defect) { return std::string(defect.param.library); });

TEST_F(DeviceCheck, SettersWithDefectsGoUnnoticedWithoutWrite) {
    EXPECT_EQ(check({faulty("other_value")}), kFit) << report;
}

TEST_F(DeviceCheck, WhoeverReliesOnTheDaemonsZerosIsFit) {
    EXPECT_EQ(check({faulty("relies_on_zeros")}), kFit) << report;
    EXPECT_THAT(line("port_device_vendor_get"), HasSubstr("7 characters"));
}

TEST_F(DeviceCheck, WhatCannotBePreparedIsNotCalled) {
    EXPECT_EQ(check({"--limit", "1", faulty("hanging_start")}), kUnfit);
    EXPECT_THAT(line("port_device_mac_get"), HasSubstr("port_device_init fails"));
    EXPECT_THAT(line("port_device_url_get"), testing::StartsWith("ok "));
}

TEST_F(DeviceCheck, ALibraryThatCannotBeLoadedIsToldInOneLine) {
    EXPECT_EQ(check({folder / "none.so"}), kCannotTell);
    EXPECT_THAT(report, HasSubstr("none.so: cannot open shared object file"));
    EXPECT_EQ(check({faulty("undefined_symbol")}), kCannotTell);
    EXPECT_THAT(report, HasSubstr("undefined symbol: no_such_function"));
    EXPECT_EQ(check({faulty("crashing_load")}), kCannotTell);
    EXPECT_THAT(report, HasSubstr("loading it crashes: Segmentation fault"));
}

TEST_F(DeviceCheck, WrongArgumentsAreToldInOneLine) {
    EXPECT_EQ(check({}), kCannotTell);
    EXPECT_EQ(check({"--limit", "0", KIT_BUNDLED}), kCannotTell);
    EXPECT_EQ(check({"--nonsense", KIT_BUNDLED}), kCannotTell);
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 3) << report;
}

TEST_F(DeviceCheck, HasWhatTheDaemonExports) {
    e2e::Process process({"nm", "-D", "--defined-only", "--format=posix", KIT_CHECK}, {},
                         folder / "symbols");
    ASSERT_EQ(process.wait_for_end(), 0) << process.output();
    std::ifstream exports(KIT_EXPORTS);
    int names = 0;
    for (std::string name; std::getline(exports, name); ++names)
        EXPECT_THAT("\n" + process.output(), HasSubstr("\n" + name + " T "));
    EXPECT_EQ(names, 11);
}

} // namespace
