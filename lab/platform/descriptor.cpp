// SPDX-License-Identifier: MIT
#include "descriptor.h"

#include <fmt/format.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace vxp {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        reset();
        m_number = other.release();
    }
    return *this;
}

void Descriptor::reset() {
    if (m_number >= 0) {
        ::close(m_number);
        m_number = -1;
    }
}

int Descriptor::release() {
    return std::exchange(m_number, -1);
}

Descriptor openListener(Address& address, std::string_view name) {
    const int on = 1;
    Descriptor listener(
        ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!listener.isOpen() ||
        ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(listener.get(), address.raw(), address.length) != 0 ||
        ::listen(listener.get(), SOMAXCONN) != 0) {
        throw std::runtime_error(fmt::format("{}: cannot listen for {}: {}", address.text(), name,
                                             std::strerror(errno)));
    }
    address = localAddress(listener.get());
    return listener;
}

short eventsOf(const std::vector<pollfd>& descriptors, int descriptor) {
    for (const pollfd& entry : descriptors) {
        if (entry.fd == descriptor) {
            return entry.revents;
        }
    }
    return 0;
}

void armReset(int descriptor) {
    const linger now{1, 0};
    // Without it the connection still ends, only in order.
    (void)::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

} // namespace vxp
