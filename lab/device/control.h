// SPDX-License-Identifier: MIT
#pragma once

namespace vxdevice {

/// Starts what the gateway does on its own, once per process: the control channel that
/// VX_DEVICE_CONTROL names, and the registration of the state file. Returns 0; a path that can't
/// become the channel ends the process with 2.
int start_threads();

} // namespace vxdevice
