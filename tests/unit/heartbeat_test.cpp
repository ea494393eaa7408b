// SPDX-License-Identifier: MIT
// The heartbeat thread: its period, missed replies, the token's expiry, and its end.
#include "unit/fixture.h"

#include <functional>
#include <set>

#include "vxquilan/app_heartbeat.h"

using fake::Source;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Heartbeat : public SessionTest {
protected:
    Heartbeat() { g_quilan_status = 16; }

    /** Has the platform answer heartbeats, by number from 0, `delay` seconds after each. */
    void answer(std::function<bool(int)> answered, double delay = 0.5) {
        fake::coap().on_send(
            [this, answered = std::move(answered), delay](const fake::SentRequest&) {
                if (!answered(heartbeats_++))
                    return;
                if (delay == 0)
                    g_coap_recvflag = 1;
                else
                    fake::os().after(after_seconds(delay), [] { g_coap_recvflag = 1; });
            });
    }
    static void end_session_at(double seconds) {
        fake::os().after(after_seconds(seconds), [] { fake::coap().end_receive_thread(); });
    }
    static void run() { EXPECT_EQ(frame_app_heartbeat_thread(nullptr), nullptr); }

private:
    int heartbeats_ = 0;
};

bool always(int) {
    return true;
}
bool never(int) {
    return false;
}

/** How fast the platform answers. */
class AnsweredHeartbeat : public Heartbeat, public testing::WithParamInterface<double> {};

TEST_P(AnsweredHeartbeat, GoesOutEveryFiftySeconds) {
    answer(always, GetParam());
    end_session_at(225);
    run();
    EXPECT_THAT(send_times(), ElementsAre(0, 50, 100, 150, 200));
    EXPECT_THAT(sent_paths(), Each(".sys/heartbeat"));
    EXPECT_EQ(g_quilan_status, 16);
}

INSTANTIATE_TEST_SUITE_P(RepliesAfter, AnsweredHeartbeat, testing::Values(0.0, 0.000'1, 1.0, 10.0),
                         [](const auto& information) {
                             return std::to_string(static_cast<int>(information.param * 1e6)) +
                                    "Microseconds";
                         });

TEST_F(Heartbeat, SleepsTenSecondsForTheReplyThenOneAtATime) {
    answer(always);
    end_session_at(49.5);
    run();
    std::vector<fake::Microseconds> expected(41, after_seconds(1));
    expected[0] = after_seconds(10);
    EXPECT_EQ(fake::os().sleeps(), expected);
}

TEST_F(Heartbeat, EachOneIsLogged) {
    answer(always);
    end_session_at(60);
    run();
    EXPECT_THAT(fake::log().texts(6),
                Contains("frame_app_heartbeat_thread #:QUILAN_APP_HEARTBEAT\n").Times(2));
    EXPECT_EQ(fake::log().texts(6)[0], "frame_app_heartbeat_thread #:QUILAN_APP_HEARTBEAT\n");
}

TEST_F(Heartbeat, TellsWhetherItRuns) {
    fake::coap().on_send([](const fake::SentRequest&) { EXPECT_EQ(g_heartbeat_app_thread, 1); });
    end_session_at(5);
    run();
    EXPECT_EQ(fake::coap().sent().size(), 1u);
    EXPECT_EQ(g_heartbeat_app_thread, 0);
}

TEST_F(Heartbeat, ClearsTheReplyFlagBeforeTheMessageLeaves) {
    g_coap_recvflag = 1;
    fake::coap().on_send([](const fake::SentRequest&) { EXPECT_EQ(g_coap_recvflag, 0); });
    end_session_at(25);
    run();
    EXPECT_EQ(fake::coap().sent().size(), 3u);
}

TEST_F(Heartbeat, FourWithoutAReplyReconnect) {
    answer(never);
    run();
    EXPECT_THAT(send_times(), ElementsAre(0, 10, 20, 30));
    EXPECT_EQ(fake::os().elapsed(), after_seconds(40));
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_heartbeat_app_thread, 0);
    EXPECT_THAT(fake::journal().calls({Source::device, Source::os}), IsEmpty());
    EXPECT_NE(g_coap_session, nullptr); // the loop closes it
}

