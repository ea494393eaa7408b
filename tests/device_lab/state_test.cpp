// SPDX-License-Identifier: MIT
// The state file: reading, live edits, broken edits, writing.

#include "support.h"

#include <ctime>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <vxquilan/device.h>

namespace {

using lab::call;
using lab::Json;

class StateFile : public lab::DeviceLab {};

int mode() {
    int value = -7;
    EXPECT_EQ(port_device_mode_get(&value), 0);
    return value;
}

std::string id() {
    char text[128] = {};
    EXPECT_EQ(port_device_id_get(text), 0);
    return text;
}

TEST_F(StateFile, SettersPersist) {
    ASSERT_EQ(port_device_id_set("dev-1"), 0);
    ASSERT_EQ(port_device_secret_set("secret-1"), 0);
    ASSERT_EQ(port_device_code_set("code-1"), 0);
    ASSERT_EQ(port_device_accesstoken_set("access-1"), 0);
    ASSERT_EQ(port_device_refreshtoken_set("refresh-1"), 0);
    ASSERT_EQ(port_device_mode_set(4), 0);
    ASSERT_EQ(port_device_firstguide_set(1), 0);
    const Json credentials = lab::state()["credentials"];
    EXPECT_EQ(credentials["device_id"], "dev-1");
    EXPECT_EQ(credentials["device_secret"], "secret-1");
    EXPECT_EQ(credentials["code"], "code-1");
    EXPECT_EQ(credentials["access_token"], "access-1");
    EXPECT_EQ(credentials["refresh_token"], "refresh-1");
    EXPECT_EQ(lab::state()["settings"], Json::parse(R"({"mode": 4, "first_guide": 1})"));
    EXPECT_EQ(call({"mode"}).output, "0 4\n") << "another process sees it";
    char text[128] = {};
    EXPECT_EQ(port_device_secret_get(text), 0);
    EXPECT_STREQ(text, "secret-1");
}

TEST_F(StateFile, ChangeTouchesNothingElse) {
    ASSERT_EQ(port_device_mode_set(4), 0);
    Json expected = lab::sample();
    expected["settings"]["mode"] = 4;
    EXPECT_EQ(lab::read_file(lab::state_path()), expected.dump(2) + "\n");
}

TEST_F(StateFile, ChangeIsARenameThatKeepsTheMode) {
    ASSERT_EQ(chmod(lab::state_path().c_str(), 0640), 0);
    struct stat before {};
    struct stat after {};
    // A second name holds the old file, so that its number can't be used again.
    const std::string second_name = lab::folder() + "/before";
    std::filesystem::create_hard_link(lab::state_path(), second_name);
    ASSERT_EQ(stat(lab::state_path().c_str(), &before), 0);
    ASSERT_EQ(port_device_mode_set(5), 0);
    ASSERT_EQ(stat(lab::state_path().c_str(), &after), 0);
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(after.st_mode & 0777U, 0640U);
    EXPECT_EQ(Json::parse(lab::read_file(second_name)), lab::sample()) << "the old file is whole";
    std::filesystem::remove(second_name);
    for (const auto& entry : std::filesystem::directory_iterator(lab::folder())) {
        EXPECT_EQ(lab::count(entry.path().filename(), "gateway.json."), 0U) << entry.path();
    }
}

TEST_F(StateFile, SymbolicLinkStaysALink) {
    const std::string target = lab::folder() + "/target.json";
    const std::string link = lab::folder() + "/link.json";
    lab::write_file(target, lab::read_file(SAMPLE_STATE));
    std::filesystem::create_symlink("target.json", link);
    EXPECT_EQ(call({"set-mode", "6"}, {{"VX_DEVICE_STATE", link}}).output, "0\n");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(Json::parse(lab::read_file(target))["settings"]["mode"], 6);
}

TEST_F(StateFile, FullFileSystemChangesNothing) {
    const auto outcome = call({"set-mode-without-space", "9"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(lab::count(outcome.errors, lab::state_path() + ": "), 1U) << outcome.errors;
    EXPECT_EQ(lab::read_file(lab::state_path()), lab::read_file(SAMPLE_STATE));
}

TEST_F(StateFile, LiveEditIsSeen) {
    lab::edit([](Json& state) { state["credentials"]["device_id"] = "edited"; });
    EXPECT_EQ(id(), "edited");
}

// Same size, same file, same tick of the file system's clock: only the content tells.
TEST_F(StateFile, EveryOneOfManyQuickEditsIsSeen) {
    std::string text = lab::read_file(lab::state_path());
    const auto digit = text.find("\"mode\": 0") + 8;
    for (int i = 0; i < 500; ++i) {
        text[digit] = static_cast<char>('0' + i % 10);
        lab::write_file(lab::state_path(), text);
        ASSERT_EQ(mode(), i % 10);
    }
}

TEST_F(StateFile, EditAfterOwnChangeIsSeen) {
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(port_device_mode_set(1), 0);
        lab::edit([](Json& state) { state["settings"]["mode"] = 2; });
        ASSERT_EQ(mode(), 2);
    }
}

TEST_F(StateFile, ReplacedFileIsSeen) {
    ASSERT_EQ(mode(), 0);
    Json other = lab::sample();
    other["settings"]["mode"] = 8;
    lab::write_file(lab::folder() + "/other", other.dump());
    std::filesystem::rename(lab::folder() + "/other", lab::state_path());
    EXPECT_EQ(mode(), 8);
}

TEST_F(StateFile, BrokenEditIsToldOnceAndTheLastGoodStateGoesOn) {
    lab::edit([](Json& state) { state["settings"]["mode"] = 3; });
    ASSERT_EQ(mode(), 3);
    const std::string errors = lab::errors_of([] {
        lab::write_file(lab::state_path(), "{\n  \"settings\": {\n    \"mode\": 5,,\n  }\n}\n");
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(mode(), 3);
        }
    });
    EXPECT_EQ(errors.rfind("vxdevice: " + lab::state_path() + ":3:15: syntax error", 0), 0U)
        << errors;
    EXPECT_EQ(lab::count(errors, "\n"), 1U) << errors;
    EXPECT_EQ(lab::count(errors, "last good state"), 1U) << errors;
    lab::write_file(lab::state_path(), R"({"settings": {"mode": 5}})");
    EXPECT_EQ(mode(), 5);
}

TEST_F(StateFile, BrokenEditOfATypeNamesThePlace) {
    ASSERT_EQ(mode(), 0);
    const std::string errors = lab::errors_of([] {
        lab::edit([](Json& state) { state["settings"]["mode"] = "fast"; });
        EXPECT_EQ(mode(), 0);
    });
    EXPECT_EQ(errors.rfind("vxdevice: " + lab::state_path() +
                               ": /settings/mode: must be an integer of 32 bits",
                           0),
              0U)
        << errors;
}

TEST_F(StateFile, MissingFileGoesOnWithTheLastGoodState) {
    lab::edit([](Json& state) { state["settings"]["mode"] = 3; });
    ASSERT_EQ(mode(), 3);
    const std::string text = lab::read_file(lab::state_path());
    const std::string errors = lab::errors_of([] {
        std::filesystem::remove(lab::state_path());
        EXPECT_EQ(mode(), 3);
        EXPECT_EQ(mode(), 3);
    });
    EXPECT_EQ(errors, "vxdevice: " + lab::state_path() + ": No such file or directory\n");
    lab::write_file(lab::state_path(), text);
    EXPECT_EQ(mode(), 3);
    EXPECT_EQ(port_device_mode_set(4), 0);
    EXPECT_EQ(lab::state()["settings"]["mode"], 4);
}

TEST_F(StateFile, ChangeDuringABrokenEditLosesNeither) {
    ASSERT_EQ(id(), "");
    const std::string broken = "{ \"settings\": \n";
    const std::string errors = lab::errors_of([&] {
        lab::write_file(lab::state_path(), broken);
        EXPECT_EQ(port_device_id_set("dev-2"), 0);
    });
    EXPECT_EQ(lab::state()["credentials"]["device_id"], "dev-2");
    EXPECT_EQ(lab::state()["wan"], lab::sample()["wan"]);
    EXPECT_EQ(lab::read_file(lab::state_path() + ".broken"), broken);
    EXPECT_EQ(lab::count(errors, lab::state_path() + ".broken"), 1U) << errors;
    std::filesystem::remove(lab::state_path() + ".broken");
}

TEST_F(StateFile, TextThatIsNotUtf8DoesNotBreakTheFile) {
    ASSERT_EQ(port_device_code_set("caf\xc3\xa9\xc3"), 0);
    EXPECT_EQ(lab::state()["credentials"]["code"], "caf\xc3\xa9");
}

double cpu_seconds(const std::function<void()>& body) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    body();
    return now() - start;
}

