// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "transport/raw_peer.h"
#include "transport/wire.h"

/**
 * @file
 * The daemon's app channel on the test's own thread, on a real libcoap, with a platform that speaks
 * bytes. libcoap only gets to work when the test says so, and so the test can say how much memory
 * there is for one request and nothing else.
 */
namespace starvation {

/** Types of port_device_coap_type. */
enum CoapType { kPlain = 0, kTls = 1 };

/** A device library that knows something about everything, and takes every change. */
void equip_gateway();
/** The same, but it fills nothing in, and its operations return `result`. */
void silence_gateway(int result);
/** Where the device library says the platform is. */
void set_platform(const std::string& host, int port, CoapType type = kPlain);

/** The daemon's log lines of levels 3 and 4: what an operator can find out about a loss. */
std::vector<std::string> complaints();
/** libcoap's own lines, of its warnings and worse; a maker who wants them switches them on. */
std::vector<std::string> coap_complaints();

/** Forgets all of it, and the journal. */
void forget();

/** Waits until libcoap has something to do, or a moment, and has it done. */
void work(int milliseconds = 20);

/** What the main loop does to open a session, but for the receive thread. */
bool connect();

/** Tells that the daemon has connected already. */
struct Connected {};
inline constexpr Connected kConnected;

/** Both ends of one session. */
class Session {
public:
    /** Connects, and does both sides' greeting; throws when that fails. */
    explicit Session(transport::Listener& listener);
    /** The same without the connect. */
    Session(transport::Listener& listener, Connected);
    /** Takes over a session in which both sides have greeted. */
    explicit Session(transport::Connection platform);
    /** Closes both ends. */
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    transport::Connection& platform() { return *platform_; }

    /** Has libcoap work until `done`; throws when that takes too long. */
    void work_until(const std::function<bool()>& done);
    /**
     * All requests and answers that the daemon has sent by now, in front of its answer to a ping or
     * of the end of the session.
     */
    std::vector<transport::Message> sent();
    /** Whether the daemon still has this session. */
    [[nodiscard]] bool alive() const;

private:
    std::optional<transport::Message> next_if_any();
    void take_up_to_pong(std::vector<transport::Message>& messages);
    void greet();

    std::optional<transport::Connection> platform_;
    int number_;
};

} // namespace starvation
