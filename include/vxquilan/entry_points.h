/* SPDX-License-Identifier: MIT */
#ifndef VXQUILAN_ENTRY_POINTS_H
#define VXQUILAN_ENTRY_POINTS_H

/**
 * @file
 * What the daemon exports to the device library. A library that also gets loaded into other
 * programs looks these functions up with dlsym(RTLD_DEFAULT, ...) and does without what isn't
 * there.
 *
 * They may be called from any thread of the library, but not from inside a function that the daemon
 * is just calling (device.h).
 */

#if defined(__GNUC__)
#define VXQUILAN_EXPORT __attribute__((visibility("default")))
#else
#define VXQUILAN_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Asks the app channel to change its state. Only an activation can be asked for: the connection is
 * made anew and the stored registration code is presented. Returns at once.
 *
 * @param state  11 for an activation; every other value changes nothing
 * @return 0
 */
VXQUILAN_EXPORT int frame_quilan_state_set(int state);

/**
 * Hands over a registration code that has been obtained for the gateway and asks for an activation.
 * The code is stored with port_device_code_set(), called from here. Returns at once.
 *
 * @param code  NUL-terminated, at most 31 characters; only used during the call
 * @return 0
 */
VXQUILAN_EXPORT int profession_sys_register_code(const char* code);

/**
 * Reports stations to the platform. The daemon asks for them with vx_device_stainfo_byget(), called
 * from here, and posts them; without a connection nothing is sent.
 *
 * @param selector  passed on to vx_device_stainfo_byget() unchanged
 * @return 0, whether or not the report could be sent
 */
VXQUILAN_EXPORT int profession_sys_data_report(int selector);

/**
 * Runs the platform channel on the calling thread: gets an address, connects, agrees on a key,
 * registers the gateway and serves the platform's commands, again and again. To be called once, on
 * a thread of its own with 256 KB of stack or more. Uses the device library's functions of the
 * platform channel.
 *
 * @return never
 */
VXQUILAN_EXPORT int frame_vxquilan_net(void);

/**
 * Encrypts a text with AES-128-CBC and encodes the result as Base64.
 *
 * @param text  NUL-terminated; the padding is written behind it, so the buffer must have room for
 *              16 more bytes. What was the NUL before is not restored.
 * @param key   16 bytes
 * @return a NUL-terminated text for free(); null when there is no memory
 */
VXQUILAN_EXPORT char* gwdencrypt_cbcaes_base64(char* text, const unsigned char* key);

/**
 * Takes back what gwdencrypt_cbcaes_base64() did. Up to 16 bytes 0x80 to 0xff at the end of the
 * text, such as those of a last UTF-8 character, are lost with the padding.
 *
 * @param text  NUL-terminated Base64
 * @param key   16 bytes
 * @return a NUL-terminated text for free(); null when there is no Base64 or no memory
 */
VXQUILAN_EXPORT char* gwddecrypt_cbcaes_base64(const char* text, const unsigned char* key);

/**
 * Encodes a text as Base64, without line breaks.
 *
 * @return a NUL-terminated text for free(); null for the empty text, or when there is no memory
 */
VXQUILAN_EXPORT char* base64_encode(const char* text);

/**
 * Decodes Base64. Characters outside its alphabet are not noticed and give wrong bytes.
 *
 * @return the bytes and a NUL, for free(); null when the text is empty or its length no multiple of
 *         4, or when there is no memory
 */
VXQUILAN_EXPORT char* base64_decode(const char* text);

#ifdef __cplusplus
}
#endif

#endif
