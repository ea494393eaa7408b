// SPDX-License-Identifier: MIT
#include "lab_session.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

namespace vxp::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif
#else
constexpr bool sanitized = false;
#endif

/// Figures of time and memory say nothing about a program that is watched.
bool isWatched() {
    return sanitized || std::getenv("VXPLATFORM_WRAPPER") != nullptr;
}

class Exchange : public LabSession, public testing::WithParamInterface<const char*> {
protected:
    void startBoth(std::vector<std::string> arguments = {}) {
        startTls(std::move(arguments));
        transport = GetParam();
    }
    std::string transport;
};

INSTANTIATE_TEST_SUITE_P(Transports, Exchange, testing::Values("tcp", "tls"));

TEST_P(Exchange, OrdinaryCourse) {
    startBoth();
    connect(transport);
    EXPECT_EQ(registerGateway(), (Json{{"errcode", 0}}));
    const Json credentials = activate();
    ASSERT_EQ(credentials["errcode"], 0);
    const Json tokens = login(credentials);
    ASSERT_EQ(tokens["errcode"], 0);
    EXPECT_EQ(tokens["timeOut"], 7200);
    const Json info = Json::array({{{"devId", credentials["devId"]}, {"devInfo", {{"sn", "2"}}}}});
    EXPECT_EQ(post(".sys/devInfoSync", info, &gateway->accessToken), (Json{{"errcode", 0}}));
    EXPECT_EQ(heartbeat(), (Json{{"errcode", 0}}));
    EXPECT_EQ(
        post(".sys/data", {{"devId", "x"}, {"services", Json::array()}}, &gateway->accessToken),
        (Json{{"errcode", 0}}));
    const Json renewed =
        post(".sys/refresh", {{"refreshToken", tokens["refreshToken"]}}, &gateway->accessToken);
    EXPECT_EQ(renewed["errcode"], 0);
    EXPECT_NE(renewed["accessToken"], tokens["accessToken"]);
    expectEvent("response", "refresh");
    EXPECT_EQ(platform->count("tls"), transport == "tls" ? 1U : 0U);
    EXPECT_EQ(finish(), 0) << platform->errors();
    EXPECT_EQ(platform->errors(), "");
}

TEST_P(Exchange, JournalTellsWhatWasOnTheWire) {
    startBoth();
    goOnline(transport);
    heartbeat();
    expectEvent("response", "heartbeat");
    const Json request = platform->last("request", "heartbeat");
    EXPECT_EQ(request["conn"], 1);
    EXPECT_EQ(request["transport"], transport);
    EXPECT_EQ(request["dir"], "in");
    EXPECT_EQ(request["code"], "POST");
    EXPECT_EQ(request["path"], ".sys/heartbeat");
    EXPECT_EQ(request["token"], "");
    EXPECT_EQ(request["options"]["access-token"], gateway->accessToken);
    EXPECT_EQ(request["options"]["uri-host"], "127.0.0.1");
    EXPECT_EQ(request["json"]["ts"], "20240101T120000Z");
    EXPECT_EQ(request["token-verdict"], "ok");
    EXPECT_EQ(request["mac"], mac);
    const Json response = platform->last("response", "heartbeat");
    EXPECT_EQ(response["dir"], "out");
    EXPECT_EQ(response["code"], "2.05");
    EXPECT_EQ(response["json"], (Json{{"errcode", 0}}));
    EXPECT_EQ(response["errcode"], 0);
    EXPECT_LT(request["seq"], response["seq"]);
    EXPECT_LE(request["time"], response["time"]);
}

TEST_P(Exchange, AssertionsReachTheJournalsMembers) {
    startBoth();
    goOnline(transport);
    heartbeat();
    platform->command("wait heartbeat");
    const std::string lines[] = {"assert heartbeat@transport == " + transport,
                                 "assert heartbeat@conn == 1",
                                 "assert heartbeat@event == request",
                                 "assert heartbeat@name == heartbeat",
                                 "assert heartbeat@dir == in",
                                 "assert heartbeat@seq > 1",
                                 "assert heartbeat@time > 1000000000",
                                 "assert heartbeat@path == .sys/heartbeat",
                                 "assert heartbeat@mac == " + mac,
                                 "assert heartbeat@uri-host == 127.0.0.1"};
    for (const std::string& line : lines) {
        platform->command(line);
    }
    EXPECT_EQ(finish(), 0) << platform->errors();
    EXPECT_EQ(platform->errors(), "");
}

