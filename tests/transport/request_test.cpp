// SPDX-License-Identifier: MIT
#include <algorithm>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "coap_server.h"
#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file frame_coap_send: every byte of a request, and when none goes out. */
namespace transport {

namespace {

constexpr char kBody[] = "{\n\t\"key\":\t\"value\"\n}";
constexpr std::size_t kInitialLimit = 1152;

/** A listener on a port that others may use too: an address of the test's own. */
Listener listen_on(std::uint16_t port) {
    std::mt19937 random{std::random_device{}()};
    std::uniform_int_distribution<int> part(1, 254);
    for (int attempt = 0; attempt < 100; ++attempt) {
        try {
            return Listener("127.53." + std::to_string(part(random)) + '.' +
                                std::to_string(part(random)),
                            port);
        } catch (const std::runtime_error&) {
            continue; // somebody else's
        }
    }
    throw std::runtime_error("no free loopback address");
}

} // namespace

class RequestTest : public TransportTest {
protected:
    /** Opens a session and gives what a request to that path looks like. */
    Message sent_to(const std::string& path, const std::string& body = {}) {
        if (!platform_)
            platform_ = std::make_unique<Connection>(establish(listener_));
        EXPECT_EQ(post(path, body), 0);
        return platform_->next();
    }

    /** Posts a body of that many bytes; the message it makes, or nothing when it was refused. */
    std::optional<Message> sent_with_body_of(std::size_t size) {
        if (post(".sys/data", std::string(size, 'x')) == -1)
            return std::nullopt;
        return platform_->next();
    }

    /** How large a body can be for a message of `limit` bytes. */
    std::size_t largest_body(std::size_t limit) const {
        Message message = request(kPost, ".sys/data",
                                  {{kUriHost, listener_.address()},
                                   {kUriPort, number_value(listener_.port())},
                                   {kAccessToken, "the access token"}},
                                  std::string(limit, 'x'));
        return limit - (encode(message).size() - limit);
    }

