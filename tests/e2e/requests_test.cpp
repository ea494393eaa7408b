// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "gateway.h"
#include "platform.h"
#include "transports.h"

namespace e2e {
namespace {

constexpr char kRename[] = ".sys/gateway/system/changedevicename";

class Requests : public testing::TestWithParam<Transport> {
protected:
    void SetUp() override { gateway.go_online(platform); }
    Platform platform{GetParam()};
    Gateway gateway{platform.port(), platform.is_tls()};
};

INSTANTIATE_TEST_SUITE_P(Transports, Requests, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

TEST_P(Requests, AnswerCarriesTokenAndEchoesTheIdentifyingOptions) {
    const std::string longest(255, 'x');
    const nlohmann::json answer = platform.ask(std::string("post ") + kRename + " request-id=one " +
                                               "session-id=" + longest + " no-trace-id {}");
    const nlohmann::json& options = answer.at("options");
    EXPECT_EQ(options.at("access-token"), gateway.state()["credentials"]["access_token"]);
    EXPECT_EQ(options.at("request-id"), "one");
    EXPECT_EQ(options.at("session-id"), longest);
    EXPECT_EQ(options.at("trace-id"), "");
}

TEST_P(Requests, BodyOfAMegabyteIsNoTrouble) {
    const nlohmann::json answer = platform.ask(std::string("post ") + kRename + " {\"name\":\"" +
                                               std::string(1024 * 1024, 'n') + "\"}");
    EXPECT_EQ(answer.at("errcode"), 0);
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
}

TEST_P(Requests, UnknownPathsAndWrongMethodsAreRefused) {
    EXPECT_EQ(platform.ask("get .sys/gateway/nowhere").at("code"), "4.04");
    EXPECT_EQ(platform.ask("post .sys/DELDEVICE {}").at("code"), "4.04");
    EXPECT_EQ(platform.ask("get .sys/delDevice").at("code"), "4.05");
    EXPECT_FALSE(gateway.called("vx_device_deldevice"));
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
}

TEST_P(Requests, DeviceLibraryCanReportStationsAtAnyTime) {
    gateway.control("data-report 1");
    const nlohmann::json report = platform.wait_for("request:data");
    EXPECT_EQ(report.at("json").at("devId"), gateway.state()["credentials"]["device_id"]);
    EXPECT_FALSE(report.at("json").at("services").empty());
    EXPECT_EQ(report.at("token-verdict"), "ok");
}

} // namespace
} // namespace e2e