TEST_P(Exchange, RequestToTheGatewayAndItsAnswer) {
    startBoth();
    goOnline(transport);
    platform->command("wan");
    platform->command("wait answer:wan");
    platform->command("assert answer errcode == 0");
    platform->command("assert answer.errcode == 0");
    platform->command("assert answer@code == 2.05");
    platform->command("assert answer@token == \"\"");
    platform->command("assert answer@token-verdict == ok");
    expectEvent("assert", "", 5);
    ASSERT_EQ(gateway->requests.size(), 1U);
    const Message& request = gateway->requests.front();
    EXPECT_EQ(request.code, codeGet);
    EXPECT_EQ(request.path, ".sys/gateway/ntwk/wan");
    EXPECT_FALSE(request.token.empty());
    for (const std::uint16_t option : {optionRequestId, optionSessionId, optionTraceId}) {
        ASSERT_NE(request.option(option), nullptr) << option;
        EXPECT_FALSE(request.option(option)->empty()) << option;
    }
    EXPECT_EQ(request.option(optionAccessToken), nullptr);
    const Json answer = platform->last("answer");
    EXPECT_EQ(answer["name"], "wan");
    EXPECT_EQ(answer["by"], "options");
    EXPECT_EQ(answer["options"]["access-token"], gateway->accessToken);
    EXPECT_EQ(answer["options"]["trace-id"], *request.option(optionTraceId));
    EXPECT_EQ(answer["text"], gateway->answerBody);
    EXPECT_EQ(finish(), 0) << platform->errors();
}

TEST_P(Exchange, LongMessagesBothWays) {
    startBoth();
    goOnline(transport);
    const std::string body = Json{{"data", std::string(1000000, 'x')}}.dump();
    const std::string file = folder.write("body", body);
    gateway->answerBody = Json{{"errcode", 0}, {"list", std::string(1500000, 'y')}}.dump();
    platform->command("post .sys/gateway/ntwk/WlanBasic @" + file);
    platform->command("wait answer 60s");
    expectEvent("answer");
    EXPECT_EQ(gateway->requests.front().payload, body);
    EXPECT_EQ(platform->last("answer")["length"], gateway->answerBody.size());
    EXPECT_EQ(platform->last("answer")["text"], gateway->answerBody);
}

TEST_P(Exchange, DropsBehindTheReply) {
    startBoth();
    connect(transport);
    platform->command("set register drop=after");
    expectEvent("command", "set");
    EXPECT_EQ(registerGateway()["errcode"], 0);
    until("close", [&] { return gateway->closed(); });
    expectEvent("close");
    EXPECT_EQ(platform->last("close")["by"], "platform");
}

TEST_P(Exchange, DropsInsteadOfTheReply) {
    startBoth();
    connect(transport);
    platform->command("set register drop=before times=1");
    expectEvent("command", "set");
    gateway->post(".sys/register", R"({"mac":"M"})", nullptr);
    until("close", [&] { return gateway->closed(); });
    EXPECT_TRUE(gateway->replies.empty());
    connect(transport);
    EXPECT_EQ(registerGateway()["errcode"], 0);
}

TEST_P(Exchange, DropCommand) {
    startBoth();
    connect(transport);
    platform->command("drop");
    until("close", [&] { return gateway->closed(); });
    platform->command("drop");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"], "prompt:2: no gateway is connected");
    EXPECT_EQ(finish(), 1);
}

TEST_P(Exchange, RefusesAndAcceptsOnTheSamePort) {
    startBoth();
    connect(transport);
    platform->command("refuse");
    until("close", [&] { return gateway->closed(); });
    connectTo(transport);
    until("refusal", [&] { return gateway->failed() || gateway->closed(); });
    EXPECT_FALSE(gateway->ready());
    platform->command("accept");
    expectEvent("listening", "", 4);
    connect(transport);
    EXPECT_EQ(registerGateway()["errcode"], 0);
}

