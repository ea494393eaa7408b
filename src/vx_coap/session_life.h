// SPDX-License-Identifier: MIT
#pragma once

/** @file What the transport's files know together about the current session. */
namespace vxq {

/** Belongs to `g_coap_lock`. */
struct SessionLife {
    bool established; ///< all handshakes are done
    bool carried;     ///< a request was handed to libcoap
};

extern SessionLife s_session_life;

} // namespace vxq
