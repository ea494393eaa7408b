// SPDX-License-Identifier: MIT
// The loop with a fake clock: every row of its state table.
#include "vxquilan/frame_vxquilan_net.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kKeyMode[] = R"({"keymode":"dh"})";
constexpr char kKeyReply[] = R"({"data":{"dh_key":"Aw=="}})";
constexpr char kAck[] = R"({"type":"ack"})";

std::string state_line(const char* name) {
    return std::string("frame_vxquilan_net #:") + name + "\n";
}

class Loop : public NetTest {
protected:
    Loop() {
        fake::device().allow({"port_device_sequence_set", "port_device_encryptkey_set"});
        loop.start();
        fake::journal().clear();
        fake::log().reset();
    }
    ~Loop() override {
        // The threads that the fake only notes; what they belong to ends here.
        g_tcp_thread = 0;
        g_heartbeat_thread = 0;
    }

    /** One pass in a state; the key exchange's diagnostics go nowhere. */
    void pass_in(int state) {
        g_quilan_status = state;
        pass();
    }
    void pass() {
        testing::internal::CaptureStdout();
        loop.pass();
        testing::internal::GetCapturedStdout();
    }
    /** Past the first pass, which always counts as a change of the mode. */
    void settle() {
        fake::device().set_result("port_device_ip_get", -1);
        pass();
        fake::device().set_result("port_device_ip_get", 0);
        fake::os().reset();
        fake::journal().clear();
        fake::log().reset();
    }
    /** With a connection, whose socket is 101. */
    void connect() {
        settle();
        pass_in(1);
        EXPECT_EQ(g_quilan_status, 3);
        fake::os().reset();
        fake::journal().clear();
        fake::log().reset();
    }
    static Lines announced() {
        Lines lines = log_lines(VX_LOG_PROGRESS);
        std::erase_if(lines, [](const std::string& line) {
            return line.rfind("frame_vxquilan_net", 0) != 0;
        });
        return lines;
    }
    static long elapsed() { return fake::os().elapsed_seconds(); }
    static void at(long seconds, std::function<void()> event) {
        fake::os().after(std::chrono::seconds(seconds), std::move(event));
    }

    vxq::NetLoop loop;
};

class Start : public NetTest {};

} // namespace

TEST_F(Start, PreparesAndBeginsAtZero) {
    g_quilan_status = 5;
    vxq::NetLoop loop;
    loop.start();
    EXPECT_EQ(g_quilan_status, 0);
    EXPECT_THAT(fake::journal().deeds(),
                ElementsAre("survive_broken_pipes()", "port_device_init_net()"));
}

TEST_F(Loop, TheFirstPassCountsAsAModeChange) {
    for (const int mode : {0, 3}) {
        fake::device().set_number("port_device_mode_get", mode);
        pass_in(8);
        EXPECT_EQ(g_quilan_status, 1) << "state 0 was acted on in the same pass";
    }
}

TEST_F(Loop, State0WithAnAddress) {
    settle();
    pass_in(0);
    EXPECT_EQ(g_quilan_status, 1);
    EXPECT_EQ(elapsed(), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("6 " + state_line("QUILAN_GET_IPADDRESS"), "6 ip:192.0.2.7\n"));
}

TEST_F(Loop, State0WithoutAnAddressTriesAgainInTwoSeconds) {
    settle();
    fake::device().set_result("port_device_ip_get", 1);
    pass_in(0);
    pass();
    EXPECT_EQ(g_quilan_status, 0);
    EXPECT_EQ(elapsed(), 4);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_GET_IPADDRESS"),
                                         state_line("QUILAN_GET_IPADDRESS")));
}

TEST_F(Loop, State1Connects) {
    settle();
    pass_in(1);
    EXPECT_EQ(g_quilan_status, 3);
    EXPECT_EQ(elapsed(), 0);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_TCP_CONNECT")));
}

TEST_F(Loop, State1FailsAndPausesTenSeconds) {
    settle();
    for (const int result : {-1, 17}) {
        fake::os().reset();
        fake::frame().set_connect_result(result);
        pass_in(1);
        EXPECT_EQ(g_quilan_status, 0);
        EXPECT_EQ(elapsed(), 10);
    }
}

TEST_F(Loop, State1StopsTheThreadsFirst) {
    settle();
    g_tcp_flag = 1;
    g_tcp_thread = 1;
    at(3, [] { g_tcp_thread = 0; });
    fake::frame().on_connect([] { EXPECT_EQ(elapsed(), 3); });
    pass_in(1);
    EXPECT_EQ(g_tcp_flag, 0);
    EXPECT_EQ(g_quilan_status, 3);
}

TEST_F(Loop, State2StopsTheThreadsAndCloses) {
    connect();
    g_tcp_flag = 1;
    g_tcp_thread = 1;
    g_heartbeat_thread = 1;
    at(1, [] { g_heartbeat_thread = 0; });
    at(2, [] {
        EXPECT_EQ(g_tcp_flag, 0) << "cleared after the first second";
        EXPECT_THAT(announced(), IsEmpty()) << "announced only when the threads have stopped";
        g_tcp_thread = 0;
    });
    pass_in(2);
    EXPECT_EQ(elapsed(), 2);
    EXPECT_EQ(g_quilan_status, 0);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_TCP_CLOSE")));
}

