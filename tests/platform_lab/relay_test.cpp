// SPDX-License-Identifier: MIT
#include "address.h"
#include "relay.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <functional>

namespace vxp {
namespace {

using namespace std::chrono_literals;

TEST(Address, Texts) {
    EXPECT_EQ(parseAddress("127.0.0.1:5683").text(), "127.0.0.1:5683");
    EXPECT_EQ(parseAddress("0").text(), "127.0.0.1:0");
    EXPECT_EQ(parseAddress("[::1]:5684").text(), "[::1]:5684");
    for (const char* bad : {"", ":", "localhost:1", "127.0.0.1:", "127.0.0.1:65536", "1.2.3:4",
                            "127.0.0.1:-1", "127.0.0.1:x"}) {
        EXPECT_THROW(parseAddress(bad), std::invalid_argument) << bad;
    }
}

/// The platform's side of a relay, and a gateway, both plain sockets.
class RelayTest : public testing::Test {
protected:
    RelayTest() {
        Address any = parseAddress("0");
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        ::bind(m_listener, any.raw(), any.length);
        ::listen(m_listener, 5);
    }

    ~RelayTest() override {
        for (const int descriptor : {m_listener, m_platform, m_gateway}) {
            if (descriptor >= 0) {
                ::close(descriptor);
            }
        }
    }

    void open(bool framed) {
        m_relay.emplace("fault-tcp", parseAddress("0"), framed, m_recorder);
        m_relay->open(localAddress(m_listener));
        m_gateway = ::socket(AF_INET, SOCK_STREAM, 0);
        ASSERT_EQ(::connect(m_gateway, m_relay->address().raw(), m_relay->address().length), 0);
        ::fcntl(m_gateway, F_SETFL, O_NONBLOCK);
        until([&] {
            m_platform = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK);
            return m_platform >= 0;
        });
    }

    void until(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        while (!done()) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            processOnce();
        }
    }

