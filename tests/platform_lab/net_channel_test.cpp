// SPDX-License-Identifier: MIT
#include "net_session.h"

#include "net_messages.h"
#include "net_status.h"
#include "text.h"

namespace vxp::test {
namespace {

class NetChannelTest : public NetSession {
protected:
    std::string sampleText(const std::string& name) const {
        return readFile(VXPLATFORM_SOURCE_DIR "/bodies/" + name);
    }

    /// The platform says so and, when it ends the connection, closes it.
    void expectMalformed(const std::string& reason, bool closes) {
        expectEvent("malformed");
        EXPECT_EQ(platform->last("malformed")["reason"], reason);
        if (closes) {
            until("close", [&] { return gateway->closed(); });
            expectEvent("close", "net");
            EXPECT_EQ(platform->last("close")["by"], "platform");
        }
    }

    std::string failure(const std::string& command) {
        const std::size_t before = platform->count("error");
        platform->command(command);
        expectEvent("error", "", before + 1);
        return platform->last("error").value("reason", std::string{});
    }
};

TEST_F(NetChannelTest, AgreesRegistersAndAcknowledges) {
    start();
    connect();
    const Json keyMode = exchange(keyModeRequest());
    EXPECT_EQ(keyMode["keymode"], "dh");
    EXPECT_EQ(keyMode["sequence"], 100);
    EXPECT_EQ(keyMode["mac"], "02:5E:10:00:00:02");
    const Json dh = exchange(dhRequest());
    EXPECT_EQ(dh["type"], "dh");
    EXPECT_EQ(dh["sequence"], 101);
    gateway->key = keys.agree(dh["data"]["dh_key"].get<std::string>());
    const Json registered = exchange(registration());
    EXPECT_EQ(registered, Json({{"type", "ack"}, {"sequence", 102}, {"mac", "02:5E:10:00:00:02"}}));
    for (int sequence = 103; sequence < 106; ++sequence) {
        const Json reply = exchange(gateway->message("keepalive"));
        EXPECT_EQ(reply["type"], "ack");
        EXPECT_EQ(reply["sequence"], sequence);
    }
    expectEvent("response", "net-heartbeat", 3);
    for (const char* name : {"keymode", "dh", "net-register"}) {
        EXPECT_EQ(platform->count("request", name), 1U) << name;
        EXPECT_EQ(platform->count("response", name), 1U) << name;
    }
    const Json request = platform->last("request", "dh");
    EXPECT_EQ(request["transport"], "net");
    EXPECT_EQ(request["dir"], "in");
    EXPECT_EQ(request["encrypted"], false);
    EXPECT_EQ(request["prime-bits"], 128);
    EXPECT_EQ(request["prime"], "safe");
    EXPECT_EQ(request["generator"], "2");
    EXPECT_FALSE(request.contains("code")) << "frames have no CoAP header";
    EXPECT_EQ(platform->last("request", "net-register")["encrypted"], true);
    EXPECT_EQ(platform->last("request", "net-register")["json"]["data"]["vendor"], "V");
    EXPECT_EQ(platform->last("response", "dh")["key"],
              hexText({reinterpret_cast<const char*>(gateway->key->data()), 16}));
    disconnect();
    EXPECT_EQ(platform->last("close", "net")["by"], "gateway");
    EXPECT_FALSE(platform->last("close", "net").contains("inside-frame"));
    EXPECT_EQ(finish(), 0) << platform->errors();
}

TEST_F(NetChannelTest, KeyModeIsASetting) {
    start();
    for (const std::string mode : {"ecdh", "rsa", "dh"}) {
        platform->command("set keymode " + mode);
        platform->command("echo " + mode);
        until("setting",
              [&] { return platform->last("command", "echo")["line"] == "echo " + mode; });
        connect();
        EXPECT_EQ(exchange(keyModeRequest())["keymode"], mode);
        disconnect();
    }
}

TEST_F(NetChannelTest, ManyGatewaysComeAndGo) {
    start();
    for (int i = 0; i < 30; ++i) {
        goOnline();
        EXPECT_EQ(exchange(gateway->message("keepalive"))["type"], "ack");
        disconnect();
    }
    EXPECT_EQ(platform->count("close", "net"), 30U);
    EXPECT_EQ(finish(), 0) << platform->errors();
}

TEST_F(NetChannelTest, EachCommandIsSentAndAcknowledged) {
    start();
    goOnline();
    gateway->answers = true;
    gateway->status = {{"ledswitch", {{"status", "NO"}}}};
    long long sequence = 0;
    for (const NetRequestToGateway& request : netRequestsToGateway()) {
        const std::string name{request.name};
        platform->command(name);
        expectEvent("answer", name);
        const Json sent = platform->last("sent", name);
        EXPECT_EQ(sent["json"]["type"], request.type);
        EXPECT_EQ(sent["json"]["sequence"], ++sequence);
        EXPECT_EQ(sent["json"]["mac"], "02:5E:10:00:00:02");
        EXPECT_EQ(sent["encrypted"], true);
        const Json body = *parseJson(sampleText(std::string(request.body)));
        for (const auto& [member, value] : body.items()) {
            EXPECT_EQ(sent["json"][member], value) << name;
        }
        const Json answer = platform->last("answer", name);
        EXPECT_EQ(answer["sequence"], sequence);
        EXPECT_EQ(answer["matched"], true);
        EXPECT_EQ(answer["type"], name == "net-status" ? "status" : "ack");
        EXPECT_GE(answer["milliseconds"], 0);
    }
    EXPECT_EQ(gateway->settings["wpsswitch"]["status"], "ON");
    EXPECT_EQ(gateway->settings["wifi"][0]["radio"]["mode"], "2.4G");
    EXPECT_EQ(gateway->settings["upgrade"]["isreboot"], "1");
    EXPECT_EQ(platform->count("stray"), 0U);
}

TEST_F(NetChannelTest, CommandsTakeABodyOfTheirOwn) {
    start();
    goOnline();
    platform->command(R"(net-wps {"set": {"wpsswitch": {"status": "OFF"}}})");
    EXPECT_EQ(receive()["set"]["wpsswitch"]["status"], "OFF");
    platform->command("net-wifi-switch net-timers.json");
    const Json timers = receive();
    EXPECT_EQ(timers["set"]["Wi-Fitimer"].size(), 1U);
    EXPECT_EQ(timers["type"], "cfg");
    platform->command("net-led " + folder.write("led.json", R"({"set":{"x":1},"sequence":77})"));
    const Json led = receive();
    EXPECT_EQ(led["set"]["x"], 1);
    EXPECT_EQ(led["sequence"], 77) << "the body's own member wins";
    gateway->send({{"type", "ack"}, {"sequence", 77}});
    expectEvent("answer", "net-led");
    EXPECT_EQ(failure("net-wps [1]"), "prompt:4: the body is no JSON object");
    EXPECT_NE(failure("net-wps no-such.json").find("no-such.json: No such file"),
              std::string::npos);
}

TEST_F(NetChannelTest, RawMessagesGoAsTheyStand) {
    start();
    goOnline();
    platform->command(R"(net-send {"type":"hello","sequence":5})");
    EXPECT_EQ(receive(), Json({{"type", "hello"}, {"sequence", 5}}));
    gateway->send({{"type", "ack"}, {"sequence", 5}});
    expectEvent("answer", "net-send");
    platform->command("net-send hex:7b7b");
    until("text", [&] { return !gateway->texts.empty(); });
    EXPECT_EQ(gateway->texts.front(), "{{");
    platform->command("net-send " + folder.write("m.json", "{\n\"type\": \"x\"}\n"));
    EXPECT_EQ(receive(), Json({{"type", "x"}}));
}

TEST_F(NetChannelTest, AnswersAreMatchedBySequenceAndType) {
    start();
    goOnline();
    platform->command("net-wps");
    platform->command("net-status");
    platform->command("net-led");
    const long long first = receive()["sequence"].get<long long>();
    (void)receive();
    (void)receive();
    gateway->send({{"type", "ack"}, {"sequence", first + 2}});
    expectEvent("answer", "net-led");
    gateway->send({{"type", "ack"}, {"sequence", first + 1}}); // a query is not acknowledged
    expectEvent("stray");
    EXPECT_EQ(platform->last("stray")["matched"], false);
    gateway->send({{"type", "status"}, {"sequence", first + 1}, {"status", Json::object()}});
    expectEvent("answer", "net-status");
    gateway->send({{"type", "ack"}, {"sequence", first}});
    expectEvent("answer", "net-wps");
    gateway->send({{"type", "ack"}, {"sequence", first}}); // answered already
    expectEvent("stray", "", 2);
    gateway->send({{"type", "ack"}});
    expectEvent("stray", "", 3);
}

TEST_F(NetChannelTest, CommandsGoToTheOneThatRegisteredLastOrIsSelected) {
    start();
    goOnline();
    const std::unique_ptr<NetClient> first = std::move(gateway);
    goOnline();
    platform->command("net-wps");
    EXPECT_EQ(receive()["type"], "cfg");
    expectEvent("sent", "net-wps");
    EXPECT_EQ(platform->last("sent")["conn"], 2);
    platform->command("net-select 1");
    platform->command("net-wps");
    until("command", [&] {
        first->pump();
        return !first->messages.empty();
    });
    platform->command("show connections");
    platform->command("net-drop");
    until("close", [&] {
        first->pump();
        return first->closed();
    });
    expectEvent("close", "net");
    EXPECT_EQ(platform->last("close", "net")["by"], "platform");
    EXPECT_NE(platform->otherOutput().find("#2 net 127.0.0.1:"), std::string::npos);
    EXPECT_EQ(failure("net-wps"), "prompt:6: platform channel: connection 1 has ended");
    platform->command("net-select latest");
    platform->command("net-wps");
    EXPECT_EQ(receive()["type"], "cfg");
}

TEST_F(NetChannelTest, CommandsNeedAGateway) {
    start();
    connect();
    agreeKey();
    EXPECT_EQ(failure("net-wifi"), "prompt:1: no gateway has registered on the platform channel");
    platform = std::make_unique<PlatformProcess>(
        std::vector<std::string>{"--quiet", "--journal", "-", "--tcp", "127.0.0.1:0"});
    gateway.reset();
    for (const char* command : {"net-wifi", "net-fault off", "set keymode dh", "net-drop"}) {
        EXPECT_NE(failure(command).find("there is no platform channel (see --net)"),
                  std::string::npos)
            << command;
    }
}

TEST_F(NetChannelTest, RefuseAndAccept) {
    start();
    goOnline();
    const std::uint16_t port = platform->port("net");
    platform->command("refuse");
    until("close", [&] { return gateway->closed(); });
    NetClient refused(port);
    EXPECT_TRUE(refused.closed());
    platform->command("accept");
    expectEvent("listening", "", 2);
    EXPECT_EQ(platform->last("listening")["port"], port);
    goOnline();
}

// --- what gateways do wrong ---------------------------------------------------------------------

TEST_F(NetChannelTest, FramesMayComeInAnyPieces) {
    start();
    connect();
    const std::string bytes = gateway->frame(keyModeRequest().dump());
    for (const char byte : bytes) {
        gateway->sendBytes(std::string(1, byte));
    }
    EXPECT_EQ(receive()["keymode"], "dh");
    std::string many;
    for (int i = 0; i < 5; ++i) {
        many += gateway->frame(keyModeRequest().dump());
    }
    gateway->sendBytes(many.substr(0, many.size() - 3));
    expectEvent("request", "keymode", 5);
    gateway->sendBytes(many.substr(many.size() - 3));
    expectEvent("request", "keymode", 6);
}

TEST_F(NetChannelTest, WrongMagicEndsTheConnection) {
    for (std::size_t at = 0; at < 4; ++at) {
        start();
        connect();
        std::string bytes = gateway->frame("{}");
        bytes[at] = '\0';
        gateway->sendBytes(bytes);
        expectMalformed("a frame does not begin with the magic", true);
    }
}

TEST_F(NetChannelTest, FramesThatAreTooLongEndTheConnection) {
    start();
    connect();
    Json request = keyModeRequest();
    request["x"] = std::string(10232 - request.dump().size() - 7, 'x');
    ASSERT_EQ(request.dump().size(), 10232U);
    gateway->sendBytes(gateway->frame(request.dump()));
    EXPECT_EQ(receive()["keymode"], "dh");
    gateway->sendBytes(gateway->frame(std::string(10233, 'x')).substr(0, 8));
    expectMalformed("a frame of 10233 bytes", true);
}

TEST_F(NetChannelTest, WhatIsNoMessageIsToldAndNotAnswered) {
    start();
    connect();
    const std::pair<std::string, std::string> cases[] = {
        {"", "no JSON object"},
        {"{", "no JSON object"},
        {"[1]", "no JSON object"},
        {R"({"sequence":1})", "no \"type\""},
        {R"({"type":"dev_reg","sequence":1})", "net-register before the key is agreed"},
        {R"({"type":"keepalive","sequence":1})", "net-heartbeat before the key is agreed"},
    };
    std::size_t count = 0;
    for (const auto& [text, reason] : cases) {
        gateway->sendBytes(gateway->frame(text));
        expectEvent("malformed", "", ++count);
        EXPECT_EQ(platform->last("malformed")["reason"], reason);
    }
    agreeKey();
    gateway->sendBytes(gateway->frame("17 bytes long ..."));
    expectEvent("malformed", "", ++count);
    EXPECT_EQ(platform->last("malformed")["reason"], "17 bytes are no whole blocks");
    gateway->send(keyModeRequest());
    expectEvent("malformed", "", ++count);
    EXPECT_EQ(platform->last("malformed")["reason"], "keymode when the key is agreed");
    const auto right = gateway->key;
    gateway->key->at(0) = static_cast<unsigned char>(~gateway->key->at(0));
    gateway->send(registration());
    expectEvent("malformed", "", ++count);
    EXPECT_EQ(platform->last("malformed")["reason"], "no JSON object");
    gateway->key = right;
    gateway->send(gateway->message("tidings"));
    until("request", [&] { return platform->last("request")["type"] == "tidings"; });
    EXPECT_EQ(exchange(registration())["type"], "ack") << "and nothing was sent before it";
}

TEST_F(NetChannelTest, KeyOffersThatAreNoneEndTheConnection) {
    start();
    const std::pair<std::string, std::string> cases[] = {
        {"dh_key", "dh_key is not Base64"},
        {"dh_p", "dh_p is not Base64"},
        {"dh_g", "dh_g is not Base64"},
    };
    for (const auto& [member, reason] : cases) {
        connect();
        Json request = dhRequest();
        request["data"].erase(member);
        gateway->send(request);
        until("close", [&] { return gateway->closed(); });
        until("event", [&, expected = reason] {
            return platform->last("malformed").is_object() &&
                   platform->last("malformed")["reason"] == expected;
        });
    }
}

TEST_F(NetChannelTest, ACloseInsideAFrameIsTold) {
    start();
    connect();
    gateway->sendBytes(gateway->frame("{}").substr(0, 9));
    disconnect();
    EXPECT_EQ(platform->last("close", "net")["inside-frame"], 9);
}

// --- faults -------------------------------------------------------------------------------------

TEST_F(NetChannelTest, SilenceRepliesNothing) {
    start();
    connect();
    arm("net-fault silence");
    gateway->send(keyModeRequest());
    expectEvent("silence", "keymode");
    arm("net-fault silence net-heartbeat");
    agreeKey();
    EXPECT_EQ(exchange(registration())["type"], "ack");
    gateway->send(gateway->message("keepalive"));
    expectEvent("silence", "net-heartbeat");
    arm("net-fault off");
    const Json reply = exchange(gateway->message("keepalive"));
    EXPECT_EQ(reply["sequence"], 105) << "the first that is answered";
}

TEST_F(NetChannelTest, WrongMagicAtEachByteOnce) {
    start();
    goOnline();
    for (std::size_t at = 0; at < 4; ++at) {
        arm("net-fault magic " + std::to_string(at));
        gateway->send(gateway->message("keepalive"));
        expectEvent("fault", "magic", at + 1);
        EXPECT_EQ(platform->last("fault", "magic")["offset"], at);
        until("bytes", [&] { return gateway->rest().size() >= 8; });
        std::string expected = "\x3f\x72\x1f\xb5";
        expected[at] = static_cast<char>(~expected[at]);
        EXPECT_EQ(hexText(gateway->rest().substr(0, 4)), hexText(expected));
        goOnline();
    }
}

TEST_F(NetChannelTest, SplitFramesComeInPieces) {
    start();
    goOnline();
    arm("net-fault split 5 2m");
    gateway->send(gateway->message("keepalive"));
    expectEvent("response", "net-heartbeat");
    until("piece", [&] { return !gateway->rest().empty(); });
    EXPECT_EQ(gateway->rest().size(), 5U) << "the next one is two minutes away";
    arm("net-fault off");
    EXPECT_EQ(receive()["type"], "ack");
    // With short pauses it comes to its end by itself, and what is behind it waits.
    arm("net-fault split 7 1ms");
    gateway->send(gateway->message("keepalive"));
    expectEvent("response", "net-heartbeat", 2);
    platform->command("net-wps");
    EXPECT_EQ(receive()["type"], "ack");
    EXPECT_EQ(receive()["type"], "cfg");
}

TEST_F(NetChannelTest, MergedFramesComeTogether) {
    start();
    goOnline();
    arm("net-fault merge 3");
    platform->command("net-wps");
    platform->command("net-led");
    expectEvent("sent", "net-led");
    gateway->pump();
    EXPECT_TRUE(gateway->messages.empty());
    gateway->reads.clear();
    platform->command("net-status");
    until("messages", [&] { return gateway->messages.size() == 3; });
    EXPECT_EQ(gateway->reads.size(), 1U);
    expectEvent("fault", "merge");
    gateway->messages.clear();
    // What is still held back goes out when the fault is taken off.
    arm("net-fault merge");
    platform->command("net-wps");
    expectEvent("sent", "net-wps", 2);
    arm("net-fault off");
    EXPECT_EQ(receive()["type"], "cfg");
}

TEST_F(NetChannelTest, OverLongFrames) {
    start();
    goOnline();
    for (const auto& [command, length] : {std::pair{"net-fault over-long", 10240U},
                                          {"net-fault over-long 10241", 10241U},
                                          {"net-fault over-long 65535", 65535U}}) {
        arm(command);
        gateway->reads.clear();
        gateway->send(gateway->message("keepalive"));
        std::string all;
        until("frame", [&, body = length] {
            all.clear();
            for (const std::string& read : gateway->reads) {
                all += read;
            }
            return all.size() == 8 + body;
        });
        EXPECT_EQ(hexText(all.substr(4, 4)),
                  hexText(gateway->frame(std::string(length, 'x')).substr(4, 4)));
    }
    expectEvent("fault", "over-long", 3);
    gateway->messages.clear();
    gateway->texts.clear();
    EXPECT_EQ(exchange(gateway->message("keepalive"))["type"], "ack");
}

TEST_F(NetChannelTest, HighLengthBytes) {
    start();
    goOnline();
    arm("net-fault high-length 258");
    gateway->send(gateway->message("keepalive"));
    until("frame", [&] { return gateway->rest().size() > 8; });
    EXPECT_EQ(hexText(gateway->rest().substr(4, 2)), "0102");
    expectEvent("fault", "high-length");
}

TEST_F(NetChannelTest, CutEndsTheConnectionInsideAFrame) {
    start();
    for (const std::size_t count : {0U, 3U, 8U, 12U}) {
        goOnline();
        arm("net-fault cut " + std::to_string(count));
        gateway->send(gateway->message("keepalive"));
        until("close", [&] { return gateway->closed(); });
        EXPECT_EQ(gateway->rest().size(), count);
        EXPECT_FALSE(gateway->reset());
    }
    expectEvent("close", "net", 4);
    EXPECT_EQ(platform->last("close", "net")["by"], "platform");
    expectEvent("fault", "cut", 4);
}

TEST_F(NetChannelTest, WrongKeyUntilFurtherNotice) {
    start();
    goOnline();
    arm("net-fault wrong-key");
    for (std::size_t i = 1; i <= 2; ++i) {
        gateway->send(gateway->message("keepalive"));
        until("frame", [&] { return gateway->texts.size() == i; });
    }
    arm("net-fault off");
    EXPECT_EQ(exchange(gateway->message("keepalive"))["type"], "ack");
}

TEST_F(NetChannelTest, DhGarbage) {
    start();
    connect();
    arm("net-fault dh-garbage");
    EXPECT_EQ(exchange(dhRequest())["data"]["dh_key"], "garbage");
    expectEvent("fault", "dh-garbage");
    connect();
    arm("net-fault dh-garbage \"AA==\"");
    EXPECT_EQ(exchange(dhRequest())["data"]["dh_key"], "AA==");
    connect();
    agreeKey(); // once only
}

TEST_F(NetChannelTest, RawBytesCloseAndReset) {
    start();
    connect();
    platform->command("net-fault raw 3f72 00");
    until("bytes", [&] { return gateway->rest().size() == 3; });
    EXPECT_EQ(hexText(gateway->rest()), "3f7200");
    platform->command("net-fault close");
    until("close", [&] { return gateway->closed(); });
    EXPECT_FALSE(gateway->reset());
    connect();
    platform->command("net-fault reset");
    until("close", [&] { return gateway->closed(); });
    EXPECT_TRUE(gateway->reset());
    EXPECT_EQ(failure("net-fault close"),
              "prompt:4: no gateway is connected to the platform channel");
}

// --- options, scripts, print-out ----------------------------------------------------------------

TEST_F(NetChannelTest, AnotherIv) {
    start({"--frame-iv-fill", "0xa5"});
    connect();
    gateway->ivFill = 0xa5;
    agreeKey();
    EXPECT_EQ(exchange(registration())["type"], "ack");
}

TEST_F(NetChannelTest, BadOptions) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--net", "127.0.0.1:x"}, "--net: \"127.0.0.1:x\": no port from 0 to 65535\n"},
        {{"--net", "localhost:0"}, "--net: \"localhost:0\": no numeric address\n"},
        {{"--net", "127.0.0"}, "--net: \"127.0.0:32768\": no numeric address\n"},
        {{"--net", "192.0.2.1"},
         "vxplatform: 192.0.2.1:32768: cannot listen for net: Cannot assign requested address\n"},
    };
    for (const auto& [arguments, expected] : cases) {
        platform = std::make_unique<PlatformProcess>(arguments);
        platform->closeInput();
        EXPECT_EQ(platform->wait(), 2) << expected;
        EXPECT_EQ(platform->errors(), expected);
    }
    for (const char* fill : {"256", "-1", "x"}) {
        platform = std::make_unique<PlatformProcess>(
            std::vector<std::string>{"--net", "0", "--frame-iv-fill", fill});
        EXPECT_EQ(platform->wait(), 2) << fill;
        EXPECT_NE(platform->errors().find("--frame-iv-fill"), std::string::npos) << fill;
    }
}

