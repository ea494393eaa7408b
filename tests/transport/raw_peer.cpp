// SPDX-License-Identifier: MIT
#include "raw_peer.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace transport {

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

sockaddr_in make_address(const std::string& text, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, text.c_str(), &address.sin_addr) != 1)
        throw std::runtime_error("no address: " + text);
    return address;
}

using NameCall = int (*)(int, sockaddr*, socklen_t*);

/** One end of a connection; port 0 when the descriptor has none. */
sockaddr_in name_of(int descriptor, NameCall call) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (call(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        address.sin_port = 0;
    return address;
}

bool same(const sockaddr_in& a, const sockaddr_in& b) {
    return a.sin_port == b.sin_port && a.sin_addr.s_addr == b.sin_addr.s_addr;
}

std::uint16_t port_of(const Descriptor& descriptor) {
    return ntohs(name_of(descriptor.get(), getsockname).sin_port);
}

Descriptor bind_socket(const std::string& address, std::uint16_t port) {
    Descriptor descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in name = make_address(address, port);
    if (bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
        fail("bind " + address);
    return descriptor;
}

/** Port 0 stands for one that the kernel picks. */
Descriptor bind_to(const std::string& address, std::uint16_t port) {
    Descriptor descriptor = bind_socket(address, port);
    // A socket keeps a port that it asked for also while it does not listen, a picked one not.
    return port != 0 ? std::move(descriptor) : bind_socket(address, port_of(descriptor));
}

bool has_input(int descriptor, milliseconds limit) {
    pollfd watched{descriptor, POLLIN, 0};
    return poll(&watched, 1, static_cast<int>(limit.count())) > 0;
}

void limit_waits(int descriptor) {
    const auto limit = patience();
    timeval time{};
    time.tv_sec =
        static_cast<std::time_t>(std::chrono::duration_cast<std::chrono::seconds>(limit).count());
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

/** The other end of a connection: it belongs to this process as well. -1 when it is closed. */
int find_other_end(int descriptor) {
    const sockaddr_in here = name_of(descriptor, getsockname);
    const sockaddr_in there = name_of(descriptor, getpeername);
    const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir("/proc/self/fd"), closedir);
    while (const dirent* const entry = readdir(open.get())) {
        const int candidate = std::atoi(entry->d_name);
        if (candidate > 2 && same(name_of(candidate, getpeername), here) &&
            same(name_of(candidate, getsockname), there))
            return candidate;
    }
    return -1;
}

template <typename Object, typename Read>
Object* read_pem(const std::string& text, Read read) {
    BIO* const input = BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
    Object* const object = read(input, nullptr, nullptr, nullptr);
    BIO_free(input);
    return object;
}

} // namespace

Descriptor::~Descriptor() {
    if (number_ >= 0)
        ::close(number_);
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        if (number_ >= 0)
            ::close(number_);
        number_ = std::exchange(other.number_, -1);
    }
    return *this;
}

TlsIdentity::TlsIdentity(const Certificate& certificate)
    : context_(SSL_CTX_new(TLS_server_method())) {
    SSL_CTX_set_session_cache_mode(context_.get(), SSL_SESS_CACHE_OFF); // it would only grow
    X509* const shown = read_pem<X509>(certificate.certificate, PEM_read_bio_X509);
    EVP_PKEY* const key = read_pem<EVP_PKEY>(certificate.key, PEM_read_bio_PrivateKey);
    const bool usable = SSL_CTX_use_certificate(context_.get(), shown) == 1 &&
                        SSL_CTX_use_PrivateKey(context_.get(), key) == 1;
    X509_free(shown);
    EVP_PKEY_free(key);
    if (!usable)
        throw std::runtime_error("unusable certificate");
}

