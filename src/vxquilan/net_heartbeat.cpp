// SPDX-License-Identifier: MIT
#include "vxquilan/net_heartbeat.h"

#include <cstdint>

#include "os/clock.h"
#include "os/thread.h"
#include "protocol/platform_session.h"
#include "state/state.h"

namespace vxq {

namespace {

constexpr unsigned kPeriodSeconds = 5;
constexpr unsigned kGraceSeconds = 15;

/** Waits for a sign of life after a heartbeat; false when there was none. */
bool platform_answers() {
    sleep_seconds(kPeriodSeconds);
    if (g_heartbeat_recvflag.exchange(0) == 1)
        return true;
    sleep_seconds(kGraceSeconds);
    // A late sign of life counts for the next period, too.
    return g_heartbeat_recvflag == 1;
}

/** Sends heartbeats; true when it was told to stop, false when the connection is to be closed. */
bool keep_alive(int sock) {
    while (g_tcp_flag != 0) {
        if (profession_heartbeat(sock) != 0 || !platform_answers())
            return false;
    }
    return true;
}

} // namespace

bool start_net_heartbeat(int sock) {
    g_heartbeat_thread = 1;
    void* const argument = reinterpret_cast<void*>(std::intptr_t{sock});
    if (start_detached_thread(frame_heartbeat_thread, argument))
        return true;
    g_heartbeat_thread = 0;
    return false;
}

} // namespace vxq

void* frame_heartbeat_thread(void* socket) {
    g_heartbeat_thread = 1;
    g_heartbeat_recvflag = 0;
    if (!vxq::keep_alive(static_cast<int>(reinterpret_cast<std::intptr_t>(socket))))
        g_quilan_status = kNetTcpClose;
    // Last of all: the loop takes what comes after this for its own.
    g_heartbeat_thread = 0;
    return nullptr;
}
