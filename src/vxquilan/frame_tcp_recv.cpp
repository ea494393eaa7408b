// SPDX-License-Identifier: MIT
#include "vxquilan/frame_tcp_recv.h"

#include <cstdint>
#include <cstring>

#include "log/log.h"
#include "os/thread.h"
#include "protocol/platform_commands.h"
#include "protocol/platform_session.h"
#include "state/state.h"
#include "tnjsonapi/tn_session.h"
#include "vx_socket/frame_socket.h"

namespace {

constexpr int kWaitSeconds = 5;

int ignore_ack(int, const char*, int) {
    return 0;
}

struct Handler {
    int kind;
    int (*handle)(int sock, const char* text, int sequence);
};

constexpr Handler kHandlers[] = {
    {kMessageAck, ignore_ack},
    {kMessageWifi, profession_wifi},
    {kMessageWifiTimer, profession_wifitimer},
    {kMessageGetStatus, profession_status},
    {kMessageWpsSwitch, profession_wpsswitch},
    {kMessageUpgrade, profession_upgrade},
};

auto handler_for(int kind) {
    for (const Handler& entry : kHandlers) {
        if (entry.kind == kind)
            return entry.handle;
    }
    return profession_ack;
}

bool ends_thread(int result) {
    return result < 0 || result == kFrameLost;
}

/** Waits for a frame and carries it out; false when that was the end. */
bool serve_frame(int sock, char* buffer) {
    std::size_t length = 0;
    const int result =
        frame_socket_waitrecv_tcp(sock, buffer, &length, kFrameEncrypted, kWaitSeconds);
    if (ends_thread(result))
        return false;
    if (result == kFrameOk && frame_tcp_process(sock, buffer) == kFrameLost)
        return false;
    if (result != kFrameTimeout)
        std::memset(buffer, 0, kFrameBuffer);
    return true;
}

} // namespace

int frame_tcp_process(int sock, const char* text) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s %d\n", "frame_tcp_process", __LINE__);
    int kind = 0;
    int sequence = 0;
    const int error = tn_typemethod_tcp_parse(text, &kind, &sequence);
    if (error != 0)
        return error;
    QUILAN_LOG(VX_LOG_PROGRESS, "typemethods %d\n", kind);
    // Whatever the platform says, it is alive.
    g_heartbeat_recvflag = 1;
    return handler_for(kind)(sock, text, sequence);
}

void* frame_tcp_recv(void* socket) {
    const int sock = static_cast<int>(reinterpret_cast<std::intptr_t>(socket));
    g_tcp_thread = 1;
    char buffer[kFrameBuffer] = {};
    while (g_tcp_flag != 0 && serve_frame(sock, buffer)) {
    }
    g_tcp_thread = 0;
    return nullptr;
}

namespace vxq {

bool start_tcp_recv(int sock) {
    g_tcp_thread = 1;
    void* const argument = reinterpret_cast<void*>(std::intptr_t{sock});
    if (start_detached_thread(frame_tcp_recv, argument))
        return true;
    g_tcp_thread = 0;
    return false;
}

} // namespace vxq
