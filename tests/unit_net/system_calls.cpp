// SPDX-License-Identifier: MIT
#include "unit_net/system_calls.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>

namespace calls {

namespace {

struct Record {
    std::mutex mutex;
    std::vector<int> flags;
    std::vector<int> timeouts;
};

Record& record() {
    static Record instance;
    return instance;
}

std::size_t note(std::vector<int>& list, int value) {
    const std::lock_guard guard(record().mutex);
    list.push_back(value);
    return list.size() - 1;
}

ssize_t apply(const Outcome& outcome) {
    errno = outcome.error;
    return outcome.result;
}

} // namespace

Script& script() {
    static Script instance;
    return instance;
}

std::vector<int> send_flags() {
    const std::lock_guard guard(record().mutex);
    return record().flags;
}

std::vector<int> poll_timeouts() {
    const std::lock_guard guard(record().mutex);
    return record().timeouts;
}

void reset() {
    script() = Script{};
    const std::lock_guard guard(record().mutex);
    record().flags.clear();
    record().timeouts.clear();
}

} // namespace calls

using namespace calls;

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker gives the names
ssize_t __real_send(int, const void*, std::size_t, int);
ssize_t __wrap_send(int socket, const void* bytes, std::size_t size, int flags) {
    // The platform's side of a test passes MSG_NOSIGNAL and is left alone.
    if (flags == MSG_NOSIGNAL)
        return __real_send(socket, bytes, size, flags);
    note(record().flags, flags);
    if (script().send) {
        if (const auto outcome = script().send(size))
            return apply(*outcome);
    }
    const std::size_t limit = script().send_limit != 0 ? script().send_limit : size;
    return __real_send(socket, bytes, std::min(size, limit), flags);
}

ssize_t __real_recv(int, void*, std::size_t, int);
ssize_t __wrap_recv(int socket, void* bytes, std::size_t size, int flags) {
    // The platform's side of a test passes flags and is left alone.
    if (flags != 0)
        return __real_recv(socket, bytes, size, flags);
    if (script().receive) {
        if (const auto outcome = script().receive(size))
            return apply(*outcome);
    }
    const std::size_t limit = script().receive_limit != 0 ? script().receive_limit : size;
    return __real_recv(socket, bytes, std::min(size, limit), flags);
}

int __real_poll(pollfd*, nfds_t, int);
int __wrap_poll(pollfd* watched, nfds_t count, int timeout) {
    const std::size_t number = note(record().timeouts, timeout);
    if (script().poll && number >= script().first_scripted_poll)
        return static_cast<int>(apply(*script().poll));
    return __real_poll(watched, count, timeout);
}

int __real_socket(int, int, int);
int __wrap_socket(int domain, int type, int protocol) {
    return script().socket ? static_cast<int>(apply(*script().socket))
                           : __real_socket(domain, type, protocol);
}

int __real_setsockopt(int, int, int, const void*, socklen_t);
int __wrap_setsockopt(int socket, int level, int name, const void* value, socklen_t size) {
    return script().option ? static_cast<int>(apply(*script().option))
                           : __real_setsockopt(socket, level, name, value, size);
}
// NOLINTEND(bugprone-reserved-identifier)
}
