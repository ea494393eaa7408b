// SPDX-License-Identifier: MIT
#pragma once

#include <vxquilan/records.h>

/**
 * Parses the order to upgrade the firmware, of which the download address and the reboot flag must
 * be texts.
 *
 * @param text     the whole message; null when there is none
 * @param upgrade  not zeroed; an order without a reboot flag has overwritten the address already
 * @return 0, or -1 after logging why
 */
int tn_upgrade_parse(const char* text, vx_upgrade* upgrade);
