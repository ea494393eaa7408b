// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file
 * The platform's commands. Each takes the whole message and its number. A command is acknowledged
 * first and then carried out, so the platform never learns what became of it; a status query is
 * answered with the status instead. All of it runs on the platform channel's receive thread.
 */

/** Applies radios and access points, unless the gateway is set not to take them; always 0. */
int profession_wifi(int sock, const char* text, int sequence);
/** Applies the Wi-Fi and LED switches and the Wi-Fi timers; always 0. */
int profession_wifitimer(int sock, const char* text, int sequence);
/** Switches WPS; always 0. */
int profession_wpsswitch(int sock, const char* text, int sequence);

/** Starts a firmware upgrade on a thread of its own, which nobody waits for; always 0. */
int profession_upgrade(int sock, const char* text, int sequence);

/** Reports the settings asked for; -1 when the report could not be built, else 0. */
int profession_status(int sock, const char* text, int sequence);
