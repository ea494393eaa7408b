// SPDX-License-Identifier: MIT
#include "protocol/platform_exchange.h"

#include <cstring>

#include "log/log.h"
#include "log/log_text.h"
#include "tnjsonapi/tn_session.h"

namespace vxq {

int run_exchange(const PlatformExchange& exchange, int sock, ReplyBuffer& reply) {
    const int send_error = send_logged(exchange.name, sock, exchange.build(), exchange.mode);
    if (send_error != 0 || exchange.reply_seconds == 0)
        return send_error;
    std::size_t length = 0;
    const int error =
        frame_socket_waitrecv_tcp(sock, reply.text, &length, exchange.mode, exchange.reply_seconds);
    QUILAN_LOG(VX_LOG_PAYLOAD, "%s:%d recvbuf:%s\n", exchange.name, __LINE__,
               LogText(reply.text).text());
    return error;
}

int send_text(int sock, const JsonText& message, FrameMode mode) {
    if (!message)
        return -1;
    return frame_socket_send_tcp(sock, message.get(), std::strlen(message.get()), mode);
}

int send_logged(const char* exchange, int sock, const JsonText& message, FrameMode mode) {
    if (message)
        QUILAN_LOG(VX_LOG_PAYLOAD, "%s:%d data:%s\n", exchange, __LINE__,
                   LogText(message.get()).text());
    else
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d\n", exchange, __LINE__);
    return send_text(sock, message, mode);
}

void acknowledge(int sock, int sequence) {
    send_text(sock, tn_ack_resp(sequence), kFrameEncrypted);
}

} // namespace vxq
