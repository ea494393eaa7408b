// SPDX-License-Identifier: MIT
#include "vx_coap/wake_pipe.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace vxq {

namespace {

bool make_private(int descriptor) {
    return fcntl(descriptor, F_SETFL, O_NONBLOCK) == 0 &&
           fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0;
}

} // namespace

bool WakePipe::open() {
    if (read_end_ >= 0)
        return true;
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    if (!make_private(ends[0]) || !make_private(ends[1])) {
        close(ends[0]);
        close(ends[1]);
        return false;
    }
    read_end_ = ends[0];
    write_end_ = ends[1];
    return true;
}

void WakePipe::wake() const {
    // A full pipe holds enough wake-ups.
    [[maybe_unused]] const ssize_t written = write(write_end_, "", 1);
}

bool WakePipe::wait(int descriptor, int milliseconds) const {
    pollfd watched[] = {{read_end_, POLLIN, 0}, {descriptor, POLLIN, 0}};
    if (poll(watched, 2, milliseconds) <= 0)
        return false;
    if ((watched[0].revents & POLLIN) != 0)
        drain();
    return watched[1].revents != 0;
}

void WakePipe::drain() const {
    char drained[16];
    while (read(read_end_, drained, sizeof drained) > 0) {
    }
}

} // namespace vxq
