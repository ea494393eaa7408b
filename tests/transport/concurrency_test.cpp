// SPDX-License-Identifier: MIT
#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file Everybody at once: two senders, a demanding platform, and closes from everywhere. */
namespace transport {

namespace {

constexpr char kAnyResource[] = ".sys/gateway/system/changedevicename";
constexpr int kSenders = 2;
constexpr int kQuota = 80; // requests of each sender in a round

/** Who ends a round. */
enum class End {
    main_thread,
    two_threads,
    response_handler,
    resource_handler,
    sender,
    platform_close,
    platform_reset,
    count
};

/** What passed in one round, counted at the platform. */
struct Tally {
    int requests = 0;
    int answers = 0;
    bool last_answered = false; ///< the request that had the session closed
};

/** Plays the platform of one session until its end. */
class Platform {
public:
    Platform(Connection connection, End end) : connection_(std::move(connection)), end_(end) {}

    Tally play() {
        try {
            connection_.greet();
            while (step()) {
            }
        } catch (const ConnectionEnded&) { // by the daemon, as it should be
        } catch (const std::runtime_error& error) {
            ADD_FAILURE() << error.what();
        }
        return tally_;
    }

private:
    /** One message of the daemon, and what it sets off; false at the platform's own end. */
    bool step() {
        if (asked_ == tally_.answers && asked_ < kQuota)
            ask(kAnyResource);
        const Message message = connection_.next_exchange();
        if (message.code == kContent)
            take_answer(message);
        else
            take_request(message);
        return !ends();
    }

    void ask(const char* path) {
        connection_.send(request(kPost, path, {{kEcho1, std::to_string(asked_++)}}));
    }

    void take_answer(const Message& message) {
        EXPECT_EQ(message.option(kEcho1), std::to_string(tally_.answers));
        EXPECT_EQ(message.body, "{\n\t\"errcode\":\t0\n}");
        ++tally_.answers;
        tally_.last_answered = told_to_close_ && tally_.answers == asked_;
    }

    void take_request(const Message& message) {
        EXPECT_EQ(message.path(), ".sys/heartbeat");
        ++tally_.requests;
        connection_.send(Message{kContent, {}, {}, "{}"});
    }

    bool ends() {
        if (tally_.answers < kQuota / 2)
            return false;
        if (end_ == End::platform_close || end_ == End::platform_reset) {
            end_ == End::platform_close ? connection_.close() : connection_.reset();
            return true;
        }
        if (end_ == End::resource_handler && !told_to_close_ && asked_ == tally_.answers) {
            told_to_close_ = true;
            ask(".sys/delDevice");
            asked_all();
        }
        return false;
    }

    /** No further questions. */
    void asked_all() {
        while (tally_.answers < asked_) {
            const Message message = connection_.next_exchange();
            if (message.code == kContent)
                take_answer(message);
            else
                ++tally_.requests;
        }
        connection_.rest();
        throw ConnectionEnded("the daemon closed the connection");
    }

    Connection connection_;
    End end_;
    int asked_ = 0;
    bool told_to_close_ = false;
    Tally tally_;
};

} // namespace

class ConcurrencyTest : public TransportTest {
protected:
    ~ConcurrencyTest() override {
        stop_ = true;
        for (std::thread& sender : senders_)
            sender.join();
    }

    /** Two threads that send whenever there is a session, a quota in each round. */
    void start_senders() {
        for (int index = 0; index < kSenders; ++index)
            senders_.emplace_back([this, index] { send(index); });
    }

    void send(int index) {
        while (!stop_) {
            if (g_run_flag == 0 || quota_[index] <= 0) {
                std::this_thread::yield();
                continue;
            }
            --quota_[index];
            EXPECT_EQ(post(".sys/heartbeat", "{}"), 0);
            if (quota_[index] == kQuota / 2 && sender_closes_)
                frame_coap_close();
        }
    }

