// SPDX-License-Identifier: MIT
// Bytes of the platform at the app channel's socket: a real libcoap session with the whole resource
// table, the reply dispatcher and the event handler, on one thread. The first byte holds switches,
// the second says how many bytes come before the rest.
#include <ctime>
#include <optional>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/epoll.h>

#include "fuzz/harness.h"
#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_os.h"
#include "transport/raw_peer.h"
#include "transport/wire.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/coap_dispatch.h"
#include "vxquilan/coap_events.h"
#include "vxquilan/coap_resources.h"

namespace {

enum Switch : unsigned {
    kGreets = 1u << 0,    ///< the platform's own greeting comes first
    kBreaksOff = 1u << 1, ///< the platform resets the connection in the end
    kRoomyPeer = 1u << 2, ///< its greeting allows long messages
    kStateShift = 3,      ///< the next three bits: the state, from 9
    kStates = kAppOnline - kAppConnect + 1,
};

constexpr fake::Microseconds kRound{100};
constexpr int kQuietRounds = 2; // what was sent over loopback has arrived by then

/** Whether libcoap has nothing to read or write. */
bool is_idle() {
    pollfd watched{coap_context_get_coap_fd(g_coap_ctx), POLLIN, 0};
    return poll(&watched, 1, 0) == 0;
}

/** The platform's part, played whenever the receive loop pauses. */
class Platform {
public:
    Platform(transport::Connection connection, std::string second_part, bool breaks_off)
        : connection_(std::move(connection)), second_part_(std::move(second_part)),
          breaks_off_(breaks_off) {}

    void send(const std::string& bytes) { connection_.send(bytes); }

    void play() {
        fake::os().after(kRound, [this] { step(); });
    }

    /** Everything that the daemon sent must be CoAP. */
    void check_answers() {
        if (!broken_off_)
            connection_.rest();
    }

private:
    void step() {
        if (g_coap_ctx == nullptr)
            return;
        quiet_rounds_ = is_idle() ? quiet_rounds_ + 1 : 0;
        if (quiet_rounds_ == kQuietRounds) {
            quiet_rounds_ = 0;
            go_on();
        }
        play();
    }

    void go_on() {
        if (!second_part_.empty())
            send(std::exchange(second_part_, {}));
        else if (breaks_off_ && !std::exchange(broken_off_, true))
            connection_.reset();
        else if (!breaks_off_)
            frame_coap_close();
    }

    transport::Connection connection_;
    std::string second_part_;
    bool breaks_off_;
    bool broken_off_ = false;
    int quiet_rounds_ = 0;
};

std::string greeting(unsigned switches) {
    if ((switches & kGreets) == 0)
        return "";
    using transport::csm;
    return transport::encode((switches & kRoomyPeer) != 0 ? csm() : csm(std::nullopt));
}

void set_platform(int port) {
    fake::device().set_text("port_device_app_ip", "127.0.0.1");
    fake::device().set_number("port_device_app_ip", port);
    fake::device().set_number("port_device_coap_type", 0);
    fake::device().set_number("port_device_coap_debug", 0);
    fake::device().set_text("port_device_accesstoken_get", "the access token");
}

} // namespace

/** Time is not real here: whoever waits for input has it already, or goes on without. */
extern "C" int poll(pollfd* watched, nfds_t count, int) {
    const timespec at_once{};
    return ppoll(watched, count, &at_once, nullptr);
}

extern "C" int epoll_wait(int instance, epoll_event* events, int capacity, int) {
    return epoll_pwait(instance, events, capacity, 0, nullptr);
}

void fuzz::run(Input input) {
    static transport::Listener listener;
    // libcoap's own refusals make it connect once more when a malformed message has ended the
    // session before: the connection is dropped with the session, and not the next one.
    while (listener.has_connection())
        listener.accept();
    const unsigned switches = input.byte();
    const std::size_t first_size = input.byte();
    const World world;
    fake::os().reset();
    set_platform(listener.port());
    g_quilan_status = kAppConnect + static_cast<int>((switches >> kStateShift) % kStates);

    frame_coap_set_callbacks({message_handler, event_handler});
    require(frame_coap_connect() == 0, "no connection");
    frame_coap_register_list();
    const std::string first_part = input.text(first_size);
    Platform platform(listener.accept(), input.rest(), (switches & kBreaksOff) != 0);
    platform.send(greeting(switches) + first_part);
    platform.play();
    frame_coap_recv_prepare();
    frame_coap_recv(nullptr);
    frame_coap_close();
    platform.check_answers();
    fake::os().reset();
}
