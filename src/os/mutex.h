// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

namespace vxq {

/** Holds a mutex for the length of a block. */
class HeldMutex {
public:
    explicit HeldMutex(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    ~HeldMutex() { pthread_mutex_unlock(&mutex_); }
    HeldMutex(const HeldMutex&) = delete;
    HeldMutex& operator=(const HeldMutex&) = delete;

private:
    pthread_mutex_t& mutex_;
};

} // namespace vxq
