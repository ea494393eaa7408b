// SPDX-License-Identifier: MIT
// Every row of the routing of replies: which reply, in which state, sets off what.
#include "unit/fixture.h"

#include <optional>

#include "vxquilan/app_heartbeat.h"
#include "vxquilan/coap_dispatch.h"

using fake::Source;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr int kCountBefore = 2;

/** What one reply does; a value that isn't given is left as it was. */
struct Effect {
    bool resets_count = false;
    Texts deeds;
    std::optional<int> state;
    bool answered = false;
};

struct RouteCase {
    int state;
    std::string name;
    const char* reply; ///< null for one without payload
    Effect effect;
};

void PrintTo(const RouteCase& row, std::ostream* out) {
    *out << row.state << ' ' << row.name;
}

const Texts kForgetAndClose{"port_device_id_set(\"\")", "frame_coap_close()"};
const Texts kActivated{"port_device_id_set(\"d\")", "port_device_secret_set(\"s\")",
                       "port_device_firstguide_set(1)"};
const Texts kTokens{"port_device_accesstoken_set(\"a\")", "port_device_refreshtoken_set(\"r\")",
                    "port_device_timeout_set(60)"};
const Texts kHeartbeat{"start_detached_thread(frame_app_heartbeat_thread)"};

const Effect kNothing{};
const Effect kOnlyAnswered{false, {}, {}, true};
const Effect kParked{false, kForgetAndClose, 16, true};
const Effect kReconnect{false, {}, 9, false};
const Effect kAnsweredReconnect{false, {}, 9, true};
const Effect kInformed{false, kHeartbeat, 15, true};
const Effect kOnline{false, {}, 16, true};

constexpr char kTokenReply[] = R"({"errcode":0,"accessToken":"a","refreshToken":"r","timeOut":60})";
constexpr char kRefusedTokenReply[] =
    R"({"errcode":5,"accessToken":"a","refreshToken":"r","timeOut":60})";

