// SPDX-License-Identifier: MIT
// A log library that formats its lines and throws them away: whoever is measured pays for making
// them, but not for a disk or a terminal. Dumps of payloads are switched off, as on a gateway in
// use.

#include <cstdarg>
#include <cstdio>

#pragma GCC visibility push(default)
#include <vxquilan/log.h>
#pragma GCC visibility pop

void vx_mod_log_printf(const char*, int level, const char* format, ...) {
    if (level > VX_LOG_PROGRESS)
        return;
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
}