TEST_P(Exchange, HundredsOfReconnectsLeaveNothingBehind) {
    startBoth();
    const auto figure = [&](const std::string& name) {
        std::ifstream status("/proc/" + std::to_string(platform->pid()) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(name + ":")) {
                return std::stol(line.substr(name.size() + 1));
            }
        }
        return 0L;
    };
    const auto descriptors = [&] {
        const std::filesystem::path folderOfDescriptors =
            "/proc/" + std::to_string(platform->pid()) + "/fd";
        return std::distance(std::filesystem::directory_iterator(folderOfDescriptors), {});
    };
    const auto round = [&] {
        connect(transport);
        registerGateway();
        ASSERT_EQ(login(activate())["errcode"], 0);
        disconnect();
    };
    for (int i = 0; i < 80; ++i) {
        ASSERT_NO_FATAL_FAILURE(round());
    }
    const auto descriptorsBefore = descriptors();
    const long memoryBefore = figure("VmRSS");
    for (int i = 0; i < 200; ++i) {
        ASSERT_NO_FATAL_FAILURE(round());
    }
    EXPECT_EQ(descriptors(), descriptorsBefore);
    if (!isWatched()) {
        EXPECT_LT(figure("VmRSS") - memoryBefore, 1024) << "kB";
    }
}

TEST_P(Exchange, RepliesWithinAMillisecond) {
    startBoth();
    goOnline(transport);
    auto best = std::chrono::nanoseconds::max();
    for (int i = 0; i < 300; ++i) {
        const auto start = std::chrono::steady_clock::now();
        gateway->post(".sys/heartbeat", R"({"ts":"x"})", &gateway->accessToken);
        while (gateway->replies.empty()) {
            gateway->pump(1000);
        }
        const std::chrono::nanoseconds taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken);
        gateway->replies.clear();
        platform->pump(0);
    }
    if (!isWatched()) {
        EXPECT_LT(best, std::chrono::milliseconds(1)) << "best of 300";
    }
    RecordProperty("best_microseconds", static_cast<int>(best.count() / 1000));
}

class Session : public LabSession {};

TEST_F(Session, WrongSecretAndUnknownDevice) {
    start();
    connect();
    registerGateway();
    Json credentials = activate();
    const Json good = credentials;
    credentials["secret"] = "guess";
    EXPECT_EQ(login(credentials), (Json{{"errcode", 5}}));
    credentials["devId"] = "nobody";
    EXPECT_EQ(login(credentials), (Json{{"errcode", 6}}));
    EXPECT_EQ(login(good)["errcode"], 0);
}

TEST_F(Session, RegistrationCodesFromTheCommandLine) {
    start({"--code", "right", "--code", "also-right"});
    connect();
    registerGateway();
    EXPECT_EQ(activate("wrong"), (Json{{"errcode", 2}}));
    EXPECT_EQ(activate("also-right")["errcode"], 0);
    platform->command("code remove right");
    expectEvent("command");
    EXPECT_EQ(activate("right")["errcode"], 2);
}

TEST_F(Session, KnownGatewayLogsInWithoutRegistering) {
    start();
    connect();
    platform->command("gateway add mac=" + mac + " devId=D secret=S");
    expectEvent("command");
    EXPECT_EQ(login({{"devId", "D"}, {"secret", "S"}})["errcode"], 0);
    platform->command("gateway forget D");
    expectEvent("command", "", 2);
    EXPECT_EQ(login({{"devId", "D"}, {"secret", "S"}})["errcode"], 6);
}

