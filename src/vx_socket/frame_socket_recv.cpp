// SPDX-License-Identifier: MIT
#include "vx_socket/frame_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "aes_cbc/aes_cbc.h"
#include "log/log.h"
#include "log/log_text.h"
#include "os/clock.h"
#include <vxquilan/device.h>

namespace {

constexpr std::size_t kKeyBuffer = 128;
constexpr char kName[] = "frame_socket_waitrecv_tcp";

// What a frame may take to arrive once it has begun. The channel gives a silent platform up after
// as long, and a thread that waited for the rest of a frame for ever could not be stopped.
constexpr long kFrameSeconds = 20;

/** Waits for input: 1 when there is some (the end of the stream included), 0 time-out, -1 error. */
int wait_for_input(int sock, long seconds) {
    pollfd watched{sock, POLLIN, 0};
    const int ready = poll(&watched, 1, static_cast<int>(seconds) * 1000);
    if (ready > 0 && (watched.revents & POLLNVAL) != 0) {
        errno = EBADF;
        return -1;
    }
    return ready;
}

/** Reads parts of one frame. */
class FrameReader {
public:
    explicit FrameReader(int sock) : sock_(sock), deadline_(steady_deadline()) {}

    /** Reads exactly `size` bytes; 0, or the code of what went wrong, which has been logged. */
    int read(void* bytes, std::size_t size) {
        auto* position = static_cast<unsigned char*>(bytes);
        for (std::size_t missing = size; missing != 0;) {
            const ssize_t count = read_some(position, missing);
            if (count <= 0)
                return explain(count == 0 ? 0 : errno);
            last_count_ = static_cast<int>(count);
            position += count;
            missing -= static_cast<std::size_t>(count);
        }
        return kFrameOk;
    }

    int last_count() const { return last_count_; }

private:
    static long steady_deadline() { return vxq::steady_seconds() + kFrameSeconds; }

    ssize_t read_some(void* bytes, std::size_t size) const {
        const long left = std::max(deadline_ - vxq::steady_seconds(), 0L);
        const int ready = wait_for_input(sock_, left);
        if (ready > 0)
            return recv(sock_, bytes, size, 0);
        if (ready == 0)
            errno = ETIMEDOUT;
        return -1;
    }

    /** The end of the stream comes without an error number: an old one would mislead. */
    static int explain(int error) {
        QUILAN_LOG(VX_LOG_ERROR, "%s:%d errno is: %d\n", kName, __LINE__, error);
        return error == EINTR || error == EAGAIN ? kFrameRetry : kFrameLost;
    }

    int sock_;
    long deadline_;
    int last_count_ = 0;
};

void log_bytes(int level, const unsigned char* bytes) {
    QUILAN_LOG(level, "%s:%d %x,%x,%x,%x\n", kName, __LINE__, unsigned{bytes[0]},
               unsigned{bytes[1]}, unsigned{bytes[2]}, unsigned{bytes[3]});
}

/** Reads and checks the header; on success `length` is the body's. */
int read_header(FrameReader& reader, std::size_t& length) {
    unsigned char header[kFrameHeader];
    const int error = reader.read(header, sizeof header);
    if (error != kFrameOk)
        return error;
    if (std::memcmp(header, vxq::kFrameMagic, sizeof vxq::kFrameMagic) != 0) {
        log_bytes(VX_LOG_UNUSUAL, header);
        return kFrameRetry;
    }
    log_bytes(VX_LOG_PROGRESS, header + sizeof vxq::kFrameMagic);
    // The platform may use the upper half of the length for purposes of its own.
    length = std::size_t{header[6]} << 8 | header[7];
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d len:%d\n", kName, __LINE__, static_cast<int>(length));
    return kFrameOk;
}

/** Decrypts a body in place and makes it a text, which ends where the zero padding begins. */
std::size_t decrypt_body(char* buffer, std::size_t length) {
    unsigned char key[kKeyBuffer] = {};
    port_device_encryptkey_get(key);
    auto* const bytes = reinterpret_cast<unsigned char*>(buffer);
    cbc_encrypt_or_decrypt(key, kCipherKeyBits, bytes, bytes, length, kDecrypt);
    QUILAN_LOG(VX_LOG_PAYLOAD, "%s:%d decrypteddata:%s\n", kName, __LINE__,
               vxq::LogText(buffer).text());
    const std::size_t text_length = std::strlen(buffer);
    std::memset(buffer + text_length, 0, kFrameBuffer - text_length);
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d recvlen:%d\n", kName, __LINE__,
               static_cast<int>(text_length));
    QUILAN_LOG(VX_LOG_PROGRESS, "end\n");
    return text_length;
}

int read_frame(int sock, char* buffer, std::size_t* length, int mode) {
    FrameReader reader(sock);
    std::size_t body_length = 0;
    const int header_error = read_header(reader, body_length);
    if (header_error != kFrameOk)
        return header_error;
    if (body_length >= kFrameBuffer)
        return reader.last_count();
    const int body_error = reader.read(buffer, body_length);
    if (body_error != kFrameOk)
        return body_error;
    buffer[body_length] = '\0';
    if (mode == kFrameEncrypted)
        *length = decrypt_body(buffer, body_length);
    return kFrameOk;
}

int wait_for_frame(int sock, char* buffer, std::size_t* length, int mode, int timeout_s) {
    const int ready = wait_for_input(sock, timeout_s);
    if (ready == 0)
        return kFrameTimeout;
    return ready < 0 ? kFrameFailure : read_frame(sock, buffer, length, mode);
}

} // namespace

int frame_socket_waitrecv_tcp(int sock, char* buffer, std::size_t* length, int mode,
                              int timeout_s) {
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d socketid:%d\n", kName, __LINE__, sock);
    const int result = wait_for_frame(sock, buffer, length, mode, timeout_s);
    QUILAN_LOG(VX_LOG_PROGRESS, "%s:%d ret :%d\n", kName, __LINE__, result);
    return result;
}