TEST_F(Heartbeat, ReconnectsFromAnyState) {
    answer(never);
    g_quilan_status = 15;
    run();
    EXPECT_EQ(g_quilan_status, 9);
}

struct MissedCase {
    const char* name;
    int missed;
    std::vector<double> sends;
};

void PrintTo(const MissedCase& row, std::ostream* out) {
    *out << row.name;
}

class Missed : public Heartbeat, public testing::WithParamInterface<MissedCase> {};

/** After so many missed ones a reply makes everything good: four more have to be missed. */
TEST_P(Missed, AreForgottenWithTheNextReply) {
    answer([](int number) { return number == GetParam().missed; });
    run();
    EXPECT_EQ(send_times(), GetParam().sends);
    EXPECT_EQ(g_quilan_status, 9);
}

INSTANTIATE_TEST_SUITE_P(All, Missed,
                         testing::Values(MissedCase{"None", 0, {0, 50, 60, 70, 80}},
                                         MissedCase{"One", 1, {0, 10, 60, 70, 80, 90}},
                                         MissedCase{"Two", 2, {0, 10, 20, 70, 80, 90, 100}},
                                         MissedCase{"Three", 3, {0, 10, 20, 30, 80, 90, 100, 110}}),
                         case_name<MissedCase>);

TEST_F(Heartbeat, AReplyThatComesTooLateIsMissed) {
    answer(always, 10.5); // when the next one is out already: counts for that
    end_session_at(75);
    run();
    EXPECT_THAT(send_times(), ElementsAre(0, 10, 60, 70));
    EXPECT_EQ(g_quilan_status, 16);
}

struct ExpiryCase {
    const char* name;
    long left; ///< seconds, when the reply is looked at
    bool refreshes;
};

void PrintTo(const ExpiryCase& row, std::ostream* out) {
    *out << row.name;
}

class Expiry : public Heartbeat, public testing::WithParamInterface<ExpiryCase> {
protected:
    void set_expiry() {
        const long now = fake::os().wall() + 10;
        fake::device().set_number("port_device_timeout_get",
                                  static_cast<int>(now + GetParam().left));
    }
};

TEST_P(Expiry, OfTheTokenAsksForARefreshOnceItHasPassed) {
    set_expiry();
    answer(always);
    end_session_at(20);
    run();
    EXPECT_EQ(g_quilan_status, GetParam().refreshes ? 14 : 16);
    EXPECT_EQ(fake::coap().sent().size(), 1u);
}

TEST_P(Expiry, IsOnlyLookedAtAfterAReply) {
    set_expiry();
    answer(never);
    end_session_at(25);
    run();
    EXPECT_EQ(g_quilan_status, 16);
    EXPECT_THAT(fake::journal().calls({Source::query}), IsEmpty());
}

TEST_P(Expiry, DoesNotOverwriteAReconnect) {
    set_expiry();
    answer(always);
    fake::os().after(after_seconds(1), [] { g_quilan_status = 9; });
    end_session_at(20);
    run();
    EXPECT_EQ(g_quilan_status, 9);
}

INSTANTIATE_TEST_SUITE_P(All, Expiry,
                         testing::Values(ExpiryCase{"LongAgo", -1'000'000'000, true},
                                         ExpiryCase{"OneSecondAgo", -1, true},
                                         ExpiryCase{"Now", 0, false},
                                         ExpiryCase{"InOneSecond", 1, false},
                                         ExpiryCase{"FarAhead", 400'000'000, false}),
                         case_name<ExpiryCase>);

TEST_F(Heartbeat, ATokenOfUnknownExpiryIsRefreshed) {
    fake::device().forbid("port_device_timeout_get");
    fake::device().set_result("port_device_timeout_get", -1); // leaves the 0
    answer(always);
    end_session_at(20);
    run();
    EXPECT_EQ(g_quilan_status, 14);
}

TEST_F(Heartbeat, TheThreadGoesOnWhileTheTokenIsRefreshed) {
    fake::device().set_number("port_device_timeout_get", 1);
    answer(always);
    end_session_at(120);
    run();
    EXPECT_THAT(send_times(), ElementsAre(0, 50, 100));
}

struct EndCase {
    const char* name;
    double ends;    ///< when the receive thread ends
    double noticed; ///< when the heartbeat thread has ended
};

void PrintTo(const EndCase& row, std::ostream* out) {
    *out << row.name;
}

class End : public Heartbeat, public testing::WithParamInterface<EndCase> {};

TEST_P(End, FollowsTheReceiveThreads) {
    answer(always);
    end_session_at(GetParam().ends);
    run();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(GetParam().noticed));
    EXPECT_EQ(fake::coap().sent().size(), 1u);
    EXPECT_EQ(g_heartbeat_app_thread, 0);
    EXPECT_EQ(g_quilan_status, 16);
}