    Listener listener_;
    std::unique_ptr<Connection> platform_;
};

TEST_F(RequestTest, IsAPostWithItsOptionsSortedNoTokenAndItsBody) {
    const Message message = sent_to(".sys/devInfoSync", kBody);
    EXPECT_EQ(message.code, kPost);
    EXPECT_EQ(message.token, "");
    EXPECT_EQ(message.options, (Options{{kUriHost, "127.0.0.1"},
                                        {kUriPort, number_value(listener_.port())},
                                        {kUriPath, ".sys"},
                                        {kUriPath, "devInfoSync"},
                                        {kAccessToken, "the access token"}}));
    EXPECT_EQ(message.body, kBody);
}

TEST_F(RequestTest, IsConfirmableAndHasNoTokenAndAMessageIdOfItsOwn) {
    probe::record_sent(true);
    sent_to(".sys/login");
    sent_to(".sys/login");
    const std::vector<probe::Sent> sent = probe::sent();
    ASSERT_EQ(sent.size(), 2u);
    for (const probe::Sent& message : sent) {
        EXPECT_EQ(message.type, COAP_MESSAGE_CON);
        EXPECT_EQ(message.code, kPost);
        EXPECT_EQ(message.token_length, 0u);
    }
    EXPECT_EQ(sent[1].message_id, (sent[0].message_id + 1) & 0xFFFF);
}

TEST_F(RequestTest, TypeAndCodeAreTheCallers) {
    probe::record_sent(true);
    platform_ = std::make_unique<Connection>(establish(listener_));
    EXPECT_EQ(frame_coap_send(COAP_MESSAGE_NON, kGet, nullptr, 0, ".sys/data"), 0);
    EXPECT_EQ(platform_->next().code, kGet);
    EXPECT_EQ(probe::sent().back().type, COAP_MESSAGE_NON);
}

TEST_F(RequestTest, WithoutABodyCarriesNone) {
    EXPECT_EQ(sent_to(".sys/heartbeat").body, "");
}

TEST_F(RequestTest, ABodyOfAnyBytesArrivesAsItIs) {
    std::string every_byte;
    for (int byte = 0; byte < 256; ++byte)
        every_byte.push_back(static_cast<char>(byte));
    EXPECT_EQ(sent_to(".sys/data", every_byte).body, every_byte);
}

TEST_F(RequestTest, OnPort5683ThereIsNoUriPort) {
    Listener platform = listen_on(5683);
    Connection connection = establish(platform);
    EXPECT_EQ(post(".sys/login"), 0);
    const Message message = connection.next();
    EXPECT_EQ(message.options,
              (Options{{kUriHost, platform.address()}, {kUriPath, ".sys"}, {kUriPath, "login"}}));
}

TEST_F(RequestTest, OnEveryOtherPortThereIsAUriPort) {
    sent_to(".sys/login");
    for (const int port : {1, 255, 256, 5682, 5684, 65535}) {
        set_platform("127.0.0.1", port);
        EXPECT_EQ(sent_to(".sys/login").option(kUriPort),
                  number_value(static_cast<std::uint32_t>(port)));
    }
}

TEST_F(RequestTest, OnlyActivateAndLoginCarryNoAccessToken) {
    for (const char* const path : {".sys/activate", ".sys/login"})
        EXPECT_EQ(sent_to(path).option(kAccessToken), std::nullopt) << path;
    for (const char* const path :
         {".sys/register", ".sys/devInfoSync", ".sys/heartbeat", ".sys/data", ".sys/refresh",
          ".sys/Login", ".sys/login2", ".sys/activat", "login"})
        EXPECT_EQ(sent_to(path).option(kAccessToken), "the access token") << path;
}

TEST_F(RequestTest, AnEmptyAccessTokenIsCarriedAsAnEmptyOption) {
    set_access_token("");
    EXPECT_EQ(sent_to(".sys/heartbeat").option(kAccessToken), "");
}

TEST_F(RequestTest, TheAccessTokenIsCarriedUpToItsLongest) {
    for (const std::size_t length : {1u, 12u, 13u, 127u}) {
        set_access_token(std::string(length, 't'));
        EXPECT_EQ(sent_to(".sys/heartbeat").option(kAccessToken), std::string(length, 't'));
    }
}

TEST_F(RequestTest, HostAndPortAreAskedForAgainForEveryRequest) {
    sent_to(".sys/heartbeat");
    set_platform("platform.example", 4321);
    const Message message = sent_to(".sys/heartbeat");
    EXPECT_EQ(message.option(kUriHost), "platform.example");
    EXPECT_EQ(message.option(kUriPort), number_value(4321));
}

TEST_F(RequestTest, AUriThatCannotBeParsedAddsNoOptionsOfItsOwn) {
    sent_to(".sys/heartbeat");
    set_platform("[::1", 4321); // a bracket that nobody closes
    EXPECT_EQ(sent_to(".sys/heartbeat").options,
              (Options{{kUriHost, "[::1"}, {kAccessToken, "the access token"}}));
}

TEST_F(RequestTest, APathIsCutWithTheUriAt127Bytes) {
    sent_to(".sys/heartbeat");
    set_platform("127.0.0.1", 4321);
    const std::string begin = "coap+tcp://127.0.0.1:4321/";
    const std::string path(200, 'p');
    EXPECT_EQ(sent_to(path).path(), path.substr(0, 127 - begin.size()));
}

TEST_F(RequestTest, PathAndQueryBecomeOneOptionForEachPart) {
    EXPECT_EQ(sent_to("one/two/three?a=1&b=2").options,
              (Options{{kUriHost, "127.0.0.1"},
                       {kUriPort, number_value(listener_.port())},
                       {kUriPath, "one"},
                       {kUriPath, "two"},
                       {kUriPath, "three"},
                       {kUriQuery, "a=1"},
                       {kUriQuery, "b=2"},
                       {kAccessToken, "the access token"}}));
}

TEST_F(RequestTest, APathOfManySegmentsStaysWithinItsBuffer) {
    std::string path;
    for (int segment = 0; segment < 45; ++segment)
        path += (segment != 0 ? "/" : "") + std::string(1, 's');
    set_platform(listener_);
    EXPECT_EQ(sent_to(path).path(), path);
}

TEST_F(RequestTest, WithoutASessionReturnsZeroAndSendsNothing) {
    probe::record_sent(true);
    g_run_flag = 1;
    EXPECT_EQ(post(".sys/heartbeat"), 0);
    EXPECT_TRUE(probe::sent().empty());
    EXPECT_EQ(fake::log().lines().size(), 0u);
}

TEST_F(RequestTest, AfterTheCloseReturnsZeroAndSendsNothing) {
    sent_to(".sys/heartbeat");
    probe::record_sent(true);
    frame_coap_close();
    EXPECT_EQ(post(".sys/heartbeat"), 0);
    EXPECT_TRUE(probe::sent().empty());
    EXPECT_TRUE(platform_->rest().empty());
}

TEST_F(RequestTest, BeforeTheReceiveThreadIsToRunReturnsZeroAndSendsNothing) {
    probe::record_sent(true);
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(post(".sys/heartbeat"), 0);
    EXPECT_TRUE(probe::sent().empty());
}

TEST_F(RequestTest, SentBeforeTheReceiveThreadsFirstStepIsNotDropped) {
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    frame_coap_recv_prepare();
    EXPECT_EQ(frame_coap_state(), 1);
    EXPECT_EQ(post(".sys/login", kBody), 0);
    start_receive_thread();
    Connection platform = listener_.accept();
    platform.greet();
    EXPECT_EQ(platform.next().body, kBody);
}

TEST_F(RequestTest, WithoutAReceiveThreadNothingIsSentOnceItIsAbandoned) {
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    frame_coap_recv_prepare();
    frame_coap_recv_abandon();
    EXPECT_EQ(frame_coap_state(), 0);
    probe::record_sent(true);
    EXPECT_EQ(post(".sys/login", kBody), 0);
    EXPECT_TRUE(probe::sent().empty());
}

TEST_F(RequestTest, WithoutAMessageReturnsMinusOneAndIsLogged) {
    sent_to(".sys/heartbeat");
    probe::fail_next(probe::Fault::message);
    EXPECT_EQ(post(".sys/heartbeat"), -1);
    EXPECT_EQ(errors().size(), 1u);
    EXPECT_EQ(errors()[0].rfind("frame_coap_send : ", 0), 0u);
    EXPECT_EQ(sent_to(".sys/data").path(), ".sys/data"); // the lock is free again
}

TEST_F(RequestTest, ARefusedSendIsToldOnStandardOutputAndReturnsZero) {
    // Nobody tells the daemon's loop of this connection's end, so it still has a session.
    frame_coap_set_callbacks({nullptr, nullptr});
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    platform.next();
    platform.close();
    ASSERT_TRUE(wait_until([] {
        testing::internal::CaptureStdout();
        const int result = post(".sys/heartbeat");
        const std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 0);
        return output == "send err";
    }));
}

