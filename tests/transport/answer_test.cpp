// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "coap_server.h"
#include "libcoap_probe.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file frame_coap_response: every byte of an answer to a request of the platform. */
namespace transport {

namespace {

constexpr char kAnyResource[] = ".sys/gateway/system/changedevicename";
constexpr char kOwnResource[] = "test/resource";

/** What the resource of the tests' own answers with. */
std::string s_body;
std::string s_request_body;
probe::Fault s_fault = probe::Fault::none;

void answer(coap_resource_t*, coap_session_t*, const coap_pdu_t* request, const coap_string_t*,
            coap_pdu_t*) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    coap_get_data(request, &length, &data);
    s_request_body.assign(reinterpret_cast<const char*>(data), length);
    probe::fail_next(s_fault);
    EXPECT_EQ(
        frame_coap_response(request, COAP_MESSAGE_NON, kContent, s_body.data(), s_body.size()), 0);
}

} // namespace

class AnswerTest : public TransportTest {
protected:
    AnswerTest() {
        s_body = "{}";
        s_request_body.clear();
        s_fault = probe::Fault::none;
    }

    /** A session that serves the tests' own resource beside the daemon's. */
    Connection establish_with_resource(const Message& signal = csm()) {
        set_platform(listener_);
        EXPECT_EQ(frame_coap_connect(), 0);
        frame_coap_serve(kOwnResource, answer, answer);
        start_receive_thread();
        Connection platform = listener_.accept();
        platform.greet(signal);
        EXPECT_TRUE(wait_for_event(COAP_EVENT_SESSION_CONNECTED));
        return platform;
    }

    Listener listener_;
};

TEST_F(AnswerTest, IsContentWithTheAccessTokenAndTheRequestsEchoesAndNoToken) {
    Connection platform = establish(listener_);
    platform.send(request(kPost, kAnyResource,
                          {{kAccessToken, "the platform's own"},
                           {kEcho1, "first"},
                           {kEcho2, "second"},
                           {kEcho3, "third"}},
                          {}, "a token"));
    const Message answer = platform.next_exchange();
    EXPECT_EQ(answer.code, kContent);
    EXPECT_EQ(answer.token, "");
    EXPECT_EQ(answer.options, (Options{{kAccessToken, "the access token"},
                                       {kEcho1, "first"},
                                       {kEcho2, "second"},
                                       {kEcho3, "third"}}));
    EXPECT_EQ(answer.body, "{\n\t\"errcode\":\t0\n}");
}

TEST_F(AnswerTest, IsNonConfirmable) {
    probe::record_sent(true);
    Connection platform = establish(listener_);
    platform.send(request(kPost, kAnyResource));
    platform.next_exchange();
    ASSERT_EQ(probe::sent().size(), 1u);
    EXPECT_EQ(probe::sent()[0].type, COAP_MESSAGE_NON);
    EXPECT_EQ(probe::sent()[0].code, kContent);
    EXPECT_EQ(probe::sent()[0].token_length, 0u);
}

TEST_F(AnswerTest, CarriesAnEmptyOptionForEachEchoThatTheRequestHasNot) {
    Connection platform = establish(listener_);
    platform.send(request(kPost, kAnyResource));
    EXPECT_EQ(
        platform.next_exchange().options,
        (Options{{kAccessToken, "the access token"}, {kEcho1, ""}, {kEcho2, ""}, {kEcho3, ""}}));
    platform.send(request(kPost, kAnyResource, {{kEcho2, "only this one"}}));
    EXPECT_EQ(platform.next_exchange().options, (Options{{kAccessToken, "the access token"},
                                                         {kEcho1, ""},
                                                         {kEcho2, "only this one"},
                                                         {kEcho3, ""}}));
}

TEST_F(AnswerTest, CarriesTheFirstOfRepeatedEchoes) {
    Connection platform = establish(listener_);
    platform.send(request(
        kPost, kAnyResource,
        {{kEcho1, "first"}, {kEcho1, "again"}, {kEcho3, ""}, {kEcho3, "behind an empty one"}}));
    EXPECT_EQ(
        platform.next_exchange().options,
        (Options{
            {kAccessToken, "the access token"}, {kEcho1, "first"}, {kEcho2, ""}, {kEcho3, ""}}));
}

TEST_F(AnswerTest, CarriesTheAccessTokenEvenWhenItIsEmpty) {
    set_access_token("");
    Connection platform = establish(listener_);
    platform.send(request(kPost, kAnyResource));
    EXPECT_EQ(platform.next_exchange().option(kAccessToken), "");
}

TEST_F(AnswerTest, AsksForTheAccessTokenEachTime) {
    Connection platform = establish(listener_);
    for (const char* const token : {"first", "second"}) {
        set_access_token(token);
        platform.send(request(kPost, kAnyResource));
        EXPECT_EQ(platform.next_exchange().option(kAccessToken), token);
    }
}

TEST_F(AnswerTest, EchoesValuesOfEveryLengthUnchanged) {
    Connection platform = establish(listener_);
    for (const std::size_t length : {0u, 1u, 12u, 13u, 14u, 254u, 255u}) {
        std::string value;
        for (std::size_t index = 0; index < length; ++index)
            value.push_back(static_cast<char>(index * 7)); // every byte, NUL first
        platform.send(
            request(kPost, kAnyResource, {{kEcho1, value}, {kEcho2, value}, {kEcho3, value}}));
        const Message answer = platform.next_exchange();
        for (const std::uint16_t number : {kEcho1, kEcho2, kEcho3})
            EXPECT_EQ(answer.option(number), value) << number << ' ' << length;
    }
}

