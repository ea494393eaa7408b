// SPDX-License-Identifier: MIT
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "libcoap_probe.h"
#include "transport_test.h"
#include "vx_coap/coap_pki.h"
#include "vx_coap/frame_coap.h"

/** @file frame_coap_connect: what it configures, and each way in which it fails. */
namespace transport {

namespace {

constexpr char kNoSuchHost[] = "no-such-host.invalid";
// Connecting to the broadcast address fails at once, without a packet.
constexpr char kUnconnectable[] = "255.255.255.255";

std::vector<std::string> s_libcoap_log;

void take_libcoap_log(coap_log_t level, const char* text) {
    s_libcoap_log.push_back(std::to_string(static_cast<int>(level)) + ' ' + text);
}

/** A folder that is gone with the test. */
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "vxquilan-transport-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const char* name) const { return path_ + '/' + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string text_of(const char* text) {
    return text != nullptr ? text : "null";
}

} // namespace

class ConnectTest : public TransportTest {};

TEST_F(ConnectTest, SetsBothHandlesAndTheConnectionComesUpInTheBackground) {
    Listener listener;
    set_platform(listener);

    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_NE(g_coap_ctx, nullptr);
    EXPECT_NE(g_coap_session, nullptr);
    EXPECT_EQ(coap_session_get_context(g_coap_session), g_coap_ctx);
    EXPECT_EQ(frame_coap_state(), 0);

    start_receive_thread();
    Connection platform = listener.accept();
    EXPECT_EQ(platform.next().code, kCsm);
}

TEST_F(ConnectTest, CountsSessions) {
    Listener listener;
    set_platform(listener);
    const int before = frame_coap_session_number();

    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(frame_coap_session_number(), before + 1);
    frame_coap_close();
    EXPECT_EQ(frame_coap_session_number(), before + 1);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(frame_coap_session_number(), before + 2);
}

TEST_F(ConnectTest, StartsLibcoapOnEveryConnectAndCleansUpOnEveryCloseThatFreesAContext) {
    Listener listener;
    set_platform(listener);

    for (int round = 1; round <= 3; ++round) {
        ASSERT_EQ(frame_coap_connect(), 0);
        frame_coap_close();
        frame_coap_close(); // nothing left to free
        EXPECT_EQ(probe::startups(), round);
        EXPECT_EQ(probe::contexts_freed(), round);
        EXPECT_EQ(probe::cleanups(), round);
    }
}

TEST_F(ConnectTest, CloseWithoutASessionIsHarmless) {
    frame_coap_close();
    frame_coap_close();
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(probe::cleanups(), 0);
}

TEST_F(ConnectTest, AnEmptyHostIsLocalhost) {
    Listener listener;
    set_platform("", listener.port());
    open_session();
    EXPECT_EQ(listener.accept().next().code, kCsm);
}

TEST_F(ConnectTest, AHostNameIsResolved) {
    Listener listener;
    set_platform("localhost", listener.port());
    open_session();
    EXPECT_EQ(listener.accept().next().code, kCsm);
}

TEST_F(ConnectTest, AsksForThePlatformOnEveryConnect) {
    Listener first;
    Listener second;
    set_platform(first);
    open_session();
    first.accept();
    close_session();

    set_platform(second);
    open_session();
    EXPECT_EQ(second.accept().next().code, kCsm);
}

TEST_F(ConnectTest, AResolverErrorIsLoggedAndFails) {
    set_platform(kNoSuchHost, 5683);
    EXPECT_EQ(frame_coap_connect(), -1);

    ASSERT_EQ(errors().size(), 2u);
    EXPECT_EQ(errors()[0].rfind("getaddrinfo: ", 0), 0u) << errors()[0];
    EXPECT_EQ(errors()[1].rfind("resolve_address ret -", 0), 0u) << errors()[1];
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(probe::contexts_made(), 0);
}

TEST_F(ConnectTest, AnAddressThatIsNotIpv4HasNoResult) {
    set_platform("::1", 5683);
    EXPECT_EQ(frame_coap_connect(), -1);
    EXPECT_EQ(errors().back().rfind("resolve_address ret -", 0), 0u);
}

TEST_F(ConnectTest, AContextThatCannotBeMadeIsLoggedByLibcoapAndFails) {
    Listener listener;
    set_platform(listener);
    fake::device().set_number("port_device_coap_debug", 7);
    s_libcoap_log.clear();
    coap_set_log_handler(take_libcoap_log);
    probe::fail_next(probe::Fault::context);
    const int result = frame_coap_connect();
    coap_set_log_handler(nullptr);

    EXPECT_EQ(result, -1);
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(g_coap_session, nullptr);
    EXPECT_EQ(std::count(s_libcoap_log.begin(), s_libcoap_log.end(), "7 cannot create context\n"),
              1);
}

