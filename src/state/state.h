// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include <vxquilan/entry_points.h>

/**
 * @file
 * The words that the daemon's threads share. Each is one atomic word: nobody locks to read them,
 * and whoever needs two of them to agree says so where it matters. All start at 0.
 */

/** States of `g_quilan_status`: 0 to 8 are the platform channel's, the others the app channel's. */
enum QuilanState : int {
    kNetGetIpAddress = 0,
    kNetTcpConnect = 1,
    kNetTcpClose = 2,
    kNetPublicKey = 3,
    kNetEcdhPublicKey = 4, ///< a key mode that the gateway does not have: nothing happens any more
    kNetDhPublicKey = 5,
    kNetHeartbeat = 6,
    kNetDeviceReg = 7,
    kNetIdle = 8, ///< the connection is its threads' business
    kAppConnect = 9,
    kAppRegister = 10,
    kAppActivate = 11,
    kAppLogin = 12,
    kAppDevInfoSync = 13,
    kAppRefresh = 14,
    kAppData = 15,
    kAppOnline = 16, ///< online and idle, or parked after a failure
};

/** The one state variable of both channels' loops. */
extern std::atomic<int> g_quilan_status;
/** 1 once the reply to the last request has been handled, 0 while one is awaited. */
extern std::atomic<int> g_coap_recvflag;
/** Attempts made in the current state. */
extern std::atomic<int> g_app_count;
/** 1 while the app channel's heartbeat thread runs. */
extern std::atomic<int> g_heartbeat_app_thread;
/** 1 when an activation was requested from outside and has not been started yet. */
extern std::atomic<int> g_activate_flag;
/**
 * 1 when the last session was lost before it was of any use: refused, broken off during the
 * handshakes, or before a request went out. Cleared by the loop, which pauses for it.
 */
extern std::atomic<int> g_coap_refused;
/** 1 while the CoAP receive loop is to run. */
extern std::atomic<int> g_run_flag;
/** 1 while the CoAP receive thread runs. */
extern std::atomic<int> g_coap_recv_thread;

/** 1 while the platform channel's threads may run. */
extern std::atomic<int> g_tcp_flag;
/** 1 while the platform channel's receive thread runs. */
extern std::atomic<int> g_tcp_thread;
/** 1 while the platform channel's heartbeat thread runs. */
extern std::atomic<int> g_heartbeat_thread;
/** Set to 1 by every message of the platform, cleared by the heartbeat thread. */
extern std::atomic<int> g_heartbeat_recvflag;

/**
 * Moves `g_quilan_status` from 9 to the state that a new session starts in: 11 when an activation
 * was requested, which thereby counts as started, and `otherwise` when not. The request and its
 * state change are seen together or not at all: none is lost to a connect under way.
 */
void quilan_state_start_session(int otherwise);

/**
 * Moves `g_quilan_status` on, but only from the state that was acted on. Where another thread has
 * moved it meanwhile (a lost connection, an activation request), that thread's state stands: an
 * outdated transition must not overwrite it.
 *
 * @return true when the state was moved
 */
bool quilan_state_advance(int from, int to);
