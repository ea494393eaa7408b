// SPDX-License-Identifier: MIT
// The app channel over TLS, in a build that verifies the platform against the system's root CAs.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

#include "libcoap_probe.h"
#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"

namespace transport {

/** A system whose only root CA is the test's. */
class Verified : public TransportTest {
protected:
    Verified() {
        std::ofstream(store_) << authority_.certificate();
        setenv("SSL_CERT_FILE", store_.c_str(), 1);
        setenv("SSL_CERT_DIR", "/nonexistent", 1);
    }
    ~Verified() override {
        unsetenv("SSL_CERT_FILE");
        unsetenv("SSL_CERT_DIR");
        std::filesystem::remove(store_);
    }

    /** Whether a session towards `host` comes about with that certificate. */
    bool taken(const Certificate& certificate, const std::string& host = "127.0.0.1") {
        const TlsIdentity identity(certificate);
        set_platform(host, listener_.port(), kTls);
        open_session();
        Connection platform = listener_.accept();
        try {
            platform.start_tls(identity);
        } catch (const std::runtime_error&) {
            // However it failed, the session must be over and count as a failed connect.
            EXPECT_TRUE(wait_for_event(COAP_EVENT_TCP_CLOSED) ||
                        wait_for_event(COAP_EVENT_TCP_FAILED));
            EXPECT_TRUE(receive_threads_ended());
            EXPECT_EQ(g_coap_refused, 1);
            EXPECT_EQ(g_coap_session, nullptr);
            return false;
        }
        platform.greet();
        post(".sys/login", "whole");
        EXPECT_EQ(platform.next_exchange().body, "whole");
        return true;
    }

    static std::string mismatch(const std::string& host) {
        return "the platform's certificate is not for " + host + "\n";
    }

    Listener listener_;
    Authority authority_;
    const std::filesystem::path store_ =
        std::filesystem::temp_directory_path() / ("store-" + std::to_string(getpid()) + ".pem");
};

TEST_F(Verified, TheCertificateOfTheAddressIsTaken) {
    EXPECT_TRUE(taken(authority_.sign("DNS:platform.example,IP:127.0.0.1")));
    EXPECT_TRUE(errors().empty());
}

TEST_F(Verified, TheCertificateOfTheNameIsTaken) {
    EXPECT_TRUE(taken(authority_.sign("DNS:localhost"), "localhost"));
}

// libcoap by itself tells the first name only.
TEST_F(Verified, TheNameMayBeAnyOfSeveral) {
    EXPECT_TRUE(taken(authority_.sign("DNS:a.example,DNS:b.example,DNS:localhost"), "localhost"));
}

TEST_F(Verified, NoHostMeansLocalhost) {
    EXPECT_TRUE(taken(authority_.sign("DNS:localhost"), ""));
}

TEST_F(Verified, ATrustedSelfSignedCertificateIsTaken) {
    const Certificate own = make_certificate();
    std::ofstream(store_) << own.certificate;
    EXPECT_TRUE(taken(own, "localhost"));
}

TEST_F(Verified, AnotherNameIsRefused) {
    EXPECT_FALSE(taken(authority_.sign("DNS:elsewhere.example"), "localhost"));
    EXPECT_TRUE(logged(VX_LOG_ERROR, mismatch("localhost")));
}

TEST_F(Verified, AnotherAddressIsRefused) {
    EXPECT_FALSE(taken(authority_.sign("IP:127.0.0.2")));
    EXPECT_TRUE(logged(VX_LOG_ERROR, mismatch("127.0.0.1")));
}

TEST_F(Verified, AnAddressIsNoName) {
    EXPECT_FALSE(taken(authority_.sign("DNS:127.0.0.1")));
    EXPECT_TRUE(logged(VX_LOG_ERROR, mismatch("127.0.0.1")));
}

TEST_F(Verified, APartOfTheNameIsRefused) {
    EXPECT_FALSE(taken(authority_.sign("DNS:local"), "localhost"));
    EXPECT_TRUE(logged(VX_LOG_ERROR, mismatch("localhost")));
}

TEST_F(Verified, AnExpiredCertificateIsRefused) {
    EXPECT_FALSE(taken(authority_.sign("IP:127.0.0.1", true)));
}

TEST_F(Verified, ASelfSignedCertificateIsRefused) {
    EXPECT_FALSE(taken(make_certificate(), "localhost"));
}

TEST_F(Verified, AnotherAuthoritysCertificateIsRefused) {
    const Authority another;
    EXPECT_FALSE(taken(another.sign("IP:127.0.0.1")));
}

TEST_F(Verified, WithoutRootCasNobodyIsTaken) {
    std::filesystem::remove(store_);
    EXPECT_FALSE(taken(authority_.sign("IP:127.0.0.1")));
    EXPECT_TRUE(logged(VX_LOG_ERROR, "no root certificates, no platform will be taken\n"));
}

TEST_F(Verified, TheNextPlatformIsJudgedByItself) {
    EXPECT_FALSE(taken(authority_.sign("DNS:localhost"), "127.0.0.1"));
    close_session();
    forget();
    EXPECT_TRUE(taken(authority_.sign("DNS:localhost"), "localhost"));
}

TEST_F(Verified, PlainTcpIsAsEver) {
    Connection platform = establish(listener_);
    post(".sys/login");
    EXPECT_EQ(platform.next_exchange().path(), ".sys/login");
}

TEST_F(Verified, TheHandshakeStillAsksForTheHost) {
    set_platform("localhost", listener_.port(), kTls);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(probe::tls_setup().sni, "localhost");
    EXPECT_EQ(probe::tls_setup().record.verify_peer_cert, 1);
}

// With masked logs libcoap must not write out messages, whatever the device library asks for.
TEST_F(Verified, LibcoapsLogStopsShortOfMessages) {
    for (const auto& [asked, given] : {std::pair(7, 6), std::pair(6, 6), std::pair(3, 3)}) {
        fake::device().set_number("port_device_coap_debug", asked);
        set_platform(listener_);
        ASSERT_EQ(frame_coap_connect(), 0);
        EXPECT_EQ(probe::log_level(), given);
        EXPECT_EQ(probe::tls_log_level(), given);
        frame_coap_close();
    }
}

} // namespace transport
