// SPDX-License-Identifier: MIT
#pragma once

#include "vx_coap/coap_lock.h"

/** @file What the transport's files know together about the current session. */
namespace vxq {

/** Belongs to `g_coap_lock`. */
struct SessionLife {
    bool established; ///< all handshakes are done
    bool carried;     ///< a request was handed to libcoap
};

extern SessionLife s_session_life;

/**
 * Around every call in which libcoap may call back: processing, but also sending, since a write
 * that fails ends the session there and then. Holds the lock; a context that is closed meanwhile is
 * freed when the outermost of these ends, with libcoap no longer on the stack.
 */
class CoapWork {
public:
    CoapWork();
    ~CoapWork();
    CoapWork(const CoapWork&) = delete;
    CoapWork& operator=(const CoapWork&) = delete;

private:
    CoapLock lock_;
};

} // namespace vxq
