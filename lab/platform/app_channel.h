// SPDX-License-Identifier: MIT
#pragma once

#include "recorder.h"
#include "replies.h"
#include "server.h"
#include "timers.h"

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

namespace vxp {

/// The values of the identifying options of a request; "" sends the option without a value.
struct Identifiers {
    std::optional<std::string> requestId; ///< made up when not given
    std::optional<std::string> sessionId;
    std::optional<std::string> traceId;
    bool sendRequestId = true;
    bool sendSessionId = true;
    bool sendTraceId = true;
};

/// A request to a gateway.
struct Command {
    int method = codeGet;
    std::string path;
    std::string query;
    std::string payload;
    std::string name; ///< what the answer goes under, besides "answer"
    Identifiers identifiers;
};

/**
 * The app channel: serves what gateways ask for, and asks gateways.
 *
 * The gateway answers with messages of their own that have no token; which request one belongs to
 * is told by the options 2050 to 2052 that it echoes.
 */
class AppChannel final : public ServerObserver {
public:
    AppChannel(const ServerSettings& settings, Recorder& recorder, Timers& timers);

    Server& server() { return m_server; }
    Registry& registry() { return m_registry; }
    Replies& replies() { return m_replies; }
    Policy& policy() { return m_policy; }

    /// Starts to listen and says where.
    void listen();

    /// Sends a request on the selected connection.
    /// @throws std::runtime_error with the reason when it cannot be sent
    void send(const Command& command);

    /// Ends the selected connection.
    /// @throws std::runtime_error when there is none
    void drop();

    /// Makes a connection the one that commands mean; 0 stands for the newest that is ready.
    void select(int connection) { m_selected = connection; }

    /// The gateway that last logged in or activated on a connection, or null.
    const Gateway* gatewayOn(int connection);

    /// How many requests have not been answered yet.
    [[nodiscard]] std::size_t pending() const { return m_pending.size(); }

    /// Tells of a connection's peer what the server cannot know, e.g. that it is a fault port.
    std::function<std::string(const Address& peer)> describePeer;

    void onConnect(Connection& connection) override;
    void onTls(Connection& connection, bool done) override;
    void onReady(Connection& connection) override;
    void onClose(Connection& connection) override;
    void onRequest(Connection& connection, const Message& request) override;
    void onAnswer(Connection& connection, const Message& answer) override;
    void onSignal(Connection& connection, std::string_view name) override;

private:
    /// A request that waits for its answer.
    struct Pending {
        int connection = 0;
        std::string name;
        Message message;
        Clock::time_point sent;
    };

    Connection& selected();
    Message build(const Command& command, const Connection& connection);
    void describeToken(Json& details, const Exchange& exchange, const Message& request);
    // These send and return the event that is to be recorded.
    Event reply(Connection& connection, const Exchange& exchange, const std::string& token,
                const Reply& reply);
    Event respond(Connection& connection, std::string_view topic, const Message& response);
    void replyLate(int connection, const Exchange& exchange, const std::string& token,
                   const Reply& planned);
    std::list<Pending>::iterator match(const Connection& connection, const Message& answer);
    static Event event(std::string name, const Connection& connection);

    Recorder& m_recorder;
    Timers& m_timers;
    Registry m_registry;
    Replies m_replies;
    Policy m_policy;
    std::list<Pending> m_pending;
    std::map<int, std::string> m_identities; ///< connection → MAC address
    int m_selected = 0;
    std::uint64_t m_lastRequest = 0;
    Server m_server; // last: it tells this object about the connections that it ends
};

} // namespace vxp
