// SPDX-License-Identifier: MIT
#include "address.h"

#include "text.h"

#include <fmt/format.h>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace vxp {

namespace {

sockaddr_in* asV4(sockaddr_storage& storage) {
    return reinterpret_cast<sockaddr_in*>(&storage);
}
sockaddr_in6* asV6(sockaddr_storage& storage) {
    return reinterpret_cast<sockaddr_in6*>(&storage);
}

template <typename Query>
Address queryAddress(int descriptor, Query query) {
    Address address;
    address.length = sizeof address.storage;
    if (query(descriptor, reinterpret_cast<sockaddr*>(&address.storage), &address.length) != 0) {
        address = Address{};
    }
    return address;
}

} // namespace

std::uint16_t Address::port() const {
    Address copy = *this;
    return ntohs(storage.ss_family == AF_INET6 ? asV6(copy.storage)->sin6_port
                                               : asV4(copy.storage)->sin_port);
}

void Address::setPort(std::uint16_t port) {
    if (storage.ss_family == AF_INET6) {
        asV6(storage)->sin6_port = htons(port);
    } else {
        asV4(storage)->sin_port = htons(port);
    }
}

std::string Address::text() const {
    char host[INET6_ADDRSTRLEN] = "?";
    Address copy = *this;
    if (storage.ss_family == AF_INET6) {
        inet_ntop(AF_INET6, &asV6(copy.storage)->sin6_addr, host, sizeof host);
        return fmt::format("[{}]:{}", host, port());
    }
    inet_ntop(AF_INET, &asV4(copy.storage)->sin_addr, host, sizeof host);
    return fmt::format("{}:{}", host, port());
}

Address parseAddress(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    std::string host = colon == std::string::npos ? "127.0.0.1" : text.substr(0, colon);
    const auto port = parseInteger(colon == std::string::npos ? text : text.substr(colon + 1));
    if (!port || *port < 0 || *port > 65535) {
        throw std::invalid_argument(fmt::format("{}: no port from 0 to 65535", quoteText(text)));
    }
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    Address address;
    if (inet_pton(AF_INET, host.c_str(), &asV4(address.storage)->sin_addr) == 1) {
        address.storage.ss_family = AF_INET;
        address.length = sizeof(sockaddr_in);
    } else if (inet_pton(AF_INET6, host.c_str(), &asV6(address.storage)->sin6_addr) == 1) {
        address.storage.ss_family = AF_INET6;
        address.length = sizeof(sockaddr_in6);
    } else {
        throw std::invalid_argument(fmt::format("{}: no numeric address", quoteText(text)));
    }
    address.setPort(static_cast<std::uint16_t>(*port));
    return address;
}

Address localAddress(int descriptor) {
    return queryAddress(descriptor, ::getsockname);
}

Address remoteAddress(int descriptor) {
    return queryAddress(descriptor, ::getpeername);
}

int findListener(const Address& address) {
    const std::string wanted = address.text();
    const long limit = std::clamp(::sysconf(_SC_OPEN_MAX), 0L, 4096L);
    for (int descriptor = 0; descriptor < limit; ++descriptor) {
        int listens = 0;
        socklen_t size = sizeof listens;
        if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 &&
            listens != 0 && localAddress(descriptor).text() == wanted) {
            return descriptor;
        }
    }
    return -1;
}

void disableNagle(int descriptor) {
    const int on = 1;
    // Without it messages still arrive, only later.
    (void)::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

} // namespace vxp
