// SPDX-License-Identifier: MIT
#pragma once

namespace vxq {

/**
 * Whether memory and descriptors are left for a session. libcoap begins one without a look at what
 * is left: where memory runs out half-way it may end the process, and without descriptors it keeps
 * those that it already has.
 */
bool room_for_session();

} // namespace vxq
