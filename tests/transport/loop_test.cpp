// SPDX-License-Identifier: MIT
#include <atomic>
#include <ctime>
#include <thread>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "coap_server.h"
#include "state/state.h"
#include "transport_test.h"
#include "vxquilan/frame_vxquilan.h"

/** @file The main loop on the real transport, where it is a matter of who comes first. */
namespace {

thread_local void (*t_after_request)() = nullptr;

} // namespace

// The daemon frees a request's body when it has been handed to the transport.
extern "C" void cJSON_free(void* text) {
    static const auto call = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "cJSON_free"));
    call(text);
    if (t_after_request != nullptr)
        t_after_request();
}

// The loop starts and ends the gateway's other daemons; not on the machine that runs the tests.
extern "C" int system(const char*) {
    return 0;
}

namespace transport {

namespace {

constexpr char kLoginReply[] =
    R"({"errcode": 0, "accessToken": "a", "refreshToken": "r", "timeOut": 7200})";

std::optional<Message> reply_to(const Message& message) {
    return content(message.path() == ".sys/login" ? kLoginReply : R"({"errcode": 0})");
}

int s_requests_finished = 0;

void wait_for_the_reply() {
    ++s_requests_finished;
    EXPECT_TRUE(wait_until([] { return g_coap_recvflag == 1; })) << "the reply is lost";
}

double processor_seconds() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

} // namespace

class LoopTest : public TransportTest {
protected:
    LoopTest() {
        fake::device().allow({"port_device_init",
                              "port_areacode_get",
                              "port_device_mode_get",
                              "port_device_id_get",
                              "port_device_secret_get",
                              "port_device_mac_get",
                              "port_device_sn_get",
                              "port_device_cuei_get",
                              "port_device_vendor_get",
                              "port_device_model_get",
                              "port_device_devtype_get",
                              "port_device_manu_get",
                              "port_device_prodid_get",
                              "port_device_hdversion_get",
                              "port_device_swversion_get",
                              "port_device_prottype_get",
                              "port_device_accesstoken_set",
                              "port_device_refreshtoken_set",
                              "port_device_timeout_set",
                              "port_device_timeout_get",
                              "vx_device_stainfo_get"});
        fake::device().set_text("port_device_id_get", "device");
        loop_.start();
    }

    vxq::AppLoop loop_;
};

TEST_F(LoopTest, APlatformThatAnswersBeforeTheSendReturnsIsFollowedAtOnce) {
    CoapServer platform(reply_to);
    set_platform("127.0.0.1", platform.port());
    s_requests_finished = 0;
    loop_.pass();
    ASSERT_EQ(g_quilan_status, kAppLogin);
    ++threads_;

    t_after_request = wait_for_the_reply;
    const auto took = duration_of([&] {
        loop_.pass();
        EXPECT_EQ(g_quilan_status, kAppDevInfoSync);
        // The first heartbeat goes out behind this one's reply, and may be answered by now too.
        loop_.pass();
        EXPECT_GE(g_quilan_status, kAppData);
    });
    t_after_request = nullptr;
    EXPECT_EQ(s_requests_finished, 2);
    EXPECT_LT(took, milliseconds(3000)); // nothing to wait for
    ASSERT_TRUE(platform.wait_for_requests(2));
    EXPECT_EQ(platform.requests()[0].path(), ".sys/login");
    EXPECT_EQ(platform.requests()[1].path(), ".sys/devInfoSync");
}

TEST_F(LoopTest, ARefusedConnectIsRepeatedAfterFiveSecondsAtNoCost) {
    ClosedPort port;
    set_platform("127.0.0.1", port.port());
    std::atomic<bool> stop{false};
    std::thread looping([&] {
        while (!stop)
            loop_.pass();
    });
    EXPECT_TRUE(wait_until([] { return logged(VX_LOG_UNUSUAL, "event_handler # event 4099\n"); }));
    const auto refused = Clock::now();
    const double used_before = processor_seconds();

    Listener listener = std::move(port).open();
    Connection platform = listener.accept();
    const double waited = std::chrono::duration<double>(Clock::now() - refused).count();
    EXPECT_GT(waited, 4.5);
    EXPECT_LT(waited, 8.0);
    // Asking the log every millisecond for a long time would cost more than this.
    EXPECT_LT(processor_seconds() - used_before, 0.5);

    platform.greet();
    EXPECT_EQ(platform.next_exchange().path(), ".sys/login");
    stop = true;
    platform.send(content(kLoginReply));
    looping.join();
    threads_ = 2;
}

} // namespace transport