TEST_F(Session, AccessTokenIsReportedAndEnforcedOnRequest) {
    start({"--check-token"});
    goOnline();
    const std::string good = gateway->accessToken;
    EXPECT_EQ(heartbeat()["errcode"], 0);
    gateway->accessToken = "guess";
    EXPECT_EQ(heartbeat()["errcode"], 1006);
    EXPECT_EQ(post(".sys/heartbeat", {{"ts", "x"}})["errcode"], 1006);
    expectEvent("request", "heartbeat", 3);
    EXPECT_EQ(platform->last("request", "heartbeat")["token-complaint"], "missing");
    gateway->accessToken = good;
    platform->command("expire");
    expectEvent("command", "expire");
    EXPECT_EQ(heartbeat()["errcode"], 1006);
    expectEvent("request", "heartbeat", 4);
    EXPECT_EQ(platform->last("request", "heartbeat")["token-complaint"], "expired");
    platform->command("policy check-token off");
    expectEvent("command", "policy");
    EXPECT_EQ(heartbeat()["errcode"], 0);
    // Who logs in has no token yet, and says so by leaving the option out.
    gateway->post(".sys/login", "{}", &good);
    expectEvent("request", "login", 2);
    EXPECT_EQ(platform->last("request", "login")["token-complaint"], "unexpected");
    EXPECT_FALSE(platform->events.front().contains("token-complaint"));
}

TEST_F(Session, PrivateOptionsOfOddNumbersAreNotRefused) {
    start();
    connect();
    gateway->send(codePost, ".sys/register", {{2049, "a"}, {2050, "b"}, {2051, "c"}, {2052, "d"}},
                  R"({"mac":"M"})");
    until("reply", [&] { return !gateway->replies.empty(); });
    EXPECT_EQ(gateway->replies.front().code, codeContent);
    expectEvent("request");
    const Json options = platform->last("request")["options"];
    EXPECT_EQ(options["access-token"], "a");
    EXPECT_EQ(options["request-id"], "b");
    EXPECT_EQ(options["session-id"], "c");
    EXPECT_EQ(options["trace-id"], "d");
}

TEST_F(Session, UnknownPathAndMethodAreRefusedAndShown) {
    start();
    connect();
    gateway->send(codePost, ".sys/nothing", {}, "");
    until("reply", [&] { return gateway->replies.size() == 1; });
    gateway->send(codeGet, ".sys/login", {}, "");
    until("reply", [&] { return gateway->replies.size() == 2; });
    EXPECT_EQ(gateway->replies[0].code, codeNotFound);
    EXPECT_EQ(gateway->replies[1].code, codeMethodNotAllowed);
    expectEvent("response", "", 2);
    EXPECT_EQ(platform->count("request"), 2U);
}

TEST_F(Session, SilenceAndDelay) {
    start();
    goOnline();
    platform->command("set heartbeat silence times=1");
    platform->command("set heartbeat delay=200ms times=1");
    expectEvent("command", "set", 2);
    gateway->post(".sys/heartbeat", R"({"ts":"1"})", &gateway->accessToken);
    expectEvent("silence", "heartbeat");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(heartbeat()["errcode"], 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(190));
    expectEvent("response", "heartbeat");
    EXPECT_EQ(platform->count("response", "heartbeat"), 1U) << "the silent one has none";
}

TEST_F(Session, DelayedReplyToAnEndedConnectionIsLost) {
    start();
    connect();
    platform->command("set register delay=300ms");
    expectEvent("command", "set");
    gateway->post(".sys/register", R"({"mac":"M"})", nullptr);
    expectEvent("request", "register");
    disconnect();
    expectEvent("lost", "register");
    EXPECT_EQ(platform->last("lost")["reason"], "connection 1 has ended");
}

TEST_F(Session, ErrcodesRawTextAndNoPayload) {
    start();
    connect();
    platform->command("set register errcode=1 times=1");
    platform->command("set register raw=\"not { json\" times=1");
    platform->command("set register empty times=1");
    platform->command("set register code=2.04 times=1");
    expectEvent("command", "set", 4);
    for (int i = 0; i < 4; ++i) {
        gateway->post(".sys/register", R"({"mac":"M"})", nullptr);
        until("reply", [&] { return gateway->replies.size() == static_cast<std::size_t>(i + 1); });
    }
    EXPECT_EQ(gateway->replies[0].payload, R"({"errcode":1})");
    EXPECT_EQ(gateway->replies[1].payload, "not { json");
    EXPECT_EQ(gateway->replies[2].payload, "");
    EXPECT_EQ(gateway->replies[3].code, coapCode(2, 4));
}

