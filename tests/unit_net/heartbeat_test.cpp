// SPDX-License-Identifier: MIT
#include "vxquilan/net_heartbeat.h"

#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr int kIdle = 8;
constexpr int kClose = 2;

class Heartbeat : public NetTest {
protected:
    Heartbeat() {
        fake::device().allow({"port_device_sequence_set"});
        g_quilan_status = kIdle;
        g_tcp_flag = 1;
    }

    /** Runs the thread's entry on this thread until it ends. */
    static void run() {
        EXPECT_EQ(frame_heartbeat_thread(reinterpret_cast<void*>(std::intptr_t{kSock})), nullptr);
        EXPECT_EQ(g_heartbeat_thread, 0);
    }
    static void at(long seconds, std::function<void()> event) {
        fake::os().after(std::chrono::seconds(seconds), std::move(event));
    }
    static void message_at(long seconds) {
        at(seconds, [] { g_heartbeat_recvflag = 1; });
    }
    static void stop_at(long seconds) {
        at(seconds, [] { g_tcp_flag = 0; });
    }
    static std::vector<long> beats() {
        std::vector<long> times;
        for (const fake::SentFrame& frame : fake::frame().sent())
            times.push_back(static_cast<long>(
                std::chrono::duration_cast<std::chrono::seconds>(frame.at).count()));
        return times;
    }
};

} // namespace

TEST_F(Heartbeat, EveryFiveSecondsWhileThePlatformAnswers) {
    for (long second = 1; second < 60; second += 5)
        message_at(second);
    stop_at(31);
    run();
    EXPECT_THAT(beats(), ElementsAre(0, 5, 10, 15, 20, 25, 30));
    EXPECT_EQ(fake::os().elapsed_seconds(), 35);
    EXPECT_EQ(g_quilan_status, kIdle) << "a stop leaves the state alone";
}

TEST_F(Heartbeat, ASilentPlatformIsGivenUpAfterTwentySeconds) {
    run();
    EXPECT_THAT(beats(), ElementsAre(0));
    EXPECT_EQ(fake::os().elapsed_seconds(), 20);
    EXPECT_EQ(g_quilan_status, kClose);
    EXPECT_EQ(g_tcp_flag, 1) << "the flag is the loop's";
}

TEST_F(Heartbeat, TwentySecondsAfterTheLastHeartbeatThatWasAnswered) {
    message_at(1);
    message_at(6);
    run();
    EXPECT_THAT(beats(), ElementsAre(0, 5, 10));
    EXPECT_EQ(fake::os().elapsed_seconds(), 30);
}

TEST_F(Heartbeat, AnAnswerInTheLastSecondIsInTime) {
    message_at(20);
    run();
    // Not cleared by the late answer: the next period counts as answered, too.
    EXPECT_THAT(beats(), ElementsAre(0, 20, 25));
    EXPECT_EQ(fake::os().elapsed_seconds(), 45);
}

TEST_F(Heartbeat, AnAnswerJustTooLate) {
    fake::os().after(std::chrono::microseconds(20'000'001), [] { g_heartbeat_recvflag = 1; });
    run();
    EXPECT_EQ(fake::os().elapsed_seconds(), 20);
    EXPECT_EQ(g_quilan_status, kClose);
}

TEST_F(Heartbeat, AnAnswerBetweenFiveAndTwentySecondsDelaysTheNextBeat) {
    message_at(6);
    stop_at(22);
    run();
    EXPECT_THAT(beats(), ElementsAre(0, 20));
    EXPECT_EQ(fake::os().elapsed_seconds(), 25);
    EXPECT_EQ(g_quilan_status, kIdle);
}

TEST_F(Heartbeat, WhatCameBeforeItsStartDoesNotCount) {
    g_heartbeat_recvflag = 1;
    run();
    EXPECT_THAT(beats(), ElementsAre(0));
    EXPECT_EQ(fake::os().elapsed_seconds(), 20);
}

TEST_F(Heartbeat, ASendThatFailsClosesAtOnce) {
    for (const int result : {32, -1}) {
        fake::frame().set_send_result(result);
        fake::os().reset();
        g_quilan_status = kIdle;
        run();
        EXPECT_EQ(g_quilan_status, kClose);
        EXPECT_EQ(fake::os().elapsed_seconds(), 0);
    }
    EXPECT_THAT(device_calls(), IsEmpty()) << "the number advances with a successful send only";
}

TEST_F(Heartbeat, AStoppedThreadSendsNothing) {
    g_tcp_flag = 0;
    run();
    EXPECT_THAT(beats(), IsEmpty());
    EXPECT_EQ(g_quilan_status, kIdle);
}

TEST_F(Heartbeat, AStopDuringTheLongWaitStillEndsInAClose) {
    stop_at(7);
    run();
    EXPECT_EQ(fake::os().elapsed_seconds(), 20);
    EXPECT_EQ(g_quilan_status, kClose);
}

TEST_F(Heartbeat, TheMessageAndItsNumber) {
    run();
    ASSERT_THAT(fake::frame().sent(), SizeIs(1));
    EXPECT_EQ(fake::frame().sent()[0].sock, kSock);
    EXPECT_EQ(fake::frame().sent()[0].mode, 1);
    EXPECT_THAT(device_calls(), ElementsAre("port_device_sequence_set()"));
    EXPECT_EQ(fake::os().sleeps(),
              (std::vector<fake::Microseconds>{std::chrono::seconds(5), std::chrono::seconds(15)}));
}

TEST_F(Heartbeat, IsRunningWhileItRuns) {
    fake::frame().on_send([] { EXPECT_EQ(g_heartbeat_thread, 1); });
    run();
}

TEST_F(Heartbeat, CountsAsRunningFromItsStart) {
    EXPECT_TRUE(vxq::start_net_heartbeat(kSock));
    EXPECT_EQ(g_heartbeat_thread, 1);
    ASSERT_THAT(fake::os().threads(), SizeIs(1));
    const fake::StartedThread thread = fake::os().threads()[0];
    EXPECT_EQ(thread.entry, frame_heartbeat_thread);
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(thread.argument), kSock);
    g_heartbeat_thread = 0;
    fake::os().refuse_threads(true);
    EXPECT_FALSE(vxq::start_net_heartbeat(kSock));
    EXPECT_EQ(g_heartbeat_thread, 0);
}