const RouteCase kRoutes[] = {
    // register
    {10, "0", R"({"errcode":0})", {true, {"frame_coap_close()"}, 16, true}},
    {10, "1", R"({"errcode":1})", kAnsweredReconnect},
    {10, "4999", R"({"errcode":4999})", kOnlyAnswered},
    {10, "other_2", R"({"errcode":2})", kOnlyAnswered},
    {10, "other_minus1", R"({"errcode":-1})", kOnlyAnswered},
    {10, "other_1002", R"({"errcode":1002})", kOnlyAnswered},
    {10, "no_payload", nullptr, kOnlyAnswered},
    {10, "no_json", "hello", kOnlyAnswered},
    {10, "no_errcode", "{}", kOnlyAnswered},
    // activate
    {11, "0", R"({"errcode":0,"devId":"d","secret":"s"})", {true, kActivated, 12, true}},
    {11, "1", R"({"errcode":1})", kParked},
    {11, "2", R"({"errcode":2})", kParked},
    {11, "3", R"({"errcode":3})", kParked},
    {11, "4", R"({"errcode":4})", kParked},
    {11, "5", R"({"errcode":5})", kParked},
    {11, "4998", R"({"errcode":4998})", kParked},
    {11, "2_with_credentials", R"({"errcode":2,"devId":"d","secret":"s"})", kParked},
    {11, "other_6", R"({"errcode":6})", kOnlyAnswered},
    {11, "other_4999", R"({"errcode":4999})", kOnlyAnswered},
    {11, "other_minus1", R"({"errcode":-1})", kOnlyAnswered},
    {11, "0_without_devId", R"({"errcode":0,"secret":"s"})", kOnlyAnswered},
    {11,
     "0_without_secret",
     R"({"errcode":0,"devId":"d"})",
     {false, {"port_device_id_set(\"d\")"}, {}, true}},
    {11, "no_payload", nullptr, kOnlyAnswered},
    {11, "no_json", "{", kOnlyAnswered},
    {11, "no_errcode", R"({"devId":"d","secret":"s"})", kOnlyAnswered},
    // login
    {12, "0", kTokenReply, {true, kTokens, 13, true}},
    {12, "6", R"({"errcode":6})", {false, kForgetAndClose, 16, false}},
    {12, "5", R"({"errcode":5})", kNothing},
    {12, "1403", R"({"errcode":1403})", kNothing},
    {12, "4998", R"({"errcode":4998})", kNothing},
    {12, "4999", R"({"errcode":4999})", kNothing},
    {12, "5_with_tokens", kRefusedTokenReply, kNothing},
    {12, "other_1", R"({"errcode":1})", kNothing},
    {12, "other_1006", R"({"errcode":1006})", kNothing},
    {12,
     "0_without_timeOut",
     R"({"errcode":0,"accessToken":"a","refreshToken":"r"})",
     {false, {kTokens[0], kTokens[1]}, {}, false}},
    {12, "no_payload", nullptr, kNothing},
    {12, "no_json", "[", kNothing},
    {12, "no_errcode", R"({"accessToken":"a"})", kNothing},
    // device information
    {13, "0", R"({"errcode":0})", kInformed},
    {13, "1", R"({"errcode":1})", kInformed},
    {13, "4998", R"({"errcode":4998})", kInformed},
    {13, "no_payload", nullptr, kInformed},
    {13, "no_json", "?", kInformed},
    {13, "no_errcode", "{}", kInformed},
    // refresh
    {14, "0", kTokenReply, {false, kTokens, 16, true}},
    {14, "1006", R"({"errcode":1006})", kReconnect},
    {14, "4996", R"({"errcode":4996})", kReconnect},
    {14, "4998", R"({"errcode":4998})", kReconnect},
    {14, "4999", R"({"errcode":4999})", kReconnect},
    {14, "other_1", R"({"errcode":1})", kNothing},
    {14, "other_1002", R"({"errcode":1002})", kNothing},
    {14, "5_with_tokens", kRefusedTokenReply, kNothing},
    {14, "0_without_accessToken", R"({"errcode":0,"refreshToken":"r","timeOut":60})", kNothing},
    {14, "no_payload", nullptr, kNothing},
    {14, "no_json", "errcode", kNothing},
    {14, "no_errcode", "{}", kNothing},
    // data
    {15, "0", R"({"errcode":0})", kOnline},
    {15, "1002", R"({"errcode":1002})", kOnline},
    {15, "no_payload", nullptr, kOnline},
    {15, "no_json", "-", kOnline},
    {15, "no_errcode", "[]", kOnline},
};

/** The last row, for every state without one of its own. */
std::vector<RouteCase> other_routes() {
    std::vector<RouteCase> rows;
    for (const int state : {1, 2, 3, 4, 5, 6, 7, 17})
        rows.push_back({state, "1002", R"({"errcode":1002})", kAnsweredReconnect});
    for (const int state : {0, 8, 9, 16}) {
        rows.push_back({state, "1002", R"({"errcode":1002})", kAnsweredReconnect});
        rows.push_back({state, "1006", R"({"errcode":1006})", kAnsweredReconnect});
        rows.push_back({state, "4998", R"({"errcode":4998})", kAnsweredReconnect});
        rows.push_back({state, "4999", R"({"errcode":4999})", kAnsweredReconnect});
    }
    for (const int state : {0, 9, 16}) {
        rows.push_back({state, "0", R"({"errcode":0})", kOnlyAnswered});
        rows.push_back({state, "other_1", R"({"errcode":1})", kOnlyAnswered});
        rows.push_back({state, "other_6", R"({"errcode":6})", kOnlyAnswered});
        rows.push_back({state, "other_4996", R"({"errcode":4996})", kOnlyAnswered});
        rows.push_back({state, "with_tokens", kTokenReply, kOnlyAnswered});
        rows.push_back({state, "no_payload", nullptr, kOnlyAnswered});
        rows.push_back({state, "no_json", "}{", kOnlyAnswered});
    }
    return rows;
}

class DispatchTest : public SessionTest {
protected:
    DispatchTest() {
        fake::device().allow({"port_device_id_set", "port_device_secret_set",
                              "port_device_accesstoken_set", "port_device_refreshtoken_set",
                              "port_device_timeout_set", "port_device_firstguide_set"});
    }
};

