// SPDX-License-Identifier: MIT
#pragma once

#include "vx_coap/coap_lock.h"

/** @file What the transport's files know together about the current session. */
namespace vxq {

/** Belongs to `g_coap_lock`. */
struct SessionLife {
    bool established; ///< all handshakes are done
    bool carried;     ///< a request was handed to libcoap
    bool lost;        ///< the connection is gone
};

extern SessionLife s_session_life;

/**
 * Around every call in which libcoap may call back: processing, but also sending, since a write
 * that fails ends the session there and then. Holds the lock. When the outermost of these ends,
 * with libcoap no longer on the stack, the requests that came in are handled, and then a context
 * that was closed meanwhile is freed.
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
