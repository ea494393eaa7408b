// SPDX-License-Identifier: MIT
#include "vxquilan/frame_vxquilan.h"

#include <cstddef>
#include <utility>

#include "log/log.h"
#include "os/clock.h"
#include "os/process.h"
#include "os/thread.h"
#include "protocol/provisioning.h"
#include "protocol/reporting.h"
#include "state/state.h"
#include "text/text.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/app_heartbeat.h"
#include "vxquilan/coap_dispatch.h"
#include "vxquilan/coap_events.h"
#include "vxquilan/coap_resources.h"
#include "vxquilan/reconnect_pause.h"
#include "vxquilan/siblings.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr int kReplySeconds = 10;
constexpr unsigned kConnectPauseSeconds = 5;
constexpr long kHeartbeatPauseSeconds = 10;
constexpr unsigned kForeignStateSeconds = 10;
constexpr unsigned kIdleMilliseconds = VXQUILAN_STEP_MS;

/** What happens when a state's attempts are used up. */
struct GiveUp {
    bool forget_device; ///< clear the device ID and close the session
    bool reset_count;
    int next;
};

/** A state that sends a request and waits for its reply. */
struct RequestState {
    int state;
    const char* name;
    int attempts;
    bool announced_when_used_up; ///< the log line comes on the pass that gives up as well
    int (*request)();
    GiveUp give_up;
};

constexpr GiveUp kForgetAndReconnect{true, false, kAppConnect};
constexpr GiveUp kForgetAndPark{true, false, kAppOnline};
constexpr GiveUp kReconnect{false, false, kAppConnect};
constexpr GiveUp kGoOnline{false, true, kAppOnline};

constexpr RequestState kRequestStates[] = {
    {kAppRegister, "QUILAN_APP_REGISTER", 3, false, profession_sys_register, kForgetAndReconnect},
    {kAppActivate, "QUILAN_APP_ACTIVATE", 3, true, profession_sys_activate, kForgetAndPark},
    {kAppLogin, "QUILAN_APP_LOGIN", 6, false, profession_sys_login, kReconnect},
    {kAppDevInfoSync, "QUILAN_APP_DEVINFOSYNC", 1, true, profession_sys_devinfo, kGoOnline},
    {kAppRefresh, "QUILAN_APP_REFRESH", 3, true, profession_sys_refresh, kForgetAndPark},
    {kAppData, "QUILAN_APP_DATA", 1, true, profession_sys_data, kGoOnline},
};

const RequestState* find_request_state(int state) {
    for (const RequestState& entry : kRequestStates) {
        if (entry.state == state)
            return &entry;
    }
    return nullptr;
}

void announce(const char* state_name) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d:%s\n", "frame_vxquilan", __LINE__, state_name);
}

void give_up(int state, const GiveUp& action) {
    if (action.forget_device) {
        port_device_id_set("");
        frame_coap_close();
    }
    if (action.reset_count)
        g_app_count = 0;
    quilan_state_advance(state, action.next);
}

bool session_threads_run() {
    return g_heartbeat_app_thread == 1 || frame_coap_state() != 0;
}

/** The state that a new session starts in when no activation was requested. */
int ordinary_first_state() {
    TextBuffer<128> device_id;
    port_device_id_get(device_id.data());
    return device_id.empty() ? kAppRegister : kAppLogin;
}

/** The connect has failed after all: what was sent into it has no reply to wait for. */
bool connect_refused() {
    return g_coap_refused != 0 && g_quilan_status == kAppConnect;
}

void start_receive_thread() {
    frame_coap_recv_prepare();
    if (start_detached_thread(frame_coap_recv, nullptr))
        return;
    frame_coap_recv_abandon();
    QUILAN_LOG(VX_LOG_ERROR, "%s:creat_thread_wait_info error!\n", "frame_vxquilan");
}

} // namespace

