// SPDX-License-Identifier: MIT
// The daemon that was built for the gateway, run by an emulator of its processor, beside the one of
// this machine: on the same gateway and asked for the same things, both say the same to the byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <set>
#include <stdexcept>

#include "gateway.h"
#include "platform.h"
#include "resource_table.h"
#include "transports.h"

namespace e2e {
namespace {

using nlohmann::json;

std::string setting(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr)
        throw std::runtime_error(std::string(name) + " is not set");
    return value;
}

Build target_build() {
    const std::string folder = setting("VXQUILAN_TEST_TARGET_BUILD");
    return {setting("VXQUILAN_TEST_TARGET_EMULATOR"), folder + "/src/vxquilan_main/vxquilan",
            folder + "/lab/net/vxquilan_net", folder + "/lab/device:" + folder + "/lab/log"};
}

/** Everything that the gateway said and did in a course, and what became of it. */
struct Account {
    std::vector<std::string> answers;  ///< codes, options and texts, in the order of the commands
    std::vector<std::string> requests; ///< the gateway's own, the first of each kind
    std::vector<std::string> calls;    ///< of the device library
    json state;                        ///< the gateway's, afterwards
};

/** What a message carries; its place in the journal and the times there are left out. */
std::string carried(const json& event) {
    json message = json::object();
    for (const char* const member : {"name", "to-path", "path", "query", "code", "options", "by"}) {
        if (event.contains(member))
            message[member] = event.at(member);
    }
    return message.dump() + " " + event.value("text", event.value("hex", "no text"));
}

class TargetCourse {
public:
    explicit TargetCourse(const Build& build, Transport transport = Transport::tcp,
                          const std::vector<std::string>& options = {})
        : platform(transport, options), gateway(platform.port(), platform.is_tls(), build) {}

    void ask(const std::string& command) {
        account_.answers.push_back(command + " -> " + carried(platform.ask(command)));
    }

    /** A command of the platform channel. */
    void order(const std::string& command) {
        const std::string kind = "answer:" + command.substr(0, command.find(' '));
        const std::size_t before = platform.count(kind);
        platform.command(command);
        account_.answers.push_back(command + " -> " + carried(platform.wait_for(kind, before + 1)));
    }

    /**
     * Ends the daemon. Only what can't be the same twice is left out: the platform's port, the
     * clock's time in heartbeats and in the state, how many heartbeats were counted, and the random
     * numbers of the key agreement with the key that they lead to.
     */
    Account finish() {
        EXPECT_EQ(gateway.daemon().end(SIGTERM), 128 + SIGTERM);
        EXPECT_FALSE(gateway.complained()) << gateway.log();
        std::set<std::string> seen;
        for (json request : platform.events("request")) {
            const std::string name = request.at("name");
            if (name == "heartbeat" || name == "dh")
                request["text"] = "";
            if (request.contains("options"))
                request["options"].erase("uri-port");
            if (seen.insert(name).second)
                account_.requests.push_back(carried(request));
        }
        for (json call : gateway.calls()) {
            if (call.at("operation") == "port_device_encryptkey_set")
                call["arguments"] = nullptr;
            if (call.at("operation") != "port_device_sequence_set")
                account_.calls.push_back(call.dump());
        }
        account_.state = gateway.state();
        account_.state["credentials"].erase("token_expiry");
        account_.state["app_platform"].erase("port");
        account_.state["platform_channel"].erase("key");
        account_.state["platform_channel"].erase("sequence");
        account_.state["boot"].erase("time");
        return account_;
    }

    Platform platform;
    Gateway gateway;

private:
    Account account_;
};

void expect_same(const Account& target, const Account& native) {
    EXPECT_EQ(target.answers, native.answers);
    EXPECT_EQ(target.requests, native.requests);
    EXPECT_EQ(target.calls, native.calls);
    EXPECT_EQ(target.state, native.state);
}

class AppTargetCourse : public testing::TestWithParam<Transport> {};

INSTANTIATE_TEST_SUITE_P(Transports, AppTargetCourse,
                         testing::Values(Transport::tcp, Transport::tls), name_of_transport);

/** Bodies that no setting understands, and one whose numbers need more than 32 bits. */
constexpr const char* kOddBodies[] = {
    "none",
    "[]",
    "{}",
    R"({"data":)",
    R"({"data":{"config2g":{"ID":2.5e9,"MacFilterPolicy":-0.5,"enable":1e400}}})",
};

Account app_course(const Build& build, Transport transport) {
    TargetCourse course(build, transport);
    for (const char* const credentials :
         {"activate devId=gw-0001 secret=secret-of-0001",
          "login accessToken=access-0001 refreshToken=refresh-0001 timeOut=7200"})
        course.platform.command(std::string("set ") + credentials);
    course.gateway.edit([](json& state) {
        state["hosts"][0]["lease_time"] = 2147483647;
        state["hosts"][1]["lease_time"] = -2147483647 - 1;
        state["wan"]["bandwidth_time"] = -1;
    });

    course.gateway.start();
    course.platform.wait_for("close"); // registered; now somebody types in the code
    course.gateway.control("register-code 4711-0815");
    course.platform.wait_for("request:heartbeat");
    course.gateway.control("data-report 0");
    course.platform.wait_for("request:data");

    const std::string identifiers = " request-id=r-1 session-id=s-1 trace-id=t-1";
    const auto ask_all = [&](const std::string& method) {
        for (const ServedRequest& request : served_requests()) {
            if (method == request.method)
                course.ask(request.command + identifiers);
        }
    };
    ask_all("get");
    for (const SettingsRequest& request : settings_requests()) {
        for (const char* const body : kOddBodies)
            course.ask(post(request.path, body));
        course.ask(post(request.path, request.body));
        ask_all("get");
    }
    ask_all("post"); // with the platform's samples; the last ones end settings and session
    course.platform.wait_for("close", 2);
    return course.finish();
}

TEST_P(AppTargetCourse, EveryResourceAnswersAsOnThisMachine) {
    const Account native = app_course(own_build(), GetParam());
    std::set<std::string> paths;
    for (const std::string& answer : native.answers) {
        for (const std::string& path : served_paths()) {
            if (answer.find("\"to-path\":\"" + path + "\"") != std::string::npos)
                paths.insert(path);
        }
    }
    EXPECT_EQ(paths.size(), 15U);
    EXPECT_EQ(native.requests.size(), 6U); // all but the refresh of a token
    expect_same(app_course(target_build(), GetParam()), native);
}

Account net_course(const Build& build) {
    TargetCourse course(build, Transport::tcp, {"--net", own_address()});
    course.gateway.edit(
        [](json& state) { state["platform_channel"]["gateway_ip"] = own_address(); });
    course.gateway.start_net();
    course.platform.wait_for("request:net-heartbeat");
    course.order("net-status");
    for (const char* const command :
         {"net-wifi", "net-wifi-switch", "net-led", "net-wifi-switch net-timers.json", "net-wps"}) {
        course.order(command);
        course.order("net-status");
    }
    course.order("net-upgrade");
    EXPECT_TRUE(wait_until([&] { return course.gateway.called("vx_device_upgrade"); }));
    return course.finish();
}

TEST(NetTargetCourse, EveryCommandIsAnsweredAsOnThisMachine) {
    const Account native = net_course(own_build());
    EXPECT_EQ(native.requests.size(), 4U);
    expect_same(net_course(target_build()), native);
}

} // namespace
} // namespace e2e
