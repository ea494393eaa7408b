// SPDX-License-Identifier: MIT
#include "log/log_text.h"

namespace vxq {

LogText::LogText(const char* text) : text_(text), length_(0) {}

LogText::LogText(const char* text, std::size_t length)
    : text_(text), length_(static_cast<int>(length)) {}

bool log_shows_secrets() {
    return true;
}

} // namespace vxq
