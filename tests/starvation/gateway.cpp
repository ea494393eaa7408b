// SPDX-License-Identifier: MIT
#include "gateway.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include <poll.h>

#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "transport/waiting.h"
#include "vx_coap/frame_coap.h"
#include "vx_coap/session_life.h"
#include "vxquilan/coap_dispatch.h"
#include "vxquilan/coap_events.h"
#include "vxquilan/coap_resources.h"
#include <vxquilan/device.h>
#include <vxquilan/log.h>

namespace starvation {

namespace {

constexpr int kCoapWarnings = 4;

std::vector<std::string>& coap_lines() {
    static std::vector<std::string> lines;
    return lines;
}

void note_coap_line(coap_log_t, const char* text) {
    coap_lines().emplace_back(text);
}

/** The operation's name, as far as it fits. */
void fill_text(const char* operation, std::size_t size) {
    fake::device().set_text(operation, std::string(operation).substr(0, size - 1));
}

template <class Record>
void fill_list(const char* operation) {
    Record record{};
    record.count = 2;
    fake::device().set_record(operation, record);
}

void fill_facts() {
    for (const fake::Operation& operation : fake::operations()) {
        if (operation.shape == fake::Shape::text)
            fill_text(operation.name, operation.size);
        if (operation.shape == fake::Shape::number)
            fake::device().set_number(operation.name, 1);
    }
}

void fill_records() {
    fill_list<vx_station_list>("vx_device_stainfo_get");
    fill_list<vx_station_list>("vx_device_stainfo_byget");
    fill_list<vx_host_table>("vx_device_hostinfo");
    fill_list<vx_wlan_status>("vx_device_wlanbasic");
    fill_list<vx_guest_network>("vx_device_guest_network_get");
    fill_list<vx_mac_filter>("vx_device_wlanfilterenhance_get");
    fill_list<vx_time_switch>("vx_device_wlantimeswitch_get");
    wifi_cfg wifi{};
    wifi.radio_num = 2;
    wifi.radio[0].ap_num = 2;
    fake::device().set_record("vx_device_wifi_get", wifi);
    wifitimer_cfg timer{};
    timer.timer_num = 2;
    fake::device().set_record("vx_device_wifitimer_get", timer);
}

} // namespace

void silence_gateway(int result) {
    fake::device().reset();
    for (const fake::Operation& operation : fake::operations())
        fake::device().set_result(operation.name, result);
}

void equip_gateway() {
    silence_gateway(0);
    fill_facts();
    fill_records();
    fake::device().set_number("port_device_coap_debug", kCoapWarnings);
    fake::device().set_number("port_device_timeout_get", 2'000'000'000);
    fake::device().set_number("port_device_mode_get", 0);
    fake::device().set_text("port_areacode_get", "");
    for (auto* const flag :
         {&g_quilan_status, &g_coap_recvflag, &g_app_count, &g_activate_flag, &g_coap_refused,
          &g_run_flag, &g_coap_recv_thread, &g_heartbeat_app_thread, &g_tcp_flag, &g_tcp_thread,
          &g_heartbeat_thread, &g_heartbeat_recvflag})
        *flag = 0;
    frame_coap_set_callbacks({message_handler, event_handler});
    coap_set_log_handler(note_coap_line);
    forget();
}

void set_platform(const std::string& host, int port, CoapType type) {
    fake::device().set_text("port_device_app_ip", host);
    fake::device().set_number("port_device_app_ip", port);
    fake::device().set_number("port_device_coap_type", type);
}

std::vector<std::string> complaints() {
    std::vector<std::string> texts = fake::log().texts(VX_LOG_ERROR);
    for (std::string& text : fake::log().texts(VX_LOG_UNUSUAL))
        texts.push_back(std::move(text));
    // An upgrade that cannot be started is no error, by its level.
    for (std::string& text : fake::log().texts(VX_LOG_PROGRESS)) {
        if (text.ends_with("error!\n"))
            texts.push_back(std::move(text));
    }
    return texts;
}

std::vector<std::string> coap_complaints() {
    return coap_lines();
}

void forget() {
    coap_lines().clear();
    fake::journal().clear();
    fake::log().reset();
}

void work(int milliseconds) {
    int descriptor = -1;
    {
        const vxq::CoapWork working;
        if (g_coap_ctx != nullptr)
            descriptor = coap_context_get_coap_fd(g_coap_ctx);
    }
    pollfd watched{descriptor, POLLIN, 0};
    poll(&watched, 1, milliseconds);
    const vxq::CoapWork working;
    if (g_coap_ctx != nullptr)
        coap_io_process(g_coap_ctx, COAP_IO_NO_WAIT);
}

bool connect() {
    const bool connected = frame_coap_connect() == 0 && frame_coap_register_list() == 0;
    if (connected)
        frame_coap_recv_prepare();
    else
        frame_coap_close();
    return connected;
}

Session::Session(transport::Listener& listener) {
    if (!connect())
        throw std::runtime_error("the daemon does not connect");
    number_ = frame_coap_session_number();
    platform_ = listener.accept();
    greet();
}

Session::Session(transport::Listener& listener, Connected)
    : platform_(listener.accept()), number_(frame_coap_session_number()) {
    greet();
}

Session::Session(transport::Connection platform)
    : platform_(std::move(platform)), number_(frame_coap_session_number()) {}

void Session::greet() {
    work_until([&] { return platform_->readable(); });
    platform_->greet();
    // Nothing tells that the daemon has taken the greeting but that it answers.
    sent();
}

Session::~Session() {
    if (alive())
        frame_coap_close();
    frame_coap_recv_abandon();
}

void Session::work_until(const std::function<bool()>& done) {
    const auto deadline = transport::Clock::now() + transport::patience();
    while (!done()) {
        if (transport::Clock::now() > deadline)
            throw std::runtime_error("the daemon does nothing");
        work(1);
    }
}

std::vector<transport::Message> Session::sent() {
    std::vector<transport::Message> messages;
    // libcoap answers a ping before requests that came with it are handled: the second pong is
    // behind all answers.
    take_up_to_pong(messages);
    take_up_to_pong(messages);
    return messages;
}

void Session::take_up_to_pong(std::vector<transport::Message>& messages) {
    if (alive())
        platform_->send(transport::Message{transport::kPing, {}, {}, {}});
    while (std::optional<transport::Message> message = next_if_any()) {
        if (message->code == transport::kPong)
            return;
        if (message->code != transport::kEmpty && message->code < transport::kCsm)
            messages.push_back(*message);
    }
}

bool Session::alive() const {
    return g_coap_ctx != nullptr && g_coap_session != nullptr &&
           frame_coap_session_number() == number_;
}

std::optional<transport::Message> Session::next_if_any() {
    work_until([&] { return platform_->readable() || !alive(); });
    return platform_->next_if_any();
}

} // namespace starvation
