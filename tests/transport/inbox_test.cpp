// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "libcoap_probe.h"
#include "transport_test.h"
#include "vx_coap/coap_inbox.h"
#include "vx_coap/coap_lock.h"
#include "vx_coap/frame_coap.h"

/** @file Requests are handled behind libcoap, in the order in which everything came. */
namespace transport {

namespace {

constexpr char kOwnResource[] = "test/resource";
constexpr char kAnyResource[] = ".sys/gateway/system/changedevicename";
constexpr std::uint8_t kServiceUnavailable = 0xA3; // 5.03

/** What happened on the receive thread, which alone writes; to be read when it has ended. */
std::vector<std::string> s_course;

std::string body_of(const coap_pdu_t* message) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    coap_get_data(message, &length, &data);
    return {reinterpret_cast<const char*>(data), length};
}

void handle(coap_resource_t*, coap_session_t*, const coap_pdu_t* request, const coap_string_t*,
            coap_pdu_t*) {
    const std::string body = body_of(request);
    s_course.push_back(body.substr(0, body.find(' ')) + (probe::inside() ? " inside libcoap" : ""));
    frame_coap_response(request, COAP_MESSAGE_NON, kContent, "{}", 2);
    if (body == "starve the next")
        probe::fail_next(probe::Fault::option);
}

} // namespace

class InboxTest : public TransportTest {
protected:
    InboxTest() {
        s_course.clear();
        on_reply = [](const std::string& reply) {
            s_course.push_back("reply " + reply);
        };
        on_event = [](int event) {
            if (event == COAP_EVENT_TCP_CLOSED)
                s_course.emplace_back("closed");
        };
    }

    Connection establish_with_resource() {
        set_platform(listener_);
        EXPECT_EQ(frame_coap_connect(), 0);
        frame_coap_serve(kOwnResource, nullptr, handle);
        start_receive_thread();
        Connection platform = listener_.accept();
        platform.greet();
        EXPECT_TRUE(wait_for_event(COAP_EVENT_SESSION_CONNECTED));
        return platform;
    }

    static std::string asking(const std::string& body) {
        return encode(request(kPost, kOwnResource, {{kEcho1, "1"}}, body, "token"));
    }

    Listener listener_;
};

TEST_F(InboxTest, NoHandlerRunsInsideLibcoap) {
    Connection platform = establish_with_resource();
    platform.send(asking("first"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    close_session();
    EXPECT_EQ(s_course, (std::vector<std::string>{"first"}));
}

TEST_F(InboxTest, AReplyWaitsForTheRequestsBeforeIt) {
    Connection platform = establish_with_resource();
    const std::string reply = encode(Message{kContent, {}, {}, "1"});
    platform.send(asking("first") + asking("second") + reply + asking("third"));
    for (int answer = 0; answer < 3; ++answer)
        EXPECT_EQ(platform.next_exchange().code, kContent);
    close_session();
    EXPECT_EQ(s_course, (std::vector<std::string>{"first", "second", "reply 1", "third"}));
}

TEST_F(InboxTest, TheEndOfTheConnectionWaitsToo) {
    // libcoap reads 1,472 bytes at a time and goes on for as long as it gets them, up to the end.
    constexpr std::size_t kPiece = 1472;
    Connection platform = establish_with_resource();
    std::string burst = asking("first") + asking("second");
    const std::size_t padding = kPiece - burst.size() - asking(std::string(300, '.')).size();
    burst += asking("third " + std::string(300 - 6 + padding, '.'));
    ASSERT_EQ(burst.size(), kPiece);
    {
        const vxq::CoapLock libcoap_waits;
        platform.send(burst);
        platform.close();
    }
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(s_course, (std::vector<std::string>{"first", "second", "third", "closed"}));
    EXPECT_FALSE(listener_.has_connection()) << "an answer made libcoap connect once more";
}

TEST_F(InboxTest, ARequestWithoutMemoryIsRefusedAndTheNextOneServed) {
    Connection platform = establish_with_resource();
    platform.send(asking("starve the next"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    platform.send(asking("starved"));
    const Message refusal = platform.next_exchange();
    EXPECT_EQ(refusal.code, kServiceUnavailable);
    EXPECT_EQ(refusal.token, "token");
    EXPECT_EQ(errors(), (std::vector<std::string>{"no room for a request, refused\n"}));
    platform.send(asking("third"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    close_session();
    EXPECT_EQ(s_course, (std::vector<std::string>{"starve", "third"}));
}

class InboxRoom : public ::testing::Test {
protected:
    static vxq::Message message_with(const std::string& body) {
        vxq::Message message(
            coap_pdu_init(COAP_MESSAGE_CON, COAP_REQUEST_CODE_POST, 7, body.size() + 1));
        coap_add_data(message.get(), body.size(),
                      reinterpret_cast<const std::uint8_t*>(body.data()));
        return message;
    }
    static bool keep(const vxq::Message& message) {
        return vxq::inbox_keep(nullptr, nullptr, message.get());
    }

    vxq::CoapLock lock_;
    vxq::Arrival arrival_{};
};

TEST_F(InboxRoom, IsOneMebibyteAndFreeAgainThen) {
    const std::string body(65024, 'x'); // with 512 bytes of its own, a sixteenth
    const vxq::Message message = message_with(body);
    for (int round = 0; round < 2; ++round) {
        for (int kept = 0; kept < 16; ++kept)
            ASSERT_TRUE(keep(message)) << kept;
        EXPECT_FALSE(keep(message));
        for (int taken = 0; taken < 16; ++taken) {
            ASSERT_TRUE(vxq::inbox_take(arrival_));
            EXPECT_EQ(body_of(arrival_.message.get()), body);
            EXPECT_EQ(coap_pdu_get_mid(arrival_.message.get()), 7);
        }
        EXPECT_TRUE(vxq::inbox_empty());
        EXPECT_FALSE(vxq::inbox_take(arrival_));
    }
}

TEST_F(InboxRoom, TakesOneMessageOfAnySize) {
    const std::string body(std::size_t{2} << 20, 'x');
    const vxq::Message large = message_with(body);
    ASSERT_TRUE(keep(large));
    EXPECT_FALSE(keep(message_with("small")));
    ASSERT_TRUE(vxq::inbox_take(arrival_));
    EXPECT_EQ(body_of(arrival_.message.get()), body);
    EXPECT_TRUE(vxq::inbox_empty());
}

/** What is asked for when the platform has gone before it is answered. */
class DroppedBurst : public InboxTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(DroppedBurst, OverTlsEndsTheSessionAndNothingElse) {
    const TlsIdentity identity(make_certificate());
    std::string burst;
    for (int index = 0; index < 8; ++index)
        burst += encode(request(kPost, GetParam(), {{kEcho1, std::to_string(index)}}));
    {
        Connection platform = establish_tls(listener_, identity);
        const vxq::CoapLock libcoap_waits;
        platform.send(burst);
        platform.reset();
    }
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(g_coap_session, nullptr);
    EXPECT_EQ(probe::frees_at_work(), 0);
}

INSTANTIATE_TEST_SUITE_P(Requests, DroppedBurst,
                         testing::Values(kAnyResource, ".sys/gateway/service/reboot.cgi",
                                         "unknown/to/us"),
                         [](const auto& path) { return std::to_string(path.index); });

} // namespace transport
