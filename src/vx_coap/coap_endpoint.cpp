// SPDX-License-Identifier: MIT
#include "vx_coap/coap_endpoint.h"

#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "log/log.h"
#include <vxquilan/device.h>

namespace vxq {

namespace {

struct FreeAddresses {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

bool is_internet(const addrinfo& entry) {
    return entry.ai_family == AF_INET || entry.ai_family == AF_INET6;
}

} // namespace

CoapEndpoint read_endpoint() {
    CoapEndpoint endpoint;
    port_device_app_ip(endpoint.host.data(), &endpoint.port);
    return endpoint;
}

int resolve_address(const char* host, sockaddr_storage& address) {
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(*host != '\0' ? host : "localhost", nullptr, &wanted, &found);
    if (error != 0) {
        QUILAN_LOG(VX_LOG_ERROR, "getaddrinfo: %s\n", gai_strerror(error));
        return error < 0 ? error : -error; // some systems count them upwards
    }
    const std::unique_ptr<addrinfo, FreeAddresses> list(found);
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        if (!is_internet(*entry))
            continue;
        std::memcpy(&address, entry->ai_addr, entry->ai_addrlen);
        return static_cast<int>(entry->ai_addrlen);
    }
    return -1;
}

bool resolve_endpoint(const CoapEndpoint& endpoint, coap_address_t& address) {
    sockaddr_storage resolved{};
    const int length = resolve_address(endpoint.host.text(), resolved);
    if (length <= 0) {
        QUILAN_LOG(VX_LOG_ERROR, "resolve_address ret %d\n", length);
        return false;
    }
    coap_address_init(&address);
    address.size = static_cast<socklen_t>(length);
    std::memcpy(&address.addr, &resolved, static_cast<std::size_t>(length));
    coap_address_set_port(&address, static_cast<std::uint16_t>(endpoint.port));
    return true;
}

} // namespace vxq
