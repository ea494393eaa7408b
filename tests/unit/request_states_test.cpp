// SPDX-License-Identifier: MIT
// The states that send a request: attempts, log lines, giving up, and the wait for the reply.
#include "unit/loop_fixture.h"

using fake::Source;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

struct StateCase {
    int state;
    const char* name; ///< in the log
    const char* path;
    int attempts;
    bool announced_when_used_up;
    Texts deeds_of_giving_up;
    int next;
    bool resets_count;
};

void PrintTo(const StateCase& row, std::ostream* out) {
    *out << row.name;
}

const Texts kForgetAndClose{"port_device_id_set(\"\")", "frame_coap_close()"};

const StateCase kStates[] = {
    {10, "REGISTER", ".sys/register", 3, false, kForgetAndClose, 9, false},
    {11, "ACTIVATE", ".sys/activate", 3, true, kForgetAndClose, 16, false},
    {12, "LOGIN", ".sys/login", 6, false, {}, 9, false},
    {13, "DEVINFOSYNC", ".sys/devInfoSync", 1, true, {}, 16, true},
    {14, "REFRESH", ".sys/refresh", 3, true, kForgetAndClose, 16, false},
    {15, "DATA", ".sys/data", 1, true, {}, 16, true},
};

class RequestState : public LoopTest, public testing::WithParamInterface<StateCase> {
protected:
    static std::string line() {
        return std::string("6 frame_vxquilan #:QUILAN_APP_") + GetParam().name + "\n";
    }
    static std::string message() {
        return std::string("frame_coap_send(\"") + GetParam().path + "\")";
    }
    /** Log lines of the state itself, and everything done. */
    static Texts course() {
        Texts all = fake::journal().calls({Source::log, Source::coap, Source::device, Source::os});
        std::erase_if(all, [](const std::string& call) {
            return call.find("6 {") == 0 || call.find("6 [") == 0; // bodies
        });
        return all;
    }
};

TEST_P(RequestState, AnnouncesThenSends) {
    run_in(GetParam().state);
    loop.pass();
    Texts expected{line(), message()};
    if (GetParam().state == 15)
        expected.insert(expected.begin() + 1, "vx_device_stainfo_get(record)");
    Texts all = course();
    if (GetParam().state == 15)
        all.insert(all.begin() + 1, "vx_device_stainfo_get(record)"); // a query
    EXPECT_THAT(all, ElementsAreArray(expected));
    EXPECT_EQ(g_quilan_status, GetParam().state);
    EXPECT_EQ(g_app_count, 1);
    EXPECT_EQ(g_coap_recvflag, 0);
}

TEST_P(RequestState, TriesItsNumberOfTimesTenSecondsApartThenGivesUp) {
    run_in(GetParam().state);
    pass_while(GetParam().state);
    std::vector<double> expected;
    for (int attempt = 0; attempt < GetParam().attempts; ++attempt)
        expected.push_back(10.0 * attempt);
    EXPECT_EQ(send_times(), expected);
    EXPECT_THAT(sent_paths(), ElementsAreArray(Texts(static_cast<std::size_t>(GetParam().attempts),
                                                     GetParam().path)));
    EXPECT_EQ(fake::os().elapsed(), after_seconds(10.0 * GetParam().attempts));
    EXPECT_EQ(g_quilan_status, GetParam().next);
    EXPECT_EQ(g_app_count, GetParam().resets_count ? 0 : GetParam().attempts);
}

TEST_P(RequestState, ShowsEachPassInTheLogAsItsStateDoes) {
    run_in(GetParam().state);
    pass_while(GetParam().state);
    Texts expected;
    for (int attempt = 0; attempt < GetParam().attempts; ++attempt)
        expected.insert(expected.end(), {line(), message()});
    if (GetParam().announced_when_used_up)
        expected.push_back(line());
    expected.insert(expected.end(), GetParam().deeds_of_giving_up.begin(),
                    GetParam().deeds_of_giving_up.end());
    EXPECT_THAT(course(), ElementsAreArray(expected));
}

TEST_P(RequestState, GivesUpAtOnceWhenItsAttemptsAreUsedUp) {
    for (const int more : {0, 1, 100}) {
        run_in(GetParam().state, GetParam().attempts + more);
        loop.pass();
        Texts expected;
        if (GetParam().announced_when_used_up)
            expected.push_back(line());
        expected.insert(expected.end(), GetParam().deeds_of_giving_up.begin(),
                        GetParam().deeds_of_giving_up.end());
        EXPECT_THAT(course(), ElementsAreArray(expected));
        EXPECT_EQ(fake::os().elapsed().count(), 0);
        EXPECT_EQ(g_quilan_status, GetParam().next);
        EXPECT_EQ(g_app_count, GetParam().resets_count ? 0 : GetParam().attempts + more);
        EXPECT_EQ(g_coap_recvflag, 0);
        EXPECT_EQ(g_coap_session == nullptr, !GetParam().deeds_of_giving_up.empty());
    }
}

