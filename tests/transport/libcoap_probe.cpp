// SPDX-License-Identifier: MIT
#include "libcoap_probe.h"

#include <algorithm>
#include <array>
#include <mutex>

#include <dlfcn.h>
#include <pthread.h>

#include "vx_coap/coap_lock.h"

namespace probe {

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

/** libcoap's function behind the one defined here. */
template <typename Function>
Function real(const char* name, Function) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/** Who is inside libcoap with a context. */
struct Place {
    std::atomic<const coap_context_t*> context{nullptr};
    std::atomic<pthread_t> owner{};
    std::atomic<int> depth{0};
};

std::array<Place, 16> s_places;
std::atomic<int> s_overlaps{0};
std::atomic<int> s_frees_at_work{0};
std::atomic<int> s_unlocked_changes{0};
std::atomic<int> s_startups{0};
std::atomic<int> s_cleanups{0};
std::atomic<int> s_contexts_made{0};
std::atomic<int> s_contexts_freed{0};
std::atomic<long> s_objects{0};
std::atomic<int> s_keepalive{-1};
std::atomic<int> s_log_level{-1};
std::atomic<int> s_tls_log_level{-1};
std::atomic<bool> s_recording{false};
std::atomic<bool> s_descriptor_hidden{false};
thread_local Fault t_fault = Fault::none;
thread_local bool t_making_context = false; // libcoap starts itself up once more then

std::mutex s_mutex; // of what follows; only taken where tests ask for it, and on connects
std::vector<Sent> s_sent;
RootCas s_root_cas;
TlsSetup s_tls_setup;

bool fails(Fault fault) {
    if (t_fault != fault)
        return false;
    t_fault = Fault::none;
    return true;
}

Place* place_of(const coap_context_t* context) {
    const auto found = std::find_if(s_places.begin(), s_places.end(), [&](const Place& place) {
        return place.context.load(kRelaxed) == context;
    });
    return found == s_places.end() ? nullptr : &*found;
}

void add_place(const coap_context_t* context) {
    for (Place& place : s_places) {
        const coap_context_t* none = nullptr;
        if (place.context.compare_exchange_strong(none, context, kRelaxed))
            return;
    }
}

/** Around a call into libcoap. */
class Inside {
public:
    explicit Inside(const coap_context_t* context)
        : place_(context != nullptr ? place_of(context) : nullptr) {
        if (place_ == nullptr)
            return;
        const bool occupied = place_->depth.fetch_add(1, kRelaxed) > 0;
        if (occupied && pthread_equal(place_->owner.load(kRelaxed), pthread_self()) == 0)
            s_overlaps.fetch_add(1, kRelaxed);
        place_->owner.store(pthread_self(), kRelaxed);
    }
    ~Inside() {
        if (place_ != nullptr)
            place_->depth.fetch_sub(1, kRelaxed);
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    Place* place_;
};

void check_free(const coap_context_t* context) {
    Place* const place = place_of(context);
    if (place == nullptr)
        return;
    if (place->depth.load(kRelaxed) > 0) {
        const bool own = pthread_equal(place->owner.load(kRelaxed), pthread_self()) != 0;
        (own ? s_frees_at_work : s_overlaps).fetch_add(1, kRelaxed);
    }
    place->depth.store(0, kRelaxed);
    place->context.store(nullptr, kRelaxed);
}

/** Other threads may be at work with a session that is ending, and look at what is changed. */
void check_lock() {
    if (!vxq::CoapLock::held())
        s_unlocked_changes.fetch_add(1, kRelaxed);
}

std::string text_or_null(const char* text) {
    return text != nullptr ? text : "null";
}

void note_sent(const coap_pdu_t* message) {
    if (!s_recording.load(kRelaxed))
        return;
    const std::lock_guard guard(s_mutex);
    s_sent.push_back({coap_pdu_get_type(message),
                      static_cast<std::uint8_t>(coap_pdu_get_code(message)),
                      coap_pdu_get_mid(message), coap_pdu_get_token(message).length});
}

} // namespace

void reset() {
    for (auto* const counter : {&s_overlaps, &s_frees_at_work, &s_unlocked_changes, &s_startups,
                                &s_cleanups, &s_contexts_made, &s_contexts_freed})
        *counter = 0;
    for (auto* const value : {&s_keepalive, &s_log_level, &s_tls_log_level})
        *value = -1;
    s_recording = false;
    s_descriptor_hidden = false;
    t_fault = Fault::none;
    const std::lock_guard guard(s_mutex);
    s_sent.clear();
    s_root_cas = {};
    s_tls_setup = {};
}

void fail_next(Fault fault) {
    t_fault = fault;
}

void hide_descriptor(bool hidden) {
    s_descriptor_hidden = hidden;
}

int overlaps() {
    return s_overlaps;
}
int frees_at_work() {
    return s_frees_at_work;
}
bool inside() {
    return std::any_of(s_places.begin(), s_places.end(), [](const Place& place) {
        return place.depth.load(kRelaxed) > 0 &&
               pthread_equal(place.owner.load(kRelaxed), pthread_self()) != 0;
    });
}
int unlocked_changes() {
    return s_unlocked_changes;
}
int startups() {
    return s_startups;
}
int cleanups() {
    return s_cleanups;
}
int contexts_made() {
    return s_contexts_made;
}
int contexts_freed() {
    return s_contexts_freed;
}
long objects() {
    return s_objects;
}
int keepalive() {
    return s_keepalive;
}
int log_level() {
    return s_log_level;
}
int tls_log_level() {
    return s_tls_log_level;
}

std::vector<Sent> sent() {
    const std::lock_guard guard(s_mutex);
    return s_sent;
}

void record_sent(bool on) {
    s_recording = on;
}

RootCas root_cas() {
    const std::lock_guard guard(s_mutex);
    return s_root_cas;
}

TlsSetup tls_setup() {
    const std::lock_guard guard(s_mutex);
    return s_tls_setup;
}

} // namespace probe

