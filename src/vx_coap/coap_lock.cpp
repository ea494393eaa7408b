// SPDX-License-Identifier: MIT
#include "vx_coap/coap_lock.h"

#include "vx_coap/frame_coap.h"

pthread_mutex_t g_coap_lock = PTHREAD_MUTEX_INITIALIZER;

namespace vxq {

namespace {

thread_local bool t_held = false;

} // namespace

CoapLock::CoapLock() : outermost_(!t_held) {
    if (!outermost_)
        return;
    pthread_mutex_lock(&g_coap_lock);
    t_held = true;
}

CoapLock::~CoapLock() {
    if (!outermost_)
        return;
    t_held = false;
    pthread_mutex_unlock(&g_coap_lock);
}

bool CoapLock::held() {
    return t_held;
}

} // namespace vxq
