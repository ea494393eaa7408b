// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <coap3/coap.h>
#include <gtest/gtest.h>

#include "census.h"
#include "raw_peer.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "waiting.h"
#include "wire.h"
#include <vxquilan/log.h>

namespace transport {

/** Types of port_device_coap_type. */
enum CoapType { kPlain = 0, kTls = 1 };

/**
 * The daemon's transport with its resources and its event handler, on real threads and a real
 * clock; the device library and the log are fakes. The reply dispatcher is not part of it: replies
 * end in a list here.
 */
class TransportTest : public ::testing::Test {
protected:
    TransportTest();
    ~TransportTest() override;

    /** Where the device library says the platform is. */
    static void set_platform(const std::string& host, int port, CoapType type = kPlain);
    static void set_platform(const Listener& listener, CoapType type = kPlain);
    static void set_access_token(const std::string& token);

    /** What the main loop does to open a session: connect, resources, receive thread. */
    void open_session();
    /** The last step of it alone. */
    void start_receive_thread();
    /** open_session towards a raw peer, until both sides have greeted. */
    Connection establish(Listener& listener, const Message& signal = csm());
    /** The same over TLS. */
    Connection establish_tls(Listener& listener, const TlsIdentity& identity);

    /** Waits until every receive thread has said goodbye. */
    bool receive_threads_ended() const;
    /** Closes and waits for that. */
    void close_session();

    /** Forgets log, journal, replies and events; to be called while no receive thread runs. */
    void forget();

    /** A request as the daemon's exchanges send it. */
    static int post(const std::string& path, const std::string& body = {});

    /** What libcoap called back. */
    std::vector<std::string> replies() const;
    std::vector<int> events() const;
    bool wait_for_replies(std::size_t count) const;
    /** Waits until an event has come that many times. */
    bool wait_for_event(int event, long times = 1) const;

    /** Run inside the callbacks, on the receive thread; to be set before the session is opened. */
    std::function<void(const std::string& reply)> on_reply;
    std::function<void(int event)> on_event;

    /** Receive threads started so far. */
    int threads_ = 0;

private:
    static coap_response_t take_reply(coap_session_t*, const coap_pdu_t*,
                                      const coap_pdu_t* received, coap_mid_t);
    static int take_event(coap_session_t* session, coap_event_t event);

    /** Both sides' greeting, waited for. */
    void greet(Connection& platform, const Message& signal);

    static TransportTest* s_current;

    long greeted_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::string> replies_;
    std::vector<int> events_;
};

/** Lines logged as errors so far. */
std::vector<std::string> errors();

/** Whether a line of that level and text was logged; the source line in it counts as "#". */
bool logged(int level, const std::string& text);

} // namespace transport
