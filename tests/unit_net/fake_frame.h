// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/fake_os.h"
#include "vx_socket/frame_socket.h"

/**
 * @file
 * Stands in the place of src/vx_socket: keeps what was sent, gives the replies that a test has laid
 * out, and notes every call in the journal. A wait for which there is no reply lasts its time-out.
 */
namespace fake {

struct SentFrame {
    int sock;
    std::string text;
    int mode;
    Microseconds at; ///< elapsed time
};

struct Wait {
    int sock;
    int mode;
    int seconds;
};

/** For one thread at a time. */
class Frame {
public:
    void reset();

    /** What each further connect returns; the sockets of successful ones are 101, 102 and so on. */
    void set_connect_result(int result);
    /** What each further send returns. */
    void set_send_result(int result);
    /** The next wait that has none before it gives this. */
    void add_reply(const std::string& text);
    /** As add_reply, with another result than success and nothing received. */
    void add_result(int result);

    /** These run inside the call, after it was noted. */
    void on_connect(std::function<void()> action);
    void on_send(std::function<void()> action);
    void on_wait(std::function<void()> action);

    [[nodiscard]] const std::vector<SentFrame>& sent() const;
    [[nodiscard]] const std::vector<Wait>& waits() const;
};

Frame& frame();

} // namespace fake
