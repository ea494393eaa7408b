// SPDX-License-Identifier: MIT
#include "descriptors.h"

#include <cerrno>

#include <fcntl.h>

namespace starvation {

namespace {

bool is_open(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1 || errno != EBADF;
}

/** The lowest limit under which exactly so many more can be opened. */
rlim_t limit_with(int left) {
    int descriptor = 0;
    for (int missing = left;; ++descriptor) {
        if (is_open(descriptor))
            continue;
        if (missing-- == 0)
            return static_cast<rlim_t>(descriptor);
    }
}

} // namespace

FewDescriptors::FewDescriptors(int left) {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit few = before_;
    few.rlim_cur = limit_with(left);
    setrlimit(RLIMIT_NOFILE, &few);
}

FewDescriptors::~FewDescriptors() {
    setrlimit(RLIMIT_NOFILE, &before_);
}

} // namespace starvation
