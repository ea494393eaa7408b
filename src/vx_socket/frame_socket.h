// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/**
 * @file
 * The platform channel's transport: one TCP connection that carries frames. A frame is a header of
 * 8 bytes (4 magic bytes, the body's length as 4 bytes, big-endian) and a body, a JSON text in
 * plain or encrypted with the session key, which the device library is asked for again for every
 * frame.
 */

/** How a body travels; every other value counts as plain. */
enum FrameMode : int { kFramePlain = 0, kFrameEncrypted = 1 };

/** What the transport's functions return; for connect and send see there. */
enum FrameResult : int {
    kFrameOk = 0,
    kFrameFailure = -1,
    kFrameTimeout = 1, ///< nothing has arrived
    kFrameRetry = 11,  ///< interrupted, or not a frame
    kFrameLost = 32,   ///< the connection is gone
};

/** The platform's port. */
inline constexpr std::uint16_t kPlatformPort = 32768;

/** Size of a receive buffer, and of a whole frame that is sent. */
inline constexpr std::size_t kFrameBuffer = 10240;
inline constexpr std::size_t kFrameHeader = 8;
/** The largest body that is sent. */
inline constexpr std::size_t kLargestSentBody = kFrameBuffer - kFrameHeader;

namespace vxq {

inline constexpr unsigned char kFrameMagic[] = {0x3f, 0x72, 0x1f, 0xb5};

} // namespace vxq

/**
 * Connects to the platform at the address that the device library gives at this moment. Waits as
 * long as the system does.
 *
 * @param sock  receives the socket, or 0
 * @return 0; -1 or the device library's code on failure
 */
int frame_socket_connect_tcp(int* sock);

/**
 * Sends one frame. Callable from any thread; frames of two threads never mix.
 *
 * @param text    the body; a NUL before `length` ends it, and zeros are sent for the rest
 * @param length  the body's length before encryption
 * @param mode    FrameMode
 * @return 0; 32 when the connection is gone; -1 when there is no text, when it does not fit into a
 *         frame, or when the send was interrupted or would have blocked before anything was sent
 */
int frame_socket_send_tcp(int sock, const char* text, std::size_t length, int mode);

/**
 * Waits for one frame.
 *
 * @param buffer     kFrameBuffer bytes; receives the body as a text, decrypted in the encrypted
 * mode
 * @param length     receives the text's length in the encrypted mode, is left alone in the plain
 * one
 * @param timeout_s  seconds to wait for the frame to begin
 * @return FrameResult; for a frame too long for the buffer, whose body is left unread, the number
 * of bytes of the last read
 */
int frame_socket_waitrecv_tcp(int sock, char* buffer, std::size_t* length, int mode, int timeout_s);
