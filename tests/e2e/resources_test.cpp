// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "gateway.h"
#include "platform.h"
#include "resource_table.h"
#include "transports.h"

namespace e2e {
namespace {

class Resources : public testing::TestWithParam<Transport> {
protected:
    void SetUp() override { gateway.go_online(platform); }

    /** Whether the device library was asked for any change. */
    bool changed() const { return !setters_called().empty(); }

    std::vector<std::string> setters_called() const {
        std::vector<std::string> names;
        for (const nlohmann::json& call : gateway.calls()) {
            const std::string name = call.at("operation");
            if (name.starts_with("vx_device_"))
                names.push_back(name);
        }
        return names;
    }

    /** Actions are carried out behind their answers: the next answer says that they are done. */
    void settle() const { platform.ask("rename"); }

    /** What an answer to a settings request says, with the request for the log of a failure. */
    void expect_refused(const SettingsRequest& request, const std::string& what,
                        const std::string& body, const std::string& id) {
        const nlohmann::json answer = platform.ask(post(request.path, body));
        EXPECT_EQ(answer.at("code"), "2.05") << request.name << ": " << what;
        EXPECT_EQ(answer.at("text"), refusal(-1, id)) << request.name << ": " << what;
    }

    Platform platform{GetParam()};
    Gateway gateway{platform.port(), platform.is_tls()};
};

INSTANTIATE_TEST_SUITE_P(Transports, Resources, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

TEST_P(Resources, EveryOneAnswersWithTheTokenAndTheEchoes) {
    EXPECT_EQ(served_paths().size(), 15u);
    for (const ServedRequest& request : served_requests()) {
        const std::string command = request.command;
        settle();
        const std::string token = gateway.state()["credentials"]["access_token"];
        const nlohmann::json answer = platform.ask(command + " request-id=r-" + command +
                                                   " session-id=s-" + command + " no-trace-id");
        EXPECT_EQ(answer.at("name"), command);
        EXPECT_EQ(answer.at("to-path"), request.path);
        EXPECT_EQ(answer.at("by"), "options") << command;
        EXPECT_EQ(answer.at("code"), "2.05") << command;
        EXPECT_EQ(answer.at("token"), "") << command;
        const nlohmann::json expected = {{"access-token", token},
                                         {"request-id", "r-" + command},
                                         {"session-id", "s-" + command},
                                         {"trace-id", ""}};
        EXPECT_EQ(answer.at("options"), expected) << command;
        const bool is_status = std::string("get") == request.method;
        EXPECT_EQ(answer.at("text") == kSuccess, !is_status) << command;
    }
    platform.wait_for("close"); // the last one deletes the device
    EXPECT_EQ(platform.count("stray"), 0u);
}

TEST_P(Resources, StatusOfTheWholeHomeIsSeen) {
    const nlohmann::json state = gateway.state();

    const nlohmann::json diagnosis = platform.ask("wan-diagnose").at("json");
    EXPECT_EQ(diagnosis.at("ErrReason"), state["wan_diagnosis"]["status_code"]);
    EXPECT_EQ(diagnosis.at("HasInternetWan"), true);

    const nlohmann::json wan = platform.ask("wan").at("json");
    EXPECT_EQ(wan.size(), 45u);
    EXPECT_EQ(wan.at("Password"), state["wan"]["password"]);
    EXPECT_EQ(wan.at("IsConfigured"), 1);

    const nlohmann::json lan = platform.ask("lan-hosts").at("json");
    EXPECT_EQ(lan.at("FristIP"), state["lan_host"]["first_ip"]);

    const nlohmann::json info = platform.ask("device-info").at("json");
    EXPECT_EQ(info.at("SerialNumber"), state["device_information"]["serial_number"]);
    EXPECT_TRUE(info.at("other").at("guide").is_boolean());

    const nlohmann::json hosts = platform.ask("hosts").at("json");
    ASSERT_EQ(hosts.size(), state["hosts"].size());
    EXPECT_EQ(hosts.at(7).at("HostName"), "laptop");

    const nlohmann::json wlan = platform.ask("wlan").at("json");
    ASSERT_EQ(wlan.at("WifiConfig").size(), 4u);
    EXPECT_EQ(wlan.at("WifiConfig").at(2).at("FrequencyBand"), "5GHz");

    const nlohmann::json guests = platform.ask("guest").at("json");
    ASSERT_EQ(guests.size(), 2u);
    EXPECT_TRUE(guests.at(0).contains("ValidTime ") && guests.at(0).contains("RestTime  "));

    const nlohmann::json filters = platform.ask("mac-filter").at("json");
    EXPECT_EQ(filters.at(0).at("BMACAddresses").size(), 2u);
    EXPECT_EQ(filters.at(1).at("WMACAddresses").size(), 1u);

    const nlohmann::json schedules = platform.ask("time-switch").at("json");
    EXPECT_EQ(schedules.at("datelist").size(), 2u);
    EXPECT_FALSE(changed());
}

TEST_P(Resources, MethodsThatNobodyServesAreRefused) {
    for (const std::string& path : served_paths()) {
        for (const std::string method : {"get", "post", "put", "delete"}) {
            const auto served = served_requests();
            const bool is_served =
                std::any_of(served.begin(), served.end(), [&](const ServedRequest& request) {
                    return path == request.path && method == request.method;
                });
            if (is_served)
                continue;
            const nlohmann::json answer = platform.ask(method + " " + path + " {}");
            EXPECT_EQ(answer.at("code"), "4.05") << method << " " << path;
        }
    }
    EXPECT_FALSE(changed());
    EXPECT_EQ(platform.ask("rename").at("text"), kSuccess);
}

TEST_P(Resources, PathsThatOnlyLookAlikeAreUnknown) {
    for (const std::string& path : served_paths()) {
        std::string other_case = path;
        other_case.back() = static_cast<char>(other_case.back() ^ 0x20);
        for (const std::string& unknown : {other_case, path + "/", path + "/x", path + "x",
                                           path.substr(0, path.size() - 1), "sys" + path}) {
            EXPECT_EQ(platform.ask("get " + unknown).at("code"), "4.04") << unknown;
            EXPECT_EQ(platform.ask("post " + unknown + " {}").at("code"), "4.04") << unknown;
        }
    }
    EXPECT_FALSE(changed());
}

TEST_P(Resources, SettingsWithoutABodyAreRefused) {
    for (const SettingsRequest& request : settings_requests())
        expect_refused(request, "no payload", "none", request.unreadable);
    EXPECT_FALSE(changed());
}

TEST_P(Resources, SettingsOfAnotherShapeAreRefused) {
    const std::string deep = "2,000 levels deep";
    for (const SettingsRequest& request : settings_requests()) {
        for (const std::string root : {"[]", "[{}]", "{}", "\"text\"", "4711", "true", "null"})
            expect_refused(request, root, root, request.senseless);
        for (const std::string broken : {"{\"data\":", "}", "hex:00", "hex:ff7b7d"})
            expect_refused(request, broken, broken, request.unreadable);
        expect_refused(request, deep, std::string(2000, '['), request.unreadable);
        expect_refused(request, deep, std::string(2000, '[') + std::string(2000, ']'),
                       request.unreadable);
        std::string objects;
        for (int level = 0; level < 2000; ++level)
            objects += "{\"data\":";
        expect_refused(request, deep, objects + "1" + std::string(2000, '}'), request.unreadable);
    }
    EXPECT_FALSE(changed());
    EXPECT_EQ(platform.ask("rename").at("text"), kSuccess);
}

TEST_P(Resources, SettingsInAMegabyteAreTaken) {
    const std::string padding = R"({"padding":")" + std::string(1024 * 1024, 'x') + "\",";
    for (const SettingsRequest& request : settings_requests()) {
        const std::string body = padding + std::string(request.body).substr(1);
        EXPECT_EQ(platform.ask(post(request.path, body)).at("text"), kSuccess) << request.name;
        EXPECT_TRUE(gateway.called(request.setter)) << request.name;
    }
}

TEST_P(Resources, BodiesOfStatusRequestsAndActionsAreNotRead) {
    EXPECT_EQ(platform.ask("wan {").at("json").size(), 45u);
    EXPECT_EQ(platform.ask("hosts " + std::string(2000, '[')).at("json").size(), 12u);
    EXPECT_EQ(platform.ask("post .sys/gateway/service/reboot.cgi hex:00ff").at("text"), kSuccess);
    EXPECT_EQ(platform.ask("reboot none").at("text"), kSuccess);
    settle();
    EXPECT_THAT(setters_called(), testing::ElementsAre("vx_device_reboot", "vx_device_reboot"));
}

} // namespace
} // namespace e2e
