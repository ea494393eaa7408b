// SPDX-License-Identifier: MIT
#include "vxquilan/app_heartbeat.h"

#include <atomic>
#include <cstdint>

#include "log/log.h"
#include "os/clock.h"
#include "os/thread.h"
#include "protocol/reporting.h"
#include "state/state.h"
#include "vx_coap/frame_coap.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

constexpr unsigned kReplySeconds = 10;
constexpr long kPeriodSeconds = 50;
constexpr int kMissedLimit = 3;
constexpr int kNoSession = 0;

std::atomic<int> s_session_without{kNoSession};

/**
 * The session that this thread was started for still runs. A thread that slept through a mode
 * change wakes up beside its successor; it must neither go on nor touch the successor's flags.
 */
bool session_runs(int session) {
    return frame_coap_state() != 0 && frame_coap_session_number() == session;
}

void send_heartbeat(long& sent_at) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d:QUILAN_APP_HEARTBEAT\n", "frame_app_heartbeat_thread",
               __LINE__);
    // Before the message leaves, as for every request: the reply may be here at once.
    g_coap_recvflag = 0;
    profession_sys_heartbeat();
    // Behind it: the device library may have taken its time.
    sent_at = steady_seconds();
}

/** Asks for a refresh, unless the session is about to be replaced anyway. */
void request_refresh() {
    int state = g_quilan_status;
    while (state != kAppConnect && !g_quilan_status.compare_exchange_weak(state, kAppRefresh)) {
    }
}

void check_expiry() {
    int expiry = 0;
    port_device_timeout_get(&expiry);
    if (expiry < wall_seconds())
        request_refresh();
}

void wait_for_next(int session, long sent_at) {
    while (session_runs(session) && steady_seconds() - sent_at < kPeriodSeconds)
        sleep_seconds(1);
}

void keep_alive(int session) {
    int missed = 0;
    long sent_at = 0;
    while (session_runs(session)) {
        send_heartbeat(sent_at);
        sleep_seconds(kReplySeconds);
        if (frame_coap_session_number() != session)
            return;
        if (g_coap_recvflag == 1) {
            missed = 0;
            check_expiry();
            wait_for_next(session, sent_at);
        } else if (missed >= kMissedLimit) {
            g_quilan_status = kAppConnect;
            return;
        } else {
            ++missed;
        }
    }
}

} // namespace

bool start_app_heartbeat() {
    const int session = frame_coap_session_number();
    void* const argument = reinterpret_cast<void*>(std::intptr_t{session});
    const bool started = start_detached_thread(frame_app_heartbeat_thread, argument);
    s_session_without = started ? kNoSession : session;
    return started;
}

bool app_heartbeat_missing() {
    const int session = s_session_without;
    return session != kNoSession && session_runs(session);
}

} // namespace vxq

void* frame_app_heartbeat_thread(void* session) {
    using namespace vxq;
    const int current = frame_coap_session_number();
    const int mine =
        session != nullptr ? static_cast<int>(reinterpret_cast<std::intptr_t>(session)) : current;
    if (mine != current)
        return nullptr;
    g_heartbeat_app_thread = 1;
    keep_alive(mine);
    if (frame_coap_session_number() == mine)
        g_heartbeat_app_thread = 0;
    return nullptr;
}
