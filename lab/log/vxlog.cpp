// SPDX-License-Identifier: MIT
// The log library of the lab: every line goes to standard error as "time module level text".
//
// VX_LOG_LEVEL holds the highest level that is printed, 0 to 7; 6 without it.

#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <string_view>
#include <unistd.h>

#pragma GCC visibility push(default)
#include <vxquilan/log.h>
#pragma GCC visibility pop

namespace {

constexpr int kDefaultLevel = 6;
constexpr int kHighestLevel = 7;

/// One write per line; the lock keeps lines apart that are longer than a pipe takes at once.
void write_line(std::string_view line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    while (!line.empty()) {
        const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
        if (written < 0 && errno != EINTR) {
            return; // nowhere left to report it
        }
        line.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

int threshold_from_environment() {
    const char* text = std::getenv("VX_LOG_LEVEL");
    if (text == nullptr) {
        return kDefaultLevel;
    }
    int level = -1;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, level);
    if (error == std::errc() && stop == end && level >= 0 && level <= kHighestLevel) {
        return level;
    }
    write_line("vxlog: VX_LOG_LEVEL: \"" + std::string(text) + "\" is not a level from 0 to " +
               std::to_string(kHighestLevel) + "; using " + std::to_string(kDefaultLevel) + "\n");
    return kDefaultLevel;
}

/// Local time with milliseconds, then module and level.
std::string prefix(const char* module, int level) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    char text[96];
    std::snprintf(text, sizeof text, "%s.%03ld %.32s %d ", date, now.tv_nsec / 1000000, module,
                  level);
    return text;
}

__attribute__((format(printf, 2, 0))) void append(std::string& line, const char* format,
                                                  va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        line += format; // better the bare format than no line
        return;
    }
    const std::size_t start = line.size();
    line.resize(start + static_cast<std::size_t>(length) + 1);
    std::vsnprintf(line.data() + start, static_cast<std::size_t>(length) + 1, format, arguments);
    line.pop_back();
}

} // namespace

void vx_mod_log_printf(const char* module, int level, const char* format, ...) {
    static const int threshold = threshold_from_environment();
    if (level > threshold) {
        return;
    }
    const int saved_errno = errno;
    std::string line = prefix(module == nullptr ? "-" : module, level);
    va_list arguments;
    va_start(arguments, format);
    append(line, format, arguments);
    va_end(arguments);
    if (line.back() != '\n') {
        line += '\n';
    }
    write_line(line);
    errno = saved_errno;
}
