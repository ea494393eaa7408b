/* SPDX-License-Identifier: MIT */
#ifndef VXQUILAN_ENTRY_POINTS_H
#define VXQUILAN_ENTRY_POINTS_H

/**
 * @file
 * What the daemon exports to the device library. A library that also gets loaded into other
 * programs looks these functions up with dlsym(RTLD_DEFAULT, ...) and does without what isn't
 * there.
 *
 * They may be called from any thread of the library. Those that act (state, registration code, data
 * report, platform channel) must not be called from inside a function that the daemon is just
 * calling (device.h); the others may.
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
 * a thread of its own with 512 KB of stack or more. Uses the device library's functions of the
 * platform channel.
 *
 * @return never
 */
VXQUILAN_EXPORT int frame_vxquilan_net(void);

/**
 * Reads one setting of a text file with a line for each: a key, ":" or a blank, a value. Lines that
 * begin with "#" are comments. Nothing in a value is escaped: it ends at the next separator of the
 * line's kind. Only the first 1,024 lines are looked at, and 255 characters are the longest line;
 * what is longer counts as several. Needs about 260 KB of the calling thread's stack.
 *
 * @param path   the file
 * @param key    looked for by its first 126 characters, case-sensitive; the first match counts
 * @param value  receives the value without the line's end and without a NUL of its own: 256 bytes,
 *               zero-filled by the caller
 * @return 1 when the setting was found; 0 when it was not, the file can't be read or an argument is
 *         null; `value` is untouched then
 */
VXQUILAN_EXPORT int vx_getcfgx(const char* path, const char* key, char* value);

/**
 * Changes one setting of such a file, or appends it as "key:value". Comments, other settings and
 * the changed line's separator stay. The line written is cut to 254 characters, its end included.
 *
 * The file is rewritten in place, not exchanged: one reader or writer at a time, and after a loss
 * of power or on a full file system it may end early. Needs about 260 KB of stack, too.
 *
 * @param path  a file that exists; one of more than 1,024 lines is left alone
 * @return 1 when a line was replaced; 0 when the setting was appended, and when nothing could be
 *         written: who has to know reads it back
 */
VXQUILAN_EXPORT int vx_setcfgx(const char* path, const char* key, const char* value);

struct cJSON;

/**
 * Empties a cJSON item, which itself stays allocated: deletes its children and frees its value text
 * (unless it is a reference), its key (unless that is constant) and the memory of its `next` item,
 * but nothing that hangs on that; the four members are null afterwards. A null item is ignored.
 */
VXQUILAN_EXPORT void cJSON_Clear(struct cJSON* item);

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