TEST_F(RequestTest, BeforeThePlatformsCsmReturnsAtOnceAndGoesOutWithIt) {
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_EQ(platform.next().code, kCsm);
    EXPECT_LT(duration_of([] { EXPECT_EQ(post(".sys/login", kBody), 0); }), milliseconds(3000));
    platform.send(csm());
    const Message message = platform.next();
    EXPECT_EQ(message.path(), ".sys/login");
    EXPECT_EQ(message.body, kBody);
}

TEST_F(RequestTest, SeveralBeforeThePlatformsCsmGoOutInOrder) {
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    platform.next();
    for (const char* const body : {"first", "second", "third"})
        EXPECT_EQ(post(".sys/data", body), 0);
    platform.send(csm());
    for (const char* const body : {"first", "second", "third"})
        EXPECT_EQ(platform.next().body, body);
}

TEST_F(RequestTest, BeforeTheCsmAMessageOf1152BytesIsTheLargest) {
    set_platform(listener_);
    open_session();
    platform_ = std::make_unique<Connection>(listener_.accept());
    platform_->next();
    const std::size_t largest = largest_body(kInitialLimit);

    EXPECT_EQ(post(".sys/data", std::string(largest + 1, 'x')), -1);
    EXPECT_EQ(errors().size(), 1u);
    EXPECT_EQ(post(".sys/data", std::string(largest, 'x')), 0);
    platform_->send(csm());
    const Message message = platform_->next(); // the first that comes: nothing of the other one
    EXPECT_EQ(message.body.size(), largest);
    EXPECT_EQ(encode(message).size(), kInitialLimit);
}