using namespace probe;

// Looked up once each; the address also says which type the real function has.
#define REAL(name) static const auto call = real(#name, &name)

extern "C" {

void coap_startup(void) {
    REAL(coap_startup);
    s_startups.fetch_add(t_making_context ? 0 : 1, kRelaxed);
    call();
}

void coap_cleanup(void) {
    REAL(coap_cleanup);
    s_cleanups.fetch_add(1, kRelaxed);
    call();
}

coap_context_t* coap_new_context(const coap_address_t* address) {
    REAL(coap_new_context);
    if (fails(Fault::context))
        return nullptr;
    t_making_context = true;
    coap_context_t* const context = call(address);
    t_making_context = false;
    add_place(context);
    s_contexts_made.fetch_add(1, kRelaxed);
    return context;
}

void coap_free_context(coap_context_t* context) {
    REAL(coap_free_context);
    check_free(context);
    s_contexts_freed.fetch_add(1, kRelaxed);
    call(context);
}

int coap_io_process(coap_context_t* context, std::uint32_t milliseconds) {
    REAL(coap_io_process);
    const Inside inside(context);
    return call(context, milliseconds);
}

int coap_context_get_coap_fd(const coap_context_t* context) {
    REAL(coap_context_get_coap_fd);
    return s_descriptor_hidden.load(kRelaxed) ? -1 : call(context);
}

void coap_io_do_epoll(coap_context_t* context, epoll_event* events, std::size_t count) {
    REAL(coap_io_do_epoll);
    const Inside inside(context);
    call(context, events, count);
}

unsigned int coap_io_prepare_epoll(coap_context_t* context, coap_tick_t now) {
    REAL(coap_io_prepare_epoll);
    const Inside inside(context);
    return call(context, now);
}

coap_mid_t coap_send(coap_session_t* session, coap_pdu_t* message) {
    REAL(coap_send);
    const Inside inside(coap_session_get_context(session));
    note_sent(message);
    if (!fails(Fault::write))
        return call(session, message);
    coap_session_disconnected(session, COAP_NACK_NOT_DELIVERABLE);
    coap_delete_pdu(message);
    return COAP_INVALID_MID;
}

coap_pdu_t* coap_pdu_init(coap_pdu_type_t type, coap_pdu_code_t code, coap_mid_t message_id,
                          std::size_t size) {
    REAL(coap_pdu_init);
    return fails(Fault::message) ? nullptr : call(type, code, message_id, size);
}

size_t coap_add_option(coap_pdu_t* message, coap_option_num_t number, size_t length,
                       const std::uint8_t* value) {
    REAL(coap_add_option);
    return fails(Fault::option) ? 0 : call(message, number, length, value);
}

std::uint16_t coap_new_message_id(coap_session_t* session) {
    REAL(coap_new_message_id);
    const Inside inside(coap_session_get_context(session));
    return call(session);
}

coap_session_t* coap_new_client_session(coap_context_t* context, const coap_address_t* local,
                                        const coap_address_t* server, coap_proto_t protocol) {
    REAL(coap_new_client_session);
    const Inside inside(context);
    return call(context, local, server, protocol);
}

coap_session_t* coap_new_client_session_pki(coap_context_t* context, const coap_address_t* local,
                                            const coap_address_t* server, coap_proto_t protocol,
                                            coap_dtls_pki_t* setup) {
    REAL(coap_new_client_session_pki);
    {
        const std::lock_guard guard(s_mutex);
        s_tls_setup = {true, setup != nullptr, {}, {}, protocol, local != nullptr};
        if (setup != nullptr) {
            s_tls_setup.record = *setup;
            s_tls_setup.sni = text_or_null(setup->client_sni);
        }
    }
    const Inside inside(context);
    return call(context, local, server, protocol, setup);
}

int coap_context_set_pki_root_cas(coap_context_t* context, const char* file,
                                  const char* directory) {
    REAL(coap_context_set_pki_root_cas);
    {
        const std::lock_guard guard(s_mutex);
        s_root_cas = {text_or_null(file), text_or_null(directory)};
    }
    return call(context, file, directory);
}

void coap_context_set_keepalive(coap_context_t* context, unsigned int seconds) {
    REAL(coap_context_set_keepalive);
    s_keepalive = static_cast<int>(seconds);
    call(context, seconds);
}

void coap_set_log_level(coap_log_t level) {
    REAL(coap_set_log_level);
    s_log_level = static_cast<int>(level);
    check_lock();
    call(level);
}

void coap_dtls_set_log_level(int level) {
    REAL(coap_dtls_set_log_level);
    s_tls_log_level = level;
    check_lock();
    call(level);
}

int coap_tls_is_supported(void) {
    REAL(coap_tls_is_supported);
    return fails(Fault::tls) ? 0 : call();
}

void* coap_malloc_type(coap_memory_tag_t type, std::size_t size) {
    REAL(coap_malloc_type);
    void* const object = call(type, size);
    s_objects.fetch_add(object != nullptr ? 1 : 0, kRelaxed);
    return object;
}

void* coap_realloc_type(coap_memory_tag_t type, void* object, std::size_t size) {
    REAL(coap_realloc_type);
    void* const moved = call(type, object, size);
    s_objects.fetch_add(object == nullptr && moved != nullptr ? 1 : 0, kRelaxed);
    return moved;
}

void coap_free_type(coap_memory_tag_t type, void* object) {
    REAL(coap_free_type);
    s_objects.fetch_sub(object != nullptr ? 1 : 0, kRelaxed);
    call(type, object);
}

} // extern "C"
