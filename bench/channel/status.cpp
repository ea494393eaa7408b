// SPDX-License-Identifier: MIT
// Status queries of the platform channel: the daemon's receive thread answers, this program asks,
// with the daemon's own frames, one query in flight. Prints {"requests", "seconds"} for each turn.

#include <cstdio>
#include <cstring>
#include <sys/socket.h>

#include "channel/program.h"
#include "state/state.h"
#include "vx_socket/frame_socket.h"
#include "vxquilan/frame_tcp_recv.h"

namespace {

constexpr int kTurns = 9;
constexpr int kRequests = 1000;
constexpr char kQuery[] =
    R"({"type":"get_status","sequence":1,"get":[{"name":"Wi-Fi"},{"name":"Wi-Fiswitch"},)"
    R"({"name":"ledswitch"},{"name":"Wi-Fitimer"}]})";

[[noreturn]] void fail(const char* what) {
    bench::fail("bench_status", what);
}

double now() {
    return bench::seconds_of(CLOCK_MONOTONIC);
}

void ask(int sock) {
    static char answer[kFrameBuffer];
    std::size_t length = 0;
    if (frame_socket_send_tcp(sock, kQuery, sizeof kQuery - 1, kFrameEncrypted) != kFrameOk ||
        frame_socket_waitrecv_tcp(sock, answer, &length, kFrameEncrypted, 1) != kFrameOk ||
        std::strstr(answer, "Wi-Fitimer") == nullptr)
        fail("a query was not answered");
}

} // namespace

int main() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        fail("no sockets");
    g_tcp_flag = 1;
    if (!vxq::start_tcp_recv(ends[1]))
        fail("no thread");
    for (int turn = 0; turn < kTurns; ++turn) {
        const double start = now();
        for (int request = 0; request < kRequests; ++request)
            ask(ends[0]);
        std::printf("{\"requests\": %d, \"seconds\": %.6f}\n", kRequests, now() - start);
    }
}
