// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include <coap3/coap.h>

/**
 * @file
 * Stands between the daemon and libcoap: the test program defines some of libcoap's functions
 * itself, looks at the arguments and calls the real ones. Shows what is not visible on the wire,
 * makes calls fail, and watches over the rules that libcoap sets its callers.
 *
 * Only relaxed atomics on the way through: a probe that locked would order the daemon's threads
 * and hide its races from the race detectors.
 */
namespace probe {

/** Forgets what was seen, and heals what was made to fail. */
void reset();

/** Calls that can be made to fail on the thread that asks for it. */
enum class Fault {
    none,
    context, ///< no context is made
    message, ///< no message is made
    option,  ///< an option finds no room in its message
    tls,     ///< libcoap says that it knows no TLS
    write    ///< the write of coap_send fails, which ends the session there and then
};

/** Makes the next such call of this thread fail. */
void fail_next(Fault fault);

/** Has libcoap say that it has no descriptor to wait on, as where it was built without epoll. */
void hide_descriptor(bool hidden);

/** Two threads inside libcoap with one context at the same time. Must stay 0. */
int overlaps();
/** Changes of libcoap's own settings by a thread that didn't hold `g_coap_lock`. Must stay 0. */
int unlocked_changes();
/** Contexts freed while libcoap was at work on them. Must stay 0. */
int frees_at_work();
/** Whether the calling thread is inside libcoap, called back by it. */
bool inside();

int startups();
int cleanups();
int contexts_made();
int contexts_freed();
/** libcoap's own objects that are allocated at the moment, of all contexts together. */
long objects();

/** The last value that was handed over. */
int keepalive();
int log_level();
int tls_log_level();

/** A message as it was handed to coap_send. */
struct Sent {
    coap_pdu_type_t type;
    std::uint8_t code;
    coap_mid_t message_id;
    std::size_t token_length;
};
/** Messages that the daemon sent, in order; only while recording. */
std::vector<Sent> sent();
void record_sent(bool on);

/** The root CAs of the last context; "null" for a null pointer. */
struct RootCas {
    std::string file;
    std::string directory;
};
RootCas root_cas();

/** The set-up of the last TLS session: a copy, its texts included. */
struct TlsSetup {
    bool tried = false;
    bool given = false;
    coap_dtls_pki_t record{};
    std::string sni;
    coap_proto_t protocol = COAP_PROTO_NONE;
    bool local_address = false;
};
TlsSetup tls_setup();

} // namespace probe