TEST_F(AnswerTest, ARequestWithEveryPlatformOptionReachesTheHandler) {
    Connection platform = establish_with_resource();
    // 2049 and 2051 are odd: libcoap refuses them unless they are known.
    platform.send(
        request(kPost, kOwnResource,
                {{kBlock2, ""}, {kAccessToken, "t"}, {kEcho1, "1"}, {kEcho2, "2"}, {kEcho3, "3"}},
                "the body"));
    EXPECT_EQ(platform.next_exchange().code, kContent);
    EXPECT_EQ(s_request_body, "the body");
}

TEST_F(AnswerTest, ARequestWithAnUnknownCriticalOptionIsRefusedByLibcoap) {
    Connection platform = establish_with_resource();
    platform.send(request(kPost, kOwnResource, {{2053, "unknown"}}, "the body", "token"));
    const Message answer = platform.next_exchange();
    EXPECT_EQ(answer.code, kBadOption);
    EXPECT_EQ(answer.token, "token");
    EXPECT_EQ(s_request_body, "");
}

TEST_F(AnswerTest, CarriesTheBodyAsItIsOrNone) {
    Connection platform = establish_with_resource();
    for (const std::string& body :
         {std::string(), std::string("x"), std::string(3, '\0'), std::string(100 * 1000, 'l')}) {
        s_body = body;
        platform.send(request(kGet, kOwnResource));
        EXPECT_EQ(platform.next_exchange().body, body);
    }
}

TEST_F(AnswerTest, AnAnswerLargerThanThePlatformAllowsIsNotSentAndIsLogged) {
    Connection platform = establish_with_resource(csm(500));
    s_body.assign(501, 'x');
    platform.send(request(kGet, kOwnResource));
    ASSERT_TRUE(wait_until([] { return errors().size() == 1; }));
    s_body = "small";
    platform.send(request(kGet, kOwnResource));
    EXPECT_EQ(platform.next_exchange().body, "small"); // the first that comes
}

TEST_F(AnswerTest, EchoesLargerThanThePlatformAllowsAreNotSentHalf) {
    Connection platform = establish_with_resource(csm(500));
    const std::string large(255, 'e');
    platform.send(request(kGet, kOwnResource, {{kEcho1, large}, {kEcho2, large}, {kEcho3, large}}));
    platform.send(request(kGet, kOwnResource, {{kEcho1, "small"}}));
    EXPECT_EQ(platform.next_exchange().option(kEcho1), "small"); // the first that comes
    EXPECT_EQ(errors().size(), 1u);
}

TEST_F(AnswerTest, AnAnswerWithoutAMessageIsLoggedAndTheSessionGoesOn) {
    Connection platform = establish_with_resource();
    s_fault = probe::Fault::message;
    platform.send(request(kGet, kOwnResource));
    ASSERT_TRUE(wait_until([] { return errors().size() == 1; }));
    EXPECT_EQ(errors()[0].rfind("frame_coap_response : ", 0), 0u) << errors()[0];
    s_fault = probe::Fault::none;
    platform.send(request(kGet, kOwnResource));
    EXPECT_EQ(platform.next_exchange().body, "{}");
}

TEST_F(AnswerTest, RequestsWithTokensOfEveryLengthAreAnsweredWithoutOne) {
    Connection platform = establish(listener_);
    for (std::size_t length = 0; length <= 8; ++length) {
        platform.send(request(kPost, kAnyResource, {{kEcho1, std::to_string(length)}}, {},
                              std::string(length, 't')));
        const Message answer = platform.next_exchange();
        EXPECT_EQ(answer.token, "");
        EXPECT_EQ(answer.option(kEcho1), std::to_string(length));
    }
}

TEST_F(AnswerTest, RequestsInOnePieceAreAnsweredInOrder) {
    Connection platform = establish(listener_);
    std::string pieces;
    for (int index = 0; index < 10; ++index)
        pieces += encode(request(kPost, kAnyResource, {{kEcho1, std::to_string(index)}}));
    platform.send(pieces);
    for (int index = 0; index < 10; ++index)
        EXPECT_EQ(platform.next_exchange().option(kEcho1), std::to_string(index));
}

TEST_F(AnswerTest, ALibcoapPlatformGetsItsAnswer) {
    CoapServer platform([](const Message&) { return content("{}"); });
    set_platform("127.0.0.1", platform.port());
    open_session();
    post(".sys/login");
    ASSERT_TRUE(platform.wait_for_requests(1));
    platform.send(request(kPost, kAnyResource,
                          {{kAccessToken, "t"}, {kEcho1, "1"}, {kEcho2, "2"}, {kEcho3, "3"}}, "{}",
                          "token"));
    ASSERT_TRUE(platform.wait_for_answers(1));
    const Message answer = platform.answers()[0];
    EXPECT_EQ(answer.code, kContent);
    EXPECT_EQ(answer.token, "");
    EXPECT_EQ(
        answer.options,
        (Options{{kAccessToken, "the access token"}, {kEcho1, "1"}, {kEcho2, "2"}, {kEcho3, "3"}}));
}

} // namespace transport
