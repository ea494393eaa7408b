// SPDX-License-Identifier: MIT
#include <atomic>
#include <cerrno>
#include <ctime>
#include <thread>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file The receive thread: its flags, and how each way of closing ends it. */
namespace {

std::atomic<int> s_pauses{0};

} // namespace

// Only the receive thread pauses for 100 microseconds.
extern "C" int nanosleep(const timespec* time, timespec* rest) {
    static const auto call =
        reinterpret_cast<int (*)(const timespec*, timespec*)>(dlsym(RTLD_NEXT, "nanosleep"));
    if (time->tv_sec == 0 && time->tv_nsec == 100000)
        ++s_pauses;
    return call(time, rest);
}

namespace transport {

namespace {

// libcoap alone would notice a close after up to three seconds.
constexpr milliseconds kAtOnce{1500};
constexpr char kAnyResource[] = ".sys/gateway/system/changedevicename";

} // namespace

class ReceiveThreadTest : public TransportTest {
protected:
    /** After a close that happened on the receive thread: everything is over, and soon. */
    void expect_ended_at_once() {
        EXPECT_LT(duration_of([&] { EXPECT_TRUE(receive_threads_ended()); }), kAtOnce);
        EXPECT_EQ(frame_coap_state(), 0);
        EXPECT_EQ(g_run_flag, 0);
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_coap_session, nullptr);
        EXPECT_EQ(probe::contexts_freed(), 1);
        EXPECT_EQ(probe::cleanups(), 1);
    }

    /** To be run inside a callback: closes, and looks at what a caller can see. */
    static void close_and_look() {
        EXPECT_NE(g_coap_ctx, nullptr);
        frame_coap_close();
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_coap_session, nullptr);
        EXPECT_EQ(g_run_flag, 0);
        probe::record_sent(true);
        EXPECT_EQ(post(".sys/heartbeat"), 0);
        EXPECT_TRUE(probe::sent().empty());
        frame_coap_close(); // a second time is harmless
    }

    Listener listener_;
};

TEST_F(ReceiveThreadTest, SetsItsFlagsAndClearsThemAtItsEnd) {
    EXPECT_EQ(frame_coap_state(), 0);
    Connection platform = establish(listener_);
    EXPECT_EQ(g_run_flag, 1);
    EXPECT_EQ(g_coap_recv_thread, 1);
    EXPECT_EQ(frame_coap_state(), 1);
    EXPECT_FALSE(logged(VX_LOG_PROGRESS, "frame_coap_recv end\n"));

    close_session();
    EXPECT_EQ(g_run_flag, 0);
    EXPECT_EQ(g_coap_recv_thread, 0);
    EXPECT_TRUE(logged(VX_LOG_PROGRESS, "frame_coap_recv end\n"));
}

TEST_F(ReceiveThreadTest, ACloseFromAnotherThreadEndsItAtOnce) {
    Connection platform = establish(listener_);
    EXPECT_LT(duration_of([] { frame_coap_close(); }), kAtOnce);
    EXPECT_EQ(g_coap_ctx, nullptr);
    expect_ended_at_once();
    EXPECT_TRUE(platform.rest().empty());
}

TEST_F(ReceiveThreadTest, ACloseBeforeTheConnectionIsUpEndsItAtOnce) {
    set_platform(listener_);
    open_session();
    frame_coap_close();
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, ACloseBeforeItsFirstStepStands) {
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    frame_coap_close();
    start_receive_thread();
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, AClearedRunFlagEndsItWithTheNextMessage) {
    Connection platform = establish(listener_);
    g_run_flag = 0;
    platform.send(Message{kPing, {}, {}, {}});
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_NE(g_coap_ctx, nullptr);
}

TEST_F(ReceiveThreadTest, ACloseFromTheResponseHandlerEndsItAtOnce) {
    on_reply = [](const std::string&) {
        close_and_look();
    };
    Connection platform = establish(listener_);
    post(".sys/login");
    platform.next_exchange();
    platform.send(Message{kContent, {}, {}, "{}"});
    EXPECT_TRUE(platform.rest().empty());
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, RepliesBehindTheOneThatClosedTheSessionAreDropped) {
    on_reply = [](const std::string&) {
        frame_coap_close();
    };
    Connection platform = establish(listener_);
    post(".sys/login");
    platform.next_exchange();
    const std::string reply = encode(Message{kContent, {}, {}, "{}"});
    platform.send(reply + reply + reply);
    platform.rest();
    expect_ended_at_once();
    EXPECT_EQ(replies().size(), 1u);
}