/** The limit is compared with whatever an earlier state has left in the count. */
TEST_P(RequestState, MakesOnlyTheAttemptsThatTheCountLeaves) {
    const int limit = GetParam().attempts;
    for (int count = -1; count <= limit; ++count) {
        vxq::AppLoop other_loop;
        loop = other_loop;
        fake::coap().reset();
        run_in(GetParam().state, count);
        pass_while(GetParam().state);
        EXPECT_EQ(static_cast<int>(fake::coap().sent().size()), limit - count) << count;
    }
}

TEST_P(RequestState, CountsAnAttemptThatCouldNotBeSent) {
    run_in(GetParam().state);
    g_run_flag = 0;
    g_coap_recv_thread = 0;
    pass_while(GetParam().state);
    EXPECT_THAT(sent_paths(), IsEmpty());
    EXPECT_EQ(fake::os().elapsed(), after_seconds(10.0 * GetParam().attempts));
    EXPECT_EQ(g_quilan_status, GetParam().next);
}

TEST_P(RequestState, HasItsBooksDoneBeforeTheMessageLeaves) {
    run_in(GetParam().state);
    g_coap_recvflag = 1;
    fake::coap().on_send([](const fake::SentRequest&) {
        EXPECT_EQ(g_app_count, 1);
        EXPECT_EQ(g_coap_recvflag, 0);
    });
    loop.pass();
    EXPECT_EQ(fake::coap().sent().size(), 1u);
}

/** The reply overtakes the sender: what it sets must stand. */
TEST_P(RequestState, KeepsWhatAReplySetsBeforeTheSendReturns) {
    run_in(GetParam().state);
    fake::coap().on_send([](const fake::SentRequest&) {
        g_app_count = 0;
        g_quilan_status = 16;
        g_coap_recvflag = 1;
    });
    loop.pass();
    EXPECT_EQ(g_app_count, 0);
    EXPECT_EQ(g_quilan_status, 16);
    EXPECT_EQ(g_coap_recvflag, 1);
    loop.pass();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(0.01)); // online, no wait
}

TEST_P(RequestState, DoesNotOverwriteAStateThatMovedWhileItGaveUp) {
    if (GetParam().deeds_of_giving_up.empty())
        return;
    run_in(GetParam().state, GetParam().attempts);
    fake::coap().on_close([] { frame_quilan_state_set(11); });
    loop.pass();
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_activate_flag, 1);
}

INSTANTIATE_TEST_SUITE_P(All, RequestState, testing::ValuesIn(kStates),
                         [](const auto& information) {
                             return std::string(information.param.name);
                         });

// ---- the wait

struct WaitCase {
    const char* name;
    double reply;  ///< seconds after the request; negative for none
    double waited; ///< seconds until the next request
};

void PrintTo(const WaitCase& row, std::ostream* out) {
    *out << row.name;
}

constexpr WaitCase kWaits[] = {
    {"AtOnce", 0, 0},
    {"AfterAnInstant", 0.000'1, 1},
    {"AfterOneSecond", 1, 1},
    {"AfterOneAndAHalf", 1.5, 2},
    {"AfterEight", 8, 8},
    {"AfterNine", 9, 9},
    {"AfterNineAndAHalf", 9.5, 10},
    {"AfterTen", 10, 10},
    {"TooLate", 10.5, 10},
    {"Never", -1, 10},
};

class Wait : public LoopTest, public testing::WithParamInterface<WaitCase> {};

TEST_P(Wait, PollsOnceASecondForUpToTenSeconds) {
    run_in(10);
    ReplyingPlatform platform;
    if (GetParam().reply >= 0)
        platform.reply(".sys/register", R"({"errcode":2})", GetParam().reply);
    loop.pass();
    loop.pass();
    EXPECT_THAT(send_times(), ElementsAre(0, GetParam().waited));
    for (const fake::Microseconds& sleep : fake::os().sleeps())
        EXPECT_EQ(sleep, after_seconds(1));
    EXPECT_EQ(fake::os().sleeps().size(), static_cast<std::size_t>(GetParam().waited));
}

INSTANTIATE_TEST_SUITE_P(All, Wait, testing::ValuesIn(kWaits), case_name<WaitCase>);

TEST_F(LoopTest, AJumpOfTheWallClockNeitherEndsNorProlongsAWait) {
    for (const long wall : {0L, 2'000'000'000L}) {
        run_in(10);
        fake::coap().reset();
        fake::coap().open_session();
        fake::os().after(after_seconds(3), [wall] { fake::os().set_wall(wall); });
        loop.pass();
        loop.pass();
        EXPECT_THAT(send_times(), ElementsAre(0, 10));
        loop = vxq::AppLoop();
    }
}

TEST_F(LoopTest, NothingIsWaitedForBeforeTheFirstRequest) {
    run_in(12);
    loop.pass();
    EXPECT_THAT(send_times(), ElementsAre(0));
}

TEST_F(LoopTest, OnlineWaitsForTheReplyToTheLastRequestToo) {
    run_in(12);
    loop.pass();
    g_quilan_status = 16;
    loop.pass();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(10.01));
}

} // namespace
