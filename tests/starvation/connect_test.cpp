// SPDX-License-Identifier: MIT
// Connecting to the platform's CoAP endpoint, with memory running out anywhere between the look-up
// of the host's name and the end of the greeting.
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "asking.h"
#include "gateway.h"
#include "memory.h"
#include "os/process.h"
#include "state/state.h"
#include "transport/certificate.h"
#include "trials.h"
#include "vx_coap/frame_coap.h"
#include "vx_coap/session_life.h"

namespace starvation {

namespace {

/** What a platform sees of a session: the answers to everything that can be asked. */
std::string answers(Session& session) {
    std::string text;
    // One by one: a header that is cut in two would be too much for libcoap.
    for (const PlatformRequest& request : table_requests()) {
        session.platform().send(request.message);
        text += request.name + ' ' + describe(session.sent());
    }
    return text;
}

/** Memory is short while the gateway asks for the connection. */
class Connecting : public Course {
public:
    void prepare() override {
        // A connection that the daemon gives up again must not be taken for the next one.
        listener_.emplace();
        set_platform(listener_->address(), listener_->port());
    }
    void go() override { connected_ = connect(); }
    std::string outcome() override {
        if (!connected_)
            return "no connection";
        Session session(*listener_, kConnected);
        const std::string seen = answers(session);
        if (ordinary_.empty())
            ordinary_ = seen;
        EXPECT_EQ(seen, ordinary_) << "a session that lacks something for as long as it lasts";
        return seen;
    }
    void finish() override { frame_coap_close(); }

private:
    std::optional<transport::Listener> listener_;
    bool connected_ = false;
    std::string ordinary_;
};

/** Memory is short from then until both sides have greeted. */
class Greeting : public Course {
public:
    Greeting() { set_platform(listener_.address(), listener_.port()); }

    void prepare() override {
        if (!connect())
            throw std::runtime_error("the daemon does not connect");
        platform_ = listener_.accept();
    }
    void go() override {
        bool greeted = false;
        // A greeting that the daemon has no memory for is lost, and nothing follows.
        for (int round = 0; round < 20 && !settled(); ++round) {
            work(5);
            if (!greeted && platform_->readable()) {
                if (platform_->next_if_any())
                    platform_->send(transport::csm());
                greeted = true;
                round = 0;
            }
        }
    }
    std::string outcome() override {
        if (!vxq::s_session_life.established || g_coap_session == nullptr)
            return "no session";
        Session session(std::move(*platform_));
        return answers(session);
    }
    void finish() override {
        frame_coap_close();
        platform_.reset();
    }

private:
    static bool settled() { return vxq::s_session_life.established || g_coap_session == nullptr; }

    transport::Listener listener_;
    std::optional<transport::Connection> platform_;
};

/** Over TLS, between the connect and the greeting of both sides. */
class Handshake : public Course {
public:
    void prepare() override {
        listener_.emplace();
        set_platform(listener_->address(), listener_->port(), kTls);
        vxq::survive_broken_pipes();
        if (!connect())
            throw std::runtime_error("the daemon does not connect");
        platform_ = std::async(std::launch::async, [this] { return greet(); });
    }
    void go() override {
        for (int quiet = 0; quiet < kQuietRounds && !settled();) {
            const auto before = transport::Clock::now();
            work(kRoundMilliseconds);
            const bool waited =
                transport::Clock::now() - before >= std::chrono::milliseconds(kRoundMilliseconds);
            quiet = waited ? quiet + 1 : 0;
        }
    }
    std::string outcome() override {
        if (!vxq::s_session_life.established || g_coap_session == nullptr)
            return "no session";
        Session session(*platform_.get());
        return answers(session);
    }
    void finish() override {
        frame_coap_close();
        if (platform_.valid())
            platform_.get();
    }
    // Signatures and keys are longer or shorter by a byte, and OpenSSL's blocks with them.
    [[nodiscard]] bool is_steady() const override { return false; }
    [[nodiscard]] bool is_begun_by_coap() const override { return true; }
    [[nodiscard]] long stride() const override { return 10; } // of two thousand

private:
    static constexpr int kRoundMilliseconds = 5;
    static constexpr int kQuietRounds = 20; // a peer that has not answered by then will not

    static bool settled() {
        const vxq::SessionLife& life = vxq::s_session_life;
        return life.established || life.lost || g_coap_session == nullptr;
    }

    /** The platform's part; none when the daemon gives up. */
    std::optional<transport::Connection> greet() {
        try {
            transport::Connection connection = listener_->accept();
            connection.start_tls(identity_);
            connection.send(transport::csm());
            return connection;
        } catch (const transport::ConnectionEnded&) {
            return std::nullopt;
        }
    }

    transport::Certificate certificate_ = transport::make_certificate();
    transport::TlsIdentity identity_{certificate_};
    std::optional<transport::Listener> listener_;
    std::future<std::optional<transport::Connection>> platform_;
};

class Connect : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(heap_is_ours());
        equip_gateway();
    }
};

TEST_F(Connect, SurvivesWithoutMemory) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "one thread only, and two thousand trials: minutes, and no race to find";
#endif
    Connecting course;
    expect_survived("connect", course);
}

TEST_F(Connect, GreetingSurvivesWithoutMemory) {
    Greeting course;
    expect_survived("greeting", course);
}

TEST_F(Connect, HandshakeSurvivesWithoutMemory) {
    Handshake course;
    expect_survived("TLS handshake", course);
}

} // namespace

} // namespace starvation
