// SPDX-License-Identifier: MIT
#include "unit_net/socket_pair.h"

#include <arpa/inet.h>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include "unit_net/peer_codec.h"

namespace peer {

namespace {

constexpr int kPatienceMilliseconds = 10'000;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in address_of(const std::string& host, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        fail(host.c_str());
    return address;
}

bool wait_for(int socket) {
    pollfd watched{socket, POLLIN, 0};
    return poll(&watched, 1, kPatienceMilliseconds) > 0;
}

} // namespace

void Descriptor::reset() {
    if (number_ >= 0)
        close(number_);
    number_ = -1;
}

SocketPair local_pair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        fail("socketpair");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

SocketPair tcp_pair() {
    const Descriptor listener = listen_on("127.0.0.1", 0);
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
    Descriptor daemon(socket(AF_INET, SOCK_STREAM, 0));
    if (connect(daemon.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        fail("connect");
    return {std::move(daemon), accept_on(listener)};
}

void write_all(int socket, const std::string& bytes) {
    for (std::size_t written = 0; written < bytes.size();) {
        const ssize_t count =
            send(socket, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL);
        if (count < 0)
            fail("send");
        written += static_cast<std::size_t>(count);
    }
}

std::string read_exactly(int socket, std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t taken = 0;
    while (taken < size && wait_for(socket)) {
        const ssize_t count = read(socket, bytes.data() + taken, size - taken);
        if (count <= 0)
            break;
        taken += static_cast<std::size_t>(count);
    }
    bytes.resize(taken);
    return bytes;
}

std::string read_frame(int socket) {
    const std::string header = read_exactly(socket, kFrameHeader);
    return header.size() < kFrameHeader ? header : header + read_exactly(socket, body_size(header));
}

std::string read_available(int socket) {
    std::string all;
    char part[4096];
    for (;;) {
        const ssize_t count = recv(socket, part, sizeof part, MSG_DONTWAIT);
        if (count <= 0)
            return all;
        all.append(part, static_cast<std::size_t>(count));
    }
}

std::string own_loopback_address() {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(1 + (process >> 16) % 254) + '.' +
           std::to_string((process >> 8) % 256) + '.' + std::to_string(1 + process % 254);
}

Descriptor listen_on(const std::string& host, int port) {
    Descriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = address_of(host, port);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        fail("bind");
    if (listen(listener.get(), 8) != 0)
        fail("listen");
    return listener;
}

Descriptor accept_on(const Descriptor& listener) {
    if (!wait_for(listener.get()))
        fail("nobody connects");
    Descriptor accepted(accept(listener.get(), nullptr, nullptr));
    if (accepted.get() < 0)
        fail("accept");
    return accepted;
}

std::size_t open_descriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(
        std::distance(begin(entries), std::filesystem::directory_iterator()));
}

} // namespace peer
