// SPDX-License-Identifier: MIT
#pragma once

/**
 * @file
 * The exchanges that open a session on the platform channel and keep it alive. Each builds its
 * message, sends it, waits for the reply if there is one and acts on it; after a success it
 * advances the gateway's sequence number.
 *
 * They return 0, or the code of the step that failed: the transport's (FrameResult), or -1 for a
 * message that could not be built or a reply that was refused.
 */

/** Asks for a key mode; `key_mode` receives the platform's choice (KeyMode). */
int profession_public_key(int sock, int* key_mode);
/** Exchanges public keys and stores the session key. */
int profession_dh_public_key(int sock);
/** Registers the gateway. */
int profession_device_reg(int sock);
/** Sends a heartbeat; what the platform says to it arrives at the receive thread. */
int profession_heartbeat(int sock);
/**
 * Acknowledges a message that asks for nothing that the gateway has. The number is the platform's,
 * so the gateway's own does not advance.
 *
 * @param text  the message; not read
 * @return always 0
 */
int profession_ack(int sock, const char* text, int sequence);