TEST_F(Loop, State2ClosesTheSocketOnce) {
    settle();
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    // The fake's first socket is 101.
    ASSERT_EQ(dup2(ends[0], 101), 101);
    close(ends[0]);
    pass_in(1);
    pass_in(2);
    char byte;
    EXPECT_EQ(recv(ends[1], &byte, 1, MSG_DONTWAIT), 0) << "the peer sees the close";
    // Another owner of the number must not be closed by a second pass.
    ASSERT_EQ(dup2(ends[1], 101), 101);
    pass_in(2);
    EXPECT_NE(fcntl(101, F_GETFD), -1) << "somebody else's descriptor was closed";
    close(101);
    close(ends[1]);
}

TEST_F(Loop, State3NegotiatesTheKeyMode) {
    struct Case {
        const char* reply;
        int next;
        int shown;
    };
    for (const Case& row : {Case{kKeyMode, 5, 100}, Case{R"({"keymode":"ecdh"})", 4, 101},
                            Case{R"({"keymode":"rsa"})", 2, 0}, Case{"", 2, 0}}) {
        connect();
        fake::frame().add_reply(row.reply);
        pass_in(3);
        EXPECT_EQ(g_quilan_status, row.next) << row.reply;
        EXPECT_THAT(announced(),
                    ElementsAre(state_line("QUILAN_PUBLIC_KEY"),
                                "frame_vxquilan_net # " + std::to_string(row.shown) + "\n"));
    }
}

TEST_F(Loop, State3WithoutAReply) {
    connect();
    pass_in(3);
    EXPECT_EQ(g_quilan_status, 2);
    EXPECT_EQ(elapsed(), 5);
}

TEST_F(Loop, State4StaysWithoutSleeping) {
    connect();
    pass_in(4);
    pass();
    pass();
    EXPECT_EQ(g_quilan_status, 4);
    EXPECT_EQ(elapsed(), 0);
    EXPECT_THAT(announced(),
                testing::AllOf(SizeIs(3), testing::Each(state_line("QUILAN_ECDH_PUBLIC_KEY"))));
    EXPECT_THAT(fake::frame().sent(), IsEmpty());
}

TEST_F(Loop, State4EndsWithAModeChange) {
    connect();
    pass_in(4);
    fake::device().set_number("port_device_mode_get", 2);
    pass();
    EXPECT_EQ(g_quilan_status, 1);
}

TEST_F(Loop, State5ExchangesKeys) {
    connect();
    fake::frame().add_reply(kKeyReply);
    pass_in(5);
    EXPECT_EQ(g_quilan_status, 7);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_DH_PUBLIC_KEY")));
}

TEST_F(Loop, State5Fails) {
    connect();
    fake::frame().add_reply("{}");
    pass_in(5);
    EXPECT_EQ(g_quilan_status, 2);
}

TEST_F(Loop, State7RegistersAndStartsTheReceiveThread) {
    connect();
    fake::frame().add_reply(kAck);
    fake::os().on_thread([] {
        EXPECT_EQ(elapsed(), 1);
        EXPECT_EQ(g_tcp_flag, 1);
        EXPECT_EQ(g_tcp_thread, 1);
    });
    pass_in(7);
    EXPECT_EQ(g_quilan_status, 6);
    EXPECT_EQ(elapsed(), 2);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_DEVICE_REG")));
    EXPECT_THAT(fake::journal().deeds(),
                ElementsAre("frame_socket_send_tcp(101, 1)",
                            "frame_socket_waitrecv_tcp(101, 1, 20)", "port_device_sequence_set()",
                            "start_detached_thread(frame_tcp_recv)"));
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(fake::os().threads().at(0).argument), 101);
}

TEST_F(Loop, State7Fails) {
    connect();
    fake::frame().add_reply(R"({"type":"nack"})");
    pass_in(7);
    EXPECT_EQ(g_quilan_status, 2);
    EXPECT_EQ(elapsed(), 1);
    EXPECT_EQ(g_tcp_flag, 0);
    EXPECT_THAT(fake::os().threads(), IsEmpty());
}

TEST_F(Loop, State7WithoutAReplyWaitsTwentySeconds) {
    connect();
    pass_in(7);
    EXPECT_EQ(g_quilan_status, 2);
    EXPECT_EQ(elapsed(), 21);
}

TEST_F(Loop, State7WithoutAThreadGoesOn) {
    connect();
    fake::os().refuse_threads(true);
    fake::frame().add_reply(kAck);
    pass_in(7);
    EXPECT_EQ(g_quilan_status, 6);
    EXPECT_THAT(log_lines(VX_LOG_ERROR),
                ElementsAre("frame_vxquilan_net:creat_thread_wait_info error!\n"));
    EXPECT_EQ(g_tcp_thread, 0);
}

