// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "platform.h"
#include "process.h"
#include "waiting.h"

/** @file The installed daemon on the example library, which was built from installed headers. */
namespace {

using testing::HasSubstr;

class Online : public testing::Test {
protected:
    void TearDown() override {
        if (HasFailure() && daemon)
            std::cerr << "the daemon's log:\n" << daemon->output();
    }
    void start(std::map<std::string, std::string> environment = {}) {
        environment["LD_LIBRARY_PATH"] = KIT_EXAMPLE;
        environment["EXAMPLE_PLATFORM_PORT"] = std::to_string(platform.port());
        environment["EXAMPLE_LOG_LEVEL"] = "6";
        daemon = std::make_unique<e2e::Process>(
            std::vector<std::string>{KIT_PREFIX "/sbin/vxquilan"}, environment, folder / "log");
    }

    e2e::Platform platform;
    e2e::TemporaryFolder folder;
    std::unique_ptr<e2e::Process> daemon;
};

TEST_F(Online, TheExampleRegistersActivatesAndStaysOnline) {
    const std::string code_pipe = folder / "code";
    ASSERT_EQ(mkfifo(code_pipe.c_str(), 0600), 0);
    platform.command("code add 4711");
    platform.command("policy require-registration on");
    start({{"EXAMPLE_CODE_PIPE", code_pipe}});

    EXPECT_EQ(platform.wait_for("request:register").at("json").at("vendor"), "Example");
    platform.wait_for("close");
    std::ofstream(code_pipe) << "4711\n";

    EXPECT_EQ(platform.wait_for("request:activate").at("json").at("code"), "4711");
    platform.wait_for("request:login");
    EXPECT_EQ(platform.wait_for("request:heartbeat").at("token-verdict"), "ok");
    EXPECT_EQ(platform.ask("reboot").at("json").at("errcode"), 0);
    EXPECT_TRUE(e2e::wait_until(
        [&] { return daemon->output().find("would reboot now") != std::string::npos; }));
}

TEST_F(Online, TheExampleIsFit) {
    e2e::Process check(
        {KIT_PREFIX "/bin/vx-device-check", "--write", KIT_EXAMPLE "/libvxdevice.so"}, {},
        folder / "report");
    EXPECT_EQ(check.wait_for_end(), 0) << check.output();
}

TEST_F(Online, TheExampleStartsThePlatformChannel) {
    // Nobody listens there; that the channel has begun is what counts.
    start({{"EXAMPLE_PLATFORM_CHANNEL", "127.0.99.1"}});
    EXPECT_TRUE(e2e::wait_until([&] {
        return daemon->output().find("QUILAN_TCP_CONNECT") != std::string::npos;
    })) << daemon->output();
    EXPECT_THAT(daemon->output(), HasSubstr("ip:192.0.2.10"));
}

} // namespace
