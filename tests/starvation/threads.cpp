// SPDX-License-Identifier: MIT
#include "threads.h"

#include <atomic>
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

namespace starvation {

namespace {

std::atomic<Threads> s_threads{Threads::real};
std::atomic<int> s_refused{0};

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

/** The daemon's are detached, and no others of this program are. */
bool is_daemons(const pthread_attr_t* attributes) {
    int state = PTHREAD_CREATE_JOINABLE;
    return attributes != nullptr && pthread_attr_getdetachstate(attributes, &state) == 0 &&
           state == PTHREAD_CREATE_DETACHED;
}

} // namespace

void set_threads(Threads threads) {
    s_threads = threads;
    s_refused = 0;
}

int refused_threads() {
    return s_refused;
}

} // namespace starvation

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*entry)(void*), void* argument) noexcept {
    using namespace starvation;
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    switch (is_daemons(attributes) ? s_threads.load() : Threads::real) {
    case Threads::refused:
        ++s_refused;
        return EAGAIN;
    case Threads::one_more:
        s_threads = Threads::refused;
        return create(thread, attributes, entry, argument);
    case Threads::at_once:
        entry(argument);
        return 0;
    case Threads::pretended:
        return 0;
    default:
        return create(thread, attributes, entry, argument);
    }
}
