// SPDX-License-Identifier: MIT
#pragma once

/** @file The thread that receives what the platform sends, and carries it out. */

/**
 * Receives and carries out frames until `g_tcp_flag` is cleared or the connection fails. The state
 * is left alone: that nothing arrives any more is the heartbeat thread's to notice.
 *
 * @param socket  the socket's number as a pointer's value
 * @return null
 */
void* frame_tcp_recv(void* socket);

/**
 * Carries out one message.
 *
 * @param text  the message, decrypted
 * @return what its handler returned; -1 for a message that could not be classified
 */
int frame_tcp_process(int sock, const char* text);

namespace vxq {

/**
 * Starts the receive thread, detached. From here on it counts as running: a stop that comes before
 * its first step must wait for it as well.
 *
 * @return false when it could not be created
 */
bool start_tcp_recv(int sock);

} // namespace vxq
