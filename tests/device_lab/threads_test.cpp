// SPDX-License-Identifier: MIT
// The library's own threads, and calls from several at once.

#include "support.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <vxquilan/device.h>

namespace {

using lab::Background;
using lab::Json;

class Threads : public lab::DeviceLab {
protected:
    static std::string control_path() { return lab::folder() + "/control"; }
    static std::unique_ptr<Background>
    serve(int calls, const std::map<std::string, std::string>& environment) {
        return std::make_unique<Background>(
            std::vector<std::string>{LAB_CALL, "serve", std::to_string(calls)}, environment);
    }
    static void without_registration() {
        lab::edit([](Json& state) { state.erase("registration"); });
    }
};

TEST_F(Threads, NoChangeOfSeveralThreadsIsLost) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 25; ++i) {
                EXPECT_EQ(port_device_sequence_set(), 0);
                char mac[32] = {};
                EXPECT_EQ(port_device_mac_get(mac), 0);
                EXPECT_STREQ(mac, "02:5E:10:00:00:01");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(port_device_sequence_get(), 101);
    EXPECT_EQ(lab::journal().size(), 100U);
}

TEST_F(Threads, NoChangeOfSeveralProcessesIsLost) {
    Background one({LAB_CALL, "advance", "30"}, {});
    Background two({LAB_CALL, "advance", "30"}, {});
    EXPECT_EQ(one.finish().status, 0);
    EXPECT_EQ(two.finish().status, 0);
    EXPECT_EQ(port_device_sequence_get(), 61);
}

TEST_F(Threads, ControlChannelCallsTheEntryPoints) {
    without_registration();
    const auto gateway = serve(3, {{"VX_DEVICE_CONTROL", control_path()}});
    ASSERT_EQ(gateway->read_line(), "ready 0");
    struct stat status {};
    ASSERT_EQ(stat(control_path().c_str(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    std::ofstream(control_path()) << "register-code 8 15\n";
    EXPECT_EQ(gateway->read_line(), "code 8 15");
    std::ofstream(control_path()) << "data-report 3\nstate-set -2\n";
    const auto outcome = gateway->finish();
    EXPECT_EQ(outcome.output, "report 3\nstate -2\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(lab::state()["credentials"]["code"], "8 15");
}

TEST_F(Threads, ControlChannelTellsWhatItDoesNotKnow) {
    without_registration();
    const auto gateway = serve(1, {{"VX_DEVICE_CONTROL", control_path()}});
    ASSERT_EQ(gateway->read_line(), "ready 0");
    std::ofstream(control_path()) << "reboot\n\nregister-code\nstate-set x1\n"
                                  << std::string(5000, 'y') << "\nstate-set 11\n";
    const auto outcome = gateway->finish();
    EXPECT_EQ(outcome.output, "state 11\n");
    for (const char* line :
         {"control: \"reboot\" is not one of: register-code CODE, data-report SELECTOR, "
          "state-set N\n",
          "control: \"register-code\" is not one of", "control: \"x1\" is not a number\n"}) {
        EXPECT_EQ(lab::count(outcome.errors, line), 1U) << line << outcome.errors;
    }
}

TEST_F(Threads, ControlChannelReplacesItsOwnButNoFile) {
    without_registration();
    ASSERT_EQ(mkfifo(control_path().c_str(), 0644), 0);
    const auto gateway = serve(0, {{"VX_DEVICE_CONTROL", control_path()}});
    EXPECT_EQ(gateway->read_line(), "ready 0");
    EXPECT_EQ(gateway->finish().status, 0);
    std::filesystem::remove(control_path());
    lab::write_file(control_path(), "precious");
    const auto refused = serve(0, {{"VX_DEVICE_CONTROL", control_path()}})->finish();
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.errors, "vxdevice: VX_DEVICE_CONTROL: " + control_path() + ": File exists\n");
    EXPECT_EQ(lab::read_file(control_path()), "precious");
    std::filesystem::remove(control_path());
}

TEST_F(Threads, RegistrationHandsItsCodeOver) {
    lab::edit([](Json& state) { state["registration"] = {{"code", "R-1"}, {"delay", 0.01}}; });
    const auto outcome = serve(1, {})->finish();
    EXPECT_EQ(outcome.output, "ready 0\ncode R-1\n");
    EXPECT_EQ(lab::state()["credentials"]["code"], "R-1");
}

TEST_F(Threads, BoundGatewayRegistersNothing) {
    lab::edit([](Json& state) {
        state["registration"] = {{"code", "R-1"}, {"delay", 0}};
        state["credentials"]["device_id"] = "bound";
    });
    const auto gateway = serve(1, {{"VX_DEVICE_CONTROL", control_path()}});
    ASSERT_EQ(gateway->read_line(), "ready 0");
    std::ofstream(control_path()) << "state-set 1\n";
    EXPECT_EQ(gateway->finish().output, "state 1\n");
}

TEST_F(Threads, FaultAtStartStartsNothing) {
    lab::edit([](Json& state) { state["faults"] = {{"port_device_init", 4}}; });
    const auto outcome = serve(0, {{"VX_DEVICE_CONTROL", control_path()}})->finish();
    EXPECT_EQ(outcome.output, "ready 4\n");
    EXPECT_FALSE(std::filesystem::exists(control_path()));
}

} // namespace