// The main loop asks a hundred times a second: the file must not be parsed each time.
TEST_F(StateFile, AskingIsCheap) {
    const std::string text = lab::read_file(lab::state_path());
    mode();
    const double asking = cpu_seconds([] {
        for (int i = 0; i < 200; ++i) {
            mode();
        }
    });
    const double parsing = cpu_seconds([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_FALSE(Json::parse(text).empty());
        }
    });
    EXPECT_LT(asking, parsing / 4);
}

// ---- a file that is no good at the start ----

struct BadStart {
    const char* name;
    const char* text;
    const char* place; ///< what follows the path in the message
};

class BadStartTest : public ::testing::TestWithParam<BadStart> {};

TEST_P(BadStartTest, OneLineAndTwo) {
    const std::string path = lab::folder() + "/bad.json";
    lab::write_file(path, GetParam().text);
    const auto outcome = call({"mode"}, {{"VX_DEVICE_STATE", path}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors.rfind("vxdevice: " + path + GetParam().place, 0), 0U)
        << outcome.errors;
    EXPECT_EQ(lab::count(outcome.errors, "\n"), 1U) << outcome.errors;
}

INSTANTIATE_TEST_SUITE_P(
    All, BadStartTest,
    ::testing::Values(
        BadStart{"empty", "", ":1:1: syntax error"},
        BadStart{"cut", "{\n  \"identity\": {\n", ":3:1: syntax error"},
        BadStart{"garbage", "{\n\"a\": 1,\n\"b\": oops\n}", ":3:6: syntax error"},
        BadStart{"twoValues", "{} {}", ":1:4: syntax error"},
        BadStart{"array", "[]", ": : must be an object"},
        BadStart{"section", R"({"identity": 5})", ": /identity: must be an object"},
        BadStart{"text", R"({"identity": {"mac": 5}})", ": /identity/mac: must be a string"},
        BadStart{"flag", R"({"app_platform": {"tls": "yes"}})",
                 ": /app_platform/tls: must be true or false"},
        BadStart{"bigNumber", R"({"settings": {"mode": 2147483648}})",
                 ": /settings/mode: must be an integer of 32 bits"},
        BadStart{"fraction", R"({"settings": {"mode": 1.5}})",
                 ": /settings/mode: must be an integer of 32 bits"},
        BadStart{"entry", R"({"hosts": [{}, {"active": "x"}]})",
                 ": /hosts/1/active: must be true or false"},
        BadStart{"notAList", R"({"hosts": {}})", ": /hosts: must be an array"},
        BadStart{"notAnEntry", R"({"stations": [3]})", ": /stations/0: must be an object"},
        BadStart{"tooMany",
                 R"({"schedules": [{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}]})",
                 ": /schedules: has 17 entries, at most 16 fit"},
        BadStart{"radio", R"({"wireless": {"radios": [{"channel": "x"}]}})",
                 ": /wireless/radios/0/channel: must be an integer"},
        BadStart{"network", R"({"wireless": {"radios": [{"networks": [{}, {"wifi_ssid": 1}]}]}})",
                 ": /wireless/radios/0/networks/1/wifi_ssid: must be a string"},
        BadStart{"guest", R"({"wireless": {"radios": [{"networks": [{"guest": 1}]}]}})",
                 ": /wireless/radios/0/networks/0/guest: must be true or false"},
        BadStart{"radios", R"({"wireless": {"radios": [{}, {}, {}]}})",
                 ": /wireless/radios: at most 2 radios and 8 networks fit"},
        BadStart{"oddKey", R"({"platform_channel": {"key": "0"}})",
                 ": /platform_channel/key: must be pairs of hexadecimal digits"},
        BadStart{"noKey", R"({"platform_channel": {"key": "0g"}})",
                 ": /platform_channel/key: must be pairs of hexadecimal digits"},
        BadStart{"faultName", R"({"faults": {"vx_device_wam": 5}})",
                 ": /faults/vx_device_wam: no such operation"},
        BadStart{"faultCode", R"({"faults": {"vx_device_wan": "5"}})",
                 ": /faults/vx_device_wan: must be an integer"},
        BadStart{"delay", R"({"registration": {"code": "x", "delay": -1}})",
                 ": /registration/delay: must be a number of seconds"}),
    [](const auto& start) { return std::string(start.param.name); });

TEST(Start, MissingFileIsTold) {
    const std::string path = lab::folder() + "/nowhere.json";
    const auto outcome = call({"mode"}, {{"VX_DEVICE_STATE", path}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "vxdevice: " + path + ": No such file or directory\n");
}

TEST(Start, MissingVariableIsTold) {
    const auto outcome = call({"mode"}, {{"VX_DEVICE_STATE", ""}});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              "vxdevice: VX_DEVICE_STATE is not set; it must name the state file of the gateway\n");
}

TEST(Start, EmptyObjectIsAGatewayThatKnowsNothing) {
    const std::string path = lab::folder() + "/nothing.json";
    lab::write_file(path, "{}");
    EXPECT_EQ(call({"mode"}, {{"VX_DEVICE_STATE", path}}).output, "1 -7\n");
    EXPECT_EQ(call({"set-mode", "1"}, {{"VX_DEVICE_STATE", path}}).output, "0\n");
    EXPECT_EQ(call({"mode"}, {{"VX_DEVICE_STATE", path}}).output, "0 1\n");
}

} // namespace
