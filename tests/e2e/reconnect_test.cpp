// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include <unistd.h>

#include "gateway.h"
#include "platform.h"

namespace e2e {
namespace {

using std::chrono::seconds;

double seconds_between(const nlohmann::json& earlier, const nlohmann::json& later) {
    return later.at("time").get<double>() - earlier.at("time").get<double>();
}

/** CPU time that a process has used, from /proc. */
double cpu_seconds(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    std::istringstream words(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        words >> skipped;
    long user = 0;
    long system = 0;
    words >> user >> system;
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

class Reconnect : public testing::Test {
protected:
    Platform platform;
    Gateway gateway{platform.port()};
};

TEST_F(Reconnect, KnownGatewayLogsInWithoutRegistering) {
    gateway.go_online(platform);
    platform.command("drop");
    platform.wait_for("request:login", 2);
    platform.wait_for("request:heartbeat", 2);
    EXPECT_TRUE(platform.events("request:register").empty());
    EXPECT_TRUE(platform.events("request:activate").empty());
}

TEST_F(Reconnect, RefusedConnectionIsTriedAgainEveryFiveSecondsAtNoCost) {
    platform.command("refuse");
    gateway.start();
    ASSERT_TRUE(
        wait_until([&] { return gateway.times_logged("QUILAN_APP_CONNECT") >= 3; }, seconds(30)));
    EXPECT_LT(cpu_seconds(gateway.daemon().id()), 1.0 * patience());
    platform.command("accept");
    platform.wait_for("request:register", 1, seconds(15));
    const int attempts = gateway.times_logged("QUILAN_APP_CONNECT");
    EXPECT_LE(attempts, 5); // one each 5 to 7 seconds, and the first one after that succeeds
}

TEST_F(Reconnect, DroppedSessionsLeaveNothingBehind) {
    gateway.go_online(platform);
    const std::size_t descriptors = gateway.daemon().descriptors();
    const std::size_t threads = gateway.daemon().threads();
    for (std::size_t drops = 1; drops <= 3; ++drops) {
        platform.command("drop");
        platform.wait_for("request:heartbeat", drops + 1);
    }
    EXPECT_TRUE(wait_until([&] { return gateway.daemon().threads() == threads; }))
        << gateway.daemon().threads() << " threads, " << threads << " before";
    EXPECT_EQ(gateway.daemon().descriptors(), descriptors);
}

TEST_F(Reconnect, ModeChangeTearsTheSessionDownAndStartsAgain) {
    gateway.go_online(platform);
    gateway.edit([](nlohmann::json& state) { state["settings"]["mode"] = 1; });
    platform.wait_for("close");
    platform.wait_for("request:heartbeat", 2);
    EXPECT_EQ(platform.events("request:login").size(), 2u);
}

TEST_F(Reconnect, RegistrationCodeFromOutsideStartsAnActivation) {
    gateway.go_online(platform);
    gateway.control("register-code 1234-5678");
    const nlohmann::json activation = platform.wait_for("request:activate");
    EXPECT_EQ(activation.at("json").at("code"), "1234-5678");
    platform.wait_for("request:heartbeat", 2);
}

TEST_F(Reconnect, DeletedGatewayStaysAwayUntilItHasACode) {
    gateway.go_online(platform);
    platform.ask("delete-device");
    platform.wait_for("close");
    ASSERT_TRUE(wait_until([&] { return gateway.logged("frame_coap_recv end"); }));
    EXPECT_EQ(platform.events("connect").size(), 1u);
    gateway.control("register-code 1234-5678");
    platform.wait_for("request:heartbeat", 2);
    EXPECT_EQ(platform.events("connect").size(), 2u);
}

TEST_F(Reconnect, ExpiredTokenIsRefreshedAfterAHeartbeat) {
    platform.command("timeout -1000");
    gateway.go_online(platform);
    platform.command("timeout 7200");
    const nlohmann::json refreshed_from = gateway.state()["credentials"]["access_token"];
    const nlohmann::json refresh = platform.wait_for("request:refresh");
    EXPECT_GT(seconds_between(platform.events("request:heartbeat").at(0), refresh), 9.0);
    EXPECT_EQ(refresh.at("options").at("access-token"), refreshed_from);
    ASSERT_TRUE(wait_until(
        [&] { return gateway.state()["credentials"]["access_token"] != refreshed_from; }));
}

} // namespace
} // namespace e2e
