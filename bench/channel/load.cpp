// SPDX-License-Identifier: MIT
// The platform's side of a measurement: takes one connection, answers the gateway's requests, and
// then sends requests as it is told on standard input, one in flight unless told otherwise:
//
//   GET PATH COUNT
//   POST PATH COUNT FILE [FLIGHT]
//   GET PATH COUNT - [FLIGHT]
//
// For each line it prints {"requests", "seconds", "p50", "p99", "bytes"}: times in seconds, bytes
// of the last answer. Written on sockets, not on libcoap, so that little of what is measured is its
// own. Reports "listening PORT" first, then "first" and "online" with the monotonic clock's
// seconds.
//
//   bench_load [--tls FOLDER] [--gateway]
//
// With --gateway the peer is a daemon: it is online once it reports or sends a heartbeat.

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "certificate.h"
#include "channel/program.h"

namespace {

constexpr std::uint8_t kPost = 2;
constexpr std::uint8_t kContent = 69;
constexpr std::uint8_t kCsm = 225, kPing = 226, kPong = 227;
constexpr unsigned kUriPath = 11;
constexpr char kReply[] = R"({"errcode":0,"devId":"0f6b3c52-bench","secret":"5d41402abc4b2a76",)"
                          R"("accessToken":"7d793037a0760186574b0282f2f435e7",)"
                          R"("refreshToken":"9e107d9d372bb6826bd81d3542a419d6","timeOut":86400})";

[[noreturn]] void fail(const std::string& what) {
    bench::fail("bench_load", what);
}

double now() {
    return bench::seconds_of(CLOCK_MONOTONIC);
}

/** The connection, in plain or with TLS. */
class Stream {
public:
    Stream(int socket, SSL* tls) : socket_(socket), tls_(tls) {}

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count =
                tls_ != nullptr ? SSL_write(tls_, bytes.data(), static_cast<int>(bytes.size()))
                                : send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count <= 0)
                fail("the gateway has closed the connection");
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    /** Makes sure that so many bytes are there. */
    void need(std::size_t size) {
        while (buffer_.size() - start_ < size) {
            char chunk[65536];
            acknowledge_at_once();
            const ssize_t count = tls_ != nullptr ? SSL_read(tls_, chunk, sizeof chunk)
                                                  : recv(socket_, chunk, sizeof chunk, 0);
            if (count <= 0)
                fail("the gateway has closed the connection");
            if (start_ != 0)
                buffer_.erase(0, std::exchange(start_, 0));
            buffer_.append(chunk, static_cast<std::size_t>(count));
        }
    }
    std::uint8_t peek(std::size_t index) {
        need(index + 1);
        return static_cast<std::uint8_t>(buffer_[start_ + index]);
    }
    std::string_view take(std::size_t size) {
        need(size);
        const std::string_view taken = std::string_view(buffer_).substr(start_, size);
        start_ += size;
        return taken;
    }

private:
    /**
     * A peer's second piece, of a long answer over TLS or of one more answer, waits for the
     * acknowledgement of the first: 40 ms when the system sees fit.
     */
    void acknowledge_at_once() const {
        const int on = 1; // good for the next acknowledgements only
        setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    }

    int socket_;
    SSL* tls_;
    std::string buffer_;
    std::size_t start_ = 0;
};

/** A message as it lies in the stream's buffer; valid until the next read. */
struct Message {
    std::uint8_t code;
    std::string_view token;
    std::string_view rest; ///< options and payload
};

Message read_message(Stream& stream) {
    const std::uint8_t first = stream.peek(0);
    const unsigned nibble = first >> 4;
    const std::size_t extra = nibble < 13 ? 0 : std::size_t{1} << (nibble - 13);
    std::size_t length = 0;
    for (std::size_t index = 0; index < extra; ++index)
        length = length << 8 | stream.peek(1 + index);
    length = nibble < 13 ? nibble : length + (nibble == 13 ? 13 : nibble == 14 ? 269 : 65805);
    const std::size_t token = first & 0xfU;
    const std::string_view whole = stream.take(2 + extra + token + length);
    return {static_cast<std::uint8_t>(whole[1 + extra]), whole.substr(2 + extra, token),
            whole.substr(2 + extra + token)};
}

void append_extended(std::string& text, unsigned value) {
    if (value >= 269) {
        text += static_cast<char>((value - 269) >> 8);
        text += static_cast<char>((value - 269) & 0xff);
    } else if (value >= 13) {
        text += static_cast<char>(value - 13);
    }
}

unsigned nibble_of(unsigned value) {
    return value >= 269 ? 14 : value >= 13 ? 13 : value;
}

void append_option(std::string& options, unsigned& last, unsigned number, std::string_view value) {
    const unsigned delta = number - last;
    const auto length = static_cast<unsigned>(value.size());
    options += static_cast<char>(nibble_of(delta) << 4 | nibble_of(length));
    append_extended(options, delta);
    append_extended(options, length);
    options += value;
    last = number;
}

std::string make_message(std::uint8_t code, std::string_view token, std::string_view options,
                         std::string_view payload) {
    std::string rest(options);
    if (!payload.empty())
        rest.append("\xff").append(payload);
    const auto length = static_cast<unsigned>(rest.size());
    std::string message;
    message += static_cast<char>(nibble_of(length) << 4 | token.size());
    append_extended(message, length);
    message += static_cast<char>(code);
    return message.append(token).append(rest);
}

