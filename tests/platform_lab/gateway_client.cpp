// SPDX-License-Identifier: MIT
#include "gateway_client.h"

#include <arpa/inet.h>

#include <stdexcept>

namespace vxp::test {

namespace {

constexpr std::size_t pduSize = 4U * 1024 * 1024;

const std::uint8_t* raw(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::string bytes(const std::uint8_t* data, std::size_t length) {
    return length == 0 ? std::string{} : std::string(reinterpret_cast<const char*>(data), length);
}

Message decode(const coap_pdu_t* pdu) {
    Message message;
    message.code = coap_pdu_get_code(pdu);
    const coap_bin_const_t token = coap_pdu_get_token(pdu);
    message.token = bytes(token.s, token.length);
    coap_opt_iterator_t iterator;
    coap_option_iterator_init(pdu, &iterator, COAP_OPT_ALL);
    while (const coap_opt_t* option = coap_option_next(&iterator)) {
        const std::string value = bytes(coap_opt_value(option), coap_opt_length(option));
        if (iterator.number == COAP_OPTION_URI_PATH) {
            message.path += (message.path.empty() ? "" : "/") + value;
        } else {
            message.options.push_back({iterator.number, value});
        }
    }
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    if (coap_get_data(pdu, &length, &data) == 1) {
        message.payload = bytes(data, length);
    }
    return message;
}

} // namespace

GatewayClient::GatewayClient(std::uint16_t port, bool tls) {
    coap_startup();
    coap_set_log_level(LOG_EMERG);
    m_context.reset(coap_new_context(nullptr));
    if (!m_context) {
        throw std::runtime_error("no context");
    }
    coap_set_app_data(m_context.get(), this);
    coap_register_option(m_context.get(), 2049);
    coap_register_option(m_context.get(), 2051);
    coap_register_event_handler(m_context.get(), onEvent);
    coap_register_response_handler(m_context.get(), onReply);
    coap_resource_t* resource = coap_resource_unknown_init(onRequest);
    coap_register_request_handler(resource, COAP_REQUEST_GET, onRequest);
    coap_register_request_handler(resource, COAP_REQUEST_POST, onRequest);
    coap_add_resource(m_context.get(), resource);
    coap_address_t server;
    coap_address_init(&server);
    server.addr.sin.sin_family = AF_INET;
    server.addr.sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    server.addr.sin.sin_port = htons(port);
    server.size = sizeof server.addr.sin;
    if (tls) {
        coap_dtls_pki_t pki{};
        pki.version = COAP_DTLS_PKI_SETUP_VERSION;
        pki.allow_self_signed = 1;
        pki.pki_key.key_type = COAP_PKI_KEY_PEM;
        m_session =
            coap_new_client_session_pki(m_context.get(), nullptr, &server, COAP_PROTO_TLS, &pki);
    } else {
        m_session = coap_new_client_session(m_context.get(), nullptr, &server, COAP_PROTO_TCP);
    }
    m_failed = m_failed || m_session == nullptr;
}

GatewayClient::~GatewayClient() {
    if (m_session != nullptr) {
        coap_session_release(m_session);
    }
    m_context.reset();
}

void GatewayClient::pump(unsigned milliseconds) {
    coap_io_process(m_context.get(), milliseconds == 0 ? COAP_IO_NO_WAIT : milliseconds);
}

void GatewayClient::post(const std::string& path, const std::string& body,
                         const std::string* token) {
    std::vector<Option> options;
    if (token != nullptr) {
        options.push_back({optionAccessToken, *token});
    }
    send(codePost, path, options, body);
}

void GatewayClient::send(int code, const std::string& path, const std::vector<Option>& options,
                         const std::string& body) {
    std::vector<Option> all{{COAP_OPTION_URI_HOST, "127.0.0.1"}};
    std::string_view rest = path;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        all.push_back({COAP_OPTION_URI_PATH, std::string(rest.substr(0, slash))});
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
    }
    all.insert(all.end(), options.begin(), options.end());
    transmit(code, all, body);
}

void GatewayClient::transmit(int code, const std::vector<Option>& options,
                             const std::string& body) {
    coap_pdu_t* pdu =
        coap_pdu_init(COAP_MESSAGE_CON, static_cast<coap_pdu_code_t>(code), 0, pduSize);
    for (const Option& option : options) {
        coap_add_option(pdu, option.number, option.value.size(), raw(option.value));
    }
    if (!body.empty()) {
        coap_add_data(pdu, body.size(), raw(body));
    }
    coap_send(m_session, pdu);
}

GatewayClient& GatewayClient::of(coap_session_t* session) {
    return *static_cast<GatewayClient*>(coap_get_app_data(coap_session_get_context(session)));
}

int GatewayClient::onEvent(coap_session_t* session, coap_event_t event) {
    GatewayClient& client = of(session);
    switch (event) {
    case COAP_EVENT_SESSION_CONNECTED:
        client.m_ready = true;
        break;
    case COAP_EVENT_DTLS_CONNECTED:
        client.m_tlsDone = true;
        break;
    case COAP_EVENT_TCP_CLOSED:
        client.m_closed = true;
        break;
    case COAP_EVENT_TCP_FAILED:
    case COAP_EVENT_DTLS_ERROR:
        client.m_failed = true;
        break;
    default:
        break;
    }
    return 0;
}

coap_response_t GatewayClient::onReply(coap_session_t* session, const coap_pdu_t*,
                                       const coap_pdu_t* received, coap_mid_t) {
    of(session).replies.push_back(decode(received));
    return COAP_RESPONSE_OK;
}

void GatewayClient::onRequest(coap_resource_t*, coap_session_t* session, const coap_pdu_t* request,
                              const coap_string_t*, coap_pdu_t*) {
    GatewayClient& client = of(session);
    client.requests.push_back(decode(request));
    if (client.answers) {
        client.answer(client.requests.back());
    }
}

void GatewayClient::answer(const Message& request) {
    std::vector<Option> options{{optionAccessToken, accessToken}};
    for (const std::uint16_t number : {optionRequestId, optionSessionId, optionTraceId}) {
        const std::string* value = request.option(number);
        std::string echoed = value != nullptr ? *value : std::string{};
        echoed += changesIdentifiers && number == optionTraceId ? "x" : "";
        options.push_back({number, echoed});
    }
    transmit(codeContent, options, answerBody);
}

} // namespace vxp::test
