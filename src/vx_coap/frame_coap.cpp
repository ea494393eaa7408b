// SPDX-License-Identifier: MIT
#include "vx_coap/frame_coap.h"

#include <atomic>
#include <cassert>

#include "log/log.h"
#include "log/log_text.h"
#include "os/clock.h"
#include "state/state.h"
#include "vx_coap/coap_endpoint.h"
#include "vx_coap/coap_events.h"
#include "vx_coap/coap_inbox.h"
#include "vx_coap/coap_lock.h"
#include "vx_coap/coap_options.h"
#include "vx_coap/coap_pki.h"
#include "vx_coap/coap_served.h"
#include "vx_coap/session_life.h"
#include "vx_coap/session_room.h"
#include "vx_coap/wake_pipe.h"
#include <vxquilan/device.h>

coap_context_t* g_coap_ctx = nullptr;
coap_session_t* g_coap_session = nullptr;

namespace vxq {

SessionLife s_session_life;

namespace {

constexpr int kTypeTls = 1;
constexpr int kHighestWithoutMessages = 6; // of libcoap's log levels
constexpr int kProcessingSeconds = 3;
constexpr unsigned kPauseMicroseconds = 100;
// Without a descriptor to wait on, libcoap can only be asked again and again.
constexpr int kPollingMilliseconds = 10;
// Behind a message the next one is waited for without the wake pipe, for this long: a close is
// noticed later then, but each of many messages takes a system call less.
constexpr int kBusyMilliseconds = 10;

CoapCallbacks s_callbacks{nullptr, nullptr};
WakePipe s_wake_pipe;
std::atomic<int> s_session_number{0};
int s_work_depth = 0;                  // of CoapWork; belongs to g_coap_lock, as what follows
bool s_delivering = false;             // what waited is being dealt with
coap_context_t* s_ended_ctx = nullptr; // closed by a callback, still to be freed
unsigned s_ended_count = 0;            // of all contexts; tells one from the next

void free_context(coap_context_t* context) {
    assert(CoapLock::held() && s_work_depth == 0);
    // What libcoap reports while it takes the session apart concerns nobody any more.
    coap_register_response_handler(context, nullptr);
    coap_register_event_handler(context, nullptr);
    coap_free_context(context);
    coap_cleanup();
}

/** Forgets the session at once, and frees it as soon as libcoap is not at work on it. */
void end_session() {
    assert(CoapLock::held());
    coap_context_t* const ended = g_coap_ctx;
    g_coap_ctx = nullptr;
    g_coap_session = nullptr;
    if (ended == nullptr)
        return;
    ++s_ended_count;
    if (s_work_depth != 0)
        s_ended_ctx = ended;
    else
        free_context(ended);
}

void note_event(coap_event_t event) {
    if (event == COAP_EVENT_SESSION_CONNECTED) {
        s_session_life.established = true;
        open_resources();
    }
    if (event != COAP_EVENT_TCP_CLOSED && event != COAP_EVENT_TCP_FAILED)
        return;
    s_session_life.lost = true;
    if (!(s_session_life.established && s_session_life.carried))
        g_coap_refused = 1;
}

/** Whether what comes now has to wait behind requests that came before it. */
bool has_to_wait() {
    return !s_delivering && !inbox_empty();
}

void deliver_event(coap_session_t* session, coap_event_t event) {
    if (s_callbacks.event != nullptr)
        s_callbacks.event(session, event);
}

void deliver_reply(coap_session_t* session, const coap_pdu_t* received) {
    if (s_callbacks.response != nullptr)
        s_callbacks.response(session, nullptr, received, coap_pdu_get_mid(received));
}

void deliver_request(coap_session_t* session, coap_resource_t* resource,
                     const coap_pdu_t* request) {
    const coap_method_handler_t handler = handler_for(resource, request);
    if (handler != nullptr)
        handler(resource, session, request, nullptr, nullptr);
}

void deliver(const Arrival& arrival) {
    if (frame_coap_serves(arrival.session) == 0)
        return;
    if (!arrival.message)
        deliver_event(arrival.session, arrival.event);
    else if (arrival.resource == nullptr)
        deliver_reply(arrival.session, arrival.message.get());
    else
        deliver_request(arrival.session, arrival.resource, arrival.message.get());
}

void deliver_all() {
    s_delivering = true;
    Arrival arrival{};
    while (inbox_take(arrival))
        deliver(arrival);
    s_delivering = false;
}

int on_event(coap_session_t* session, const coap_event_t event) {
    if (frame_coap_serves(session) == 0)
        return 0;
    note_event(event);
    // Out of order is better than not at all.
    if (!has_to_wait() || !inbox_keep_event(session, event))
        deliver_event(session, event);
    return 0;
}

coap_response_t on_response(coap_session_t* session, const coap_pdu_t*, const coap_pdu_t* received,
                            const coap_mid_t) {
    if (frame_coap_serves(session) == 0)
        return COAP_RESPONSE_OK;
    if (!has_to_wait() || !inbox_keep(session, nullptr, received))
        deliver_reply(session, received);
    return COAP_RESPONSE_OK;
}

/** Null when memory or descriptors are short. */
coap_context_t* new_context() {
    return s_wake_pipe.open() && room_for_session() ? coap_new_context(nullptr) : nullptr;
}

/** Opens the client session on the new context; null on failure. */
coap_session_t* open_session(int type, const CoapEndpoint& endpoint,
                             const coap_address_t& address) {
    assert(CoapLock::held());
    if (type != kTypeTls)
        return coap_new_client_session(g_coap_ctx, nullptr, &address, COAP_PROTO_TCP);
    coap_dtls_pki_t* const pki = setup_pki(g_coap_ctx, endpoint.host.text());
    if (pki == nullptr)
        QUILAN_LOG(VX_LOG_ERROR, "dtls_pki err\n");
    return coap_new_client_session_pki(g_coap_ctx, nullptr, &address, COAP_PROTO_TLS, pki);
}

void install_callbacks() {
    assert(CoapLock::held());
    // Block2 is libcoap's; 2049 and 2051 are odd numbers, which CoAP holds for options that a
    // server must refuse unless it knows them.
    for (const std::uint16_t known : {kOptionBlock2, kOptionAccessToken, kOptionEcho2})
        coap_register_option(g_coap_ctx, known);
    coap_register_response_handler(g_coap_ctx, on_response);
    coap_register_event_handler(g_coap_ctx, on_event);
}

void set_log_levels(int level) {
    // At its highest level libcoap writes out whole messages, tokens and all.
    if (!log_shows_secrets() && level > kHighestWithoutMessages)
        level = kHighestWithoutMessages;
    coap_set_log_level(static_cast<coap_log_t>(level));
    coap_dtls_set_log_level(static_cast<coap_log_t>(level));
}

/** A thread whose write ends the last session may still be inside libcoap: hence the lock. */
void set_up_libcoap(int log_level) {
    const CoapLock lock;
    coap_startup();
    set_log_levels(log_level);
}

/** The receive thread's view of the context that it serves. */
class Receiver {
public:
    /**
     * Has libcoap process what comes, three seconds at most: waits outside the lock, processes
     * under it. While something comes there is no pause, since a platform that waits for each
     * answer would wait for all of them.
     */
    void receive() {
        int milliseconds;
        if (!prepare_wait(milliseconds))
            return;
        if (s_wake_pipe.wait(source_.descriptor(), milliseconds))
            process_input();
        else
            process_timers();
    }

private:
    /** Arms libcoap's timers and tells how long to wait; false when the session has been closed. */
    bool prepare_wait(int& milliseconds) {
        const CoapWork work;
        if (g_coap_ctx == nullptr)
            return false;
        if (source_.descriptor() < 0 || ended_count_ != s_ended_count)
            source_.open(coap_context_get_coap_fd(g_coap_ctx));
        ended_count_ = s_ended_count;
        milliseconds = kPollingMilliseconds;
        if (source_.descriptor() < 0)
            return true;
        coap_tick_t now;
        coap_ticks(&now);
        const unsigned next = coap_io_prepare_epoll(g_coap_ctx, now);
        const bool sooner = next != 0 && next < unsigned{kProcessingSeconds} * 1000;
        milliseconds = static_cast<int>(sooner ? next : kProcessingSeconds * 1000);
        return true;
    }

