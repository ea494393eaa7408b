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

#ifdef __cplusplus
}
#endif

#endif
