// SPDX-License-Identifier: MIT
#pragma once

#include "address.h"
#include "certificate.h"
#include "message.h"

#include <coap3/coap.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vxp {

enum class Transport { tcp, tls };

std::string_view transportName(Transport transport);

/// One gateway's connection; the object lives from its start to its end.
struct Connection {
    int id = 0; ///< counts from 1
    Transport transport = Transport::tcp;
    Address peer;
    bool ready = false;    ///< both sides have announced their capabilities
    bool dropped = false;  ///< this side has ended it
    bool accepted = false; ///< libcoap has kept the session beyond its first step
    coap_session_t* session = nullptr;
};

/// What happens on the connections; everything is called from inside Server::process.
class ServerObserver {
public:
    ServerObserver() = default;
    ServerObserver(const ServerObserver&) = delete;
    ServerObserver& operator=(const ServerObserver&) = delete;
    virtual ~ServerObserver() = default;
    virtual void onConnect(Connection& connection) = 0;
    /// The TLS handshake is done, or has failed.
    virtual void onTls(Connection& connection, bool done) = 0;
    virtual void onReady(Connection& connection) = 0;
    virtual void onClose(Connection& connection) = 0;
    virtual void onRequest(Connection& connection, const Message& request) = 0;
    virtual void onAnswer(Connection& connection, const Message& answer) = 0;
    /// A ping or a pong.
    virtual void onSignal(Connection& connection, std::string_view name) = 0;
};

struct ServerSettings {
    std::optional<Address> tcp;
    std::optional<Address> tls;
    std::optional<CertificateFiles> certificate; ///< needed for TLS
    std::uint32_t maxMessageSize = 8U * 1024 * 1024;
    coap_log_t libraryLogLevel = LOG_EMERG; ///< what libcoap itself logs to standard error
};

enum class SendResult { sent, tooLarge, noConnection, failed };

/**
 * CoAP over TCP and TLS on libcoap.
 *
 * libcoap knows no threads: one thread calls everything here. At most one server exists at a time,
 * for libcoap's start-up and clean-up are the process's.
 */
class Server {
public:
    /// @throws std::runtime_error when a context cannot be had or the certificate is not taken
    Server(const ServerSettings& settings, ServerObserver& observer);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server();

    /// Opens the listening sockets; a port that the system chose stays the same from then on.
    /// @throws std::runtime_error naming the address that cannot be listened on
    void listen();

    /// Closes the listening sockets and every connection.
    void refuse();

    [[nodiscard]] bool listening() const { return !m_endpoints.empty(); }
    [[nodiscard]] const std::optional<Address>& address(Transport transport) const;

    /// Readable when there is something to process.
    [[nodiscard]] int descriptor() const;

    /// To be called before waiting for the descriptor.
    /// @return milliseconds until process must be called, -1 when only input matters
    int prepare();

    void process();

    /// A request or a response, in one piece.
    SendResult send(const Connection& connection, const Message& message);

    /// Ends a connection; must not be called from inside process.
    void drop(Connection& connection);

    [[nodiscard]] std::vector<Connection*> connections() const;
    Connection* find(int id) const;

private:
    struct ContextDeleter {
        void operator()(coap_context_t* context) const { coap_free_context(context); }
    };

    static Server& of(coap_session_t* session);
    static int handleEvent(coap_session_t* session, coap_event_t event);
    static void handleRequest(coap_resource_t* resource, coap_session_t* session,
                              const coap_pdu_t* request, const coap_string_t* query,
                              coap_pdu_t* response);
    static coap_response_t handleAnswer(coap_session_t* session, const coap_pdu_t* sent,
                                        const coap_pdu_t* received, coap_mid_t mid);
    static void handlePing(coap_session_t* session, const coap_pdu_t* received, coap_mid_t mid);

    void setUpContext(const ServerSettings& settings);
    void listenOn(Transport transport, Address& address);
    void onEvent(coap_session_t* session, coap_event_t event);
    Connection& connect(coap_session_t* session);
    void close(coap_session_t* session);
    void closeRejected();

    ServerObserver& m_observer;
    std::optional<Address> m_tcp;
    std::optional<Address> m_tls;
    std::optional<CertificateFiles> m_certificate; ///< libcoap keeps pointers to the names
    std::unique_ptr<coap_context_t, ContextDeleter> m_context;
    std::vector<coap_endpoint_t*> m_endpoints;
    std::map<coap_session_t*, std::unique_ptr<Connection>> m_connections;
    int m_lastId = 0;
};

} // namespace vxp