    void process_input() {
        const long end = steady_seconds() + kProcessingSeconds;
        CoapEvents events;
        do {
            events = source_.take(kBusyMilliseconds);
            process(events);
        } while (events.count != 0 && steady_seconds() < end && g_run_flag != 0);
    }

    /** The events refer to sessions of the context: another one must not see them. */
    void process(CoapEvents& events) {
        const CoapWork work;
        if (events.count != 0 && g_coap_ctx != nullptr && ended_count_ == s_ended_count)
            coap_io_do_epoll(g_coap_ctx, events.list, static_cast<std::size_t>(events.count));
    }

    static void process_timers() {
        const CoapWork work;
        if (g_coap_ctx != nullptr)
            coap_io_process(g_coap_ctx, COAP_IO_NO_WAIT);
    }

    CoapEventSource source_;
    unsigned ended_count_ = 0;
};

} // namespace

CoapWork::CoapWork() {
    ++s_work_depth;
}

CoapWork::~CoapWork() {
    if (s_work_depth == 1)
        deliver_all();
    if (--s_work_depth != 0 || s_ended_ctx == nullptr)
        return;
    free_context(s_ended_ctx);
    s_ended_ctx = nullptr;
}

} // namespace vxq

using namespace vxq;

void frame_coap_set_callbacks(const CoapCallbacks& callbacks) {
    const CoapLock lock;
    s_callbacks = callbacks;
}