TEST_F(Session, AnswersAreMatchedByTheirOptions) {
    start();
    goOnline();
    gateway->answers = false;
    platform->command("wan request-id=1 session-id=s trace-id=t");
    platform->command("hosts request-id=2 session-id=s trace-id=t");
    expectEvent("sent", "hosts");
    until("requests", [&] { return gateway->requests.size() == 2; });
    // The second is answered first.
    gateway->send(codeContent, "", {{2049, "x"}, {2050, "2"}, {2051, "s"}, {2052, "t"}},
                  R"({"errcode":7})");
    expectEvent("answer", "hosts");
    EXPECT_EQ(platform->last("answer")["errcode"], 7);
    EXPECT_EQ(platform->last("answer")["token-verdict"], "wrong");
    gateway->send(codeContent, "", {{2049, "x"}, {2050, "1"}, {2051, "s"}, {2052, "t"}},
                  R"({"errcode":0})");
    expectEvent("answer", "wan");
}

TEST_F(Session, AnswerThatBelongsToNothingIsStray) {
    start();
    goOnline();
    gateway->changesIdentifiers = true;
    platform->command("wan");
    expectEvent("stray");
    EXPECT_EQ(platform->last("stray")["matched"], false);
    platform->command("wait answer 50ms");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"], "prompt:2: no answer within 0.05 s");
}

TEST_F(Session, RefusalOfTheLibraryIsMatchedByItsToken) {
    start();
    goOnline();
    platform->command("put .sys/gateway/ntwk/wan");
    platform->command("delete .sys/gateway/ntwk/wan");
    expectEvent("answer", "", 2);
    EXPECT_EQ(platform->last("answer")["by"], "token");
}

TEST_F(Session, IdentifiersAsChosen) {
    start();
    goOnline();
    const std::string longest(255, 'z');
    platform->command("wan request-id=\"a b\" session-id= no-trace-id");
    platform->command("wan trace-id=" + longest);
    until("requests", [&] { return gateway->requests.size() == 2; });
    const Message& first = gateway->requests[0];
    EXPECT_EQ(*first.option(optionRequestId), "a b");
    EXPECT_EQ(*first.option(optionSessionId), "");
    EXPECT_EQ(first.option(optionTraceId), nullptr);
    EXPECT_EQ(*gateway->requests[1].option(optionTraceId), longest);
    expectEvent("answer", "", 2);
    EXPECT_EQ(platform->last("answer")["options"]["trace-id"], longest);
}

TEST_F(Session, BodiesFromSampleFileTextAndNowhere) {
    start();
    goOnline();
    const std::string own = folder.write("own.json", R"({"own":1})");
    platform->command("qos-set");
    platform->command("wlan-set wlan-ssid-set.json");
    platform->command("wlan-set " + own);
    platform->command("rename {\"name\": \"a  b\"}");
    platform->command("rename none");
    platform->command("post .sys/x [not json");
    platform->command("post .sys/x hex:00ff");
    until("requests", [&] { return gateway->requests.size() == 7; });
    const auto& requests = gateway->requests;
    EXPECT_EQ((*parseJson(requests[0].payload))["data"]["ClassQueue"], 1);
    EXPECT_EQ((*parseJson(requests[1].payload))["action"], "SsidSettings");
    EXPECT_EQ(requests[2].payload, R"({"own":1})");
    EXPECT_EQ(requests[3].payload, "{\"name\": \"a  b\"}");
    EXPECT_EQ(requests[4].payload, "");
    EXPECT_EQ(requests[5].payload, "[not json");
    EXPECT_EQ(requests[6].payload, std::string("\x00\xff", 2));
    platform->command("wlan-set no-such.json");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"],
              "prompt:8: no-such.json: No such file or directory");
}

