// SPDX-License-Identifier: MIT
#include "server.h"

#include "output.h"
#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace vxp {

namespace {

/// Gateways may be silent for long, and ending their connections is the script's business.
constexpr unsigned idleTimeout = 30U * 24 * 3600; // seconds

/// Odd numbers are critical: without this libcoap itself answers them with 4.02.
constexpr std::uint16_t knownOptions[] = {optionAccessToken, optionSessionId, 23};

coap_proto_t protocolOf(Transport transport) {
    return transport == Transport::tcp ? COAP_PROTO_TCP : COAP_PROTO_TLS;
}

coap_address_t toCoapAddress(const Address& address) {
    coap_address_t result;
    coap_address_init(&result);
    result.size = address.length;
    std::memcpy(&result.addr, &address.storage,
                std::min<std::size_t>(sizeof result.addr, address.length));
    return result;
}

Address fromCoapAddress(const coap_address_t* address) {
    Address result;
    if (address != nullptr) {
        result.length = address->size;
        std::memcpy(&result.storage, &address->addr,
                    std::min<std::size_t>(sizeof result.storage, address->size));
    }
    return result;
}

void logToStandardError(coap_log_t, const char* message) {
    complain(fmt::format("libcoap: {}{}", message,
                         std::string_view(message).ends_with('\n') ? "" : "\n"));
}

std::string bytes(const std::uint8_t* data, std::size_t length) {
    return length == 0 ? std::string{} : std::string(reinterpret_cast<const char*>(data), length);
}

const std::uint8_t* raw(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

void appendPart(std::string& whole, char separator, bool& first, const std::string& part) {
    if (!first) {
        whole += separator;
    }
    first = false;
    whole += part;
}

Message decode(const coap_pdu_t* pdu) {
    Message message;
    message.code = coap_pdu_get_code(pdu);
    const coap_bin_const_t token = coap_pdu_get_token(pdu);
    message.token = bytes(token.s, token.length);
    bool firstPath = true;
    bool firstQuery = true;
    coap_opt_iterator_t iterator;
    coap_option_iterator_init(pdu, &iterator, COAP_OPT_ALL);
    while (const coap_opt_t* option = coap_option_next(&iterator)) {
        std::string value = bytes(coap_opt_value(option), coap_opt_length(option));
        if (iterator.number == COAP_OPTION_URI_PATH) {
            appendPart(message.path, '/', firstPath, value);
        } else if (iterator.number == COAP_OPTION_URI_QUERY) {
            appendPart(message.query, '&', firstQuery, value);
        } else {
            message.options.push_back({iterator.number, std::move(value)});
        }
    }
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    if (coap_get_data(pdu, &length, &data) == 1) {
        message.payload = bytes(data, length);
    }
    return message;
}

/// An empty text has no segments, and one that ends with the separator has an empty one last.
void splitInto(std::vector<Option>& options, std::uint16_t number, std::string_view text,
               char separator) {
    std::size_t end = text.empty() ? std::string_view::npos : 0;
    while (end != std::string_view::npos) {
        end = text.find(separator);
        options.push_back({number, std::string(text.substr(0, end))});
        text.remove_prefix(end == std::string_view::npos ? 0 : end + 1);
    }
}

/// Everything of the message that is an option, in the order that CoAP wants.
std::vector<Option> allOptions(const Message& message) {
    std::vector<Option> options;
    splitInto(options, COAP_OPTION_URI_PATH, message.path, '/');
    splitInto(options, COAP_OPTION_URI_QUERY, message.query, '&');
    options.insert(options.end(), message.options.begin(), message.options.end());
    std::stable_sort(options.begin(), options.end(),
                     [](const Option& a, const Option& b) { return a.number < b.number; });
    return options;
}

/// @return whether everything has found its place
bool encode(coap_pdu_t* pdu, const Message& message) {
    if (!message.token.empty() &&
        coap_add_token(pdu, message.token.size(), raw(message.token)) == 0) {
        return false;
    }
    for (const Option& option : allOptions(message)) {
        if (coap_add_option(pdu, option.number, option.value.size(), raw(option.value)) == 0) {
            return false;
        }
    }
    return message.payload.empty() ||
           coap_add_data(pdu, message.payload.size(), raw(message.payload)) == 1;
}

std::uint16_t portOf(const coap_endpoint_t* endpoint) {
    // "127.0.0.1:5683 TCP" is all that libcoap tells about the port that the system chose.
    std::string_view text = coap_endpoint_str(endpoint);
    text = text.substr(0, text.find(' '));
    const std::size_t colon = text.rfind(':');
    const auto port =
        colon == std::string_view::npos ? std::nullopt : parseInteger(text.substr(colon + 1));
    return static_cast<std::uint16_t>(port.value_or(0));
}

} // namespace

std::string_view transportName(Transport transport) {
    return transport == Transport::tcp ? "tcp" : "tls";
}

Server::Server(const ServerSettings& settings, ServerObserver& observer)
    : m_observer(observer), m_tcp(settings.tcp), m_tls(settings.tls),
      m_certificate(settings.certificate) {
    coap_startup();
    coap_set_log_handler(logToStandardError);
    coap_set_log_level(settings.libraryLogLevel);
    coap_dtls_set_log_level(settings.libraryLogLevel);
    m_context.reset(coap_new_context(nullptr));
    if (!m_context) {
        throw std::runtime_error("libcoap: no context");
    }
    setUpContext(settings);
}

Server::~Server() {
    refuse();
    m_context.reset();
    coap_cleanup();
}

void Server::setUpContext(const ServerSettings& settings) {
    coap_context_t* context = m_context.get();
    coap_set_app_data(context, this);
    coap_context_set_session_timeout(context, idleTimeout);
    coap_context_set_csm_max_message_size(context, settings.maxMessageSize);
    for (const std::uint16_t number : knownOptions) {
        coap_register_option(context, number);
    }
    coap_register_event_handler(context, handleEvent);
    coap_register_response_handler(context, handleAnswer);
    coap_register_ping_handler(context, handlePing);
    // One resource takes every path: what is not served is to be seen as well.
    coap_resource_t* resource = coap_resource_unknown_init(handleRequest);
    for (const coap_request_t method :
         {COAP_REQUEST_GET, COAP_REQUEST_POST, COAP_REQUEST_DELETE, COAP_REQUEST_FETCH,
          COAP_REQUEST_PATCH, COAP_REQUEST_IPATCH}) {
        coap_register_request_handler(resource, method, handleRequest);
    }
    coap_add_resource(context, resource);
    if (m_certificate) {
        coap_dtls_pki_t pki{};
        pki.version = COAP_DTLS_PKI_SETUP_VERSION;
        pki.pki_key.key_type = COAP_PKI_KEY_PEM;
        pki.pki_key.key.pem.public_cert = m_certificate->certificate.c_str();
        pki.pki_key.key.pem.private_key = m_certificate->key.c_str();
        if (coap_context_set_pki(context, &pki) == 0) {
            throw std::runtime_error(
                fmt::format("{}: not taken as TLS certificate", m_certificate->certificate));
        }
    }
}

void Server::listen() {
    if (listening()) {
        return;
    }
    if (m_tcp) {
        listenOn(Transport::tcp, *m_tcp);
    }
    if (m_tls) {
        listenOn(Transport::tls, *m_tls);
    }
}

void Server::listenOn(Transport transport, Address& address) {
    const coap_address_t local = toCoapAddress(address);
    const coap_log_t level = coap_get_log_level();
    coap_set_log_level(LOG_EMERG); // the reason is told below
    errno = 0;
    coap_endpoint_t* endpoint = coap_new_endpoint(m_context.get(), &local, protocolOf(transport));
    const std::string reason = errno != 0 ? std::strerror(errno) : "libcoap refuses";
    coap_set_log_level(level);
    if (endpoint == nullptr) {
        throw std::runtime_error(fmt::format("{}: cannot listen for {}: {}", address.text(),
                                             transportName(transport), reason));
    }
    m_endpoints.push_back(endpoint);
    address.setPort(portOf(endpoint));
    // Accepted connections inherit this from the listening socket.
    disableNagle(findListener(address));
}

void Server::refuse() {
    for (Connection* connection : connections()) {
        drop(*connection);
    }
    for (coap_endpoint_t* endpoint : m_endpoints) {
        coap_free_endpoint(endpoint);
    }
    m_endpoints.clear();
}

const std::optional<Address>& Server::address(Transport transport) const {
    return transport == Transport::tcp ? m_tcp : m_tls;
}

int Server::descriptor() const {
    return coap_context_get_coap_fd(m_context.get());
}

int Server::prepare() {
    coap_tick_t now = 0;
    coap_ticks(&now);
    const unsigned timeout = coap_io_prepare_epoll(m_context.get(), now);
    return timeout == 0 ? -1 : static_cast<int>(std::min(timeout, 3600U * 1000));
}

void Server::process() {
    coap_io_process(m_context.get(), COAP_IO_NO_WAIT);
    closeRejected();
}

/// A TLS handshake that fails in its first step frees the session without a further event.
void Server::closeRejected() {
    for (Connection* connection : connections()) {
        if (!connection->accepted) {
            m_observer.onTls(*connection, false);
            close(connection->session);
        }
    }
}

SendResult Server::send(const Connection& connection, const Message& message) {
    coap_session_t* session = connection.session;
    // Sent on an ended session, libcoap would open a connection to the gateway's port.
    if (session == nullptr || coap_session_get_state(session) == COAP_SESSION_STATE_NONE) {
        return SendResult::noConnection;
    }
    // On server sessions the size is known at once; only a client's may have to wait for it.
    coap_pdu_t* pdu =
        coap_pdu_init(COAP_MESSAGE_CON, static_cast<coap_pdu_code_t>(message.code),
                      coap_new_message_id(session), coap_session_max_pdu_size(session));
    if (pdu == nullptr) {
        return SendResult::failed;
    }
    if (!encode(pdu, message)) {
        coap_delete_pdu(pdu);
        return SendResult::tooLarge;
    }
    return coap_send(session, pdu) == COAP_INVALID_MID ? SendResult::failed : SendResult::sent;
}

void Server::drop(Connection& connection) {
    if (connection.session != nullptr) {
        connection.dropped = true;
        coap_session_disconnected(connection.session, COAP_NACK_NOT_DELIVERABLE);
    }
}

std::vector<Connection*> Server::connections() const {
    std::vector<Connection*> result;
    for (const auto& [session, connection] : m_connections) {
        result.push_back(connection.get());
    }
    std::sort(result.begin(), result.end(),
              [](const Connection* a, const Connection* b) { return a->id < b->id; });
    return result;
}

Connection* Server::find(int id) const {
    for (const auto& [session, connection] : m_connections) {
        if (connection->id == id) {
            return connection.get();
        }
    }
    return nullptr;
}

Server& Server::of(coap_session_t* session) {
    return *static_cast<Server*>(coap_get_app_data(coap_session_get_context(session)));
}

int Server::handleEvent(coap_session_t* session, coap_event_t event) {
    of(session).onEvent(session, event);
    return 0;
}

void Server::onEvent(coap_session_t* session, coap_event_t event) {
    switch (event) {
    case COAP_EVENT_TCP_CONNECTED:
        close(session); // one of the same address was freed before it got anywhere
        connect(session);
        break;
    case COAP_EVENT_SERVER_SESSION_NEW:
        connect(session).accepted = true;
        break;
    case COAP_EVENT_DTLS_CONNECTED:
        m_observer.onTls(connect(session), true);
        break;
    case COAP_EVENT_DTLS_ERROR:
        if (m_connections.count(session) > 0) {
            m_observer.onTls(*m_connections[session], false);
        }
        break;
    case COAP_EVENT_SESSION_CONNECTED: {
        Connection& connection = connect(session);
        connection.ready = true;
        m_observer.onReady(connection);
        break;
    }
    case COAP_EVENT_TCP_CLOSED:
    case COAP_EVENT_TCP_FAILED:
    case COAP_EVENT_SERVER_SESSION_DEL:
        close(session);
        break;
    default:
        break;
    }
}

Connection& Server::connect(coap_session_t* session) {
    auto& connection = m_connections[session];
    if (!connection) {
        connection = std::make_unique<Connection>();
        connection->id = ++m_lastId;
        connection->session = session;
        connection->transport =
            coap_session_get_proto(session) == COAP_PROTO_TLS ? Transport::tls : Transport::tcp;
        connection->peer = fromCoapAddress(coap_session_get_addr_remote(session));
        m_observer.onConnect(*connection);
    }
    return *connection;
}

void Server::close(coap_session_t* session) {
    const auto found = m_connections.find(session);
    if (found == m_connections.end()) {
        return;
    }
    const std::unique_ptr<Connection> connection = std::move(found->second);
    m_connections.erase(found);
    connection->session = nullptr;
    m_observer.onClose(*connection);
}

void Server::handleRequest(coap_resource_t*, coap_session_t* session, const coap_pdu_t* request,
                           const coap_string_t*, coap_pdu_t*) {
    // libcoap's response stays empty and is not sent: replies may be late, odd, or never come.
    Server& server = of(session);
    server.m_observer.onRequest(server.connect(session), decode(request));
}

coap_response_t Server::handleAnswer(coap_session_t* session, const coap_pdu_t*,
                                     const coap_pdu_t* received, coap_mid_t) {
    Server& server = of(session);
    server.m_observer.onAnswer(server.connect(session), decode(received));
    return COAP_RESPONSE_OK;
}

void Server::handlePing(coap_session_t* session, const coap_pdu_t* received, coap_mid_t) {
    Server& server = of(session);
    server.m_observer.onSignal(server.connect(session),
                               coap_pdu_get_code(received) == 0 ? "empty" : "ping");
}

} // namespace vxp
