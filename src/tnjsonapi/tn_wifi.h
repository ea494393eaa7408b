// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <vxquilan/records.h>

/**
 * @file
 * Parsers of the platform's Wi-Fi commands. Each takes the whole message (null when there is none)
 * and fills a zeroed record; it returns 0, or -1 after logging why.
 *
 * Members that a command lacks, or that are no text where a text belongs, are logged and leave
 * their field 0 or empty. Array elements beyond a record's capacity are left out, and its count
 * says how many it really holds.
 */

/** Radios and access points. */
int tn_wifi_parse(const char* text, wifi_cfg* config);
/** Wi-Fi switch, LED switch and timers, each of which may be missing. */
int tn_wifitimer_parse(const char* text, wifitimer_cfg* config);
/** The WPS switch: 1 on, 0 off. */
int tn_wpsswitch_parse(const char* text, std::int32_t* on);