Connection::Connection(Descriptor socket) : socket_(std::move(socket)) {
    limit_waits(socket_.get());
    // What a test sends in two pieces must not be glued together, nor wait for the other side.
    const int on = 1;
    setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::string Connection::start_tls(const TlsIdentity& identity) {
    tls_.reset(SSL_new(identity.get()));
    SSL_set_fd(tls_.get(), socket_.get());
    if (SSL_accept(tls_.get()) != 1)
        throw ConnectionEnded("TLS handshake failed");
    const char* const name = SSL_get_servername(tls_.get(), TLSEXT_NAMETYPE_host_name);
    return name != nullptr ? name : "";
}

void Connection::end_tls() {
    SSL_shutdown(tls_.get());
}

void Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent =
            tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                 : ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            throw ConnectionEnded(std::string("send: ") + std::strerror(errno));
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool Connection::receive_more() {
    char buffer[16384];
    errno = 0;
    const ssize_t got = tls_ ? SSL_read(tls_.get(), buffer, sizeof buffer)
                             : recv(socket_.get(), buffer, sizeof buffer, 0);
    if (got <= 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        throw std::runtime_error("the daemon sent nothing");
    ERR_clear_error();
    if (got <= 0)
        return false;
    received_.append(buffer, static_cast<std::size_t>(got));
    return true;
}

std::optional<Message> Connection::next_if_any() {
    do {
        if (auto message = take_message(received_))
            return message;
    } while (receive_more());
    return std::nullopt;
}

bool Connection::readable() const {
    // The daemon's next message may be waiting for the acknowledgement of the one before.
    const int on = 1;
    setsockopt(socket_.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    return readable(milliseconds(0));
}

Message Connection::next() {
    if (auto message = next_if_any())
        return *message;
    throw ConnectionEnded("the daemon closed the connection");
}

Message Connection::next_exchange() {
    for (;;) {
        Message message = next();
        if (message.code != kEmpty && message.code < kCsm)
            return message;
    }
}

std::vector<Message> Connection::rest() {
    while (receive_more()) {
    }
    std::vector<Message> messages;
    while (auto message = take_message(received_))
        messages.push_back(*message);
    return messages;
}

std::string Connection::receive() {
    if (received_.empty())
        receive_more();
    return std::exchange(received_, {});
}

bool Connection::readable(milliseconds limit) const {
    return !received_.empty() || (tls_ && SSL_pending(tls_.get()) > 0) ||
           has_input(socket_.get(), limit);
}

void Connection::greet(const Message& signal) {
    if (next().code != kCsm)
        throw std::runtime_error("the daemon's first message is no CSM");
    send(signal);
}

void Connection::wait_until_read() const {
    const bool read = wait_until([&] {
        const int other = find_other_end(socket_.get());
        int waiting = 0;
        return other < 0 || (ioctl(other, FIONREAD, &waiting) == 0 && waiting == 0);
    });
    if (!read)
        throw std::runtime_error("the daemon doesn't read");
}

void Connection::close() {
    tls_.reset();
    socket_ = Descriptor();
}

void Connection::reset() {
    const linger at_once{1, 0};
    setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close();
}

Listener::Listener(const std::string& address, std::uint16_t port)
    : Listener(bind_to(address, port)) {
    address_ = address;
}

Listener::Listener(Descriptor bound) : socket_(std::move(bound)), port_(port_of(socket_)) {
    resume();
    limit_waits(socket_.get());
}

Connection Listener::accept() {
    Descriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (accepted.get() < 0)
        fail("no connection from the daemon");
    return Connection(std::move(accepted));
}

bool Listener::has_connection(milliseconds limit) const {
    return has_input(socket_.get(), limit);
}

void Listener::refuse() {
    if (shutdown(socket_.get(), SHUT_RDWR) != 0)
        fail("shutdown");
}

void Listener::resume() {
    if (listen(socket_.get(), 16) != 0)
        fail("listen");
}

ClosedPort::ClosedPort() : socket_(bind_to("127.0.0.1", 0)), port_(port_of(socket_)) {}

} // namespace transport
