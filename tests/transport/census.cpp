// SPDX-License-Identifier: MIT
#include "census.h"

#include <filesystem>
#include <iterator>

namespace transport {

namespace {

int entries_of(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace

int open_descriptors() {
    return entries_of("/proc/self/fd") - 1; // the folder itself is open meanwhile
}

int running_threads() {
    return entries_of("/proc/self/task");
}

} // namespace transport
