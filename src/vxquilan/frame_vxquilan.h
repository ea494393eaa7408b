// SPDX-License-Identifier: MIT
#pragma once

/** @file The app channel's main loop. */

/** Runs the app channel for the life of the process. */
[[noreturn]] void frame_vxquilan();

namespace vxq {

/**
 * The loop of frame_vxquilan, one pass at a time, on one thread. A pass looks at the device mode,
 * waits for the reply to the last request, and acts on `g_quilan_status`.
 */
class AppLoop {
public:
    /** Prepares the device library, starts the area's sibling, and sets state 9. */
    void start();
    void pass();

private:
    bool mode_changed(int mode) const { return mode != previous_mode_; }
    void change_mode(int mode);
    void wait_for_reply() const;
    void act();
    void connect();
    void pause_after_refusal();
    void open_session();
    void restore_heartbeat();
    void send(int (*request)());

    int previous_mode_ = -1;   ///< no mode of a gateway: the first pass counts as a change
    long last_request_ = 0;    ///< steady seconds; 0 for "long ago"
    bool had_session_ = false; ///< and no wait since
    long heartbeat_tried_ = 0; ///< steady seconds; 0 for "long ago"
};

} // namespace vxq
