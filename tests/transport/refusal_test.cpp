// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

/** @file Connections that come to nothing, and what the loop is told about them. */
namespace transport {

namespace {

/** A TLS record: type, version 1.2, length, content. */
std::string record(std::uint8_t type, const std::string& content) {
    std::string bytes{static_cast<char>(type), 3, 3, static_cast<char>(content.size() >> 8),
                      static_cast<char>(content.size() & 0xFF)};
    return bytes + content;
}

std::string handshake(std::uint8_t type, const std::string& content) {
    std::string bytes{static_cast<char>(type), 0, static_cast<char>(content.size() >> 8),
                      static_cast<char>(content.size() & 0xFF)};
    return record(22, bytes + content);
}

/** A TLS 1.2 server's first words with a certificate that is none. */
std::string garbage_certificate() {
    const std::string random(32, 'r');
    const std::string suite = "\xC0\x2B"; // ECDHE with ECDSA, AES-128-GCM
    const std::string hello = std::string("\x03\x03") + random + '\0' + suite + '\0';
    const std::string der = "this is no certificate at all";
    const auto length3 = [](std::size_t length) {
        return std::string{0, static_cast<char>(length >> 8), static_cast<char>(length & 0xFF)};
    };
    const std::string list = length3(der.size()) + der;
    return handshake(2, hello) + handshake(11, length3(list.size()) + list);
}

} // namespace

class RefusalTest : public TransportTest {
protected:
    /** The session has come to nothing, which the loop can see. */
    void expect_refused() {
        EXPECT_TRUE(receive_threads_ended());
        EXPECT_EQ(g_coap_refused, 1);
        EXPECT_EQ(g_quilan_status, kAppConnect);
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_coap_session, nullptr);
    }

    void expect_broken_off_after_use(Connection& platform) {
        platform.reset();
        EXPECT_TRUE(receive_threads_ended());
        EXPECT_EQ(g_coap_refused, 0);
        EXPECT_EQ(g_quilan_status, kAppConnect);
    }

    Listener listener_;
};

TEST_F(RefusalTest, ARefusedConnectionIsEvent4099) {
    const ClosedPort port;
    set_platform("127.0.0.1", port.port());
    open_session();
    ASSERT_TRUE(wait_for_event(4099));
    EXPECT_EQ(events(), std::vector<int>{4099});
    expect_refused();
}

TEST_F(RefusalTest, ARefusedTlsConnectionIsEvent4099) {
    const ClosedPort port;
    set_platform("127.0.0.1", port.port(), kTls);
    open_session();
    ASSERT_TRUE(wait_for_event(4099));
    expect_refused();
}

TEST_F(RefusalTest, ARequestIntoARefusedConnectionIsHarmless) {
    const ClosedPort port;
    set_platform("127.0.0.1", port.port());
    ASSERT_EQ(frame_coap_connect(), 0);
    frame_coap_recv_prepare();
    EXPECT_EQ(post(".sys/login"), 0);
    start_receive_thread();
    EXPECT_EQ(post(".sys/login"), 0);
    ASSERT_TRUE(wait_for_event(4099));
    expect_refused();
    EXPECT_EQ(post(".sys/login"), 0);
}

TEST_F(RefusalTest, ConnectsAgainAndAgainAndTheFirstOneToALivingPlatformSucceeds) {
    for (int round = 0; round < 20; ++round) {
        const ClosedPort port;
        set_platform("127.0.0.1", port.port());
        open_session();
        ASSERT_TRUE(wait_for_event(4099, round + 1));
        expect_refused();
    }
    Connection platform = establish(listener_);
    EXPECT_EQ(g_coap_refused, 0);
    post(".sys/login");
    EXPECT_EQ(platform.next_exchange().path(), ".sys/login");
}

TEST_F(RefusalTest, AConnectionThatIsAcceptedAndClosedIsRefused) {
    set_platform(listener_);
    open_session();
    listener_.accept().close();
    expect_refused();
}

