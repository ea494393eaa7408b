// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file
 * The waits of both channels before they connect again: as they are, or in a build with
 * VXQUILAN_RECONNECT_JITTER each gateway's own. This header has one implementation for each.
 */
namespace vxq {

/** Waits before the next attempt: `seconds`, and up to as many again where waits are spread. */
void pause_before_retry(unsigned seconds);

/**
 * Before a connection that was lost is replaced: nothing, or up to `seconds` where waits are
 * spread, since all gateways have lost theirs at the same moment.
 */
void pause_before_replacement(unsigned seconds);

} // namespace vxq