    Tally play_round(End end) {
        std::atomic<int> replies_left{end == End::response_handler ? kQuota / 2 : -1};
        on_reply = [&](const std::string&) {
            if (--replies_left == 0)
                frame_coap_close();
        };
        sender_closes_ = end == End::sender;
        set_platform(listener_);
        open_session();
        for (std::atomic<int>& quota : quota_)
            quota = kQuota;
        Tally tally;
        std::thread platform([&] { tally = Platform(listener_.accept(), end).play(); });
        if (end == End::main_thread || end == End::two_threads)
            close_amid(end);
        EXPECT_TRUE(receive_threads_ended());
        frame_coap_close();
        platform.join();
        return tally;
    }

    /** Closes once half of the quotas is used up. */
    void close_amid(End end) {
        EXPECT_TRUE(wait_until([&] { return quota_[0] + quota_[1] <= kQuota; }));
        std::thread other([&] {
            if (end == End::two_threads)
                frame_coap_close();
        });
        frame_coap_close();
        other.join();
    }

    Listener listener_;
    std::atomic<bool> stop_{false};
    std::atomic<bool> sender_closes_{false};
    std::atomic<int> quota_[kSenders] = {};
    std::vector<std::thread> senders_;
};

TEST_F(ConcurrencyTest, ClosesFromEverywhereAmidTrafficInBothDirections) {
    constexpr int kEnds = static_cast<int>(End::count);
    start_senders();
    int messages = 0;
    const int rounds = repetitions(8 * kEnds);
    for (int round = 0; round < rounds; ++round) {
        const End end = static_cast<End>(round % kEnds);
        const Tally tally = play_round(end);
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_coap_session, nullptr);
        if (end == End::resource_handler) {
            EXPECT_TRUE(tally.last_answered) << "the answer before the close is lost";
        }
        messages += 2 * (tally.requests + tally.answers);
    }
    RecordProperty("messages", messages);
    EXPECT_GT(messages, rounds * kQuota);
}

TEST_F(ConcurrencyTest, WithoutACloseNoMessageIsLost) {
    start_senders();
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    platform.greet();
    const int requests = repetitions(2000);
    for (std::atomic<int>& quota : quota_)
        quota = requests;
    std::atomic<int> received{0};
    std::thread reader([&] {
        int answers = 0;
        while (received < kSenders * requests || answers < requests) {
            const Message message = platform.next_exchange();
            if (message.code == kContent) {
                EXPECT_EQ(message.option(kEcho1), std::to_string(answers++));
                continue;
            }
            ++received;
            platform.send(Message{kContent, {}, {}, "{}"});
            if (received % kSenders != 0)
                continue;
            // libcoap up to 4.3.5 must not find this one's header at the edge of its read buffer.
            platform.wait_until_read();
            platform.send(
                request(kPost, kAnyResource, {{kEcho1, std::to_string(received / kSenders - 1)}}));
        }
    });
    reader.join();
    EXPECT_EQ(received, kSenders * requests);
    EXPECT_TRUE(wait_for_replies(static_cast<std::size_t>(kSenders * requests)));
    close_session();
}

TEST_F(ConcurrencyTest, OverTlsNoMessageIsLost) {
    const TlsIdentity identity(make_certificate());
    start_senders();
    Connection platform = establish_tls(listener_, identity);
    const int requests = repetitions(500);
    for (std::atomic<int>& quota : quota_)
        quota = requests;
    for (int received = 0; received < kSenders * requests; ++received) {
        EXPECT_EQ(platform.next_exchange().path(), ".sys/heartbeat");
        platform.send(Message{kContent, {}, {}, "{}"});
    }
    EXPECT_TRUE(wait_for_replies(static_cast<std::size_t>(kSenders * requests)));
    close_session();
}

TEST_F(ConcurrencyTest, SessionsThatAreClosedAsSoonAsTheyAreOpened) {
    start_senders();
    set_platform(listener_);
    const int rounds = repetitions(300);
    for (int round = 0; round < rounds; ++round) {
        for (std::atomic<int>& quota : quota_)
            quota = kQuota;
        open_session();
        frame_coap_close();
        forget();
        listener_.accept();
    }
}

} // namespace transport
