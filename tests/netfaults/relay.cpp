// SPDX-License-Identifier: MIT
#include "relay.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
// The kernel's header: the C library's knows fewer members of tcp_info.
#include <linux/sockios.h>
#include <linux/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netfaults {

namespace {

sockaddr_in address_of(const Endpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(endpoint.port));
    inet_pton(AF_INET, endpoint.host.c_str(), &address.sin_addr);
    return address;
}

int new_socket(int flags) {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
}

int open_listener(const Endpoint& endpoint) {
    const int descriptor = new_socket(SOCK_NONBLOCK);
    const sockaddr_in address = address_of(endpoint);
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(descriptor, 16) != 0)
        throw std::runtime_error("the relay cannot listen: " + std::string(std::strerror(errno)));
    return descriptor;
}

/** A connection to the platform, on the same host; -1 when it does not listen. */
int connect_to(const Endpoint& endpoint) {
    const int descriptor = new_socket(0);
    const sockaddr_in address = address_of(endpoint);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return descriptor;
    close(descriptor);
    return -1;
}

void send_at_once(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void reset(int descriptor) {
    const linger at_once{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
}

/** Takes what there is; false when the stream is over. */
bool read_into(int descriptor, std::string& bytes) {
    char buffer[16384];
    const ssize_t size = recv(descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
    if (size > 0)
        bytes.append(buffer, static_cast<std::size_t>(size));
    return size > 0 || (size < 0 && (errno == EAGAIN || errno == EINTR));
}

/** Writes what fits of the first `limit` bytes; how much, or -1. */
ssize_t write_from(int descriptor, std::string& bytes, std::size_t limit) {
    const std::size_t wanted = std::min(bytes.size(), limit);
    if (wanted == 0)
        return 0;
    const ssize_t size = send(descriptor, bytes.data(), wanted, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (size > 0)
        bytes.erase(0, static_cast<std::size_t>(size));
    return size >= 0 || (errno != EAGAIN && errno != EINTR) ? size : 0;
}

} // namespace

Relay::Relay(const Namespace& host, const Endpoint& listen, const Endpoint& target)
    : target_(target) {
    host.inside([&] { listener_ = open_listener(listen); });
    thread_ = std::thread([this, &host] {
        host.enter();
        carry();
    });
}

Relay::~Relay() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.wake();
    thread_.join();
    for (const Link& link : links_) {
        close(link.gateway);
        close(link.platform);
    }
    close(listener_);
}

void Relay::allow(std::size_t bytes, Then then) {
    {
        const std::lock_guard lock(mutex_);
        share_ = bytes;
        limited_ = true;
        then_ = then;
        done_ = false;
        for (Link& link : links_)
            link.held = false;
    }
    wake_.wake();
}

void Relay::release() {
    {
        const std::lock_guard lock(mutex_);
        limited_ = false;
        for (Link& link : links_)
            link.held = false;
    }
    wake_.wake();
}

void Relay::set_spacing(std::chrono::milliseconds spacing) {
    const std::lock_guard lock(mutex_);
    spacing_ = spacing;
}

bool Relay::done() const {
    const std::lock_guard lock(mutex_);
    return done_;
}

std::size_t Relay::passed() const {
    const std::lock_guard lock(mutex_);
    return passed_;
}

std::size_t Relay::held() const {
    const std::lock_guard lock(mutex_);
    std::size_t sum = 0;
    for (const Link& link : links_)
        sum += link.to_gateway.size();
    return sum;
}

bool Relay::acknowledged() const {
    const std::lock_guard lock(mutex_);
    int unsent = 0;
    for (const Link& link : links_) {
        int bytes = 0;
        ioctl(link.gateway, SIOCOUTQ, &bytes);
        unsent += bytes;
    }
    return unsent == 0;
}

Traffic Relay::latest() const {
    const std::lock_guard lock(mutex_);
    tcp_info info{};
    socklen_t size = sizeof info;
    if (links_.empty() ||
        getsockopt(links_.back().gateway, IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return {0, 0};
    return {links_.back().given, info.tcpi_data_segs_out};
}

void Relay::accept() {
    const int gateway = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (gateway < 0)
        return;
    const int platform = connect_to(target_);
    if (platform < 0) {
        reset(gateway);
        close(gateway);
        return;
    }
    send_at_once(gateway);
    send_at_once(platform);
    links_.push_back({gateway, platform, {}, {}});
}

void Relay::act_at_the_end(Link& link) {
    limited_ = false;
    done_ = true;
    link.held = then_ == Then::hold;
    link.ended = !link.held;
    if (then_ == Then::reset)
        reset(link.gateway);
}

void Relay::give(Link& link) {
    // The end comes with the first byte that may not pass, so that a share that is just enough for
    // a message does not cut the next one's connection.
    const auto at_the_end = [&] {
        return limited_ && share_ == 0 && !link.to_gateway.empty();
    };
    if (link.held)
        return;
    if (!at_the_end()) {
        std::size_t limit = spacing_.count() > 0 ? 1 : std::string::npos;
        if (limited_)
            limit = std::min(limit, share_);
        const ssize_t size = write_from(link.gateway, link.to_gateway, limit);
        link.ended = link.ended || size < 0;
        if (size > 0) {
            passed_ += static_cast<std::size_t>(size);
            link.given += static_cast<std::size_t>(size);
            share_ -= limited_ ? static_cast<std::size_t>(size) : 0;
        }
    }
    if (at_the_end())
        act_at_the_end(link);
}

void Relay::serve(Link& link) {
    if (!read_into(link.gateway, link.to_platform))
        link.ended = true;
    if (!link.platform_gone && !read_into(link.platform, link.to_gateway))
        link.platform_gone = true;
    give(link);
    if (write_from(link.platform, link.to_platform, std::string::npos) < 0)
        link.platform_gone = true;
    if (link.platform_gone && !link.held && link.to_gateway.empty())
        link.ended = true;
}

void Relay::drop_ended() {
    for (const Link& link : links_) {
        if (link.ended) {
            close(link.gateway);
            close(link.platform);
        }
    }
    links_.remove_if([](const Link& link) { return link.ended; });
}

void Relay::carry() {
    for (;;) {
        std::vector<pollfd> waits = {{listener_, POLLIN, 0}, {wake_.descriptor(), POLLIN, 0}};
        int pause = -1;
        {
            const std::lock_guard lock(mutex_);
            for (const Link& link : links_) {
                const bool more = !link.held && !link.to_gateway.empty();
                const auto wanted =
                    static_cast<short>(POLLIN | (more && spacing_.count() == 0 ? POLLOUT : 0));
                // With pauses between bytes, nothing but the next byte's turn may wake it.
                waits.push_back({more && spacing_.count() > 0 ? -1 : link.gateway, wanted, 0});
                waits.push_back({more || link.platform_gone ? -1 : link.platform, POLLIN, 0});
                if (more && spacing_.count() > 0)
                    pause = static_cast<int>(spacing_.count());
            }
        }
        poll(waits.data(), waits.size(), pause);
        const std::lock_guard lock(mutex_);
        if (ending_)
            return;
        wake_.take();
        for (Link& link : links_)
            serve(link);
        drop_ended();
        if ((waits[0].revents & POLLIN) != 0)
            accept();
    }
}

} // namespace netfaults
