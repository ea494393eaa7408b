// SPDX-License-Identifier: MIT
// Frames of the platform channel, sent and received on a pair of sockets: ours, and the same socket
// calls around OpenSSL's AES alone. Runs both by turns and prints a JSON line for each pair:
// {"size", "ours", "reference"} in frames a second of processor time.

#define OPENSSL_SUPPRESS_DEPRECATED

#include <cstdio>
#include <cstring>
#include <openssl/aes.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include "channel/program.h"
#include "vx_socket/frame_socket.h"
#include <vxquilan/device.h>

namespace {

constexpr int kPairs = 9;
constexpr double kSeconds = 0.03;

struct Sockets {
    int ends[2];
};

[[noreturn]] void fail(const char* what) {
    bench::fail("bench_frames", what);
}

/** The time that this one thread was at work: other programs on the machine do not count. */
double now() {
    return bench::seconds_of(CLOCK_PROCESS_CPUTIME_ID);
}

void exchange_ours(const Sockets& sockets, const std::string& text) {
    static char buffer[kFrameBuffer];
    std::size_t length = 0;
    if (frame_socket_send_tcp(sockets.ends[0], text.c_str(), text.size(), kFrameEncrypted) != 0 ||
        frame_socket_waitrecv_tcp(sockets.ends[1], buffer, &length, kFrameEncrypted, 1) != 0 ||
        length != text.size())
        fail("a frame was lost");
}

void read_exactly(int sock, unsigned char* bytes, std::size_t size) {
    pollfd watched{sock, POLLIN, 0};
    if (poll(&watched, 1, 1000) != 1 || recv(sock, bytes, size, 0) != static_cast<ssize_t>(size))
        fail("a frame was lost");
}

void exchange_bare(const Sockets& sockets, const std::string& text) {
    static unsigned char frame[kFrameBuffer];
    static unsigned char received[kFrameBuffer];
    unsigned char key[128];
    port_device_encryptkey_get(key);
    const std::size_t size = (text.size() + 15) / 16 * 16;
    std::memset(frame + kFrameHeader + text.size(), 0, size - text.size());
    unsigned char iv[16] = {};
    AES_KEY schedule;
    AES_set_encrypt_key(key, 128, &schedule);
    AES_cbc_encrypt(reinterpret_cast<const unsigned char*>(text.data()), frame + kFrameHeader, size,
                    &schedule, iv, AES_ENCRYPT);
    if (send(sockets.ends[0], frame, kFrameHeader + size, 0) < 0)
        fail("a frame was lost");
    pollfd watched{sockets.ends[1], POLLIN, 0};
    poll(&watched, 1, 1000);
    read_exactly(sockets.ends[1], received, kFrameHeader);
    read_exactly(sockets.ends[1], received, size);
    std::memset(iv, 0, sizeof iv);
    AES_set_decrypt_key(key, 128, &schedule);
    AES_cbc_encrypt(received, received, size, &schedule, iv, AES_DECRYPT);
}

using Exchange = void (*)(const Sockets&, const std::string&);

double frames_per_second(Exchange exchange, const Sockets& sockets, const std::string& text) {
    const double start = now();
    double end = start;
    int frames = 0;
    for (; end - start < kSeconds; end = now(), frames += 10) {
        for (int turn = 0; turn < 10; ++turn)
            exchange(sockets, text);
    }
    return frames / (end - start);
}

} // namespace

int main() {
    Sockets sockets{};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.ends) != 0)
        fail("no sockets");
    for (const std::size_t size : {64UL, 1024UL, 10000UL}) {
        const std::string text(size, 'x');
        for (int pair = 0; pair < kPairs; ++pair) {
            const double ours = frames_per_second(exchange_ours, sockets, text);
            const double bare = frames_per_second(exchange_bare, sockets, text);
            std::printf("{\"size\": %zu, \"ours\": %.0f, \"reference\": %.0f}\n", size, ours, bare);
        }
    }
}
