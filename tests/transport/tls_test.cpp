// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "coap_server.h"
#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/coap_pki.h"
#include "vx_coap/frame_coap.h"

/** @file The app channel over TLS. */
namespace transport {

class TlsTest : public TransportTest {
protected:
    /** Connects to a host by that name, and gives the name in the handshake. */
    std::string name_asked_for(const std::string& host) {
        set_platform(host, listener_.port(), kTls);
        open_session();
        Connection platform = listener_.accept();
        return platform.start_tls(identity_);
    }

    Listener listener_;
    Certificate certificate_ = make_certificate();
    TlsIdentity identity_{certificate_};
};

TEST_F(TlsTest, RequestsRepliesAndAnswersGoOverTls) {
    CoapServer platform([](const Message& message) { return content("re: " + message.body); },
                        &certificate_);
    set_platform("127.0.0.1", platform.port(), kTls);
    open_session();
    post(".sys/login", "body");
    ASSERT_TRUE(wait_for_replies(1));
    EXPECT_EQ(replies()[0], "re: body");

    platform.send(request(kPost, ".sys/gateway/service/reboot.cgi", {{kEcho1, "1"}}, {}, "token"));
    ASSERT_TRUE(platform.wait_for_answers(1));
    EXPECT_EQ(platform.answers()[0].option(kEcho1), "1");
}

TEST_F(TlsTest, ARequestOverTlsIsThatOverTcpUriPortIncluded) {
    Connection platform = establish_tls(listener_, identity_);
    // The URI has the plain scheme over TLS too, so 5683 is its default port and 5684 isn't.
    set_platform("127.0.0.1", 5684, kTls);
    post(".sys/data", "body");
    const Message message = platform.next_exchange();
    EXPECT_EQ(message.options, (Options{{kUriHost, "127.0.0.1"},
                                        {kUriPort, number_value(5684)},
                                        {kUriPath, ".sys"},
                                        {kUriPath, "data"},
                                        {kAccessToken, "the access token"}}));
    set_platform("127.0.0.1", 5683, kTls);
    post(".sys/data", "body");
    EXPECT_EQ(platform.next_exchange().option(kUriPort), std::nullopt);
}

TEST_F(TlsTest, TheSetUpIsAsTheGatewaysPlatformsNeedIt) {
    set_platform(listener_, kTls);
    ASSERT_EQ(frame_coap_connect(), 0);
    const probe::TlsSetup setup = probe::tls_setup();
    ASSERT_TRUE(setup.given);
    EXPECT_EQ(setup.protocol, COAP_PROTO_TLS);
    EXPECT_FALSE(setup.local_address);
    EXPECT_EQ(setup.record.version, COAP_DTLS_PKI_SETUP_VERSION);
    EXPECT_EQ(setup.record.verify_peer_cert, 0);
    EXPECT_EQ(setup.record.allow_self_signed, 1);
    EXPECT_EQ(setup.record.allow_expired_certs, 1);
    EXPECT_EQ(setup.record.cert_chain_validation, 1);
    EXPECT_EQ(setup.record.cert_chain_verify_depth, 2);
    EXPECT_EQ(setup.record.check_cert_revocation, 1);
    EXPECT_EQ(setup.record.allow_no_crl, 1);
    EXPECT_EQ(setup.record.allow_expired_crl, 1);
    EXPECT_EQ(setup.record.allow_bad_md_hash, 0);
    EXPECT_EQ(setup.record.allow_short_rsa_length, 0);
    EXPECT_EQ(setup.record.validate_cn_call_back, nullptr);
    EXPECT_EQ(setup.record.validate_sni_call_back, nullptr);
    EXPECT_EQ(setup.record.additional_tls_setup_call_back, nullptr);
    EXPECT_EQ(setup.record.pki_key.key_type, COAP_PKI_KEY_PEM);
    EXPECT_EQ(setup.record.pki_key.key.pem.ca_file, nullptr);
    EXPECT_EQ(setup.record.pki_key.key.pem.public_cert, nullptr);
    EXPECT_EQ(setup.record.pki_key.key.pem.private_key, nullptr);
}

TEST_F(TlsTest, TheRootCasAreThoseOfTheFirmware) {
    set_platform(listener_, kTls);
    ASSERT_EQ(frame_coap_connect(), 0);
    const vxq::RootCa expected = vxq::root_ca_at("/vxrom/vxconf");
    const probe::RootCas given = probe::root_cas();
    EXPECT_EQ(given.file, expected.file != nullptr ? expected.file : "null");
    EXPECT_EQ(given.directory, expected.directory != nullptr ? expected.directory : "null");
}

TEST_F(TlsTest, TheHandshakeAsksForTheHost) {
    EXPECT_EQ(name_asked_for("localhost"), "localhost");
}

TEST_F(TlsTest, TheHandshakeAsksForAnAddressAsItIs) {
    EXPECT_EQ(name_asked_for("127.0.0.1"), "127.0.0.1");
}

TEST_F(TlsTest, TheHandshakeAsksForLocalhostWhenThereIsNoHost) {
    EXPECT_EQ(name_asked_for(""), "localhost");
}

TEST_F(TlsTest, EachSessionAsksForTheHostOfItsTime) {
    EXPECT_EQ(name_asked_for("localhost"), "localhost");
    close_session();
    EXPECT_EQ(name_asked_for("127.0.0.1"), "127.0.0.1");
}

TEST_F(TlsTest, ALibcoapPlatformIsAskedForTheHost) {
    CoapServer platform([](const Message&) { return content("{}"); }, &certificate_);
    set_platform("localhost", platform.port(), kTls);
    open_session();
    post(".sys/login");
    ASSERT_TRUE(wait_for_replies(1));
    EXPECT_EQ(platform.names_asked_for(), std::vector<std::string>{"localhost"});
}

TEST_F(TlsTest, TheRecordIsTheSameOneEachTime) {
    set_platform(listener_, kTls);
    coap_context_t* const context = coap_new_context(nullptr);
    coap_dtls_pki_t* const first = vxq::setup_pki(context, "first");
    EXPECT_STREQ(first->client_sni, "first");
    EXPECT_EQ(vxq::setup_pki(context, "second"), first);
    EXPECT_STREQ(first->client_sni, "second");
    coap_free_context(context);
}

TEST_F(TlsTest, AHostIsCutTo255Bytes) {
    coap_context_t* const context = coap_new_context(nullptr);
    const std::string host(300, 'h');
    EXPECT_STREQ(vxq::setup_pki(context, host.c_str())->client_sni, host.substr(0, 255).c_str());
    coap_free_context(context);
}

TEST_F(TlsTest, AnExpiredCertificateOfAnotherHostIsTaken) {
    const TlsIdentity expired(make_expired_certificate());
    Connection platform = establish_tls(listener_, expired);
    post(".sys/login");
    EXPECT_EQ(platform.next_exchange().path(), ".sys/login");
}

TEST_F(TlsTest, WithoutASetUpTheSessionIsTriedAllTheSame) {
    probe::fail_next(probe::Fault::tls);
    set_platform(listener_, kTls);
    const int result = frame_coap_connect();
    const probe::TlsSetup setup = probe::tls_setup();
    EXPECT_TRUE(setup.tried);
    EXPECT_FALSE(setup.given);
    EXPECT_EQ(setup.protocol, COAP_PROTO_TLS);
    ASSERT_FALSE(errors().empty());
    EXPECT_EQ(errors()[0], "dtls_pki err\n");
    // What comes of it is libcoap's decision.
    EXPECT_EQ(result, g_coap_session != nullptr ? 0 : -1);
    EXPECT_EQ(logged(VX_LOG_ERROR, "session err\n"), g_coap_session == nullptr);
}

TEST_F(TlsTest, RequestsBeforeTheHandshakeGoOutBehindIt) {
    set_platform(listener_, kTls);
    open_session();
    EXPECT_LT(duration_of([] { post(".sys/login", "early"); }), milliseconds(3000));
    Connection platform = listener_.accept();
    platform.start_tls(identity_);
    platform.greet();
    EXPECT_EQ(platform.next_exchange().body, "early");
}

TEST_F(TlsTest, APlatformThatNeverSaysAWordIsNoBurden) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_LT(duration_of([&] {
                  post(".sys/login");
                  close_session();
              }),
              milliseconds(1500));
}

TEST_F(TlsTest, LargeMessagesArriveWholeInBothDirections) {
    Connection platform = establish_tls(listener_, identity_);
    const std::string body(200 * 1000, 'b');
    post(".sys/data", body);
    EXPECT_EQ(platform.next_exchange().body, body);
    const std::string reply(60 * 1000, 'r');
    platform.send(Message{kContent, {}, {}, reply});
    ASSERT_TRUE(wait_for_replies(1));
    EXPECT_EQ(replies()[0], reply);
}

TEST_F(TlsTest, TheEndOfTlsEndsTheSession) {
    Connection platform = establish_tls(listener_, identity_);
    post(".sys/login");
    platform.next_exchange();
    platform.end_tls();
    ASSERT_TRUE(wait_for_event(COAP_EVENT_TCP_CLOSED));
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_TRUE(logged(VX_LOG_PROGRESS, "event_handler # dtls disconnect from app\n"));
    EXPECT_TRUE(logged(VX_LOG_PROGRESS, "event_handler # tcp disconnect from app\n"));
    EXPECT_EQ(g_coap_refused, 0);
}

} // namespace transport