INSTANTIATE_TEST_SUITE_P(All, End,
                         testing::Values(EndCase{"WhileAReplyIsAwaited", 3, 10},
                                         EndCase{"AsTheReplyIsLookedAt", 10, 10},
                                         EndCase{"BetweenHeartbeats", 20.2, 21},
                                         EndCase{"JustBeforeTheNext", 49.9, 50}),
                         case_name<EndCase>);

TEST_F(Heartbeat, WithoutAReceiveThreadNoneGoesOut) {
    fake::coap().end_receive_thread();
    run();
    EXPECT_THAT(sent_paths(), IsEmpty());
    EXPECT_EQ(fake::os().elapsed().count(), 0);
    EXPECT_EQ(g_heartbeat_app_thread, 0);
}

// ---- a thread that outlives its session beside its successor

/** The successor's session, with its own heartbeat thread and an awaited or answered reply. */
void replace_session(int answered) {
    fake::coap().open_session();
    g_heartbeat_app_thread = 1;
    g_coap_recvflag = answered;
    g_quilan_status = 12;
}

struct OutlivedCase {
    const char* name;
    double replaced; ///< when the session is replaced
    int answered;
};

void PrintTo(const OutlivedCase& row, std::ostream* out) {
    *out << row.name;
}

class Outlived : public Heartbeat, public testing::WithParamInterface<OutlivedCase> {};

TEST_P(Outlived, ThreadEndsAndChangesNothing) {
    fake::device().set_number("port_device_timeout_get", 1); // expired
    if (GetParam().replaced > 40)
        fake::device().set_number("port_device_timeout_get", 2'000'000'000);
    answer([](int) { return GetParam().replaced > 40; });
    const auto argument = static_cast<std::intptr_t>(frame_coap_session_number());
    std::size_t sent = 0;
    fake::os().after(after_seconds(GetParam().replaced), [&sent] {
        replace_session(GetParam().answered);
        sent = fake::coap().sent().size();
    });
    frame_app_heartbeat_thread(reinterpret_cast<void*>(argument));
    EXPECT_EQ(fake::coap().sent().size(), sent);
    EXPECT_EQ(g_heartbeat_app_thread, 1);
    EXPECT_EQ(g_coap_recvflag, GetParam().answered);
    EXPECT_EQ(g_quilan_status, 12);
}

INSTANTIATE_TEST_SUITE_P(
    All, Outlived,
    testing::Values(OutlivedCase{"AwaitingItsFirstReply", 3, 0},
                    OutlivedCase{"AwaitingItsFirstReplyAndFindingAnothers", 3, 1},
                    OutlivedCase{"AwaitingItsFourthReply", 33, 0},
                    OutlivedCase{"AwaitingItsFourthReplyAndFindingAnothers", 33, 1},
                    OutlivedCase{"BetweenHeartbeats", 41.5, 0},
                    OutlivedCase{"BetweenHeartbeatsAnswered", 41.5, 1}),
    case_name<OutlivedCase>);

TEST_F(Heartbeat, AThreadThatStartsAfterItsSessionDoesNothing) {
    const auto argument = static_cast<std::intptr_t>(frame_coap_session_number());
    fake::coap().open_session();
    frame_app_heartbeat_thread(reinterpret_cast<void*>(argument));
    EXPECT_THAT(sent_paths(), IsEmpty());
    EXPECT_EQ(fake::os().elapsed().count(), 0);
    EXPECT_EQ(g_heartbeat_app_thread, 0);
}

} // namespace
