// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>

#include <malloc.h>

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include "coap_server.h"
#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file Hundreds of sessions, each with its own kind of end, leave nothing behind. */
namespace transport {

namespace {

constexpr char kAnyResource[] = ".sys/gateway/system/changedevicename";
constexpr int kWarmUp = 32;
constexpr int kBlocks = 3;
constexpr int kCycles = 105; // of a block: each kind of end as often
// Less than one object of the rarest kind of end; OpenSSL's queue of errors breathes a little.
constexpr long kObjectAllowance = 12;
// For everything that isn't counted one by one.
constexpr long kHeapAllowance = 64L * 1024;

std::atomic<long> s_tls_objects{0};

void* tls_allocate(std::size_t size, const char*, int) {
    void* const object = std::malloc(size);
    s_tls_objects.fetch_add(object != nullptr ? 1 : 0, std::memory_order_relaxed);
    return object;
}

void* tls_reallocate(void* object, std::size_t size, const char*, int) {
    s_tls_objects.fetch_add(object == nullptr ? 1 : 0, std::memory_order_relaxed);
    return std::realloc(object, size);
}

void tls_free(void* object, const char*, int) {
    s_tls_objects.fetch_sub(object != nullptr ? 1 : 0, std::memory_order_relaxed);
    std::free(object);
}

// OpenSSL takes these only before its first allocation.
const bool s_tls_counted = CRYPTO_set_mem_functions(tls_allocate, tls_reallocate, tls_free) == 1;

/** What must not grow; threads apart, which take a moment to go. */
struct Holdings {
    int descriptors;
    long objects;
    long tls_objects;
    long heap;
};

/** Bytes that are allocated. */
long heap_in_use() {
#ifdef HAVE_MALLINFO2
    return static_cast<long>(mallinfo2().uordblks);
#else
    return mallinfo().uordblks;
#endif
}

Holdings holdings(int threads_expected) {
    EXPECT_TRUE(wait_until([&] { return running_threads() <= threads_expected; }));
    return {open_descriptors(), probe::objects(), s_tls_objects, heap_in_use()};
}

} // namespace

class CyclesTest : public TransportTest {
protected:
    /** Runs a cycle again and again and compares what the process holds. */
    void expect_nothing_left_behind(const std::function<void(int round)>& cycle) {
        const auto run = [&](int cycles) {
            for (int round = 0; round < cycles; ++round) {
                cycle(round);
                frame_coap_close();
                forget();
            }
        };
        ASSERT_TRUE(s_tls_counted);
        const int threads = running_threads() + 1; // race detectors add one of their own
        run(kWarmUp);
        const Holdings before = holdings(threads);
        Holdings after = before;
        // A table that grows does so once; a forgotten object is there in every block.
        long tls_growth = std::numeric_limits<long>::max();
        for (int block = 0; block < kBlocks; ++block) {
            const long tls_before = after.tls_objects;
            run(repetitions(kCycles));
            after = holdings(threads);
            tls_growth = std::min(tls_growth, after.tls_objects - tls_before);
        }
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.objects, before.objects);
        EXPECT_LE(tls_growth, kObjectAllowance);
        EXPECT_LE(after.heap, before.heap + kHeapAllowance);
    }

    /** One request in each direction, and one of seven ends. */
    void converse_and_end(Connection& platform, int round) {
        post(".sys/login", "{}");
        platform.next_exchange();
        platform.send(Message{kContent, {}, {}, "{}"});
        platform.send(request(kPost, kAnyResource, {{kEcho1, "1"}}));
        EXPECT_EQ(platform.next_exchange().option(kEcho1), "1");
        end(platform, round % 7);
    }

    Listener listener_;

private:
    static void end(Connection& platform, int kind) {
        switch (kind) {
        case 0:
            return platform.close();
        case 1:
            return platform.reset();
        case 2:
            platform.send("\x48\x02half");
            return platform.close();
        case 3:
            platform.send("\x48\x02half");
            return platform.reset();
        case 4:
            platform.send(request(kPost, ".sys/delDevice"));
            platform.rest();
            return;
        case 5:
            platform.send(std::string("\xF0\xFF\xFF\xFF\xFF\x02", 6));
            return;
        default:
            frame_coap_close();
        }
    }
};

TEST_F(CyclesTest, OverTcpNothingIsLeftBehind) {
    expect_nothing_left_behind([this](int round) {
        Connection platform = establish(listener_);
        converse_and_end(platform, round);
    });
}

TEST_F(CyclesTest, OverTlsNothingIsLeftBehind) {
    const TlsIdentity identity(make_certificate());
    expect_nothing_left_behind([&](int round) {
        Connection platform = establish_tls(listener_, identity);
        converse_and_end(platform, round);
    });
}

TEST_F(CyclesTest, RefusedConnectionsLeaveNothingBehind) {
    const ClosedPort port;
    expect_nothing_left_behind([&](int round) {
        set_platform("127.0.0.1", port.port(), round % 2 == 0 ? kPlain : kTls);
        open_session();
        post(".sys/login");
        EXPECT_TRUE(wait_for_event(COAP_EVENT_TCP_FAILED));
    });
}

TEST_F(CyclesTest, BrokenHandshakesLeaveNothingBehind) {
    expect_nothing_left_behind([&](int round) {
        set_platform(listener_, kTls);
        open_session();
        post(".sys/login");
        Connection platform = listener_.accept();
        if (round % 3 == 0)
            platform.reset();
        else if (round % 3 == 1)
            platform.send("this is no TLS");
        else
            platform.close();
        EXPECT_TRUE(receive_threads_ended());
        EXPECT_EQ(g_coap_refused, 1);
    });
}

TEST_F(CyclesTest, SessionsClosedWithMessagesWaitingLeaveNothingBehind) {
    expect_nothing_left_behind([&](int) {
        set_platform(listener_);
        open_session();
        Connection platform = listener_.accept();
        for (int message = 0; message < 10; ++message)
            post(".sys/data", "waits for the CSM");
        frame_coap_close();
    });
}

TEST_F(CyclesTest, SessionsWithALibcoapPlatformLeaveNothingBehind) {
    const Certificate certificate = make_certificate();
    CoapServer platform([](const Message&) { return content("{}"); }, &certificate);
    const auto cycle = [&] {
        set_platform("127.0.0.1", platform.port(), kTls);
        open_session();
        post(".sys/login");
        EXPECT_TRUE(wait_for_replies(1));
        close_session();
        forget();
    };
    for (int round = 0; round < 5; ++round)
        cycle();
    ASSERT_TRUE(wait_until([&] { return platform.open_sessions() == 0; }));
    const int descriptors = open_descriptors();
    const int threads = running_threads();
    for (int round = 0; round < repetitions(50); ++round)
        cycle();
    EXPECT_TRUE(wait_until([&] { return platform.open_sessions() == 0; }));
    EXPECT_TRUE(wait_until([&] { return open_descriptors() == descriptors; }));
    EXPECT_TRUE(wait_until([&] { return running_threads() <= threads; }));
}

} // namespace transport
