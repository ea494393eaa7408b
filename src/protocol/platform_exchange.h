// SPDX-License-Identifier: MIT
#pragma once

#include "vx_socket/frame_socket.h"
#include "json/json.h"

/** @file What the exchanges on the platform channel have in common. */
namespace vxq {

/** Room for one received frame as a text. */
struct ReplyBuffer {
    char text[kFrameBuffer] = {};
};

/** One kind of exchange. */
struct PlatformExchange {
    const char* name; ///< the exchange's function, for the log
    JsonText (*build)();
    FrameMode mode;
    int reply_seconds; ///< how long a reply is waited for; 0 for an exchange without one
};

/**
 * Builds and sends the message, and waits for the reply if there is to be one.
 *
 * @param reply  receives it
 * @return 0, or the first code that is not: the transport's, or -1 when there is no message
 */
int run_exchange(const PlatformExchange& exchange, int sock, ReplyBuffer& reply);

/** Sends a message; returns the transport's code, -1 for a message that could not be built. */
int send_text(int sock, const JsonText& message, FrameMode mode);

/** Sends a message of an exchange and logs it under that exchange's name; as send_text. */
int send_logged(const char* exchange, int sock, const JsonText& message, FrameMode mode);

/** Acknowledges the platform's message `sequence`; whether that could be sent is not looked at. */
void acknowledge(int sock, int sequence);

} // namespace vxq
