// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <stdexcept>

#include <sys/eventfd.h>
#include <unistd.h>

namespace netfaults {

/** Wakes a thread that polls: its descriptor becomes readable. */
class Wake {
public:
    Wake() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor_ < 0)
            throw std::runtime_error("eventfd");
    }
    ~Wake() { close(descriptor_); }
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;

    int descriptor() const { return descriptor_; }
    void wake() const { eventfd_write(descriptor_, 1); }
    void take() const {
        eventfd_t count = 0;
        eventfd_read(descriptor_, &count);
    }

private:
    int descriptor_;
};

} // namespace netfaults
