// SPDX-License-Identifier: MIT
#pragma once

#include "gateway_client.h"
#include "platform_process.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vxp::test {

inline const std::string mac = "02:00:5E:10:00:01";

/// The program and a gateway that is connected to it, on one thread.
class LabSession : public testing::Test {
protected:
    void start(std::vector<std::string> arguments = {}) {
        std::vector<std::string> all{"--quiet", "--journal", "-", "--tcp", "127.0.0.1:0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        platform = std::make_unique<PlatformProcess>(all);
    }

    void startTls(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.end(),
                         {"--tls", "127.0.0.1:0", "--tls-dir", folder.file("tls")});
        start(arguments);
    }

    /// Lets both sides work until it is so.
    void until(const std::string& what, const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!done()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "no " << what;
            ASSERT_FALSE(platform->ended()) << platform->errors();
            if (gateway) {
                gateway->pump(1);
            }
            platform->pump(gateway ? 0 : 5);
        }
    }

    void connectTo(const std::string& transport) {
        gateway =
            std::make_unique<GatewayClient>(platform->port(transport), transport.ends_with("tls"));
    }

    /// Both sides know of the connection afterwards: a command goes to the newest one that the
    /// platform takes for ready, which may still be the one before it.
    void connect(const std::string& transport = "tcp") {
        const std::size_t before = platform->count("ready");
        connectTo(transport);
        until("connection", [&] { return gateway->ready() && platform->count("ready") > before; });
    }

    void disconnect() {
        const std::size_t closed = platform->count("close");
        gateway.reset();
        until("close", [&] { return platform->count("close") > closed; });
    }

    /// @return the reply's document
    Json post(const std::string& path, const Json& body, const std::string* token = nullptr) {
        gateway->post(path, body.dump(), token);
        until("reply", [&] { return !gateway->replies.empty(); });
        if (gateway->replies.empty()) {
            return nullptr;
        }
        const Message reply = gateway->replies.front();
        gateway->replies.pop_front();
        EXPECT_EQ(reply.code, codeContent);
        EXPECT_TRUE(reply.token.empty());
        return parseJson(reply.payload).value_or(nullptr);
    }

    Json registerGateway() {
        const std::string none;
        return post(".sys/register", {{"mac", mac}, {"sn", "S1"}, {"from", "1"}}, &none);
    }

    Json activate(const std::string& code = "12345678") {
        return post(".sys/activate", {{"code", code}, {"devInfo", {{"mac", mac}, {"sn", "S1"}}}});
    }

    Json login(const Json& credentials) {
        const Json reply = post(
            ".sys/login", {{"devId", credentials["devId"]}, {"secret", credentials["secret"]}});
        if (reply.contains("accessToken")) {
            gateway->accessToken = reply["accessToken"].get<std::string>();
        }
        return reply;
    }

    /// The whole way to a gateway that is logged in.
    void goOnline(const std::string& transport = "tcp") {
        connect(transport);
        registerGateway();
        ASSERT_EQ(login(activate())["errcode"], 0);
    }

    Json heartbeat() {
        return post(".sys/heartbeat", {{"ts", "20240101T120000Z"}}, &gateway->accessToken);
    }

    void expectEvent(const std::string& event, const std::string& name = "",
                     std::size_t count = 1) {
        until(event + " " + name, [&] { return platform->count(event, name) >= count; });
    }

    /// Ends the program in order; what it says then is to be looked at.
    int finish() {
        gateway.reset();
        platform->closeInput();
        return platform->wait();
    }

    TemporaryFolder folder;
    std::unique_ptr<PlatformProcess> platform;
    std::unique_ptr<GatewayClient> gateway;
};

} // namespace vxp::test
