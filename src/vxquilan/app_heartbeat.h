// SPDX-License-Identifier: MIT
#pragma once

/** @file The thread that keeps the app channel's session alive. */

/**
 * Sends a heartbeat every 50 seconds while replies come. Four in a row without a reply set state 9;
 * an access token that has expired sets state 14. Ends with the receive thread, or with the session
 * it was started for.
 *
 * @param session  the session's number (frame_coap_session_number) as a pointer's value; null for
 *                 the current one
 * @return null
 */
void* frame_app_heartbeat_thread(void* session);

namespace vxq {

/** Starts the thread for the current session, detached; false when it could not be created. */
bool start_app_heartbeat();

/** True when the current session runs, and the last start_app_heartbeat for it has failed. */
bool app_heartbeat_missing();

} // namespace vxq
