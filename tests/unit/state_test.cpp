// SPDX-License-Identifier: MIT
// The shared state, the entry points that the device library calls, and their races.
#include "unit/fixture.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <thread>

#include "protocol/provisioning.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class StateSet : public DaemonTest, public testing::WithParamInterface<int> {};

TEST_P(StateSet, HasNoEffectUnlessItAsksForAnActivation) {
    for (const int state : {0, 8, 9, 10, 11, 12, 13, 14, 15, 16}) {
        for (const int flag : {0, 1}) {
            g_quilan_status = state;
            g_activate_flag = flag;
            EXPECT_EQ(frame_quilan_state_set(GetParam()), 0);
            EXPECT_EQ(g_quilan_status, state);
            EXPECT_EQ(g_activate_flag, flag);
        }
    }
    EXPECT_THAT(fake::journal().entries(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Other, StateSet,
                         testing::Values(-2147483647 - 1, -1, 0, 1, 8, 9, 10, 12, 13, 14, 15, 16,
                                         17, 267, 2147483647),
                         [](const auto& information) {
                             const std::string number = std::to_string(information.param);
                             return number[0] == '-' ? "Minus" + number.substr(1) : number;
                         });

TEST_F(DaemonTest, StateSet11RequestsAnActivationFromAnyState) {
    for (const int state : {0, 8, 9, 10, 11, 12, 13, 14, 15, 16}) {
        g_quilan_status = state;
        g_activate_flag = 0;
        EXPECT_EQ(frame_quilan_state_set(11), 0);
        EXPECT_EQ(g_quilan_status, 9);
        EXPECT_EQ(g_activate_flag, 1);
    }
    EXPECT_EQ(g_app_count, 0);
    EXPECT_EQ(g_coap_recvflag, 0);
    EXPECT_THAT(fake::journal().entries(), IsEmpty());
}

TEST_F(DaemonTest, RegisterCodeStoresTheCodeThenRequestsTheActivation) {
    fake::device().on_call("port_device_code_set", [] { EXPECT_EQ(g_activate_flag, 0); });
    g_quilan_status = 16;
    EXPECT_EQ(profession_sys_register_code("0123456789abcdefghijklmnopqrstu"), 0);
    EXPECT_THAT(fake::journal().deeds(),
                ElementsAre("port_device_code_set(\"0123456789abcdefghijklmnopqrstu\")"));
    EXPECT_EQ(g_activate_flag, 1);
    EXPECT_EQ(g_quilan_status, 9);
}

TEST_F(DaemonTest, RegisterCodeHandsTheCodeOnUnchangedWhateverItIs) {
    for (const std::string& code :
         {std::string(), std::string(500, 'c'), std::string("a \"%s\"\n")}) {
        fake::journal().clear();
        fake::device().set_result("port_device_code_set", -1); // not looked at
        EXPECT_EQ(profession_sys_register_code(code.c_str()), 0);
        EXPECT_THAT(fake::journal().deeds(),
                    ElementsAre("port_device_code_set(" + fake::quoted(code) + ")"));
    }
    EXPECT_EQ(g_activate_flag, 1);
}

TEST_F(DaemonTest, StartSessionTakesTheActivationOnce) {
    g_quilan_status = 9;
    g_activate_flag = 1;
    quilan_state_start_session(12);
    EXPECT_EQ(g_quilan_status, 11);
    EXPECT_EQ(g_activate_flag, 0);
    g_quilan_status = 9;
    quilan_state_start_session(12);
    EXPECT_EQ(g_quilan_status, 12);
}

TEST_F(DaemonTest, StartSessionKeepsTheActivationWhenTheStateHasMovedMeanwhile) {
    g_quilan_status = 0; // the platform channel's loop has taken over
    g_activate_flag = 1;
    quilan_state_start_session(12);
    EXPECT_EQ(g_quilan_status, 0);
    EXPECT_EQ(g_activate_flag, 1);
}

TEST_F(DaemonTest, AdvanceOnlyMovesFromTheStateThatWasActedOn) {
    g_quilan_status = 12;
    EXPECT_FALSE(quilan_state_advance(13, 15));
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_TRUE(quilan_state_advance(12, 13));
    EXPECT_EQ(g_quilan_status, 13);
}

/**
 * Runs two actions at the same moment, with a look at the outcome after each round: 2,000 rounds,
 * fewer where a round takes long.
 */
void race(void (*prepare)(), void (*first)(), void (*second)(), void (*check)()) {
    constexpr int kRounds = 2'000;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    std::barrier meeting(2);
    std::atomic<bool> over = false;
    std::thread other([&] {
        for (meeting.arrive_and_wait(); !over; meeting.arrive_and_wait()) {
            second();
            meeting.arrive_and_wait();
        }
    });
    for (int round = 0; round < kRounds && std::chrono::steady_clock::now() < deadline; ++round) {
        prepare();
        meeting.arrive_and_wait();
        first();
        meeting.arrive_and_wait();
        check();
        if (testing::Test::HasFailure())
            break;
    }
    over = true;
    meeting.arrive_and_wait();
    other.join();
}

TEST_F(DaemonTest, ARaceBetweenConnectAndActivationRequestLosesNeither) {
    race(
        [] {
            g_quilan_status = 9;
            g_activate_flag = 0;
        },
        [] { quilan_state_start_session(12); }, [] { frame_quilan_state_set(11); },
        [] {
            // Either the connect found the request, or the request will cause another connect.
            const bool taken = g_quilan_status == 11 && g_activate_flag == 0;
            const bool pending = g_quilan_status == 9 && g_activate_flag == 1;
            EXPECT_TRUE(taken || pending) << g_quilan_status << ' ' << g_activate_flag;
        });
}

TEST_F(DaemonTest, ARaceBetweenTwoRequestsAndAConnectLeavesOneActivation) {
    race(
        [] {
            g_quilan_status = 9;
            g_activate_flag = 1;
        },
        [] { quilan_state_start_session(10); }, [] { frame_quilan_state_set(11); },
        [] {
            const bool taken = g_quilan_status == 11 && g_activate_flag == 0;
            const bool pending = g_quilan_status == 9 && g_activate_flag == 1;
            EXPECT_TRUE(taken || pending) << g_quilan_status << ' ' << g_activate_flag;
        });
}

TEST_F(DaemonTest, ARaceNeverOverwritesALostConnection) {
    race([] { g_quilan_status = 12; }, [] { quilan_state_advance(12, 13); },
         [] { g_quilan_status = 9; }, [] { EXPECT_EQ(g_quilan_status, 9); });
}

int s_moved[2];

TEST_F(DaemonTest, ARaceOfTwoTransitionsHasOneWinner) {
    race([] { g_quilan_status = 13; }, [] { s_moved[0] = quilan_state_advance(13, 15) ? 1 : 0; },
         [] { s_moved[1] = quilan_state_advance(13, 16) ? 1 : 0; },
         [] {
             EXPECT_EQ(s_moved[0] + s_moved[1], 1);
             EXPECT_EQ(g_quilan_status, s_moved[0] == 1 ? 15 : 16);
         });
}

} // namespace
