// SPDX-License-Identifier: MIT
#pragma once

#include "message.h"

#include <coap3/coap.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace vxp::test {

/**
 * A gateway as small as can be, on libcoap's client side: posts without a token, takes replies in
 * the order in which they come, and answers requests by messages of their own that echo the
 * options 2050 to 2052.
 */
class GatewayClient {
public:
    GatewayClient(std::uint16_t port, bool tls);
    GatewayClient(const GatewayClient&) = delete;
    GatewayClient& operator=(const GatewayClient&) = delete;
    ~GatewayClient();

    /// Lets libcoap work for at most that long.
    void pump(unsigned milliseconds);

    /// @param accessToken null for requests without the option
    void post(const std::string& path, const std::string& body, const std::string* accessToken);

    /// A request with any options.
    void send(int code, const std::string& path, const std::vector<Option>& options,
              const std::string& body);

    [[nodiscard]] bool ready() const { return m_ready; }
    [[nodiscard]] bool closed() const { return m_closed; }
    [[nodiscard]] bool tlsDone() const { return m_tlsDone; }
    [[nodiscard]] bool failed() const { return m_failed; }

    std::deque<Message> replies;
    std::deque<Message> requests;

    // How requests are answered.
    bool answers = true;
    bool changesIdentifiers = false; ///< an answer that belongs to nothing
    std::string answerBody = "{\n\t\"errcode\":\t0\n}";
    std::string accessToken;

private:
    struct ContextDeleter {
        void operator()(coap_context_t* context) const { coap_free_context(context); }
    };

    static GatewayClient& of(coap_session_t* session);
    static int onEvent(coap_session_t* session, coap_event_t event);
    static coap_response_t onReply(coap_session_t* session, const coap_pdu_t* sent,
                                   const coap_pdu_t* received, coap_mid_t mid);
    static void onRequest(coap_resource_t* resource, coap_session_t* session,
                          const coap_pdu_t* request, const coap_string_t* query,
                          coap_pdu_t* response);
    void answer(const Message& request);
    void transmit(int code, const std::vector<Option>& options, const std::string& body);

    std::unique_ptr<coap_context_t, ContextDeleter> m_context;
    coap_session_t* m_session = nullptr;
    bool m_ready = false;
    bool m_closed = false;
    bool m_tlsDone = false;
    bool m_failed = false;
};

} // namespace vxp::test
