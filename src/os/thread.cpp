// SPDX-License-Identifier: MIT
#include "os/thread.h"

#include <climits>
#include <pthread.h>

namespace vxq {

namespace {

class DetachedAttributes {
public:
    DetachedAttributes() : valid_(pthread_attr_init(&attributes_) == 0) {
        if (!valid_)
            return;
        usable_ = pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED) == 0 &&
                  pthread_attr_setstacksize(&attributes_, kThreadStack) == 0;
    }
    ~DetachedAttributes() {
        if (valid_)
            pthread_attr_destroy(&attributes_);
    }
    DetachedAttributes(const DetachedAttributes&) = delete;
    DetachedAttributes& operator=(const DetachedAttributes&) = delete;

    const pthread_attr_t* get() const { return usable_ ? &attributes_ : nullptr; }

private:
    pthread_attr_t attributes_{};
    bool valid_;
    bool usable_ = false;
};

} // namespace

bool start_detached_thread(ThreadEntry entry, void* argument) {
    const DetachedAttributes attributes;
    pthread_t thread{};
    return attributes.get() != nullptr &&
           pthread_create(&thread, attributes.get(), entry, argument) == 0;
}

} // namespace vxq
