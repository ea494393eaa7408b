// SPDX-License-Identifier: MIT
// Expiry, sequence, session key, and what the gateway does.

#include "support.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <vxquilan/device.h>

namespace {

using lab::Json;

class Settings : public lab::DeviceLab {};
class Actions : public lab::DeviceLab {};

TEST_F(Settings, TimeOutBecomesAnAbsoluteTime) {
    const auto before = static_cast<int>(std::time(nullptr));
    ASSERT_EQ(port_device_timeout_set(7200), 0);
    const auto after = static_cast<int>(std::time(nullptr));
    int expiry = 0;
    ASSERT_EQ(port_device_timeout_get(&expiry), 0);
    EXPECT_GE(expiry, before + 7200);
    EXPECT_LE(expiry, after + 7200);
    EXPECT_EQ(lab::state()["credentials"]["token_expiry"], expiry);
}

TEST_F(Settings, TimeOutStaysWithin32Bits) {
    int expiry = 0;
    ASSERT_EQ(port_device_timeout_set(std::numeric_limits<int>::max()), 0);
    ASSERT_EQ(port_device_timeout_get(&expiry), 0);
    EXPECT_EQ(expiry, std::numeric_limits<int>::max());
    ASSERT_EQ(port_device_timeout_set(std::numeric_limits<int>::min()), 0);
    ASSERT_EQ(port_device_timeout_get(&expiry), 0);
    EXPECT_EQ(expiry, 0);
}

TEST_F(Settings, SequenceAdvancesByOne) {
    EXPECT_EQ(port_device_sequence_get(), 1);
    EXPECT_EQ(port_device_sequence_set(), 0);
    EXPECT_EQ(port_device_sequence_get(), 2);
    lab::edit([](Json& state) { state["platform_channel"]["sequence"] = 2147483647; });
    EXPECT_EQ(port_device_sequence_set(), 0);
    EXPECT_EQ(port_device_sequence_get(), 0);
}

TEST_F(Settings, SessionKeyIsBinary) {
    lab::Guarded key(128);
    unsigned char given[128] = {};
    for (unsigned i = 0; i < 16; ++i) {
        given[i] = static_cast<unsigned char>(i * 17);
    }
    ASSERT_EQ(port_device_encryptkey_set(given), 0);
    EXPECT_EQ(lab::state()["platform_channel"]["key"], "00112233445566778899aabbccddeeff");
    std::memset(key.data(), 1, 128);
    ASSERT_EQ(port_device_encryptkey_get(key.as<unsigned char>()), 0);
    EXPECT_TRUE(key.intact());
    EXPECT_EQ(std::memcmp(key.data(), given, 128), 0);
    for (unsigned i = 0; i < 128; ++i) {
        given[i] = static_cast<unsigned char>(255 - i);
    }
    ASSERT_EQ(port_device_encryptkey_set(given), 0);
    ASSERT_EQ(port_device_encryptkey_get(key.as<unsigned char>()), 0);
    EXPECT_TRUE(key.intact());
    EXPECT_EQ(std::memcmp(key.data(), given, 128), 0);
}

TEST_F(Actions, RebootCountsRecordsAndTells) {
    const auto before = static_cast<int>(std::time(nullptr));
    const std::string errors = lab::errors_of([] {
        EXPECT_EQ(vx_device_reboot(), 0);
        EXPECT_EQ(vx_device_reboot(), 0);
    });
    EXPECT_EQ(errors, "vxdevice: rebooted, start number 1\nvxdevice: rebooted, start number 2\n");
    EXPECT_EQ(lab::state()["boot"]["count"], 2);
    EXPECT_GE(lab::state()["boot"]["time"].get<int>(), before);
    vx_device_information information{};
    EXPECT_EQ(vx_device_info(&information), 0);
    EXPECT_LE(information.up_time, static_cast<int>(std::time(nullptr)) - before);
}

/// A command for reboots: it notes the number of reboots that the state file tells of by then.
class RebootCommand {
public:
    explicit RebootCommand(const std::string& tail = "") {
        const std::string command =
            "sed -n '/\"boot\"/,/}/s/[^0-9]*\"count\": //p' \"$VX_DEVICE_STATE\" >>" + notes_ +
            tail;
        setenv("VX_DEVICE_REBOOT", command.c_str(), 1);
    }
    RebootCommand(const RebootCommand&) = delete;
    RebootCommand& operator=(const RebootCommand&) = delete;
    ~RebootCommand() {
        unsetenv("VX_DEVICE_REBOOT");
        std::remove(notes_.c_str());
    }
    std::string notes() const { return lab::read_file(notes_); }

private:
    std::string notes_ = lab::folder() + "/reboots";
};

TEST_F(Actions, RebootIsCarriedOutOnceItIsStored) {
    const RebootCommand command;
    lab::errors_of([] { EXPECT_EQ(vx_device_reboot(), 0); });
    EXPECT_EQ(command.notes(), "1,\n");
    lab::edit([](Json& state) { state["faults"] = {{"vx_device_reboot", 5}}; });
    EXPECT_EQ(vx_device_reboot(), 5);
    EXPECT_EQ(command.notes(), "1,\n");
}

TEST_F(Actions, UpgradeIsRebootedIntoWhenItWasInstalled) {
    lab::edit([](Json& state) { state["upgrade"] = {{"duration_ms", 1}}; });
    const RebootCommand command;
    const auto upgrade = [](const char* address, int reboot) {
        vx_upgrade record{};
        std::strcpy(record.downurl, address);
        record.isreboot = reboot;
        lab::errors_of([&] { vx_device_upgrade(&record); });
    };
    upgrade("http://update.example/2.9.bin", 1);
    upgrade("http://update.example/3.0.bin", 0);
    upgrade("http://update.example/", 1);
    EXPECT_EQ(command.notes(), "1,\n");
}

TEST_F(Actions, RebootThatIsNotCarriedOutIsTold) {
    const RebootCommand command("; exit 3");
    const std::string errors = lab::errors_of([] { EXPECT_EQ(vx_device_reboot(), 0); });
    EXPECT_NE(errors.find("vxdevice: VX_DEVICE_REBOOT: "), std::string::npos) << errors;
    EXPECT_NE(errors.find("; exit 3: status 768\n"), std::string::npos) << errors;
}

TEST_F(Actions, DeletionForgetsTheBindingOnly) {
    port_device_id_set("id");
    port_device_secret_set("secret");
    port_device_accesstoken_set("access");
    port_device_refreshtoken_set("refresh");
    port_device_timeout_set(100);
    lab::errors_of([] { EXPECT_EQ(vx_device_deldevice(), 0); });
    EXPECT_EQ(lab::state(), lab::sample());
}

TEST_F(Actions, FactoryRestoreResetsSettingsAndCredentials) {
    port_device_id_set("id");
    port_device_code_set("code");
    port_device_mode_set(1);
    lab::edit([](Json& state) { state["led_switch"] = false; });
    lab::errors_of([] { EXPECT_EQ(vx_device_restoredefcfg(), 0); });
    const Json state = lab::state();
    const Json factory = lab::sample()["factory"];
    EXPECT_EQ(state["credentials"], lab::sample()["credentials"]);
    EXPECT_EQ(state["settings"], factory["settings"]);
    EXPECT_EQ(state["wireless"]["radios"], factory["wireless"]["radios"]);
    EXPECT_EQ(state["mac_filter"], Json::array());
    EXPECT_EQ(state["led_switch"], true);
    EXPECT_EQ(state["identity"], lab::sample()["identity"]);
    EXPECT_EQ(state["factory"], factory);
    vx_wlan_status status{};
    EXPECT_EQ(vx_device_wlanbasic(&status), 0);
    EXPECT_STREQ(status.entries[0].wifi_ssid, "VX-HG100-0001");
}

TEST_F(Actions, FactoryRestoreNeedsAFactoryMember) {
    lab::edit([](Json& state) { state.erase("factory"); });
    const Json before = lab::state();
    lab::errors_of([] { EXPECT_NE(vx_device_restoredefcfg(), 0); });
    EXPECT_EQ(lab::state(), before);
}

struct Upgrade {
    const char* address;
    const char* version;
};

TEST_F(Actions, UpgradeRecordsVersionAndRebootFlag) {
    lab::edit([](Json& state) { state["upgrade"] = {{"duration_ms", 1}}; });
    constexpr Upgrade upgrades[] = {
        {"http://update.example/fw/2.5.0.bin", "2.5.0"},
        {"http://update.example/fw/2.6.1", "2.6.1"},
        {"http://update.example/fw/vx-2.7.tar?token=a/b", "vx-2.7"},
        {"2.8", "2.8"},
    };
    for (const Upgrade& upgrade : upgrades) {
        vx_upgrade record{};
        std::strcpy(record.downurl, upgrade.address);
        lab::errors_of([&] { EXPECT_EQ(vx_device_upgrade(&record), nullptr); });
        const Json recorded = lab::state()["upgrade"];
        EXPECT_EQ(recorded["url"], upgrade.address);
        EXPECT_EQ(recorded["version"], upgrade.version);
        EXPECT_EQ(recorded["reboot"], false);
        EXPECT_EQ(recorded["status"], "installed");
        char version[64] = {};
        EXPECT_EQ(port_device_swversion_get(version), 0);
        EXPECT_STREQ(version, upgrade.version);
    }
    EXPECT_EQ(lab::state()["boot"]["count"], 0);
    vx_upgrade record{"http://update.example/2.9.bin", 1};
    lab::errors_of([&] { vx_device_upgrade(&record); });
    EXPECT_EQ(lab::state()["upgrade"]["reboot"], true);
    EXPECT_EQ(lab::state()["boot"]["count"], 1);
    EXPECT_EQ(lab::journal().back(), Json::parse(R"({"operation": "vx_device_upgrade", "arguments":
                  {"downurl": "http://update.example/2.9.bin", "isreboot": 1}, "result": 0})"));
}

TEST_F(Actions, UpgradeWithoutAnImageFails) {
    lab::edit([](Json& state) { state["upgrade"] = {{"duration_ms", 1}}; });
    vx_upgrade record{"http://update.example/", 1};
    vx_device_upgrade(&record);
    EXPECT_EQ(lab::state()["upgrade"]["status"], "failed: no image at this address");
    EXPECT_EQ(lab::state()["device_information"], lab::sample()["device_information"]);
    EXPECT_EQ(lab::state()["boot"], lab::sample()["boot"]);
}

TEST_F(Actions, StartIsJournalled) {
    EXPECT_EQ(port_device_init_net(), 0);
    EXPECT_EQ(lab::journal().at(0)["operation"], "port_device_init_net");
}

} // namespace