TEST_F(Loop, State6StartsTheHeartbeatThread) {
    connect();
    pass_in(6);
    EXPECT_EQ(g_quilan_status, 8);
    EXPECT_EQ(elapsed(), 0);
    EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_HEARTBEAT")));
    EXPECT_THAT(fake::journal().deeds(),
                ElementsAre("start_detached_thread(frame_heartbeat_thread)"));
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(fake::os().threads().at(0).argument), 101);
}

TEST_F(Loop, State6WithoutAThreadGoesOn) {
    connect();
    fake::os().refuse_threads(true);
    pass_in(6);
    EXPECT_EQ(g_quilan_status, 8);
    EXPECT_THAT(log_lines(VX_LOG_ERROR),
                ElementsAre("frame_vxquilan_net:creat_thread_wait_info error!\n"));
    EXPECT_EQ(g_heartbeat_thread, 0);
}

TEST_F(Loop, AHeartbeatThatFailsAtOnceIsNotOverlooked) {
    connect();
    fake::os().on_thread([] {
        g_quilan_status = 2;
        g_heartbeat_thread = 0;
    });
    pass_in(6);
    EXPECT_EQ(g_quilan_status, 2);
}

TEST_F(Loop, State8Idles) {
    connect();
    pass_in(8);
    EXPECT_EQ(g_quilan_status, 8);
    EXPECT_EQ(elapsed(), 10);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(Loop, ALostConnectionIsNoticedAfterTheIdlePause) {
    connect();
    at(3, [] { g_quilan_status = 2; });
    pass_in(8);
    EXPECT_EQ(g_quilan_status, 2);
    pass();
    EXPECT_EQ(g_quilan_status, 0);
    EXPECT_EQ(elapsed(), 10);
}

TEST_F(Loop, StatesOfTheOtherChannelAreLeftAlone) {
    connect();
    for (const int state : {9, 16, -1, 100}) {
        fake::os().reset();
        pass_in(state);
        EXPECT_EQ(g_quilan_status, state);
        EXPECT_EQ(elapsed(), 10);
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(Loop, AnotherChannelsStateIsNotOverwrittenByAStepUnderWay) {
    connect();
    fake::frame().add_reply(kKeyMode);
    fake::frame().on_wait([] { g_quilan_status = 9; });
    pass_in(3);
    EXPECT_EQ(g_quilan_status, 9);
}

TEST_F(Loop, AModeChangeInEveryStateStartsAnew) {
    int mode = 10;
    for (int state = 0; state <= 8; ++state) {
        connect();
        g_tcp_flag = 1;
        g_tcp_thread = 1;
        g_heartbeat_thread = 1;
        at(2, [] { g_tcp_thread = 0; });
        at(4, [] { g_heartbeat_thread = 0; });
        fake::device().set_number("port_device_mode_get", ++mode);
        pass_in(state);
        EXPECT_EQ(g_quilan_status, 1) << "state 0 was acted on in the same pass";
        EXPECT_EQ(elapsed(), 4);
        EXPECT_EQ(g_tcp_flag, 0);
        EXPECT_THAT(announced(), ElementsAre(state_line("QUILAN_GET_IPADDRESS")));
    }
}

TEST_F(Loop, AModeChangeOverridesTheHeartbeatsClose) {
    connect();
    g_heartbeat_thread = 1;
    at(2, [] {
        g_quilan_status = 2;
        g_heartbeat_thread = 0;
    });
    fake::device().set_number("port_device_mode_get", 5);
    pass_in(8);
    EXPECT_EQ(g_quilan_status, 1);
}

TEST_F(Loop, AModeChangeClosesTheConnection) {
    settle();
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(dup2(ends[0], 101), 101);
    close(ends[0]);
    pass_in(1);
    fake::device().set_number("port_device_mode_get", 5);
    pass_in(8);
    char byte;
    EXPECT_EQ(recv(ends[1], &byte, 1, MSG_DONTWAIT), 0) << "the connection is still open";
    close(ends[1]);
}

TEST_F(Loop, TheSameModeAgainChangesNothing) {
    connect();
    pass_in(8);
    pass();
    EXPECT_EQ(g_quilan_status, 8);
}

TEST_F(Loop, TheWholeCourse) {
    fake::frame().add_reply(kKeyMode);
    fake::frame().add_reply(kKeyReply);
    fake::frame().add_reply(kAck);
    for (int count = 0; count < 7; ++count)
        pass();
    EXPECT_EQ(g_quilan_status, 8);
    EXPECT_THAT(announced(),
                ElementsAre(state_line("QUILAN_GET_IPADDRESS"), state_line("QUILAN_TCP_CONNECT"),
                            state_line("QUILAN_PUBLIC_KEY"), "frame_vxquilan_net # 100\n",
                            state_line("QUILAN_DH_PUBLIC_KEY"), state_line("QUILAN_DEVICE_REG"),
                            state_line("QUILAN_HEARTBEAT")));
    EXPECT_EQ(elapsed(), 12) << "two seconds around the registration, ten idle";
    EXPECT_EQ(fake::frame().sent().size(), 3U);
}
