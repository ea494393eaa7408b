// SPDX-License-Identifier: MIT
// State 9: connecting, its failures, and the state that a new session starts in.
#include "unit/loop_fixture.h"

#include "protocol/provisioning.h"
#include "vxquilan/coap_events.h"

using fake::Source;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr char kConnectLine[] = "6 frame_vxquilan #:QUILAN_APP_CONNECT\n";

class Connect : public LoopTest {
protected:
    /** State 9 with no session and no threads. */
    Connect() {
        run_in(9);
        fake::coap().reset();
        g_quilan_status = 9;
    }
    static Texts course() {
        return fake::journal().calls(
            {Source::device, Source::coap, Source::os, Source::log, Source::sleep});
    }
};

TEST_F(Connect, LogsConnectsAndStartsTheReceiveThread) {
    g_app_count = 5;
    loop.pass();
    EXPECT_THAT(course(), ElementsAre(kConnectLine, "frame_coap_connect()",
                                      "start_detached_thread(frame_coap_recv)"));
    EXPECT_EQ(g_app_count, 0);
    ASSERT_EQ(fake::os().threads().size(), 1u);
    EXPECT_EQ(fake::os().threads()[0].entry, frame_coap_recv);
    EXPECT_EQ(fake::os().threads()[0].argument, nullptr);
    // A handler keeps a record of 140,036 bytes there, and libcoap needs its share.
    EXPECT_GE(vxq::kThreadStack, 2u * 140'036);
}

TEST_F(Connect, ServesItsResourcesBeforeTheReceiveThreadStarts) {
    fake::os().on_thread([] { EXPECT_FALSE(fake::coap().served().empty()); });
    loop.pass();
    EXPECT_EQ(fake::os().threads().size(), 1u);
}

TEST_F(Connect, ServesNothingWhenItFails) {
    fake::coap().set_connect_result(-1);
    loop.pass();
    EXPECT_THAT(fake::journal().calls({Source::serve}), IsEmpty());
}

TEST_F(Connect, CountsAsFailedWithoutRoomForEachResource) {
    fake::coap().refuse_resource(".sys/gateway/ntwk/wan");
    loop.pass();
    EXPECT_THAT(course(), ElementsAre(kConnectLine, "frame_coap_connect()", "frame_coap_close()",
                                      "sleep_seconds(5)"));
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_THAT(fake::os().threads(), IsEmpty());
    fake::coap().refuse_resource("");
    loop.pass();
    EXPECT_EQ(fake::os().threads().size(), 1u);
}

TEST_F(Connect, AllowsRequestsAtOnce) {
    loop.pass();
    EXPECT_EQ(g_run_flag, 1);
    loop.pass();
    EXPECT_THAT(sent_paths(), ElementsAre(".sys/login"));
}

struct FirstStateCase {
    const char* name;
    std::string device_id;
    int activate_flag;
    int expected;
};

void PrintTo(const FirstStateCase& row, std::ostream* out) {
    *out << row.name;
}

class FirstState : public Connect, public testing::WithParamInterface<FirstStateCase> {};

TEST_P(FirstState, DependsOnActivationFlagAndDeviceId) {
    fake::device().set_text("port_device_id_get", GetParam().device_id);
    g_activate_flag = GetParam().activate_flag;
    loop.pass();
    EXPECT_EQ(g_quilan_status, GetParam().expected);
    EXPECT_EQ(g_activate_flag, 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, FirstState,
    testing::Values(FirstStateCase{"NoDeviceId", "", 0, 10},
                    FirstStateCase{"DeviceId", "dev-0001", 0, 12},
                    FirstStateCase{"OneCharacter", "x", 0, 12}, FirstStateCase{"Blank", " ", 0, 12},
                    FirstStateCase{"LongestDeviceId", std::string(127, 'd'), 0, 12},
                    FirstStateCase{"ActivationWithoutDeviceId", "", 1, 11},
                    FirstStateCase{"ActivationWithDeviceId", "dev-0001", 1, 11}),
    case_name<FirstStateCase>);

TEST_F(Connect, ADeviceIdThatCannotBeReadIsNone) {
    fake::device().set_bytes("port_device_id_get", "");
    fake::device().set_result("port_device_id_get", -1);
    loop.pass();
    EXPECT_EQ(g_quilan_status, 10);
}

TEST_F(Connect, AnActivationRequestedDuringTheConnectIsNotLost) {
    fake::coap().on_connect([] { frame_quilan_state_set(11); });
    loop.pass();
    EXPECT_EQ(g_quilan_status, 11);
    EXPECT_EQ(g_activate_flag, 0);
}

TEST_F(Connect, AConnectionLostByTheReceiveThreadsFirstStepIsNotOverwritten) {
    fake::os().on_thread([] { event_handler(g_coap_session, COAP_EVENT_TCP_CLOSED); });
    loop.pass();
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_run_flag, 0);
}

TEST_F(Connect, AFailurePausesFiveSecondsAndTriesAgain) {
    fake::coap().set_connect_result(-1);
    g_activate_flag = 1;
    g_app_count = 4;
    for (int attempt = 0; attempt < 3; ++attempt)
        loop.pass();
    Texts expected;
    for (int attempt = 0; attempt < 3; ++attempt)
        expected.insert(expected.end(), {kConnectLine, "frame_coap_connect()", "sleep_seconds(5)"});
    EXPECT_THAT(course(), ElementsAreArray(expected));
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_activate_flag, 1);
    EXPECT_EQ(g_app_count, 0);
    EXPECT_THAT(fake::os().threads(), IsEmpty());

    fake::coap().set_connect_result(0);
    loop.pass();
    EXPECT_EQ(g_quilan_status, 11);
}

