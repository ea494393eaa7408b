// SPDX-License-Identifier: MIT
#include "output.h"

#include <cstdio>

namespace vxp {

namespace {

void write(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

} // namespace

void say(std::string_view text) {
    write(stdout, text);
}

void complain(std::string_view text) {
    std::fflush(stdout);
    write(stderr, text);
}

} // namespace vxp
