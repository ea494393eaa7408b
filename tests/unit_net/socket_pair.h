// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <utility>

/** @file Descriptors that close themselves, and the far end of a connection. */
namespace peer {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset();
        number_ = std::exchange(other.number_, -1);
        return *this;
    }

    [[nodiscard]] int get() const { return number_; }
    void reset();

private:
    int number_ = -1;
};

/** Two connected sockets: the daemon's and the platform's. */
struct SocketPair {
    Descriptor daemon;
    Descriptor platform;
};

/** A stream socket pair, or two ends of a TCP connection over loopback. */
SocketPair local_pair();
SocketPair tcp_pair();

/** Writes everything; throws on failure. */
void write_all(int socket, const std::string& bytes);
/** Reads exactly this many bytes; fewer at the end of the stream or after 10 seconds. */
std::string read_exactly(int socket, std::size_t size);
/** Reads one whole frame; what there is of it at the end of the stream. */
std::string read_frame(int socket);
/** Reads whatever is there now, without waiting. */
std::string read_available(int socket);

/** A loopback address that no other test process uses at this time. */
std::string own_loopback_address();
/** Listens there; throws on failure. */
Descriptor listen_on(const std::string& address, int port);
/** Accepts a connection; throws when none comes within 10 seconds. */
Descriptor accept_on(const Descriptor& listener);

/** Descriptors that this process has open. */
std::size_t open_descriptors();

} // namespace peer
