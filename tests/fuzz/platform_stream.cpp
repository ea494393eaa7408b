// SPDX-License-Identifier: MIT
// Bytes at the platform channel's socket, through the receiver into the commands. The first byte
// says whether they come as they are, or as frames: one for each text between two NULs, or one of
// the length in two more bytes, filled with the rest.
#include <cstdint>
#include <fcntl.h>
#include <sys/socket.h>

#include <nlohmann/json.hpp>

#include "fuzz/harness.h"
#include "fuzz/platform_channel.h"
#include "state/state.h"
#include "unit_net/peer_codec.h"
#include "unit_net/socket_pair.h"
#include "vxquilan/frame_tcp_recv.h"

namespace {

enum Kind : unsigned { kRaw, kFrames, kFilledFrame, kKinds };

std::string frames_of(const std::vector<std::string>& texts) {
    std::string stream;
    for (const std::string& text : texts)
        stream += peer::encrypted_frame(fuzz::session_key(), text);
    return stream;
}

/** Long frames, without long inputs. */
std::string filled_frame(fuzz::Input& input) {
    const std::size_t high = input.byte();
    const std::size_t size = high << 8 | input.byte();
    const std::string filling = input.rest() + " ";
    std::string text;
    while (text.size() < size)
        text += filling;
    text.resize(size);
    return peer::encrypted_frame(fuzz::session_key(), text);
}

std::string stream_of(fuzz::Input& input) {
    switch (input.byte() % kKinds) {
    case kFrames:
        return frames_of(input.pieces());
    case kFilledFrame:
        return filled_frame(input);
    default:
        return input.rest();
    }
}

/** The daemon's frames are whole, and each holds JSON. The last may be cut: nobody reads. */
void check_answers(std::string stream) {
    for (std::string frame; !(frame = peer::take_frame(stream)).empty();) {
        const std::string text = peer::text_of_frame(fuzz::session_key(), frame);
        fuzz::require(nlohmann::json::accept(text), "an answer that is no JSON: " + text);
    }
}

} // namespace

void fuzz::run(Input input) {
    const World world;
    open_platform_channel();
    const peer::SocketPair pair = peer::local_pair();
    peer::write_all(pair.platform.get(), stream_of(input));
    shutdown(pair.platform.get(), SHUT_WR);
    // The platform reads when all is over; the daemon must not wait for it.
    fcntl(pair.daemon.get(), F_SETFL, O_NONBLOCK);
    frame_tcp_recv(reinterpret_cast<void*>(std::intptr_t{pair.daemon.get()}));
    require(g_tcp_thread == 0, "the receive thread still counts as running");
    check_answers(peer::read_available(pair.platform.get()));
    run_started_threads();
    check_records();
}