TEST_F(Session, SelectsTheConnection) {
    start();
    connect();
    const std::unique_ptr<GatewayClient> first = std::move(gateway);
    connect();
    platform->command("wan");
    until("request", [&] { return gateway->requests.size() == 1; });
    platform->command("select 1");
    platform->command("wan");
    until("request", [&] {
        first->pump(0);
        return first->requests.size() == 1;
    });
    platform->command("select 9");
    platform->command("wan");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"], "prompt:5: connection 9 has ended");
}

TEST_F(Session, WaitIsServedByWhatCameBefore) {
    start();
    connect();
    registerGateway();
    registerGateway();
    expectEvent("response", "register", 2);
    platform->command("wait register 1ms");
    platform->command("wait register 1ms");
    expectEvent("wait", "register", 2);
    platform->command("wait register 1ms");
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"], "prompt:3: no register within 0.001 s");
    platform->command("assert count.register == 2");
    expectEvent("assert");
    EXPECT_EQ(platform->last("assert")["passed"], true);
}

TEST_F(Session, WaitForANewEventOnly) {
    start();
    connect();
    registerGateway();
    expectEvent("response", "register");
    platform->command("wait new register 10s");
    expectEvent("command", "wait");
    EXPECT_EQ(platform->count("wait"), 0U);
    registerGateway();
    expectEvent("wait", "register");
}

TEST_F(Session, NeverFailsWhenItComes) {
    start();
    connect();
    registerGateway();
    platform->command("never register 60s");
    expectEvent("command", "never");
    registerGateway();
    expectEvent("error");
    EXPECT_EQ(platform->last("error")["reason"], "prompt:1: register came");
    platform->command("never register 10ms");
    platform->command("echo done");
    expectEvent("command", "echo");
    EXPECT_EQ(platform->count("error"), 1U);
}

TEST_F(Session, AssertionsFailWithTheActualValue) {
    start();
    goOnline();
    gateway->answerBody = R"({"errcode":0,"list":[{"a ":"x"}],"n":5})";
    platform->command("wan");
    platform->command("wait answer");
    const std::pair<const char*, const char*> lines[] = {
        {"assert answer.errcode == 1", "assert answer.errcode == 1: it is 0"},
        {"assert answer.list.1 exists", "there is no such member"},
        {"assert answer.n absent", "it is 5"},
        {"assert answer.n < 5", "it is 5"},
        {"assert answer.n > 5", "it is 5"},
        {"assert answer.n != 5", "it is 5"},
        {"assert answer.list contains 1", "it is [{\"a \":\"x\"}]"},
        {"assert stray.n == 1", "there was no stray"},
        {"assert answer@nothing == 1", "there is no such member"},
        {"assert \"answer.list.0.a \" == y", "it is \"x\""}};
    std::size_t failed = 0;
    for (const auto& [line, reason] : lines) {
        platform->command(line);
        expectEvent("error", "", ++failed);
        EXPECT_NE(platform->last("error")["reason"].get<std::string>().find(reason),
                  std::string::npos)
            << platform->last("error");
    }
    for (const char* line : {"assert answer.n <= 5", "assert answer.n >= 5", "assert answer.n != 6",
                             "assert \"answer.list.0.a \" == x", "assert answer contains list",
                             "assert answer.zero absent", "assert answer@milliseconds < 60000"}) {
        platform->command(line);
    }
    platform->command("echo done");
    expectEvent("command", "echo");
    EXPECT_EQ(platform->count("error"), failed);
}

TEST_F(Session, DeepAndHugeBodiesAreServed) {
    start();
    connect();
    gateway->post(".sys/register", std::string(200000, '['), nullptr);
    until("reply", [&] { return gateway->replies.size() == 1; });
    gateway->post(".sys/register", std::string(100000, '[') + std::string(100000, ']'), nullptr);
    until("reply", [&] { return gateway->replies.size() == 2; });
    EXPECT_EQ(gateway->replies[1].payload, R"({"errcode":4999})");
    gateway->post(".sys/register", "{\"mac\":\"\xff\xfe\"}", nullptr);
    until("reply", [&] { return gateway->replies.size() == 3; });
    EXPECT_EQ(registerGateway().is_null(), false);
}

} // namespace
} // namespace vxp::test
