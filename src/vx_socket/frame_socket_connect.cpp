// SPDX-License-Identifier: MIT
#include "vx_socket/frame_socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "log/log.h"
#include "text/text.h"
#include <vxquilan/device.h>

namespace {

constexpr time_t kSendSeconds = 20;
constexpr int kNoSocket = 0; // the channel's variable for the socket knows no other mark

/** A socket that is closed again unless it is kept. */
class NewSocket {
public:
    NewSocket() : descriptor_(above_zero(socket(AF_INET, SOCK_STREAM, 0))) {
        // Programs that the daemon starts must not hold the connection open.
        if (valid())
            fcntl(descriptor_, F_SETFD, FD_CLOEXEC);
    }
    ~NewSocket() {
        if (valid())
            close(descriptor_);
    }
    NewSocket(const NewSocket&) = delete;
    NewSocket& operator=(const NewSocket&) = delete;

    bool valid() const { return descriptor_ > kNoSocket; }
    int get() const { return descriptor_; }
    int keep() {
        const int kept = descriptor_;
        descriptor_ = kNoSocket;
        return kept;
    }

private:
    /** A daemon started without standard input is given 0, which stands for "no socket" here. */
    static int above_zero(int descriptor) {
        if (descriptor != kNoSocket)
            return descriptor;
        const int other = fcntl(descriptor, F_DUPFD, kNoSocket + 1);
        close(descriptor);
        return other;
    }

    int descriptor_;
};

bool reuse_address(int descriptor) {
    const int on = 1;
    return setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0;
}

/**
 * Ends a send to a platform that has stopped reading. The channel takes as long a silence for a
 * lost connection; without a limit the thread could never be stopped. Set after the connect, which
 * it would limit as well.
 */
void limit_sends(int descriptor) {
    const timeval limit{kSendSeconds, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

/** Connects; false with the reason in errno. */
bool connect_to(int descriptor, const char* host) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kPlatformPort);
    if (inet_pton(AF_INET, host, &address.sin_addr) != 1) {
        errno = EINVAL;
        return false;
    }
    return connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

/** Brings the connection up; 0, or what the whole function returns. */
int open_connection(int descriptor) {
    vxq::TextBuffer<64> host;
    const int error = port_device_gwip_get(host.data());
    if (error != 0)
        return error;
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d serveraddr is %s,serverport is %d!!!!!!\n",
               "frame_socket_connect_tcp", __LINE__, host.text(), int{kPlatformPort});
    if (!reuse_address(descriptor)) {
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d\n", "frame_socket_connect_tcp", __LINE__);
        return kFrameFailure;
    }
    if (!connect_to(descriptor, host.text())) {
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d connect to platform failed! errno = %s \n",
                   "frame_socket_connect_tcp", __LINE__, std::strerror(errno));
        return kFrameFailure;
    }
    limit_sends(descriptor);
    return kFrameOk;
}

} // namespace

int frame_socket_connect_tcp(int* sock) {
    *sock = kNoSocket;
    QUILAN_LOG(VX_LOG_PAYLOAD, "enter %s\n", "frame_socket_connect_tcp");
    NewSocket created;
    if (!created.valid()) {
        QUILAN_LOG(VX_LOG_ERROR, "create quilanclient.tcpSock error! \n");
        return kFrameFailure;
    }
    QUILAN_LOG(VX_LOG_PROGRESS, "creat socket type is  succeed! socket = %d \n", created.get());
    const int error = open_connection(created.get());
    if (error != kFrameOk)
        return error;
    *sock = created.keep();
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d connect to platform type   succeed! socket = %d \n",
               "frame_socket_connect_tcp", __LINE__, *sock);
    return kFrameOk;
}