    void processOnce() {
        std::vector<pollfd> descriptors;
        m_relay->fillPoll(descriptors);
        ::poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), 5);
        m_relay->process(descriptors);
    }

    /// Bytes that the other side's system has not taken yet.
    static int unacknowledged(int descriptor) {
        int bytes = 0;
        EXPECT_EQ(::ioctl(descriptor, SIOCOUTQ, &bytes), 0);
        return bytes;
    }

    /// Writes on the platform's side and gives what has reached the gateway when the end is there.
    std::string through(const std::string& bytes, std::size_t expected) {
        EXPECT_EQ(::write(m_platform, bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
        std::string received;
        until([&] {
            receive(received);
            return received.size() >= expected || m_ended;
        });
        return received;
    }

    void receive(std::string& received) {
        char buffer[4096];
        const ssize_t count = ::read(m_gateway, buffer, sizeof buffer);
        if (count > 0) {
            received.append(buffer, static_cast<std::size_t>(count));
        }
        m_ended = m_ended || count == 0 || (count < 0 && errno == ECONNRESET);
    }

    Recorder m_recorder;
    std::optional<Relay> m_relay;
    int m_listener = -1;
    int m_platform = -1;
    int m_gateway = -1;
    bool m_ended = false;
};

/// 2.05 with a token of four bytes and a payload; a header of 1 + 1 + 1 + 4 bytes.
std::string coapMessage(std::size_t payload) {
    std::string bytes{"\xd4\x00\x45TOKN\xff", 8};
    bytes[1] = static_cast<char>(payload + 1 - 13);
    return bytes + std::string(payload, 'p');
}

TEST_F(RelayTest, PassesBytesBothWays) {
    open(true);
    const std::string message = coapMessage(20);
    EXPECT_EQ(through(message + message, 2 * message.size()), message + message);
    ASSERT_EQ(::write(m_gateway, "hello", 5), 5);
    char buffer[16] = {};
    until([&] { return ::read(m_platform, buffer, sizeof buffer) == 5; });
    EXPECT_STREQ(buffer, "hello");
    EXPECT_EQ(m_recorder.count("listening"), 1U);
}

TEST_F(RelayTest, MuteLetsNothingThroughUntilItIsTakenOff) {
    open(true);
    m_relay->setFault({Fault::Kind::mute, 0});
    const std::string message = coapMessage(20);
    ASSERT_GT(::write(m_platform, message.data(), message.size()), 0);
    until([&] { return unacknowledged(m_platform) == 0; });
    processOnce();
    m_relay->setFault({});
    const std::string second = coapMessage(30);
    EXPECT_EQ(through(second, second.size()), second);
}

TEST_F(RelayTest, CutEndsTheMessageAndTheConnection) {
    open(true);
    m_relay->setFault({Fault::Kind::cut, 5});
    const std::string message = coapMessage(20);
    EXPECT_EQ(through(message, 1000), message.substr(0, 5));
    EXPECT_TRUE(m_ended);
    EXPECT_EQ(m_recorder.count("fault:cut"), 1U);
}

TEST_F(RelayTest, CorruptTurnsOneByteOfOneMessage) {
    open(true);
    m_relay->setFault({Fault::Kind::corrupt, 2});
    const std::string message = coapMessage(20);
    std::string expected = message + message;
    expected[2] = static_cast<char>(~expected[2]);
    EXPECT_EQ(through(message + message, expected.size()), expected);
}

TEST_F(RelayTest, SplitPutsTheHeaderAcrossTheEndOfARead) {
    for (const std::size_t offset : {2U, 3U}) {
        open(true);
        m_relay->setFault({Fault::Kind::split, offset});
        const std::string message = coapMessage(20);
        const std::string received = through(message, 1472 - offset + message.size());
        EXPECT_EQ(received.size(), 1472 - offset + message.size());
        EXPECT_EQ(received.substr(1472 - offset), message);
        EXPECT_EQ(static_cast<unsigned char>(received[1]), 0xe3) << "a pong";
        ::close(m_gateway);
        ::close(m_platform);
    }
    m_gateway = m_platform = -1;
}

TEST_F(RelayTest, SplitWaitsForAHeaderThatIsLongEnough) {
    open(true);
    const std::string pong{"\x00\xe3", 2};
    m_relay->setFault({Fault::Kind::split, 3});
    EXPECT_EQ(through(pong, 2), pong);
    EXPECT_EQ(m_recorder.count("fault:split-header"), 0U);
    EXPECT_GT(through(coapMessage(20), 1400).size(), 1000U);
    EXPECT_EQ(m_recorder.count("fault:split-header"), 1U);
}

TEST_F(RelayTest, MessagesAreToldApartWhateverTheirLengthForm) {
    open(true);
    std::string longForm{"\xe0\x01\x00\x45\xff", 5}; // 269 + 256 bytes behind the code
    longForm += std::string(269 + 256 - 1, 'l');
    const std::string shortForm{"\x20\x45\xff\x78", 4};
    m_relay->setFault({Fault::Kind::corrupt, 0});
    std::string expected = longForm + shortForm;
    expected[0] = static_cast<char>(~expected[0]);
    EXPECT_EQ(through(longForm + shortForm, expected.size()), expected);
    m_relay->setFault({Fault::Kind::cut, 1});
    EXPECT_EQ(through(longForm, 1000), longForm.substr(0, 1)) << "the next message is the next";
}

TEST_F(RelayTest, InjectDropAndReset) {
    open(true);
    std::string received;
    EXPECT_EQ(m_relay->inject("abc"), 1U);
    until([&] {
        receive(received);
        return received.size() == 3;
    });
    EXPECT_EQ(received, "abc");
    EXPECT_EQ(m_relay->dropAll(true), 1U);
    EXPECT_EQ(m_relay->dropAll(true), 0U);
    until([&] {
        receive(received);
        return m_ended;
    });
    EXPECT_EQ(m_relay->inject("abc"), 0U);
}

TEST_F(RelayTest, StallLeavesTheBytesOnTheGatewaysSide) {
    open(true);
    m_relay->setStalled(true);
    ASSERT_EQ(::write(m_gateway, "hello", 5), 5);
    char buffer[16] = {};
    until([&] { return unacknowledged(m_gateway) == 0; });
    processOnce();
    processOnce();
    EXPECT_EQ(::read(m_platform, buffer, sizeof buffer), -1);
    m_relay->setStalled(false);
    until([&] { return ::read(m_platform, buffer, sizeof buffer) == 5; });
}

TEST_F(RelayTest, PortInUseIsNamed) {
    open(true);
    Relay second("fault-tcp", m_relay->address(), true, m_recorder);
    try {
        second.open(localAddress(m_listener));
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_TRUE(std::string(error.what()).starts_with(m_relay->address().text()))
            << error.what();
    }
}

TEST_F(RelayTest, KnowsItsOwnConnections) {
    open(false);
    EXPECT_TRUE(m_relay->owns(remoteAddress(m_platform)));
    EXPECT_FALSE(m_relay->owns(localAddress(m_gateway)));
}

TEST(FindListener, FindsTheListeningSocketOnly) {
    const Address any = parseAddress("0");
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(listener, any.raw(), any.length), 0);
    const Address bound = localAddress(listener);
    EXPECT_EQ(findListener(bound), -1);
    ASSERT_EQ(::listen(listener, 1), 0);
    EXPECT_EQ(findListener(bound), listener);
    ::close(listener);
    EXPECT_EQ(findListener(bound), -1);
}

} // namespace
} // namespace vxp