Json statusAfterTheScript() {
    const auto point = [](const char* ssid, const char* auth, const char* encrypt) {
        return Json{{"channel", 0},          {"enable", "yes"}, {"ssid", ssid},
                    {"key", "lighthouse-7"}, {"auth", auth},    {"encrypt", encrypt}};
    };
    Json status = Json::object();
    status["Wi-Fi"] = Json::array();
    status["Wi-Fi"].push_back({{"radio", {{"mode", "2.4G"}, {"channel", 11}}},
                               {"ap", Json::array({point("Harbour-View", "wpa2psk", "aes")})}});
    status["Wi-Fi"].push_back(
        {{"radio", {{"mode", "5G"}, {"channel", 149}}}, {"ap", Json::array()}});
    status["Wi-Fiswitch"] = {{"status", "NO"}};
    status["ledswitch"] = {{"status", "OFF"}};
    status["Wi-Fitimer"] = Json::array();
    status["Wi-Fitimer"].push_back(
        {{"weekday", "1,2,3,4,5"}, {"time", "06:30-23:00"}, {"enable", "1"}});
    return status;
}

TEST_F(NetChannelTest, ShippedScriptDrivesTheWholeCourse) {
    start({"--script", VXPLATFORM_SOURCE_DIR "/scripts/net-online.vxp"});
    goOnline();
    gateway->answers = true;
    gateway->status = statusAfterTheScript();
    EXPECT_EQ(exchange(gateway->message("keepalive"))["type"], "ack");
    const auto deadline = std::chrono::steady_clock::now() + patience;
    bool told = false;
    while (!platform->ended() && std::chrono::steady_clock::now() < deadline) {
        platform->pump(5);
        gateway->pump();
        // The script's last wait is for a heartbeat that is new.
        if (!told && platform->count("answer", "net-upgrade") == 1 &&
            platform->last("command")["line"] == "wait new net-heartbeat 30s") {
            gateway->send(gateway->message("keepalive"));
            told = true;
        }
    }
    EXPECT_EQ(platform->wait(), 0) << platform->errors();
    EXPECT_NE(platform->otherOutput().find("the platform channel's course is complete"),
              std::string::npos);
}