TEST_F(ReceiveThreadTest, ACloseFromAResourceHandlerEndsItAtOnceBehindItsAnswer) {
    fake::device().on_call("vx_device_deldevice", [] { close_and_look(); });
    Connection platform = establish(listener_);
    platform.send(request(kPost, ".sys/delDevice"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    EXPECT_TRUE(platform.rest().empty());
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, ACloseFromAResourceHandlerOverTlsEndsItAtOnceBehindItsAnswer) {
    const TlsIdentity identity(make_certificate());
    Connection platform = establish_tls(listener_, identity);
    platform.send(request(kPost, ".sys/delDevice"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    EXPECT_TRUE(platform.rest().empty());
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, ACloseFromAnEventEndsItAtOnce) {
    Connection platform = establish(listener_);
    platform.close(); // the event handler closes
    ASSERT_TRUE(wait_for_event(COAP_EVENT_TCP_CLOSED));
    expect_ended_at_once();
    EXPECT_EQ(g_quilan_status, kAppConnect);
}

TEST_F(ReceiveThreadTest, ACloseFromTheEventOfTheEstablishedSessionEndsItAtOnce) {
    on_event = [](int event) {
        if (event == COAP_EVENT_SESSION_CONNECTED)
            close_and_look();
    };
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    platform.send(csm());
    platform.rest();
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, ACloseFromAnEventInsideASendEndsItAtOnce) {
    Connection platform = establish(listener_);
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        while (!stop)
            post(".sys/data", std::string(1000, 'x'));
    });
    platform.reset(); // the sender or the receive thread finds it first
    EXPECT_TRUE(receive_threads_ended());
    stop = true;
    sender.join();
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, AnAbortOfThePlatformEndsIt) {
    for (const std::uint8_t signal : {kRelease, kAbort}) {
        Connection platform = establish(listener_);
        platform.send(Message{signal, {}, {}, {}});
        EXPECT_TRUE(receive_threads_ended());
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_quilan_status, kAppConnect);
    }
}

TEST_F(ReceiveThreadTest, PingsAreAnswered) {
    Connection platform = establish(listener_);
    platform.send(Message{kPing, "token", {}, {}});
    EXPECT_EQ(platform.next().code, kPong);
}

TEST_F(ReceiveThreadTest, TheNextSessionNeedsNoPause) {
    for (int round = 0; round < 5; ++round) {
        Connection platform = establish(listener_);
        platform.send(request(kPost, kAnyResource));
        EXPECT_EQ(platform.next_exchange().code, kContent);
        EXPECT_LT(duration_of([&] { close_session(); }), kAtOnce);
    }
}

TEST_F(ReceiveThreadTest, AReplyThatComesAtOnceIsNotLost) {
    Connection platform = establish(listener_);
    constexpr int kRequests = 500;
    std::atomic<int> wrong{0};
    std::thread answering([&] {
        const std::string reply = encode(Message{kContent, {}, {}, "{}"});
        for (int index = 0; index < kRequests; ++index) {
            if (platform.next_exchange().path() != ".sys/heartbeat")
                ++wrong;
            platform.send(reply);
        }
    });
    on_reply = nullptr;
    for (std::size_t index = 0; index < kRequests; ++index) {
        post(".sys/heartbeat");
        ASSERT_TRUE(wait_for_replies(index + 1));
    }
    answering.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(ReceiveThreadTest, APlatformThatWaitsForEachAnswerWaitsForNoPause) {
    Connection platform = establish(listener_);
    s_pauses = 0;
    const auto took = duration_of([&] {
        for (int index = 0; index < 200; ++index) {
            platform.send(request(kPost, kAnyResource));
            EXPECT_EQ(platform.next_exchange().code, kContent);
        }
    });
    // One every three seconds, or two as the seconds begin.
    EXPECT_LE(s_pauses, 1 + took / milliseconds(2000));
}

TEST_F(ReceiveThreadTest, AnIdleReceiveThreadPauses) {
    Connection platform = establish(listener_);
    s_pauses = 0;
    EXPECT_TRUE(wait_until([] { return s_pauses != 0; }));
}

TEST_F(ReceiveThreadTest, ServesWithoutADescriptorToWaitOn) {
    probe::hide_descriptor(true);
    Connection platform = establish(listener_);
    platform.send(request(kPost, kAnyResource));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    EXPECT_LT(duration_of([] { frame_coap_close(); }), kAtOnce);
    expect_ended_at_once();
}

TEST_F(ReceiveThreadTest, APlatformThatNeverSendsItsCsmIsGivenUp) {
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    coap_context_set_csm_timeout(g_coap_ctx, 1);
    start_receive_thread();
    Connection platform = listener_.accept();
    EXPECT_TRUE(wait_for_event(COAP_EVENT_TCP_CLOSED));
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(g_coap_refused, 1);
}

class BrokenConnectionTest : public ReceiveThreadTest {
protected:
    /** The connection is broken, and nobody reads: only a write finds out. */
    void break_unnoticed(Connection& platform) {
        g_run_flag = 0;
        platform.send(Message{kPing, {}, {}, {}});
        ASSERT_TRUE(receive_threads_ended());
        platform.reset();
        g_run_flag = 1;
    }
};

TEST_F(BrokenConnectionTest, AWriteLeavesTheEndToTheReceiveThread) {
    Connection platform = establish(listener_);
    break_unnoticed(platform);
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(post(".sys/heartbeat"), 0);
    start_receive_thread();
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(g_quilan_status, kAppConnect);
    EXPECT_EQ(probe::contexts_freed(), 1);
}

TEST_F(BrokenConnectionTest, AWriteOverTlsLeavesTheEndToTheReceiveThread) {
    const TlsIdentity identity(make_certificate());
    Connection platform = establish_tls(listener_, identity);
    break_unnoticed(platform);
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(post(".sys/heartbeat"), 0);
    start_receive_thread();
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(g_quilan_status, kAppConnect);
    EXPECT_EQ(probe::contexts_freed(), 1);
}

TEST_F(BrokenConnectionTest, AnEventInsideASendEndsTheSession) {
    Connection platform = establish(listener_);
    probe::fail_next(probe::Fault::write);
    EXPECT_EQ(post(".sys/heartbeat"), 0);
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(g_quilan_status, kAppConnect);
    expect_ended_at_once();
    EXPECT_TRUE(platform.rest().empty());
}

TEST_F(BrokenConnectionTest, AnySocketOfTheProcessMayBreak) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const Descriptor here(ends[0]);
    close(ends[1]);
    EXPECT_EQ(write(here.get(), "x", 1), -1); // without the flag that libcoap gives
    EXPECT_EQ(errno, EPIPE);
}

} // namespace transport
