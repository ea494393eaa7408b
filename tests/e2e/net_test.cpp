// SPDX-License-Identifier: MIT
// The platform channel: the host program, or the daemon whose device library starts the channel,
// against the platform emulator.
#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gateway.h"
#include "instrumented.h"

namespace e2e {

namespace {

class Net : public testing::Test {
protected:
    Net() : address(own_address()), platform(Transport::tcp, {"--net", address}) {
        gateway.edit(
            [&](nlohmann::json& state) { state["platform_channel"]["gateway_ip"] = address; });
    }

    /** Gives the platform a command that it answers for itself. */
    void fault(const std::string& line) const {
        const std::size_t before = platform.count("fault");
        platform.command("net-fault " + line);
        platform.wait_for("fault", before + 1);
    }

    /** Sets something at the platform, and waits until that holds. */
    void set(const std::string& setting) const {
        const std::size_t before = platform.count("command:set");
        platform.command("set " + setting);
        platform.wait_for("command:set", before + 1);
    }

    /** Sends a command to the gateway and waits until it has been acknowledged. */
    nlohmann::json order(const std::string& command) const {
        const std::string name = command.substr(0, command.find(' '));
        const std::size_t before = platform.count("answer:" + name);
        platform.command(command);
        return platform.wait_for("answer:" + name, before + 1);
    }

    bool state_has(const std::string& pointer, const nlohmann::json& value) const {
        const nlohmann::json state = gateway.state();
        const nlohmann::json::json_pointer place(pointer);
        return state.contains(place) && state.at(place) == value;
    }

    void expect_state(const std::string& pointer, const nlohmann::json& value) const {
        EXPECT_TRUE(wait_until([&] { return state_has(pointer, value); }))
            << pointer << " of " << gateway.state().dump(2);
    }