void AppLoop::start() {
    survive_broken_pipes();
    frame_coap_set_callbacks({message_handler, event_handler});
    g_quilan_status = kAppConnect;
    port_device_init();
    start_area_sibling();
}

void AppLoop::pass() {
    int mode = 0;
    port_device_mode_get(&mode);
    if (mode_changed(mode))
        change_mode(mode);
    else if (g_quilan_status >= kAppConnect)
        wait_for_reply();
    act();
}

void AppLoop::change_mode(int mode) {
    while (session_threads_run()) {
        sleep_seconds(1);
        g_heartbeat_app_thread = 0;
        frame_coap_close();
    }
    if (mode == kModeWithStatpush) {
        g_coap_recvflag = 1;
        g_app_count = 0;
    }
    switch_statpush(mode);
    g_quilan_status = kAppConnect;
    previous_mode_ = mode;
}

void AppLoop::wait_for_reply() const {
    // The flag first: an idle loop comes by a hundred times a second and need not ask for the time.
    while (g_coap_recvflag != 1 && steady_seconds() - last_request_ < kReplySeconds &&
           !connect_refused())
        sleep_seconds(1);
}

void AppLoop::act() {
    const int state = g_quilan_status;
    if (state == kAppConnect) {
        connect();
    } else if (state == kAppOnline) {
        restore_heartbeat();
        sleep_milliseconds(kIdleMilliseconds);
    } else if (const RequestState* const entry = find_request_state(state)) {
        const bool attempt = g_app_count < entry->attempts;
        if (attempt || entry->announced_when_used_up)
            announce(entry->name);
        if (attempt)
            send(entry->request);
        else
            give_up(state, entry->give_up);
    } else {
        sleep_seconds(kForeignStateSeconds);
    }
}

void AppLoop::send(int (*request)()) {
    // Before the message leaves: a platform that answers at once must find the books done, or its
    // reply would be wiped out.
    g_coap_recvflag = 0;
    ++g_app_count;
    request();
    // Behind it: a device library that takes its time over the facts must not use up the
    // platform's.
    last_request_ = steady_seconds();
}

void AppLoop::connect() {
    if (connect_refused()) {
        pause_after_refusal();
        return;
    }
    announce("QUILAN_APP_CONNECT");
    while (session_threads_run()) {
        frame_coap_close();
        sleep_seconds(1);
    }
    // Whoever is activating the gateway is waiting for it.
    if (std::exchange(had_session_, false) && g_activate_flag == 0)
        pause_before_replacement(kConnectPauseSeconds);
    g_app_count = 0;
    if (frame_coap_connect() != 0) {
        pause_before_retry(kConnectPauseSeconds);
        return;
    }
    if (frame_coap_register_list() != 0) {
        // It would lack a resource for as long as it lasts, and that may be months.
        frame_coap_close();
        pause_before_retry(kConnectPauseSeconds);
        return;
    }
    open_session();
}

void AppLoop::pause_after_refusal() {
    // libcoap connects in the background, so a refusal comes after frame_coap_connect has returned.
    // It is a failed connect all the same; what was sent into it will not be answered.
    g_coap_refused = 0;
    last_request_ = 0;
    had_session_ = false;
    pause_before_retry(kConnectPauseSeconds);
}

void AppLoop::open_session() {
    had_session_ = true;
    // The state is set before the receive thread exists: whatever that thread makes of it, a lost
    // connection above all, must not be overwritten.
    quilan_state_start_session(g_activate_flag == 1 ? kAppActivate : ordinary_first_state());
    start_receive_thread();
}

void AppLoop::restore_heartbeat() {
    // Without it a session is never missed when it dies, and may seem to live for months.
    if (!app_heartbeat_missing() || steady_seconds() - heartbeat_tried_ < kHeartbeatPauseSeconds)
        return;
    heartbeat_tried_ = steady_seconds();
    start_app_heartbeat();
}

} // namespace vxq

void frame_vxquilan() {
    vxq::AppLoop loop;
    loop.start();
    for (;;)
        loop.pass();
}