class Route : public DispatchTest, public testing::WithParamInterface<RouteCase> {
protected:
    void process(int answered_before) {
        fake::coap().open_session();
        fake::journal().clear();
        g_quilan_status = GetParam().state;
        g_app_count = kCountBefore;
        g_coap_recvflag = answered_before;
        EXPECT_EQ(frame_coap_process(GetParam().reply), 0);
    }
};

TEST_P(Route, HasExactlyItsEffectsAndEndsTheWaitLast) {
    const Effect& effect = GetParam().effect;
    for (const int answered_before : {0, 1}) {
        const auto unchanged = [answered_before] {
            EXPECT_EQ(g_coap_recvflag, answered_before);
            EXPECT_EQ(g_quilan_status, GetParam().state);
        };
        fake::device().on_call("port_device_id_set", unchanged);
        fake::device().on_call("port_device_firstguide_set", unchanged);
        fake::coap().on_close(unchanged);
        process(answered_before);
        EXPECT_EQ(g_app_count, effect.resets_count ? 0 : kCountBefore);
        EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(effect.deeds));
        EXPECT_EQ(g_quilan_status, effect.state.value_or(GetParam().state));
        EXPECT_EQ(g_coap_recvflag, effect.answered ? 1 : answered_before);
        EXPECT_EQ(g_activate_flag, 0);
    }
}

std::string route_name(const testing::TestParamInfo<RouteCase>& information) {
    return "State" + std::to_string(information.param.state) + "_" + information.param.name;
}

INSTANTIATE_TEST_SUITE_P(Own, Route, testing::ValuesIn(kRoutes), route_name);
INSTANTIATE_TEST_SUITE_P(Other, Route, testing::ValuesIn(other_routes()), route_name);

TEST_F(DispatchTest, LogsThePayloadFirst) {
    g_quilan_status = 16;
    frame_coap_process(R"({"errcode":7})");
    EXPECT_THAT(fake::journal().calls({Source::log}),
                ElementsAre("7 {\"errcode\":7}\n", "6 errcode:7\n"));
}

TEST_F(DispatchTest, APayloadIsNoFormat) {
    g_quilan_status = 16;
    frame_coap_process("%s%n%d 100%");
    EXPECT_THAT(fake::log().texts(7), ElementsAre("%s%n%d 100%\n"));
}

TEST_F(DispatchTest, StartsTheHeartbeatForTheCurrentSession) {
    g_quilan_status = 13;
    frame_coap_process(R"({"errcode":0})");
    ASSERT_EQ(fake::os().threads().size(), 1u);
    EXPECT_EQ(fake::os().threads()[0].entry, frame_app_heartbeat_thread);
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(fake::os().threads()[0].argument),
              frame_coap_session_number());
    EXPECT_THAT(fake::log().texts(3), ElementsAre());
}

/** The thread may run before the dispatcher has gone on, and clears the flag for its request. */
TEST_F(DispatchTest, TheReplyThatStartsTheHeartbeatDoesNotCountAsItsAnswer) {
    fake::os().on_thread([] {
        EXPECT_EQ(g_quilan_status, 15);
        g_coap_recvflag = 0;
    });
    g_quilan_status = 13;
    frame_coap_process(R"({"errcode":0})");
    ASSERT_EQ(fake::os().threads().size(), 1u);
    EXPECT_EQ(g_coap_recvflag, 0);
}

TEST_F(DispatchTest, AHeartbeatThatCannotBeStartedIsLoggedAndTheStateStillMoves) {
    fake::os().refuse_threads(true);
    g_quilan_status = 13;
    g_app_count = 1;
    frame_coap_process(R"({"errcode":0})");
    EXPECT_THAT(fake::journal().calls({Source::log}),
                ElementsAre("7 {\"errcode\":0}\n", "6 errcode:0\n",
                            "3 frame_coap_process:creat_thread_wait_info error!\n"));
    EXPECT_EQ(g_quilan_status, 15);
    EXPECT_EQ(g_coap_recvflag, 1);
    EXPECT_EQ(g_app_count, 1);
}