std::string make_request(std::uint8_t code, const std::string& path, std::string_view payload) {
    std::string options;
    unsigned last = 0;
    std::istringstream segments(path);
    for (std::string segment; std::getline(segments, segment, '/');)
        append_option(options, last, kUriPath, segment);
    append_option(options, last, 2050, "request-0001");
    append_option(options, last, 2051, "session-0001");
    append_option(options, last, 2052, "trace-0001");
    return make_message(code, "AB", options, payload);
}

class Platform {
public:
    explicit Platform(Stream stream) : stream_(std::move(stream)) {
        // Max-Message-Size, large enough for 64 hosts.
        stream_.write(make_message(kCsm, "", std::string("\x23\x10\x00\x00", 4), ""));
    }

    /** Runs until the gateway has said that it is there. */
    void bring_online(bool gateway) {
        stream_.peek(0);
        std::printf("first %.6f\n", now());
        std::fflush(stdout);
        while (gateway ? !reported_ : !announced_)
            next_answer_is_there();
        std::printf("online %.6f\n", now());
        std::fflush(stdout);
    }

    void measure(std::uint8_t code, const std::string& path, std::size_t count,
                 const std::string& body, std::size_t flight) {
        const std::string request = make_request(code, path, body);
        std::vector<double> times(count); // when sent, until the answer is there
        std::size_t sent = 0;
        const double start = now();
        double answered = start;
        for (std::size_t index = 0; index < count; ++index) {
            for (; sent < std::min(count, index + flight); ++sent) {
                times[sent] = answered;
                stream_.write(request);
            }
            while (!next_answer_is_there()) {
            }
            answered = now();
            times[index] = answered - times[index];
        }
        report(times, answered - start);
    }

private:
    void report(std::vector<double>& latencies, double seconds) const {
        std::sort(latencies.begin(), latencies.end());
        const std::size_t count = latencies.size();
        std::printf("{\"requests\": %zu, \"seconds\": %.6f, \"p50\": %.9f, \"p99\": %.9f, "
                    "\"bytes\": %zu}\n",
                    count, seconds, latencies[count / 2], latencies[count * 99 / 100],
                    answer_bytes_);
        std::fflush(stdout);
    }

    /** Takes one message; true when it is the answer to a request of ours. */
    bool next_answer_is_there() {
        const Message message = read_message(stream_);
        if (message.code == kCsm) {
            announced_ = true;
        } else if (message.code == kPing) {
            stream_.write(make_message(kPong, message.token, "", ""));
        } else if (message.code == kPost) {
            // A platform that answers at once sees the first heartbeat instead of the stations.
            reported_ = reported_ || message.rest.find("\"services\"") != std::string_view::npos ||
                        message.rest.find("\"ts\"") != std::string_view::npos;
            stream_.write(make_message(kContent, message.token, "", kReply));
        } else if (message.code >> 5 >= 2 && message.code < kCsm) {
            answer_bytes_ = message.rest.size();
            if (message.code != kContent)
                fail("the gateway refuses the request");
            return true;
        }
        return false;
    }

    Stream stream_;
    bool announced_ = false;
    bool reported_ = false;
    std::size_t answer_bytes_ = 0;
};

int accept_one() {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, generic, size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, generic, &size) != 0)
        fail("cannot listen");
    std::printf("listening %d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    const int connection = accept(listener, nullptr, nullptr);
    if (connection < 0)
        fail("no connection");
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return connection;
}

SSL* start_tls(int socket, const vxp::CertificateFiles& files) {
    SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
    if (SSL_CTX_use_certificate_file(context, files.certificate.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, files.key.c_str(), SSL_FILETYPE_PEM) != 1)
        fail("the certificate cannot be used");
    SSL* const tls = SSL_new(context);
    SSL_set_fd(tls, socket);
    if (SSL_accept(tls) != 1)
        fail("the TLS handshake failed");
    return tls;
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        fail(path + ": cannot be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

void take_orders(Platform& platform) {
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string method, path, file;
        int count = 0, flight = 1;
        words >> method >> path >> count >> file;
        if (words)
            words >> flight;
        if (count <= 0 || flight <= 0)
            fail("no order: " + line);
        platform.measure(method == "POST" ? kPost : 1, path, static_cast<std::size_t>(count),
                         file.empty() || file == "-" ? "" : read_file(file),
                         static_cast<std::size_t>(flight));
    }
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> options(arguments + 1, arguments + count);
    const auto tls = std::find(options.begin(), options.end(), "--tls");
    const bool gateway = std::find(options.begin(), options.end(), "--gateway") != options.end();
    vxp::CertificateFiles files;
    if (tls != options.end() && tls + 1 != options.end())
        files = vxp::prepareCertificate(*(tls + 1));
    const int connection = accept_one();
    Platform platform(
        Stream(connection, files.key.empty() ? nullptr : start_tls(connection, files)));
    platform.bring_online(gateway);
    take_orders(platform);
    // The connection ends with this process: the gateway sees it closed.
}
