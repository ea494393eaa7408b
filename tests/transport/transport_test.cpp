// SPDX-License-Identifier: MIT
#include "transport_test.h"

#include <algorithm>

#include "libcoap_probe.h"
#include "os/process.h"
#include "os/thread.h"
#include "state/state.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/coap_events.h"
#include "vxquilan/coap_resources.h"

namespace transport {

namespace {

constexpr char kEndOfThread[] = "frame_coap_recv end\n";

std::string text_of(const coap_pdu_t* message) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    if (coap_get_data(message, &length, &data) == 0)
        return {};
    return {reinterpret_cast<const char*>(data), length};
}

void reset_flags() {
    for (auto* const flag : {&g_quilan_status, &g_coap_recvflag, &g_app_count, &g_activate_flag,
                             &g_coap_refused, &g_run_flag, &g_coap_recv_thread})
        *flag = 0;
}

} // namespace

TransportTest* TransportTest::s_current = nullptr;

TransportTest::TransportTest() {
    s_current = this;
    fake::journal().clear();
    fake::log().reset();
    fake::device().reset();
    fake::device().allow({"vx_device_deldevice", "vx_device_reboot", "vx_device_restoredefcfg"});
    fake::device().set_number("port_device_coap_debug", 0);
    set_access_token("the access token");
    set_platform("127.0.0.1", 1);
    probe::reset();
    reset_flags();
    vxq::survive_broken_pipes();
    frame_coap_set_callbacks({take_reply, take_event});
}

TransportTest::~TransportTest() {
    frame_coap_close();
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(probe::overlaps(), 0) << "two threads were inside libcoap with one context";
    EXPECT_EQ(probe::frees_at_work(), 0) << "a context was freed while libcoap worked on it";
    EXPECT_EQ(probe::unlocked_changes(), 0) << "libcoap was changed outside the lock";
    EXPECT_EQ(fake::journal().complaints(), std::vector<std::string>{});
    s_current = nullptr;
}

void TransportTest::set_platform(const std::string& host, int port, CoapType type) {
    fake::device().set_text("port_device_app_ip", host);
    fake::device().set_number("port_device_app_ip", port);
    fake::device().set_number("port_device_coap_type", type);
}

void TransportTest::set_platform(const Listener& listener, CoapType type) {
    set_platform(listener.address(), listener.port(), type);
}

void TransportTest::set_access_token(const std::string& token) {
    fake::device().set_text("port_device_accesstoken_get", token);
}

void TransportTest::start_receive_thread() {
    frame_coap_recv_prepare();
    ASSERT_TRUE(vxq::start_detached_thread(frame_coap_recv, nullptr));
    ++threads_;
}

void TransportTest::open_session() {
    ASSERT_EQ(frame_coap_connect(), 0);
    frame_coap_register_list();
    start_receive_thread();
}

Connection TransportTest::establish(Listener& listener, const Message& signal) {
    set_platform(listener);
    open_session();
    Connection platform = listener.accept();
    greet(platform, signal);
    return platform;
}

Connection TransportTest::establish_tls(Listener& listener, const TlsIdentity& identity) {
    set_platform(listener, kTls);
    open_session();
    Connection platform = listener.accept();
    platform.start_tls(identity);
    greet(platform, csm());
    return platform;
}

void TransportTest::greet(Connection& platform, const Message& signal) {
    platform.greet(signal);
    EXPECT_TRUE(wait_for_event(COAP_EVENT_SESSION_CONNECTED, ++greeted_));
}

void TransportTest::close_session() {
    frame_coap_close();
    ASSERT_TRUE(receive_threads_ended());
}

bool TransportTest::receive_threads_ended() const {
    return wait_until([this] {
        const std::vector<std::string> lines = fake::log().texts(VX_LOG_PROGRESS);
        return std::count(lines.begin(), lines.end(), kEndOfThread) == threads_;
    });
}

void TransportTest::forget() {
    ASSERT_TRUE(receive_threads_ended());
    EXPECT_EQ(fake::journal().complaints(), std::vector<std::string>{});
    fake::journal().clear();
    fake::log().reset();
    threads_ = 0;
    greeted_ = 0;
    const std::lock_guard guard(mutex_);
    replies_ = {};
    events_ = {};
}

int TransportTest::post(const std::string& path, const std::string& body) {
    return frame_coap_send(COAP_MESSAGE_CON, kPost, body.data(), body.size(), path.c_str());
}

std::vector<std::string> TransportTest::replies() const {
    const std::lock_guard guard(mutex_);
    return replies_;
}

std::vector<int> TransportTest::events() const {
    const std::lock_guard guard(mutex_);
    return events_;
}

bool TransportTest::wait_for_replies(std::size_t count) const {
    return wait_until([&] { return replies().size() >= count; });
}

bool TransportTest::wait_for_event(int event, long times) const {
    return wait_until([&] {
        const std::vector<int> seen = events();
        return std::count(seen.begin(), seen.end(), event) >= times;
    });
}

coap_response_t TransportTest::take_reply(coap_session_t*, const coap_pdu_t*,
                                          const coap_pdu_t* received, coap_mid_t) {
    const std::string reply = text_of(received);
    if (s_current->on_reply)
        s_current->on_reply(reply);
    const std::lock_guard guard(s_current->mutex_);
    s_current->replies_.push_back(reply);
    return COAP_RESPONSE_OK;
}

int TransportTest::take_event(coap_session_t* session, coap_event_t event) {
    if (s_current->on_event)
        s_current->on_event(event);
    const int result = event_handler(session, event);
    const std::lock_guard guard(s_current->mutex_);
    s_current->events_.push_back(event);
    return result;
}

std::vector<std::string> errors() {
    return fake::log().texts(VX_LOG_ERROR);
}

bool logged(int level, const std::string& text) {
    const std::vector<std::string> lines = fake::log().texts(level);
    return std::find(lines.begin(), lines.end(), text) != lines.end();
}

} // namespace transport
