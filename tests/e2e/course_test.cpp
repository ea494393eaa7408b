// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "gateway.h"
#include "platform.h"
#include "transports.h"

namespace e2e {
namespace {

using testing::ElementsAre;

class Course : public testing::TestWithParam<Transport> {
protected:
    Platform platform{GetParam()};
    Gateway gateway{platform.port(), platform.is_tls()};

    std::vector<std::string> requests() const {
        std::vector<std::string> names;
        for (const nlohmann::json& request : platform.events("request"))
            names.push_back(request.at("name"));
        return names;
    }
};

INSTANTIATE_TEST_SUITE_P(Transports, Course, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

TEST_P(Course, NewGatewayRegistersActivatesAndGoesOnline) {
    gateway.start();
    platform.wait_for("close"); // registered; now somebody types in the code
    gateway.control("register-code 4711-0815");
    platform.wait_for("request:heartbeat");
    EXPECT_THAT(requests(), ElementsAre("register", "activate", "login", "devinfo", "heartbeat"));

    const nlohmann::json activation = platform.events("request:activate").at(0);
    EXPECT_EQ(activation.at("json").at("code"), "4711-0815");
    EXPECT_FALSE(activation.at("options").contains("access-token"));
    EXPECT_FALSE(platform.events("request:login").at(0).at("options").contains("access-token"));
    EXPECT_EQ(platform.events("request:heartbeat").at(0).at("token-verdict"), "ok");
    EXPECT_EQ(platform.events("request:heartbeat").at(0).at("token"), "");
    EXPECT_EQ(gateway.state()["settings"]["first_guide"], 1);
}

TEST_P(Course, OnlineGatewayCarriesOutEverySimpleAction) {
    gateway.go_online(platform);
    const int starts = gateway.state()["boot"]["count"];
    for (const std::string action : {"rename", "reboot", "restore", "delete-device"}) {
        const nlohmann::json answer = platform.ask(action);
        EXPECT_EQ(answer.at("name"), action);
        EXPECT_EQ(answer.at("code"), "2.05");
        EXPECT_EQ(answer.at("token"), "");
        EXPECT_EQ(answer.at("text"), "{\n\t\"errcode\":\t0\n}");
        EXPECT_EQ(answer.at("by"), "options");
    }
    platform.wait_for("close");
    EXPECT_EQ(gateway.state()["boot"]["count"], starts + 1);
    EXPECT_EQ(gateway.state()["credentials"]["device_id"], "");
    EXPECT_TRUE(gateway.called("vx_device_restoredefcfg"));
}

TEST_P(Course, DaemonEndsWithoutComplaints) {
    gateway.go_online(platform);
    platform.ask("rename");
    platform.command("drop");
    platform.wait_for("request:heartbeat", 2);
    EXPECT_EQ(gateway.daemon().end(SIGTERM), 128 + SIGTERM);
    EXPECT_FALSE(gateway.complained()) << gateway.log();
}

} // namespace
} // namespace e2e