TEST_F(RefusalTest, AConnectionThatIsAcceptedAndResetIsRefused) {
    set_platform(listener_);
    open_session();
    listener_.accept().reset();
    expect_refused();
}

TEST_F(RefusalTest, AConnectionThatIsClosedBeforeItsFirstRequestIsRefused) {
    Connection platform = establish(listener_);
    platform.close();
    expect_refused();
}

TEST_F(RefusalTest, ARequestThatNeverWentOutIsNoUse) {
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    post(".sys/login"); // waits for the CSM
    platform.close();
    expect_refused();
}

TEST_F(RefusalTest, AConnectionThatIsLostAfterARequestIsNotRefused) {
    Connection platform = establish(listener_);
    post(".sys/login");
    platform.next_exchange();
    expect_broken_off_after_use(platform);
}

TEST_F(RefusalTest, ATlsConnectionThatIsLostAfterARequestIsNotRefused) {
    const TlsIdentity identity(make_certificate());
    Connection platform = establish_tls(listener_, identity);
    post(".sys/login");
    platform.next_exchange();
    expect_broken_off_after_use(platform);
}

TEST_F(RefusalTest, ATlsHandshakeThatIsClosedIsRefused) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_NE(platform.receive(), ""); // the greeting
    platform.close();
    expect_refused();
}

TEST_F(RefusalTest, ATlsHandshakeThatIsTurnedDownIsRefused) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_NE(platform.receive(), "");
    platform.send(record(21, "\x02\x28")); // fatal: handshake failure
    expect_refused();
}

TEST_F(RefusalTest, ATlsHandshakeAnsweredWithGarbageIsRefused) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    platform.send("HTTP/1.1 400 Bad Request\r\n\r\n");
    expect_refused();
}

TEST_F(RefusalTest, AGarbageCertificateIsRefused) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_NE(platform.receive(), "");
    platform.send(garbage_certificate());
    expect_refused();
}

TEST_F(RefusalTest, APlatformThatSpeaksPlainTcpIsRefusedOverTls) {
    set_platform(listener_, kTls);
    open_session();
    Connection platform = listener_.accept();
    platform.send(csm());
    expect_refused();
}

TEST_F(RefusalTest, AConnectForgetsTheRefusalOfTheSessionBefore) {
    const ClosedPort port;
    set_platform("127.0.0.1", port.port());
    open_session();
    ASSERT_TRUE(wait_for_event(4099));
    expect_refused();
    set_platform(listener_);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(g_coap_refused, 0);
}

TEST_F(RefusalTest, AnEventOfAnEndedSessionChangesNothingInTheNext) {
    // The reset is there already, but nobody has looked at it when the session is closed.
    for (int round = 0; round < 20; ++round) {
        Connection platform = establish(listener_);
        platform.reset();
        frame_coap_close();
        ASSERT_TRUE(receive_threads_ended());
        const std::size_t events_before = events().size();

        Connection next = establish(listener_);
        g_quilan_status = kAppOnline;
        post(".sys/heartbeat");
        EXPECT_EQ(next.next_exchange().path(), ".sys/heartbeat");
        EXPECT_EQ(g_quilan_status, kAppOnline);
        EXPECT_EQ(g_coap_refused, 0);
        for (std::size_t index = events_before; index < events().size(); ++index)
            EXPECT_TRUE(events()[index] == COAP_EVENT_TCP_CONNECTED ||
                        events()[index] == COAP_EVENT_SESSION_CONNECTED)
                << events()[index];
        close_session();
    }
}

TEST_F(RefusalTest, AFurtherEventOfTheSessionThatAnEventEndedIsNotPassedOn) {
    Connection platform = establish(listener_);
    platform.close(); // TCP closed, then session closed
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(events().back(), COAP_EVENT_TCP_CLOSED);
}

} // namespace transport