TEST_F(RequestTest, ACsmWithoutASizeLeavesTheLimitAt1152Bytes) {
    platform_ = std::make_unique<Connection>(establish(listener_, csm(std::nullopt)));
    const std::size_t largest = largest_body(kInitialLimit);
    EXPECT_EQ(sent_with_body_of(largest + 1), std::nullopt);
    EXPECT_EQ(errors().size(), 1u);
    const std::optional<Message> message = sent_with_body_of(largest);
    ASSERT_TRUE(message);
    EXPECT_EQ(encode(*message).size(), kInitialLimit);
}

TEST_F(RequestTest, AMessageLargerThanThePlatformAllowsIsNotSentAndIsLogged) {
    for (const std::uint32_t limit : {200u, 1000u, 5000u, 100000u}) {
        platform_ = std::make_unique<Connection>(establish(listener_, csm(limit)));
        const std::size_t largest = largest_body(limit);
        const std::size_t errors_before = errors().size();
        EXPECT_EQ(sent_with_body_of(largest + 1), std::nullopt) << limit;
        EXPECT_EQ(errors().size(), errors_before + 1) << limit;
        const std::optional<Message> message = sent_with_body_of(largest);
        ASSERT_TRUE(message) << limit;
        EXPECT_EQ(encode(*message).size(), limit);
        close_session();
    }
}

TEST_F(RequestTest, OptionsLargerThanThePlatformAllowsAreNotSentHalf) {
    set_access_token(std::string(127, 't'));
    platform_ = std::make_unique<Connection>(establish(listener_, csm(64)));
    EXPECT_EQ(post(".sys/heartbeat"), -1);
    EXPECT_EQ(errors().size(), 1u);
    set_access_token("");
    EXPECT_EQ(sent_to(".sys/login").path(), ".sys/login"); // the first that comes
}

TEST_F(RequestTest, LargeMessagesArriveWholeThoughThePlatformReadsLate) {
    platform_ = std::make_unique<Connection>(establish(listener_));
    constexpr std::size_t kLarge = 1000 * 1000;
    constexpr int kMessages = 8;
    for (int index = 0; index < kMessages; ++index)
        EXPECT_EQ(post(".sys/data", std::string(kLarge, static_cast<char>('a' + index))), 0);
    for (int index = 0; index < kMessages; ++index)
        EXPECT_EQ(platform_->next().body, std::string(kLarge, static_cast<char>('a' + index)));
}

TEST_F(RequestTest, RepliesReachTheResponseHandler) {
    CoapServer platform([](const Message& message) { return content("re: " + message.body); });
    set_platform("127.0.0.1", platform.port());
    open_session();
    post(".sys/login", "first");
    post(".sys/data", "second");
    ASSERT_TRUE(wait_for_replies(2));
    EXPECT_EQ(replies(), (std::vector<std::string>{"re: first", "re: second"}));
}

TEST_F(RequestTest, ALibcoapPlatformSeesWhatWasSent) {
    CoapServer platform([](const Message&) { return content("{}"); });
    set_platform("127.0.0.1", platform.port());
    open_session();
    post(".sys/register", kBody);
    ASSERT_TRUE(platform.wait_for_requests(1));
    const Message message = platform.requests()[0];
    EXPECT_EQ(message.code, kPost);
    EXPECT_EQ(message.token, "");
    EXPECT_EQ(message.path(), ".sys/register");
    EXPECT_EQ(message.option(kUriHost), "127.0.0.1");
    EXPECT_EQ(message.option(kAccessToken), "the access token");
    EXPECT_EQ(message.body, kBody);
}

} // namespace transport