/** A reply has no owner: the state that it meets decides what it means. */
TEST_F(DispatchTest, ALateReplyIsJudgedByTheNewState) {
    g_quilan_status = 16;
    frame_coap_process(R"({"errcode":6})"); // would forget the device in state 12
    EXPECT_EQ(g_quilan_status, 16);
    g_quilan_status = 13;
    frame_coap_process(kTokenReply); // would log in in state 12
    EXPECT_EQ(g_quilan_status, 15);
    EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(kHeartbeat));
}

TEST_F(DispatchTest, RepliesInARowEachMeetTheStateThatTheOneBeforeLeft) {
    g_quilan_status = 12;
    g_app_count = 1;
    frame_coap_process(kTokenReply);
    EXPECT_EQ(g_quilan_status, 13);
    frame_coap_process(R"({"errcode":0})");
    EXPECT_EQ(g_quilan_status, 15);
    frame_coap_process(R"({"errcode":0})");
    EXPECT_EQ(g_quilan_status, 16);
    frame_coap_process(R"({"errcode":0})");
    EXPECT_EQ(g_quilan_status, 16);
    frame_coap_process(R"({"errcode":1002})");
    EXPECT_EQ(g_quilan_status, 9);
}

TEST_F(DispatchTest, AnActivationRequestedWhileAReplyIsHandledIsNotLost) {
    g_quilan_status = 12;
    fake::device().on_call("port_device_timeout_set", [] { frame_quilan_state_set(11); });
    frame_coap_process(kTokenReply);
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_activate_flag, 1);
    EXPECT_EQ(g_coap_recvflag, 1);
}

/** A reply as libcoap hands it in. */
class Reply {
public:
    explicit Reply(const std::string& payload)
        : message_(coap_pdu_init(COAP_MESSAGE_ACK, COAP_RESPONSE_CODE_CONTENT, 1, 100'000)) {
        if (!payload.empty())
            coap_add_data(message_, payload.size(),
                          reinterpret_cast<const std::uint8_t*>(payload.data()));
    }
    ~Reply() { coap_delete_pdu(message_); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    void deliver() const {
        EXPECT_EQ(message_handler(g_coap_session, nullptr, message_, 1), COAP_RESPONSE_OK);
    }

private:
    coap_pdu_t* message_;
};

TEST_F(DispatchTest, APayloadBecomesATextOfItsLength) {
    g_quilan_status = 12;
    Reply(kTokenReply).deliver();
    EXPECT_EQ(g_quilan_status, 13);
    EXPECT_THAT(fake::log().texts(7), ElementsAre(std::string(kTokenReply) + "\n"));
}

TEST_F(DispatchTest, APayloadIsNotReadPastItsEnd) {
    g_quilan_status = 16;
    for (std::size_t length = 1; length < sizeof kTokenReply; ++length)
        Reply(std::string(kTokenReply, length)).deliver();
    EXPECT_THAT(fake::log().texts(7), testing::SizeIs(sizeof kTokenReply - 1));
}

TEST_F(DispatchTest, APayloadEndsAtANulInIt) {
    g_quilan_status = 10;
    Reply(std::string("{\"errcode\":1}\0{\"errcode\":0}", 27)).deliver();
    EXPECT_EQ(g_quilan_status, 9);
}

TEST_F(DispatchTest, AReplyWithoutPayloadCountsAsMinusOne) {
    g_quilan_status = 10;
    Reply("").deliver();
    EXPECT_EQ(g_quilan_status, 10);
    EXPECT_EQ(g_coap_recvflag, 1);
    EXPECT_THAT(fake::log().texts(4), ElementsAre("null\n"));
}

TEST_F(DispatchTest, AHugePayloadIsHandledWhole) {
    g_quilan_status = 11;
    const std::string secret(90'000, 's');
    Reply("{\"errcode\":0,\"devId\":\"d\",\"secret\":\"" + secret + "\"}").deliver();
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_EQ(fake::journal().deeds()[1], "port_device_secret_set(\"" + secret + "\")");
}

} // namespace
