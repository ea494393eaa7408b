// SPDX-License-Identifier: MIT
#include "state/state.h"

#include <pthread.h>

constinit std::atomic<int> g_quilan_status{0};
constinit std::atomic<int> g_coap_recvflag{0};
constinit std::atomic<int> g_app_count{0};
constinit std::atomic<int> g_heartbeat_app_thread{0};
constinit std::atomic<int> g_activate_flag{0};
constinit std::atomic<int> g_coap_refused{0};
constinit std::atomic<int> g_run_flag{0};
constinit std::atomic<int> g_coap_recv_thread{0};

namespace {

pthread_mutex_t s_activation_lock = PTHREAD_MUTEX_INITIALIZER;

class ActivationLock {
public:
    ActivationLock() { pthread_mutex_lock(&s_activation_lock); }
    ~ActivationLock() { pthread_mutex_unlock(&s_activation_lock); }
    ActivationLock(const ActivationLock&) = delete;
    ActivationLock& operator=(const ActivationLock&) = delete;
};

} // namespace

void quilan_state_start_session(int otherwise) {
    const ActivationLock lock;
    const bool activate = g_activate_flag.exchange(0) == 1;
    quilan_state_advance(kAppConnect, activate ? kAppActivate : otherwise);
}

bool quilan_state_advance(int from, int to) {
    return g_quilan_status.compare_exchange_strong(from, to);
}

int frame_quilan_state_set(int state) {
    if (state != kAppActivate)
        return 0;
    const ActivationLock lock;
    g_activate_flag = 1;
    g_quilan_status = kAppConnect;
    return 0;
}
