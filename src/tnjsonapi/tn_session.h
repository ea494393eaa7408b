// SPDX-License-Identifier: MIT
#pragma once

#include "json/json.h"

/**
 * @file
 * Messages that open a session on the platform channel and keep it alive, and the classification of
 * what the platform sends.
 *
 * A builder asks the device library for its facts, logs the text and returns it, null when it could
 * not be made. A parser takes a text (null when there is none) and returns 0, or -1 after logging
 * why.
 */

/** How the session key is agreed on. */
enum KeyMode : int {
    kKeyModeDh = 100,
    kKeyModeEcdh = 101, ///< not negotiated by this gateway
};

/** What a message of the platform is. */
enum MessageKind : int {
    kMessageOtherSetting = 0, ///< a setting that this gateway does not have
    kMessageAck = 10,
    kMessageWifi = 11,
    kMessageWifiTimer = 12,
    kMessageGetStatus = 13,
    kMessageWpsSwitch = 14,
    kMessageUpgrade = 15,
    kMessageOther = 16,
};

/** Asks for a key mode and offers the one that the gateway has. */
vxq::JsonText tn_public_key();
/** Makes parameters and a key pair (dh_new_key) and tells the public ones; null when that failed.
 */
vxq::JsonText tn_dh_public_key();
/** Describes the gateway. */
vxq::JsonText tn_device_reg();
/** A sign of life. */
vxq::JsonText tn_device_heartbeat();
/** Acknowledges the message with the number `sequence`. */
vxq::JsonText tn_ack_resp(int sequence);

/** Reads the platform's choice of a key mode. */
int tn_public_key_parse(const char* text, int* key_mode);
/**
 * Agrees on the session key with the platform's public key, and stores it. When the agreement fails
 * a key of zeros is stored all the same: the registration that follows then fails, and the loop
 * starts anew.
 */
int tn_dh_public_key_parse(const char* text);
/** Accepts an "ack", in exactly this spelling. */
int tn_device_ack(const char* text);
/**
 * Classifies a message.
 *
 * @param kind      receives MessageKind
 * @param sequence  receives the message's number
 */
int tn_typemethod_tcp_parse(const char* text, int* kind, int* sequence);
