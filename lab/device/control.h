// SPDX-License-Identifier: MIT
#pragma once

namespace vxdevice {

/// Starts what the gateway does on its own, once per process: the control channel that
/// VX_DEVICE_CONTROL names, and the registration of the state file. Returns 0; a path that can't
/// become the channel ends the process with 2.
int start_threads();

/// To be told of every question for the mode. The daemon's own loop asks at the begin of each pass
/// and sets its state in the first: from the second on the platform channel, which shares the state
/// variable, can take over. Starts it then, once, when the state file says so.
void mode_was_asked();

} // namespace vxdevice
