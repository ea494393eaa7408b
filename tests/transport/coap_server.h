// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <coap3/coap.h>

#include "certificate.h"
#include "raw_peer.h"
#include "wire.h"

namespace transport {

/**
 * A platform made of libcoap's server side, on a thread of its own. Serves every path, and sends
 * requests to the gateway that connected last.
 */
class CoapServer {
public:
    /** Makes the reply to a request; nothing for silence. Runs on the server's thread. */
    using Responder = std::function<std::optional<Message>(const Message&)>;

    /** Over TCP; over TLS when there is a certificate. */
    explicit CoapServer(Responder responder, const Certificate* certificate = nullptr);
    ~CoapServer();
    CoapServer(const CoapServer&) = delete;
    CoapServer& operator=(const CoapServer&) = delete;

    std::uint16_t port() const { return port_; }

    /** Sends a request; its answer is among the answers(). */
    void send(const Message& request);

    std::vector<Message> requests() const;
    std::vector<Message> answers() const;
    /** Waits for that many. */
    bool wait_for_requests(std::size_t count) const;
    bool wait_for_answers(std::size_t count) const;
    /** Sessions that are open at the moment. */
    int open_sessions() const { return open_sessions_; }
    /** Names that clients asked for (SNI); libcoap asks once for each. */
    std::vector<std::string> names_asked_for() const;

private:
    static void on_request(coap_resource_t*, coap_session_t* session, const coap_pdu_t* request,
                           const coap_string_t*, coap_pdu_t* response);
    static coap_response_t on_answer(coap_session_t* session, const coap_pdu_t*,
                                     const coap_pdu_t* received, coap_mid_t);
    static int on_event(coap_session_t* session, coap_event_t event);
    static coap_dtls_key_t* on_name(const char* name, void* server);

    void prepare(const Certificate* certificate);
    void run();
    void do_tasks();
    void deliver(const Message& request);

    Responder responder_;
    Certificate certificate_;
    coap_dtls_key_t key_{};
    std::uint16_t port_ = 0;
    coap_context_t* context_ = nullptr;
    coap_session_t* session_ = nullptr;
    std::atomic<int> open_sessions_{0};
    std::atomic<bool> stop_{false};
    Descriptor wake_;
    mutable std::mutex mutex_;
    std::vector<Message> to_send_;
    std::vector<Message> requests_;
    std::vector<Message> answers_;
    std::vector<std::string> names_;
    std::thread thread_;
};

/** A reply with code 2.05 and a body. */
Message content(const std::string& body);

} // namespace transport
