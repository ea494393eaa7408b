/* SPDX-License-Identifier: MIT */
/* A log library, libvxlog.so: lines up to a level go to standard error. EXAMPLE_LOG_LEVEL says
 * which level, 0 to 7; 6 when unset. */
#include <vxquilan/log.h>

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

void vx_mod_log_printf(const char* module, int level, const char* format, ...) {
    const char* const highest = getenv("EXAMPLE_LOG_LEVEL");
    char line[512];
    va_list arguments;
    if (level > (highest != NULL ? atoi(highest) : VX_LOG_PROGRESS))
        return;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    fprintf(stderr, "%s %d %s", module, level, line); /* one call a line: threads don't mix */
}