    const std::string address;
    Platform platform;
    Gateway gateway{platform.port()};
};

class NetCourse : public Net {};

TEST_F(NetCourse, EveryCommandIsAcknowledgedAndApplied) {
    gateway.start_net();
    platform.wait_for("request:net-heartbeat");
    EXPECT_EQ(platform.wait_for("request:dh").at("prime"), "safe");
    EXPECT_EQ(platform.wait_for("request:net-register").at("encrypted"), true);

    order("net-wifi");
    expect_state("/wireless/radios/0/channel", 11);
    expect_state("/wireless/radios/0/networks/0/wifi_ssid", "Harbour-View");
    expect_state("/wireless/radios/1/networks/0/wpa_encryption_mode", "TKIPandAESEncryption");
    order("net-wifi-switch");
    expect_state("/timers/1/weekday", "6,7");
    order("net-led");
    expect_state("/led_switch", false);
    order("net-wifi-switch net-timers.json");
    expect_state("/timers/0/time", "06:30-23:00");
    order("net-wps");
    expect_state("/wireless/wps", true);
    order("net-upgrade");
    expect_state("/upgrade/version", "gateway-2.0");
    expect_state("/upgrade/reboot", true);

    EXPECT_EQ(gateway.daemon().end(SIGTERM), 128 + SIGTERM);
    EXPECT_FALSE(gateway.complained()) << gateway.log();
}

TEST_F(Net, StatusShowsWhatWasSet) {
    gateway.start_net();
    platform.wait_for("request:net-heartbeat");
    order("net-wifi");
    order("net-led");
    // Acknowledged first, applied afterwards, but one after the other.
    const nlohmann::json answer = order("net-status").at("json");
    EXPECT_EQ(answer.at("type"), "status");
    EXPECT_EQ(answer.at("mac"), "02:5E:10:00:00:02");
    const nlohmann::json& status = answer.at("status");
    const nlohmann::json first = {{"channel", 0},           {"enable", "yes"},
                                  {"ssid", "Harbour-View"}, {"key", "lighthouse-7"},
                                  {"auth", "wpa2psk"},      {"encrypt", "aes"}};
    EXPECT_EQ(status.at("Wi-Fi").at(0).at("radio"),
              (nlohmann::json{{"mode", "2.4G"}, {"channel", 11}}));
    EXPECT_EQ(status.at("Wi-Fi").at(0).at("ap").at(0), first);
    EXPECT_EQ(status.at("Wi-Fiswitch"), (nlohmann::json{{"status", "NO"}}));
    EXPECT_EQ(status.at("ledswitch"), (nlohmann::json{{"status", "OFF"}}));
    EXPECT_TRUE(status.at("Wi-Fitimer").is_array());
}

TEST_F(Net, DeviceLibraryCanStartItInsideTheDaemon) {
    gateway.edit([](nlohmann::json& state) { state["platform_channel"]["start"] = true; });
    gateway.start();
    platform.wait_for("request:net-heartbeat");
    order("net-wps");
    expect_state("/wireless/wps", true);
    EXPECT_TRUE(gateway.logged("QUILAN_DEVICE_REG"));
}

TEST_F(Net, PlatformSettingsAreOnlyTakenWhenTheGatewayWantsThem) {
    gateway.edit([](nlohmann::json& state) { state["platform_channel"]["sync_switch"] = false; });
    gateway.start_net();
    platform.wait_for("request:net-heartbeat");
    order("net-wifi"); // acknowledged all the same
    order("net-wps");
    expect_state("/wireless/wps", true);
    EXPECT_FALSE(gateway.called("vx_device_wifi"));
}

TEST_F(Net, OtherKeyModeIsWaitedOutUntilTheDeviceModeChanges) {
    set("keymode ecdh");
    gateway.start_net({{"VX_LOG_LEVEL", "3"}}); // it logs without a pause meanwhile
    platform.wait_for("response:keymode");
    set("keymode dh");
    // What the gateway stores at the same moment may put the old mode back into its file.
    EXPECT_TRUE(wait_until([&] {
        if (gateway.state()["settings"]["mode"] != 1)
            gateway.edit([](nlohmann::json& state) { state["settings"]["mode"] = 1; });
        return platform.count("request:net-heartbeat") > 0;
    }));
    EXPECT_EQ(platform.count("request:keymode"), 2U);
}

/** What a process holds. */
struct Holdings {
    std::size_t descriptors;
    std::size_t threads;
    long private_kilobytes;
};

TEST_F(Net, TwoHundredReconnectsLeaveNothingBehind) {
    const auto reconnect = [&](std::size_t times) {
        platform.wait_for("close:net", platform.count("close:net") + times);
    };
    // A mode that the gateway does not have leaves it at rest, with its connection open.
    const auto rest = [&]() -> Holdings {
        set("keymode ecdh");
        EXPECT_TRUE(wait_until([&] {
            const std::vector<nlohmann::json> replies = platform.events("response:keymode");
            return !replies.empty() && replies.back().at("json").at("keymode") == "ecdh";
        }));
        return {gateway.daemon().descriptors(), gateway.daemon().threads(),
                gateway.daemon().private_kilobytes()};
    };

    set("keymode none-that-there-is");
    gateway.start_net({{"VX_LOG_LEVEL", "3"}});
    reconnect(50);
    const Holdings before = rest();
    set("keymode none-that-there-is");
    gateway.edit([](nlohmann::json& state) { state["settings"]["mode"] = 1; });
    reconnect(200);
    const Holdings after = rest();
    // The simulated gateway has its state file open now and then.
    EXPECT_LE(after.descriptors, before.descriptors + 2);
    EXPECT_EQ(after.threads, before.threads);
    // Sanitizers keep what is freed.
    if (!is_instrumented()) {
        EXPECT_LE(after.private_kilobytes, before.private_kilobytes + 64);
    }
}

/** A fault of the platform during the negotiation, and whether it lasts until it is taken back. */
struct Fault {
    const char* name;
    const char* command;
    bool lasts;
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

class NetFaults : public Net, public testing::WithParamInterface<Fault> {};

TEST_P(NetFaults, GatewayComesOnlineWhenItIsOver) {
    fault(GetParam().command);
    gateway.start_net();
    if (GetParam().lasts) {
        platform.wait_for("close:net", 2);
        fault("off");
    }
    platform.wait_for("request:net-heartbeat");
    order("net-wps");
    expect_state("/wireless/wps", true);
}

INSTANTIATE_TEST_SUITE_P(Negotiation, NetFaults,
                         testing::Values(Fault{"WrongMagic", "magic 2", false},
                                         Fault{"OverLong", "over-long", false},
                                         Fault{"CutInside", "cut 20", false},
                                         Fault{"CutInHeader", "cut 5", false},
                                         Fault{"UpperHalfOfTheLength", "high-length 3", false},
                                         Fault{"WrongKey", "wrong-key", true}),
                         [](const testing::TestParamInfo<Fault>& test) { return test.param.name; });

TEST_F(Net, FramesInPiecesAndSeveralAtOnceAreUnderstood) {
    gateway.start_net();
    platform.wait_for("request:net-heartbeat");
    fault("split 1 1ms");
    order("net-wifi");
    expect_state("/wireless/radios/0/channel", 11);
    fault("off");
    fault("merge 2");
    platform.command("net-wps");
    order("net-led");
    expect_state("/wireless/wps", true);
    expect_state("/led_switch", false);
}

TEST_F(Net, SilentPlatformIsLeft) {
    gateway.start_net();
    platform.wait_for("request:net-heartbeat");
    fault("silence");
    // 20 s after the first heartbeat without an answer, and up to 10 s until the loop looks.
    platform.wait_for("close:net", 1, std::chrono::seconds(90));
    fault("off");
    platform.wait_for("request:net-register", 2);
    platform.wait_for("response:net-register", 2);
}

} // namespace

} // namespace e2e
