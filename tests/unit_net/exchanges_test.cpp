// SPDX-License-Identifier: MIT
#include "protocol/platform_session.h"

#include <cJSON.h>

#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kAck[] = "{\"type\":\"ack\"}";
constexpr char kKeyMode[] = "{\"keymode\":\"dh\"}";
constexpr char kKeyReply[] = "{\"data\":{\"dh_key\":\"Aw==\"}}";

int public_key(int sock) {
    int key_mode = 0;
    return profession_public_key(sock, &key_mode);
}

struct Exchange {
    const char* name;
    int (*run)(int);
    const char* type;
    int mode;
    int wait_seconds; ///< 0 for none
    const char* good_reply;
    const char* bad_reply;
};

constexpr Exchange kExchanges[] = {
    {"profession_public_key", public_key, "keyngreq", 0, 5, kKeyMode, "{\"keymode\":\"x\"}"},
    {"profession_dh_public_key", profession_dh_public_key, "dh", 0, 5, kKeyReply, "{}"},
    {"profession_device_reg", profession_device_reg, "dev_reg", 1, 20, kAck, "{\"type\":\"ACK\"}"},
    {"profession_heartbeat", profession_heartbeat, "keepalive", 1, 0, nullptr, nullptr},
};

// Those that wait for a reply come first.
constexpr std::size_t kRepliedExchanges = 3;

void PrintTo(const Exchange& row, std::ostream* out) {
    *out << row.name;
}

class Exchanges : public NetTest, public testing::WithParamInterface<Exchange> {
protected:
    Exchanges() { fake::device().allow({"port_device_encryptkey_set"}); }

    /** Runs it; the key exchange's diagnostics go nowhere. */
    int run() {
        testing::internal::CaptureStdout();
        const int result = GetParam().run(kSock);
        testing::internal::GetCapturedStdout();
        return result;
    }
    bool waits() const { return GetParam().wait_seconds != 0; }
    static bool advanced() {
        const Lines calls = device_calls();
        return std::count(calls.begin(), calls.end(), "port_device_sequence_set()") == 1;
    }
    static std::string name() { return GetParam().name; }
};

class RepliedExchanges : public Exchanges {};

} // namespace

TEST_P(Exchanges, SucceedsAndAdvancesTheNumber) {
    fake::device().allow({"port_device_sequence_set"});
    if (waits())
        fake::frame().add_reply(GetParam().good_reply);
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(advanced());
    ASSERT_EQ(fake::frame().sent().size(), 1U);
    const fake::SentFrame& sent = fake::frame().sent()[0];
    EXPECT_EQ(sent.sock, kSock);
    EXPECT_EQ(sent.mode, GetParam().mode);
    EXPECT_THAT(sent.text,
                testing::StartsWith("{\n\t\"type\":\t\"" + std::string(GetParam().type) + "\""));
    ASSERT_EQ(fake::frame().waits().size(), waits() ? 1U : 0U);
    if (waits()) {
        EXPECT_EQ(fake::frame().waits()[0].mode, GetParam().mode);
        EXPECT_EQ(fake::frame().waits()[0].seconds, GetParam().wait_seconds);
    }
}

TEST_P(Exchanges, LogsBothTexts) {
    fake::device().allow({"port_device_sequence_set"});
    if (waits())
        fake::frame().add_reply(GetParam().good_reply);
    run();
    Lines expected = {name() + ":# data:" + fake::frame().sent()[0].text + "\n"};
    if (waits())
        expected.push_back(name() + ":# recvbuf:" + GetParam().good_reply + "\n");
    EXPECT_EQ(log_lines(VX_LOG_PAYLOAD), expected);
}

TEST_P(Exchanges, PassesOnTheCodeOfASendThatFailed) {
    for (const int code : {32, -1}) {
        fake::frame().set_send_result(code);
        EXPECT_EQ(run(), code);
        EXPECT_THAT(fake::frame().waits(), IsEmpty());
    }
}

TEST_P(RepliedExchanges, PassesOnTheCodeOfAWaitThatFailed) {
    for (const int code : {1, 11, 32, -1, 8}) {
        fake::frame().add_result(code);
        EXPECT_EQ(run(), code);
    }
}

TEST_P(RepliedExchanges, ARefusedReplyFails) {
    for (const char* const reply : {GetParam().bad_reply, "", "no json"}) {
        fake::frame().add_reply(reply);
        EXPECT_EQ(run(), -1);
    }
}

TEST_P(Exchanges, WithoutMemoryNothingIsSent) {
    JsonMemory memory;
    memory.refuse_from(0);
    EXPECT_EQ(run(), -1);
    EXPECT_THAT(fake::frame().sent(), IsEmpty());
    EXPECT_EQ(log_lines(VX_LOG_ERROR).back(), name() + ":#\n");
    EXPECT_EQ(memory.in_use(), 0);
}

TEST_P(Exchanges, NothingLeaks) {
    JsonMemory memory;
    fake::device().allow({"port_device_sequence_set"});
    if (waits()) {
        fake::frame().add_reply(GetParam().good_reply);
        fake::frame().add_reply(GetParam().bad_reply);
    }
    run();
    run();
    run();
    EXPECT_EQ(memory.in_use(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, Exchanges, testing::ValuesIn(kExchanges),
                         [](const auto& information) { return information.param.name; });
INSTANTIATE_TEST_SUITE_P(All, RepliedExchanges,
                         testing::ValuesIn(kExchanges, kExchanges + kRepliedExchanges),
                         [](const auto& information) { return information.param.name; });

using Exchanged = NetTest;

TEST_F(Exchanged, TheKeyModeIsHandedOut) {
    fake::device().allow({"port_device_sequence_set"});
    fake::frame().add_reply("{\"keymode\":\"ecdh\"}");
    int key_mode = 0;
    EXPECT_EQ(profession_public_key(kSock, &key_mode), 0);
    EXPECT_EQ(key_mode, 101);
}

TEST_F(Exchanged, AcknowledgementIsEncryptedAndAlwaysSucceeds) {
    for (const int result : {0, 32, -1}) {
        fake::frame().set_send_result(result);
        EXPECT_EQ(profession_ack(kSock, "{}", 12), 0);
    }
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(12), ack_text(12), ack_text(12)));
    EXPECT_EQ(fake::frame().sent()[0].mode, 1);
    EXPECT_EQ(log_lines(VX_LOG_PAYLOAD)[0], "profession_ack:# data:" + ack_text(12) + "\n");
    EXPECT_THAT(device_calls(), IsEmpty()) << "the gateway's own number stays";
    EXPECT_THAT(fake::frame().waits(), IsEmpty());
}

TEST_F(Exchanged, AcknowledgementWithoutMemory) {
    JsonMemory memory;
    memory.refuse_from(0);
    EXPECT_EQ(profession_ack(kSock, "{}", 12), 0);
    EXPECT_THAT(fake::frame().sent(), IsEmpty());
}