TEST_F(ConnectTest, ASessionThatCannotBeMadeIsLoggedAndLeavesTheContext) {
    set_platform(kUnconnectable, 5683);
    EXPECT_EQ(frame_coap_connect(), -1);
    EXPECT_TRUE(logged(VX_LOG_ERROR, "session err\n"));
    EXPECT_NE(g_coap_ctx, nullptr);
    EXPECT_EQ(g_coap_session, nullptr);
    EXPECT_EQ(probe::contexts_freed(), 0);
}

TEST_F(ConnectTest, TheNextCloseFreesTheContextOfAFailedConnect) {
    set_platform(kUnconnectable, 5683);
    ASSERT_EQ(frame_coap_connect(), -1);
    frame_coap_close();
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(probe::contexts_freed(), 1);
    EXPECT_EQ(probe::cleanups(), 1);
}

TEST_F(ConnectTest, TheNextConnectFreesTheContextOfAFailedOne) {
    Listener listener;
    set_platform(kUnconnectable, 5683);
    ASSERT_EQ(frame_coap_connect(), -1);
    ASSERT_EQ(frame_coap_connect(), -1);
    EXPECT_EQ(probe::contexts_freed(), 1);

    set_platform(listener);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(probe::contexts_made(), 3);
    EXPECT_EQ(probe::contexts_freed(), 2);
}

TEST_F(ConnectTest, AFailedConnectCostsNoDescriptors) {
    set_platform(kUnconnectable, 5683);
    ASSERT_EQ(frame_coap_connect(), -1);
    frame_coap_close();
    const int before = open_descriptors();
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(frame_coap_connect(), -1);
        frame_coap_close();
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ConnectTest, SendsNoKeepAlivePings) {
    Listener listener;
    set_platform(listener);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(probe::keepalive(), 0);
}

TEST_F(ConnectTest, TheDeviceLibraryChoosesLibcoapsLogLevel) {
    Listener listener;
    set_platform(listener);
    fake::device().set_number("port_device_coap_debug", 3);
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(probe::log_level(), 3);
    EXPECT_EQ(probe::tls_log_level(), 3);
}

TEST_F(ConnectTest, TheLogLevelIsZeroWhenTheDeviceLibraryLeavesIt) {
    Listener listener;
    fake::device().reset();
    fake::device().allow({"port_device_coap_type", "port_device_coap_debug"});
    fake::device().set_text("port_device_app_ip", "127.0.0.1");
    fake::device().set_number("port_device_app_ip", listener.port());
    ASSERT_EQ(frame_coap_connect(), 0);
    EXPECT_EQ(probe::log_level(), 0);
    EXPECT_EQ(probe::tls_log_level(), 0);
    EXPECT_FALSE(probe::tls_setup().tried); // nor does it choose TLS then
}

TEST_F(ConnectTest, EveryTypeButOneIsPlainTcp) {
    for (const int type : {0, 2, -1}) {
        Listener listener;
        set_platform(listener);
        fake::device().set_number("port_device_coap_type", type);
        open_session();
        EXPECT_EQ(listener.accept().next().code, kCsm);
        close_session();
    }
    EXPECT_FALSE(probe::tls_setup().tried);
}

TEST_F(ConnectTest, TheRootCaLocationIsADirectoryWhenItIsOne) {
    const TemporaryFolder folder;
    const vxq::RootCa root_ca = vxq::root_ca_at(folder.path().c_str());
    EXPECT_EQ(root_ca.file, nullptr);
    EXPECT_EQ(text_of(root_ca.directory), folder.path());
}

TEST_F(ConnectTest, TheRootCaLocationIsAFileWhenItIsOneOrMissing) {
    const TemporaryFolder folder;
    const std::string file = folder / "root.pem";
    std::ofstream(file) << "certificates";
    for (const std::string& location : {file, folder / "missing", folder / "missing/too"}) {
        const vxq::RootCa root_ca = vxq::root_ca_at(location.c_str());
        EXPECT_EQ(text_of(root_ca.file), location);
        EXPECT_EQ(root_ca.directory, nullptr);
    }
}

TEST_F(ConnectTest, ALinkToADirectoryCountsAsOne) {
    const TemporaryFolder folder;
    const std::string link = folder / "link";
    std::filesystem::create_directory_symlink(folder.path(), link);
    EXPECT_EQ(vxq::root_ca_at(link.c_str()).file, nullptr);
}

} // namespace transport
