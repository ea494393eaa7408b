// SPDX-License-Identifier: MIT
#pragma once

/** @file The thread that keeps the platform channel's connection alive. */

/**
 * Sends a heartbeat every 5 seconds while the platform says anything. When a heartbeat cannot be
 * sent, or nothing has come in the 20 seconds after one, it ends and sets state 2. When
 * `g_tcp_flag` is cleared it ends and leaves the state alone.
 *
 * @param socket  the socket's number as a pointer's value
 * @return null
 */
void* frame_heartbeat_thread(void* socket);

namespace vxq {

/**
 * Starts the heartbeat thread, detached. From here on it counts as running, as for the receive
 * thread.
 *
 * @return false when it could not be created
 */
bool start_net_heartbeat(int sock);

} // namespace vxq
