// SPDX-License-Identifier: MIT
#include "vx_socket/frame_socket.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

#include "aes_cbc/aes_cbc.h"
#include "log/log.h"
#include "os/mutex.h"
#include <vxquilan/device.h>

namespace {

constexpr std::size_t kKeyBuffer = 128;

// The receive thread's answers and the heartbeat thread's frames go into one stream.
pthread_mutex_t s_send_lock = PTHREAD_MUTEX_INITIALIZER;

struct Frame {
    unsigned char header[kFrameHeader];
    unsigned char body[kLargestSentBody];
};
static_assert(sizeof(Frame) == kFrameBuffer);

std::size_t round_up_to_block(std::size_t length) {
    return (length + kCipherBlock - 1) / kCipherBlock * kCipherBlock;
}

void write_header(Frame& frame, std::size_t body_length) {
    std::memcpy(frame.header, vxq::kFrameMagic, sizeof vxq::kFrameMagic);
    for (std::size_t index = sizeof vxq::kFrameMagic; index < kFrameHeader; ++index)
        frame.header[index] =
            static_cast<unsigned char>(body_length >> (8 * (kFrameHeader - 1 - index)));
}

void encrypt_body(Frame& frame, std::size_t length) {
    QUILAN_LOG(VX_LOG_PAYLOAD, "gwdencrypt_cbcaes_base64 start\n");
    unsigned char key[kKeyBuffer] = {};
    port_device_encryptkey_get(key);
    cbc_encrypt_or_decrypt(key, kCipherKeyBits, frame.body, frame.body, length, kEncrypt);
    QUILAN_LOG(VX_LOG_PAYLOAD, "gwdencrypt_cbcaes_base64 end\n");
}

/** Hands all bytes to the system: one call, and more only when it takes less than all. */
int send_all(int sock, const unsigned char* bytes, std::size_t size) {
    std::size_t sent = 0;
    while (sent < size) {
        const ssize_t taken = send(sock, bytes + sent, size - sent, 0);
        if (taken >= 0) {
            sent += static_cast<std::size_t>(taken);
            continue;
        }
        const int error = errno;
        // A frame that has been begun must be completed: what follows would be read as its rest.
        if (error == EINTR && sent != 0)
            continue;
        QUILAN_LOG(VX_LOG_ERROR, "errno is: %d\n", error);
        const bool nothing_happened = sent == 0 && (error == EINTR || error == EAGAIN);
        return nothing_happened ? kFrameFailure : kFrameLost;
    }
    return kFrameOk;
}

} // namespace

int frame_socket_send_tcp(int sock, const char* text, std::size_t length, int mode) {
    if (text == nullptr)
        return kFrameFailure;
    const bool encrypted = mode == kFrameEncrypted;
    // Before the rounding, which could overflow.
    if (length > kLargestSentBody || (encrypted && round_up_to_block(length) > kLargestSentBody)) {
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d %lu bytes do not fit into a frame, not sent\n",
                   "frame_socket_send_tcp", __LINE__, static_cast<unsigned long>(length));
        return kFrameFailure;
    }
    const std::size_t body_length = encrypted ? round_up_to_block(length) : length;
    const std::size_t text_length = strnlen(text, length);
    Frame frame; // only what is sent is filled: most frames are far smaller than their buffer
    std::memcpy(frame.body, text, text_length);
    std::memset(frame.body + text_length, 0, body_length - text_length);
    if (encrypted)
        encrypt_body(frame, body_length);
    write_header(frame, body_length);
    const vxq::HeldMutex lock(s_send_lock);
    return send_all(sock, frame.header, kFrameHeader + body_length);
}