TEST_F(NetChannelTest, PrintsMessagesAndStatusUnlessQuiet) {
    platform = std::make_unique<PlatformProcess>(
        std::vector<std::string>{"--net", "127.0.0.1:0", "--journal", folder.file("journal")});
    std::uint16_t port = 0;
    until("address", [&] {
        const std::string& output = platform->otherOutput();
        constexpr std::string_view begin = "listening net 127.0.0.1:";
        if (!output.starts_with(begin) || output.find('\n') == std::string::npos) {
            return false;
        }
        port = static_cast<std::uint16_t>(
            parseInteger(
                std::string_view(output).substr(begin.size(), output.find('\n') - begin.size()))
                .value_or(0));
        return true;
    });
    gateway = std::make_unique<NetClient>(port);
    agreeKey();
    EXPECT_EQ(exchange(registration())["type"], "ack");
    gateway->answers = true;
    gateway->status = statusAfterTheScript();
    platform->command("net-status");
    const std::string& output = platform->otherOutput();
    until("status", [&] { return output.find("LED switch") != std::string::npos; });
    EXPECT_EQ(finish(), 0);
    for (const char* line :
         {"gateway -> platform  #1 net  keyngreq  (request keymode)\n",
          "platform -> gateway  #1 net  dh  (response dh)\n",
          "platform -> gateway  #1 net  get_status  (sent net-status)\n",
          "gateway -> platform  #1 net  status  (answer net-status)\n",
          "    status    2 radios\n"
          "              radio 2.4G: channel 11, 1 access points\n"
          "                access point 0: on, ssid \"Harbour-View\", key \"lighthouse-7\", "
          "auth \"wpa2psk\", encrypt \"aes\"\n"
          "              radio 5G: channel 149, 0 access points\n"
          "              Wi-Fi switch: on (NO)\n"
          "              LED switch: off\n"
          "              1 timers\n"
          "                timer on: weekday \"1,2,3,4,5\", time \"06:30-23:00\"\n"}) {
        EXPECT_NE(output.find(line), std::string::npos) << line << "\n" << output;
    }
}

