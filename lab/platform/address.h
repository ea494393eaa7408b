// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace vxp {

/// A numeric IPv4 or IPv6 address with its port.
struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;

    [[nodiscard]] const sockaddr* raw() const {
        return reinterpret_cast<const sockaddr*>(&storage);
    }
    [[nodiscard]] std::uint16_t port() const;
    void setPort(std::uint16_t port);
    /// "127.0.0.1:5683", "[::1]:5683"
    [[nodiscard]] std::string text() const;
};

/// @param text "127.0.0.1:5683", "[::1]:5683" or a bare port, which means 127.0.0.1
/// @throws std::invalid_argument with the reason
Address parseAddress(const std::string& text);

/// The local or the remote end of a socket; without an address when it has none.
Address localAddress(int descriptor);
Address remoteAddress(int descriptor);

/**
 * The descriptor of the socket of this process that listens on an address, for libraries that
 * don't hand theirs out.
 *
 * @return -1 when there is none
 */
int findListener(const Address& address);

/// Each message leaves at once instead of waiting for the acknowledgement of the one before.
void disableNagle(int descriptor);

} // namespace vxp