TEST_F(Connect, WaitsForTheOldReceiveThread) {
    fake::coap().open_session();
    fake::coap().keep_receive_thread();
    fake::os().after(after_seconds(1.5), [] { fake::coap().end_receive_thread(); });
    loop.pass();
    EXPECT_THAT(course(),
                ElementsAre(kConnectLine, "frame_coap_close()", "sleep_seconds(1)",
                            "frame_coap_close()", "sleep_seconds(1)", "frame_coap_connect()",
                            "start_detached_thread(frame_coap_recv)"));
}

TEST_F(Connect, WaitsForTheOldHeartbeatThreadWithoutEndingItItself) {
    g_heartbeat_app_thread = 1;
    fake::coap().on_close([] { EXPECT_EQ(g_heartbeat_app_thread, 1); });
    fake::os().after(after_seconds(8), [] { g_heartbeat_app_thread = 0; });
    loop.pass();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(8));
    EXPECT_EQ(fake::coap().connects(), 1);
    EXPECT_EQ(g_quilan_status, 12);
}

TEST_F(Connect, WithoutThreadsNothingIsClosedOrWaitedFor) {
    loop.pass();
    EXPECT_THAT(fake::journal().calls({Source::coap}), ElementsAre("frame_coap_connect()"));
    EXPECT_EQ(fake::os().elapsed().count(), 0);
}

TEST_F(Connect, AReceiveThreadThatCannotBeCreatedIsLoggedAndTheStateMoves) {
    fake::os().refuse_threads(true);
    loop.pass();
    EXPECT_THAT(course(), ElementsAre(kConnectLine, "frame_coap_connect()",
                                      "start_detached_thread(frame_coap_recv)",
                                      "3 frame_vxquilan:creat_thread_wait_info error!\n"));
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_EQ(frame_coap_state(), 0); // or nothing would ever connect again
}

TEST_F(Connect, WithoutAReceiveThreadEveryStateRunsOutOfAttempts) {
    fake::os().refuse_threads(true);
    loop.pass();
    fake::os().refuse_threads(false);
    pass_until(9);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(60)); // six logins
    EXPECT_EQ(fake::coap().connects(), 1);
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_EQ(g_quilan_status, 12);
}

// ---- refused connections: reported by the receive thread after the connect has returned

void refuse() {
    g_coap_refused = 1; // what the transport does
    event_handler(g_coap_session, COAP_EVENT_TCP_FAILED);
}

TEST_F(Connect, ARefusalPausesFiveSecondsLikeAFailure) {
    fake::os().on_thread(refuse);
    for (int pass = 0; pass < 6; ++pass)
        loop.pass();
    EXPECT_EQ(fake::coap().connects(), 3);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(15));
    EXPECT_THAT(fake::log().texts(6), Contains("frame_vxquilan #:QUILAN_APP_CONNECT\n").Times(3));
    EXPECT_THAT(sent_paths(), IsEmpty());
}

TEST_F(Connect, AfterARefusalTheFirstConnectThatSucceedsGoesOn) {
    fake::os().on_thread(refuse);
    loop.pass();
    fake::os().on_thread(nullptr);
    loop.pass();
    loop.pass();
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_EQ(g_coap_refused, 0);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(5));
}

/** A request that went into the refused connection has no reply to wait for. */
TEST_F(Connect, ARefusalEndsTheWaitForAReply) {
    fake::os().after(after_seconds(0.5), refuse);
    loop.pass(); // connects
    loop.pass(); // sends a login
    loop.pass(); // waits for its reply, finds the refusal after a second, pauses
    loop.pass(); // connects
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(1 + 5));
}

TEST_F(Connect, ALostConnectionReconnectsOnceTheReplyTimeIsOver) {
    loop.pass();
    loop.pass(); // sends a login at 0 s
    fake::os().after(after_seconds(2), [] {
        event_handler(g_coap_session, COAP_EVENT_TCP_CLOSED); // not refused: it was in use
    });
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(10));
}

TEST_F(Connect, ALostConnectionOnlineReconnectsAtOnce) {
    loop.pass();
    g_quilan_status = 16;
    g_coap_recvflag = 1;
    event_handler(g_coap_session, COAP_EVENT_TCP_CLOSED);
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_EQ(fake::os().elapsed().count(), 0);
}

TEST_F(Connect, ARegistrationCodeLeadsToItsActivation) {
    loop.pass();
    g_quilan_status = 16;
    g_coap_recvflag = 1;
    profession_sys_register_code("CODE-77");
    pass_until(11);
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 2);
    ASSERT_THAT(sent_paths(), ElementsAre(".sys/activate"));
    EXPECT_THAT(fake::coap().sent()[0].body, testing::HasSubstr("\"code\":\t\"CODE-77\""));
}

} // namespace
