// SPDX-License-Identifier: MIT
#pragma once

#include "net_client.h"
#include "platform_process.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vxp::test {

/// The program and a gateway that is connected to its platform channel, on one thread.
class NetSession : public testing::Test {
protected:
    void start(const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> all{"--quiet", "--journal", "-", "--net", "127.0.0.1:0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        platform = std::make_unique<PlatformProcess>(all);
    }

    void until(const std::string& what, const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!done()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "no " << what;
            ASSERT_FALSE(platform->ended()) << platform->errors();
            platform->pump(1);
            if (gateway) {
                gateway->pump();
            }
        }
    }

    void expectEvent(const std::string& event, const std::string& name = "",
                     std::size_t count = 1) {
        until(event + " " + name, [&] { return platform->count(event, name) >= count; });
    }

    void connect() {
        const std::size_t before = platform->count("connect", "net");
        gateway = std::make_unique<NetClient>(platform->port("net"));
        expectEvent("connect", "net", before + 1);
    }

    void disconnect() {
        const std::size_t before = platform->count("close", "net");
        gateway.reset();
        expectEvent("close", "net", before + 1);
    }

    /// @return the next message that came; null when there is none
    Json receive() {
        until("message", [&] { return !gateway->messages.empty(); });
        if (gateway->messages.empty()) {
            return nullptr;
        }
        const Json message = gateway->messages.front();
        gateway->messages.pop_front();
        return message;
    }

    Json exchange(const Json& message) {
        gateway->send(message);
        return receive();
    }

    Json keyModeRequest() {
        Json request = gateway->message("keyngreq");
        request["version"] = "1.0";
        request["keymodelist"] = {{{"keymode", "dh"}}};
        return request;
    }

    Json dhRequest() {
        Json request = gateway->message("dh");
        request["data"] = keys.offer();
        return request;
    }

    Json registration() {
        Json request = gateway->message("dev_reg");
        request["data"] = {{"vendor", "V"}, {"model", "M"}, {"wireless", "no"}};
        return request;
    }

    void agreeKey() {
        EXPECT_EQ(exchange(keyModeRequest())["keymode"], "dh");
        const Json reply = exchange(dhRequest());
        ASSERT_TRUE(reply.contains("data")) << reply;
        gateway->key = keys.agree(reply["data"]["dh_key"].get<std::string>());
    }

    void goOnline() {
        connect();
        agreeKey();
        EXPECT_EQ(exchange(registration())["type"], "ack");
    }

    /// A fault that is set afterwards. That an earlier one was done may be told only now.
    void arm(const std::string& command) {
        const std::string word = command.substr(std::string_view("net-fault ").size());
        const std::string name = "set-" + word.substr(0, word.find(' '));
        const std::size_t before = platform->count("fault", name);
        platform->command(command);
        expectEvent("fault", name, before + 1);
    }

    int finish() {
        gateway.reset();
        platform->closeInput();
        return platform->wait();
    }

    TemporaryFolder folder;
    NetKeys keys;
    std::unique_ptr<PlatformProcess> platform;
    std::unique_ptr<NetClient> gateway;
};

} // namespace vxp::test
