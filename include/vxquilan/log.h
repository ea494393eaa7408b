/* SPDX-License-Identifier: MIT */
#ifndef VXQUILAN_LOG_H
#define VXQUILAN_LOG_H

/**
 * @file
 * The log library of the gateway's maker (`libvxlog.so`). The daemon calls it and implements none
 * of it; any library with this symbol can stand in its place.
 */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define VX_PRINTF(format_index, first_argument)                                                    \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define VX_PRINTF(format_index, first_argument)
#endif

/** Levels that the daemon uses. */
enum vx_log_level {
    VX_LOG_ERROR = 3,    /**< something failed */
    VX_LOG_UNUSUAL = 4,  /**< parse failures and unusual events */
    VX_LOG_PROGRESS = 6, /**< what the daemon is doing */
    VX_LOG_PAYLOAD = 7   /**< message bodies and dumps */
};

/**
 * Writes one log line. Called from every thread of the daemon; the texts it points to are only
 * valid during the call.
 *
 * @param module  the module's tag; the daemon always passes "quilan"
 * @param level   one of vx_log_level
 * @param format  printf format; the line end is part of it
 */
void vx_mod_log_printf(const char* module, int level, const char* format, ...) VX_PRINTF(3, 4);

#ifdef __cplusplus
}
#endif

#endif
