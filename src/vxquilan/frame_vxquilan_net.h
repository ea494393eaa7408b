// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/entry_points.h>

/** @file The platform channel's loop; its entry, frame_vxquilan_net(), is exported. */
namespace vxq {

/**
 * The loop of frame_vxquilan_net, one pass at a time, on one thread. A pass looks at the device
 * mode and acts on `g_quilan_status`.
 */
class NetLoop {
public:
    NetLoop() = default;
    /** Ends the connection's threads and closes the connection. */
    ~NetLoop();
    NetLoop(const NetLoop&) = delete;
    NetLoop& operator=(const NetLoop&) = delete;

    /** Prepares the device library and sets state 0. */
    void start();
    void pass();

private:
    /** A state and what is done in it; the action returns the state that follows. */
    struct State;
    static const State kStates[];

    void change_mode(int mode);
    void act();
    void close_connection();

    int get_ip_address();
    int connect();
    int disconnect();
    int exchange_key_mode();
    int stay_in_ecdh();
    int exchange_dh_keys();
    int start_heartbeat();
    int register_device();
    int idle();

    int previous_mode_ = -1;         ///< no mode of a gateway: the first pass counts as a change
    int sock_ = 0;                   ///< 0 for none
    bool heartbeat_missing_ = false; ///< its thread could not be created
};

} // namespace vxq