TEST(NetStatus, WhatIsMissingOrOddIsShownAsSuch) {
    EXPECT_TRUE(describeStatus("{").empty());
    EXPECT_TRUE(describeStatus(R"({"type":"ack","status":{"Wi-Fi":[]}})").empty());
    EXPECT_TRUE(describeStatus(R"({"type":"status"})").empty());
    EXPECT_TRUE(describeStatus(R"({"type":"status","status":[]})").empty());
    EXPECT_EQ(describeStatus(R"({"type":"status","status":{"Wi-Fi":[],"Wi-Fitimer":1}})"),
              (std::vector<std::string>{"0 radios", "0 timers"}));
    EXPECT_EQ(describeStatus(R"({"type":"status","status":{"Wi-Fi":[{"ap":[{}]}],)"
                             R"("Wi-Fiswitch":{"status":"ON"},"ledswitch":{}}})"),
              (std::vector<std::string>{"1 radios", "radio ?: channel ?, 1 access points",
                                        "  access point ?: off, ssid ?, key ?, auth ?, encrypt ?",
                                        "Wi-Fi switch: \"ON\"", "LED switch: ?"}));
}

TEST(NetMessages, SampleBodiesAreObjects) {
    EXPECT_EQ(netRequestsToGateway().size(), 6U);
    for (const NetRequestToGateway& request : netRequestsToGateway()) {
        const auto body =
            parseJson(readFile(VXPLATFORM_SOURCE_DIR "/bodies/" + std::string(request.body)));
        ASSERT_TRUE(body && body->is_object()) << request.name;
        EXPECT_TRUE(body->contains(request.type == "cfg" ? "set" : "get")) << request.name;
    }
}

} // namespace
} // namespace vxp::test
