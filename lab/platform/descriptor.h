// SPDX-License-Identifier: MIT
#pragma once

#include "address.h"

#include <poll.h>

#include <string_view>
#include <vector>

namespace vxp {

/// A file descriptor that is closed with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return m_number; }
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    void reset();
    /// The caller closes it from now on.
    int release();

private:
    int m_number = -1;
};

/**
 * A stream socket that listens and does not block.
 *
 * @param address gets the port when the system is to choose it
 * @param name what listens, for the reason
 * @throws std::runtime_error naming the address that cannot be listened on
 */
Descriptor openListener(Address& address, std::string_view name);

/// @return what poll has found for a descriptor; 0 when it was not asked about
short eventsOf(const std::vector<pollfd>& descriptors, int descriptor);

/// Events after which reading does not block.
inline constexpr short readable = POLLIN | POLLHUP | POLLERR;

/// Closing the socket then resets the connection instead of ending it in order.
void armReset(int descriptor);

} // namespace vxp
