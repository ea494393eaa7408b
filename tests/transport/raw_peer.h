// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <openssl/ssl.h>

#include "certificate.h"
#include "waiting.h"
#include "wire.h"

/**
 * @file
 * A platform that speaks bytes: it can say everything that a CoAP library would never say, and
 * nothing happens unless the test does it. A wait that takes longer than patience() throws
 * std::runtime_error.
 */
namespace transport {

/** The daemon's end is closed or reset, or was before a handshake was done. */
class ConnectionEnded : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** A file descriptor with an owner. */
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;

    int get() const { return number_; }

private:
    int number_;
};

/** A TLS server's set-up: its certificate, and the name that the client asked for. */
class TlsIdentity {
public:
    explicit TlsIdentity(const Certificate& certificate);

    SSL_CTX* get() const { return context_.get(); }

private:
    struct Free {
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    };
    std::unique_ptr<SSL_CTX, Free> context_;
};

/** One connection, seen from the platform. */
class Connection {
public:
    explicit Connection(Descriptor socket);

    /**
     * Does the TLS handshake; from now on everything is encrypted.
     * @return the name that the client asked for (SNI)
     */
    std::string start_tls(const TlsIdentity& identity);

    /** Says that nothing more will come over TLS; the connection stays open. */
    void end_tls();

    void send(std::string_view bytes);
    void send(const Message& message) { send(encode(message)); }

    /** The next message, whatever it is. */
    Message next();
    /** The next message; nothing when the daemon's end is closed or reset instead. */
    std::optional<Message> next_if_any();
    /** Whether there is something to take, the end of the connection included. */
    bool readable() const;
    /** The next request or answer; signals and empty messages are passed over. */
    Message next_exchange();
    /** All whole messages until the daemon's end is closed or reset. */
    std::vector<Message> rest();
    /** Bytes as they come, at least one; empty when the daemon's end is closed or reset. */
    std::string receive();

    /** Waits for something to receive, the end of the connection included. */
    bool readable(milliseconds limit) const;

    /** Both sides of a session's begin: the daemon's CSM is taken, and answered with this one. */
    void greet(const Message& signal = csm());

    /** Waits until the daemon has read every byte sent so far. */
    void wait_until_read() const;

    /** Closes the connection in order, or breaks it off with a reset. */
    void close();
    void reset();

private:
    struct Free {
        void operator()(SSL* session) const { SSL_free(session); }
    };
    /** Receives into the buffer; false at the end of the connection. */
    bool receive_more();

    Descriptor socket_;
    std::unique_ptr<SSL, Free> tls_;
    std::string received_;
};

/** A listening socket on a loopback address, with a port that the kernel picks. */
class Listener {
public:
    explicit Listener(const std::string& address = "127.0.0.1", std::uint16_t port = 0);
    /** Listens on a socket that has its port already. */
    explicit Listener(Descriptor bound);

    const std::string& address() const { return address_; }
    std::uint16_t port() const { return port_; }
    Connection accept();
    /** Whether a connection comes in that time, or is there, that nobody has accepted. */
    bool has_connection(milliseconds limit = milliseconds(0)) const;
    /** Turns connections away, those that wait to be accepted included; the port is kept. */
    void refuse();
    /** Takes connections again. */
    void resume();

private:
    std::string address_ = "127.0.0.1";
    Descriptor socket_;
    std::uint16_t port_;
};

/** A port of 127.0.0.1 where nobody listens, kept free of others while the object lives. */
class ClosedPort {
public:
    ClosedPort();

    std::uint16_t port() const { return port_; }
    /** From now on somebody does. */
    Listener open() && { return Listener(std::move(socket_)); }

private:
    Descriptor socket_;
    std::uint16_t port_;
};

} // namespace transport
