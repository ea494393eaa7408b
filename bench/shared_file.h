// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/** @file Files that the programs of a measurement have in common. */
namespace bench {

/**
 * Maps the file that a variable of the environment names; null when there is none, or it can't be
 * mapped. It must be as large as its content.
 */
template <class Content>
Content* map_shared_file(const char* variable) {
    const char* const path = std::getenv(variable);
    const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return nullptr;
    void* const shared =
        mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return shared != MAP_FAILED ? static_cast<Content*>(shared) : nullptr;
}

} // namespace bench
