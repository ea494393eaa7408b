// SPDX-License-Identifier: MIT
#include "text/text.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace vxq {

void copy_text(char* buffer, std::size_t size, const char* text) {
    if (size == 0)
        return;
    const std::size_t length = text == nullptr ? 0 : strnlen(text, size - 1);
    if (length != 0)
        std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

void format_text(char* buffer, std::size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
}

int decimal_value(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

OwnedText copy_bytes(const void* bytes, std::size_t size) {
    OwnedText copy(static_cast<char*>(std::malloc(size + 1)));
    if (copy) {
        if (size != 0)
            std::memcpy(copy.get(), bytes, size);
        copy.get()[size] = '\0';
    }
    return copy;
}

} // namespace vxq
