// SPDX-License-Identifier: MIT
#include "state/state.h"

#include <pthread.h>

#include "os/mutex.h"

constinit std::atomic<int> g_quilan_status{0};
constinit std::atomic<int> g_coap_recvflag{0};
constinit std::atomic<int> g_app_count{0};
constinit std::atomic<int> g_heartbeat_app_thread{0};
constinit std::atomic<int> g_activate_flag{0};
constinit std::atomic<int> g_coap_refused{0};
constinit std::atomic<int> g_run_flag{0};
constinit std::atomic<int> g_coap_recv_thread{0};
constinit std::atomic<int> g_tcp_flag{0};
constinit std::atomic<int> g_tcp_thread{0};
constinit std::atomic<int> g_heartbeat_thread{0};
constinit std::atomic<int> g_heartbeat_recvflag{0};

namespace {

pthread_mutex_t s_activation_lock = PTHREAD_MUTEX_INITIALIZER;

} // namespace

void quilan_state_start_session(int otherwise) {
    const vxq::HeldMutex lock(s_activation_lock);
    const bool activate = g_activate_flag == 1;
    // Not in state 9 any more: the request is for the session after this one.
    if (quilan_state_advance(kAppConnect, activate ? kAppActivate : otherwise))
        g_activate_flag = 0;
}

bool quilan_state_advance(int from, int to) {
    return g_quilan_status.compare_exchange_strong(from, to);
}

int frame_quilan_state_set(int state) {
    if (state != kAppActivate)
        return 0;
    const vxq::HeldMutex lock(s_activation_lock);
    g_activate_flag = 1;
    g_quilan_status = kAppConnect;
    return 0;
}