int frame_coap_connect() {
    int type = 0;
    int debug = 0;
    port_device_coap_type(&type);
    port_device_coap_debug(&debug);
    set_up_libcoap(debug);

    const CoapEndpoint endpoint = read_endpoint();
    coap_address_t address;
    if (!resolve_endpoint(endpoint, address))
        return -1;

    const CoapLock lock;
    end_session(); // a failed attempt leaves its context behind
    s_session_life = {};
    g_coap_refused = 0;
    g_coap_ctx = new_context();
    if (g_coap_ctx == nullptr) {
        coap_log(static_cast<coap_log_t>(VX_LOG_PAYLOAD), "cannot create context\n");
        // Hardly any gateway shows libcoap's lines of that level.
        QUILAN_LOG(VX_LOG_ERROR, "cannot create context\n");
        return -1;
    }
    coap_context_set_keepalive(g_coap_ctx, 0);
    g_coap_session = open_session(type, endpoint, address);
    if (g_coap_session == nullptr) {
        QUILAN_LOG(VX_LOG_ERROR, "session err\n");
        return -1;
    }
    install_callbacks();
    if (!reset_resources())
        return -1;
    ++s_session_number;
    return 0;
}

void frame_coap_recv_prepare() {
    g_run_flag = 1;
    g_coap_recv_thread = 1;
}

void frame_coap_recv_abandon() {
    g_run_flag = 0;
    g_coap_recv_thread = 0;
}

void* frame_coap_recv(void*) {
    {
        const CoapLock lock;
        // A close that came before this thread's first step stands.
        g_run_flag = g_coap_ctx != nullptr ? 1 : 0;
        g_coap_recv_thread = 1;
    }
    Receiver receiver;
    while (g_run_flag != 0) {
        receiver.receive();
        sleep_microseconds(kPauseMicroseconds);
    }
    g_coap_recv_thread = 0;
    QUILAN_LOG(VX_LOG_PROGRESS, "frame_coap_recv end\n");
    return nullptr;
}

void frame_coap_close() {
    const CoapLock lock;
    g_run_flag = 0;
    end_session();
    s_wake_pipe.wake();
}

int frame_coap_state() {
    return g_coap_recv_thread;
}

int frame_coap_serves(const coap_session_t* session) {
    const CoapLock lock;
    return session != nullptr && session == g_coap_session ? 1 : 0;
}

int frame_coap_session_number() {
    return s_session_number;
}
