// SPDX-License-Identifier: MIT
#include "vxquilan/frame_tcp_recv.h"

#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

std::string message(const std::string& type, const std::string& more = "") {
    return R"({"type":")" + type + R"(","sequence":55)" + more + "}";
}

class Process : public NetTest {
protected:
    static int process(const std::string& text) { return frame_tcp_process(kSock, text.c_str()); }
    static std::string kind_line(int kind) {
        return "6 typemethods " + std::to_string(kind) + "\n";
    }
};

} // namespace

TEST_F(Process, AnAcknowledgementIsOnlyASignOfLife) {
    EXPECT_EQ(process(message("ack")), 0);
    EXPECT_EQ(g_heartbeat_recvflag, 1);
    EXPECT_THAT(log_lines(), ElementsAre("6 frame_tcp_process #\n", kind_line(10)));
    EXPECT_THAT(fake::journal().deeds(), IsEmpty());
}

TEST_F(Process, EveryKindHasItsHandler) {
    struct Case {
        std::string text;
        int kind;
        const char* operation;
    };
    const Case cases[] = {
        {message("cfg", R"(,"set":{"wifi":[]})"), 11, "vx_device_wifi(record)"},
        {message("cfg", R"(,"set":{"Wi-Fiswitch":{}})"), 12, "vx_device_wifitimer(record)"},
        {message("cfg", R"(,"set":{"wpsswitch":{"status":"ON"}})"), 14, "vx_device_wpsswitch(1)"},
        {message("cfg", R"(,"set":{"upgrade":{"downurl":"u","isreboot":"0"}})"), 15,
         "start_detached_thread(?)"},
    };
    fake::device().allow(
        {"vx_device_wifi", "vx_device_wifitimer", "vx_device_wpsswitch", "vx_device_upgrade"});
    for (const Case& row : cases) {
        fake::journal().clear();
        fake::log().reset();
        g_heartbeat_recvflag = 0;
        EXPECT_EQ(process(row.text), 0);
        EXPECT_EQ(log_lines()[1], kind_line(row.kind));
        EXPECT_THAT(fake::journal().deeds(),
                    ElementsAre("frame_socket_send_tcp(9, 1)", row.operation));
        EXPECT_EQ(g_heartbeat_recvflag, 1);
    }
    EXPECT_THAT(sent_texts(), testing::Each(ack_text(55)));
    fake::os().threads().at(0).entry(fake::os().threads().at(0).argument);
}

TEST_F(Process, AStatusQueryIsAnswered) {
    fake::device().allow({"vx_device_wifi_get", "vx_device_wifitimer_get"});
    EXPECT_EQ(process(message("get_status", R"(,"get":[])")), 0);
    EXPECT_THAT(sent_texts(), ElementsAre(testing::StartsWith("{\n\t\"type\":\t\"status\",\n"
                                                              "\t\"sequence\":\t55")));
}

TEST_F(Process, AStatusThatCannotBeBuiltIsPassedOn) {
    fake::device().allow({"vx_device_wifi_get", "vx_device_wifitimer_get"});
    JsonMemory memory;
    fake::device().on_call("vx_device_wifitimer_get", [&memory] { memory.refuse_from(0); });
    EXPECT_EQ(process(message("get_status", R"(,"get":[])")), -1);
}

TEST_F(Process, EverythingElseIsAcknowledged) {
    EXPECT_EQ(process(message("reboot")), 0);
    EXPECT_EQ(process(message("cfg", R"(,"set":{"other":1})")), 0);
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(55), ack_text(55)));
}

TEST_F(Process, WhatCannotBeClassifiedIsNoSignOfLife) {
    for (const char* const text : {"", "{}", R"({"type":"ack"})"}) {
        fake::log().reset();
        EXPECT_EQ(process(text), -1);
        EXPECT_EQ(log_lines()[0], "6 frame_tcp_process #\n");
    }
    EXPECT_EQ(g_heartbeat_recvflag, 0);
    EXPECT_THAT(fake::journal().deeds(), IsEmpty());
}

namespace {

class ReceiveThread : public NetTest {
protected:
    /** Runs the thread's entry on this thread until it ends. */
    static void run() {
        g_tcp_flag = 1;
        EXPECT_EQ(frame_tcp_recv(reinterpret_cast<void*>(std::intptr_t{kSock})), nullptr);
        EXPECT_EQ(g_tcp_thread, 0);
    }
    static std::size_t waits() { return fake::frame().waits().size(); }
};

} // namespace

TEST_F(ReceiveThread, WaitsFiveSecondsForEncryptedFrames) {
    fake::frame().on_wait([] {
        EXPECT_EQ(g_tcp_thread, 1);
        if (waits() == 3)
            g_tcp_flag = 0;
    });
    run();
    for (const fake::Wait& wait : fake::frame().waits()) {
        EXPECT_EQ(wait.sock, kSock);
        EXPECT_EQ(wait.mode, 1);
        EXPECT_EQ(wait.seconds, 5);
    }
    EXPECT_EQ(waits(), 3U);
}

TEST_F(ReceiveThread, DoesNothingOnceTheFlagIsCleared) {
    g_tcp_flag = 0;
    frame_tcp_recv(reinterpret_cast<void*>(std::intptr_t{kSock}));
    EXPECT_EQ(waits(), 0U);
    EXPECT_EQ(g_tcp_thread, 0);
}

TEST_F(ReceiveThread, EndsWithTheConnectionAndLeavesTheState) {
    for (const int result : {32, -1, -5}) {
        fake::frame().reset();
        g_quilan_status = 8;
        fake::frame().add_result(result);
        run();
        EXPECT_EQ(waits(), 1U) << result;
        EXPECT_EQ(g_quilan_status, 8);
        EXPECT_EQ(g_tcp_flag, 1) << "the flag is the loop's";
    }
}

TEST_F(ReceiveThread, GoesOnAfterEverythingElse) {
    for (const int result : {1, 11, 8, 3, 5})
        fake::frame().add_result(result);
    fake::frame().add_result(32);
    run();
    EXPECT_EQ(waits(), 6U);
}

// That the buffer is cleared between frames is checked by the transport's stand-in.
TEST_F(ReceiveThread, HandsTextsOn) {
    fake::frame().add_reply(message("reboot"));
    fake::frame().add_reply("no json, but a frame all the same");
    fake::frame().add_reply(message("ack"));
    fake::frame().add_result(32);
    run();
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(55)));
    EXPECT_EQ(g_heartbeat_recvflag, 1);
    EXPECT_EQ(waits(), 4U) << "a message that cannot be classified doesn't end the thread";
}

TEST_F(ReceiveThread, CountsAsRunningFromItsStart) {
    EXPECT_TRUE(vxq::start_tcp_recv(kSock));
    EXPECT_EQ(g_tcp_thread, 1);
    ASSERT_THAT(fake::os().threads(), SizeIs(1));
    const fake::StartedThread thread = fake::os().threads()[0];
    EXPECT_EQ(thread.entry, frame_tcp_recv);
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(thread.argument), kSock);
    g_tcp_thread = 0;
    fake::os().refuse_threads(true);
    EXPECT_FALSE(vxq::start_tcp_recv(kSock));
    EXPECT_EQ(g_tcp_thread, 0);
}
