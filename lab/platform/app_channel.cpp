// SPDX-License-Identifier: MIT
#include "app_channel.h"

#include <fmt/format.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace vxp {

namespace {

/// Requests that gateways never answer are not kept for ever.
constexpr std::size_t maxPending = 1000;

constexpr std::uint16_t identifyingOptions[] = {optionRequestId, optionSessionId, optionTraceId};

/// An option that is not there counts as an empty one: that is how gateways echo it.
std::string_view optionValue(const Message& message, std::uint16_t number) {
    const std::string* value = message.option(number);
    return value != nullptr ? std::string_view(*value) : std::string_view{};
}

bool sameIdentifiers(const Message& request, const Message& answer) {
    for (const std::uint16_t number : identifyingOptions) {
        if (optionValue(request, number) != optionValue(answer, number)) {
            return false;
        }
    }
    return true;
}

std::string tokenBytes(std::uint64_t number) {
    std::string token(4, '\0');
    for (std::size_t i = 0; i < token.size(); ++i) {
        token[token.size() - 1 - i] = static_cast<char>(number >> (8 * i) & 0xffU);
    }
    return token;
}

void describeErrcode(Json& details, const std::string& payload) {
    const auto document = parseJson(payload);
    const Json* errcode = document ? findMember(*document, "errcode") : nullptr;
    if (errcode != nullptr) {
        details["errcode"] = *errcode;
    }
}

} // namespace

AppChannel::AppChannel(const ServerSettings& settings, Recorder& recorder, Timers& timers)
    : m_recorder(recorder), m_timers(timers), m_server(settings, *this) {}

Event AppChannel::event(std::string name, const Connection& connection) {
    Event result;
    result.name = std::move(name);
    result.connection = connection.id;
    result.transport = transportName(connection.transport);
    return result;
}

void AppChannel::listen() {
    m_server.listen();
    for (const Transport transport : {Transport::tcp, Transport::tls}) {
        if (const auto& address = m_server.address(transport)) {
            Event listening;
            listening.name = "listening";
            listening.details["transport"] = transportName(transport);
            listening.details["address"] = address->text();
            listening.details["port"] = address->port();
            m_recorder.record(std::move(listening));
        }
    }
}

void AppChannel::onConnect(Connection& connection) {
    Event connect = event("connect", connection);
    connect.details["peer"] = connection.peer.text();
    if (const std::string extra = describePeer ? describePeer(connection.peer) : std::string{};
        !extra.empty()) {
        connect.details["via"] = extra;
    }
    m_recorder.record(std::move(connect));
}

void AppChannel::onTls(Connection& connection, bool done) {
    Event tls = event("tls", connection);
    tls.details["done"] = done;
    m_recorder.record(std::move(tls));
}

void AppChannel::onReady(Connection& connection) {
    m_recorder.record(event("ready", connection));
}

void AppChannel::onClose(Connection& connection) {
    Event close = event("close", connection);
    close.details["by"] = connection.dropped ? "platform" : "gateway";
    m_pending.remove_if(
        [&](const Pending& pending) { return pending.connection == connection.id; });
    m_identities.erase(connection.id);
    m_recorder.record(std::move(close));
}

void AppChannel::onSignal(Connection& connection, std::string_view name) {
    Event signal = event("signal", connection);
    signal.direction = Direction::fromGateway;
    signal.topic = name;
    m_recorder.record(std::move(signal));
}

void AppChannel::onRequest(Connection& connection, const Message& request) {
    // The reply goes out before anything is printed: printing must not make the gateway wait. The
    // connection may be gone once something was sent.
    const Exchange* exchange = findExchangeByPath(request.path);
    Event received = event("request", connection);
    received.direction = Direction::fromGateway;
    received.message = request;
    if (exchange == nullptr || request.code != codePost) {
        Message response;
        response.code = exchange == nullptr ? codeNotFound : codeMethodNotAllowed;
        response.token = request.token;
        Event sent = respond(connection, "", response);
        m_recorder.record(std::move(received));
        m_recorder.record(std::move(sent));
        return;
    }
    received.topic = exchange->name;
    describeToken(received.details, *exchange, request);
    const Reply planned = m_replies.answer(*exchange, m_registry, m_policy, request);
    if (planned.gateway != nullptr) {
        m_identities[connection.id] = planned.gateway->mac;
        received.details["mac"] = planned.gateway->mac;
    }
    if (planned.delay.count() > 0) {
        m_timers.after(planned.delay, [this, id = connection.id, exchange, token = request.token,
                                       planned] { replyLate(id, *exchange, token, planned); });
        m_recorder.record(std::move(received));
        return;
    }
    Event outcome = reply(connection, *exchange, request.token, planned);
    m_recorder.record(std::move(received));
    m_recorder.record(std::move(outcome));
}

void AppChannel::describeToken(Json& details, const Exchange& exchange, const Message& request) {
    const TokenVerdict verdict = m_registry.judge(request.option(optionAccessToken));
    details["token-verdict"] = verdictText(verdict);
    const std::string_view complaint = tokenComplaint(exchange.tokenRule, verdict);
    if (!complaint.empty()) {
        details["token-complaint"] = complaint;
    }
}

Event AppChannel::reply(Connection& connection, const Exchange& exchange, const std::string& token,
                        const Reply& reply) {
    if (reply.drop != ReplyRule::Drop::no) {
        // Not from inside libcoap's processing, which goes on using the session.
        m_timers.at(Clock::time_point{}, [this, id = connection.id] {
            if (Connection* open = m_server.find(id)) {
                m_server.drop(*open);
            }
        });
    }
    if (!reply.send) {
        Event silence = event("silence", connection);
        silence.topic = exchange.name;
        return silence;
    }
    Message response;
    response.code = reply.code;
    response.token = token;
    response.payload = reply.payload;
    return respond(connection, exchange.name, response);
}

void AppChannel::replyLate(int id, const Exchange& exchange, const std::string& token,
                           const Reply& planned) {
    if (Connection* connection = m_server.find(id)) {
        m_recorder.record(reply(*connection, exchange, token, planned));
        return;
    }
    Event lost;
    lost.name = "lost";
    lost.topic = exchange.name;
    lost.details["reason"] = fmt::format("connection {} has ended", id);
    m_recorder.record(std::move(lost));
}

Event AppChannel::respond(Connection& connection, std::string_view topic, const Message& response) {
    Event sent = event("response", connection);
    sent.topic = topic;
    sent.direction = Direction::toGateway;
    sent.message = response;
    describeErrcode(sent.details, response.payload);
    const SendResult result = m_server.send(connection, response);
    if (result != SendResult::sent) {
        sent.name = "lost";
        sent.details["reason"] = result == SendResult::tooLarge
                                     ? "larger than the gateway's Max-Message-Size"
                                     : "not taken by the connection";
    }
    return sent;
}

Connection& AppChannel::selected() {
    if (m_selected != 0) {
        if (Connection* connection = m_server.find(m_selected)) {
            return *connection;
        }
        throw std::runtime_error(fmt::format("connection {} has ended", m_selected));
    }
    Connection* newest = nullptr;
    for (Connection* connection : m_server.connections()) {
        if (connection->ready) {
            newest = connection;
        }
    }
    if (newest == nullptr) {
        throw std::runtime_error("no gateway is connected");
    }
    return *newest;
}

const Gateway* AppChannel::gatewayOn(int connection) {
    const auto found = m_identities.find(connection);
    return found == m_identities.end() ? nullptr : m_registry.findByMac(found->second);
}

Message AppChannel::build(const Command& command, const Connection& connection) {
    const std::uint64_t number = ++m_lastRequest;
    const Gateway* gateway = gatewayOn(connection.id);
    const std::string session =
        gateway != nullptr ? gateway->devId : fmt::format("conn-{}", connection.id);
    Message message;
    message.code = command.method;
    message.token = tokenBytes(number);
    message.path = command.path;
    message.query = command.query;
    message.payload = command.payload;
    const Identifiers& chosen = command.identifiers;
    const auto add = [&](bool wanted, std::uint16_t option, const std::optional<std::string>& value,
                         std::string usual) {
        if (wanted) {
            message.options.push_back({option, value.value_or(std::move(usual))});
        }
    };
    add(chosen.sendRequestId, optionRequestId, chosen.requestId, fmt::format("req-{}", number));
    add(chosen.sendSessionId, optionSessionId, chosen.sessionId, session);
    add(chosen.sendTraceId, optionTraceId, chosen.traceId,
        fmt::format("trace-{}-{}", connection.id, number));
    return message;
}

void AppChannel::send(const Command& command) {
    Connection& connection = selected();
    Pending pending;
    pending.connection = connection.id;
    pending.name = command.name;
    pending.message = build(command, connection);
    pending.sent = Clock::now();
    Event sent = event("sent", connection);
    sent.topic = command.name;
    sent.direction = Direction::toGateway;
    sent.message = pending.message;
    switch (m_server.send(connection, pending.message)) {
    case SendResult::sent:
        break;
    case SendResult::tooLarge:
        throw std::runtime_error(
            fmt::format("a body of {} bytes is larger than the gateway's Max-Message-Size allows",
                        command.payload.size()));
    case SendResult::noConnection:
    case SendResult::failed:
        throw std::runtime_error(fmt::format("not sent on connection {}", pending.connection));
    }
    m_pending.push_back(std::move(pending));
    if (m_pending.size() > maxPending) {
        m_pending.pop_front();
    }
    m_recorder.record(std::move(sent));
}

std::list<AppChannel::Pending>::iterator AppChannel::match(const Connection& connection,
                                                           const Message& answer) {
    for (auto pending = m_pending.begin(); pending != m_pending.end(); ++pending) {
        // Refusals that the gateway's CoAP library makes by itself have the token instead.
        const bool same = answer.token.empty() ? sameIdentifiers(pending->message, answer)
                                               : pending->message.token == answer.token;
        if (pending->connection == connection.id && same) {
            return pending;
        }
    }
    return m_pending.end();
}

void AppChannel::onAnswer(Connection& connection, const Message& answer) {
    const auto pending = match(connection, answer);
    const bool matched = pending != m_pending.end();
    Event received = event(matched ? "answer" : "stray", connection);
    received.direction = Direction::fromGateway;
    received.message = answer;
    describeErrcode(received.details, answer.payload);
    received.details["token-verdict"] =
        verdictText(m_registry.judge(answer.option(optionAccessToken)));
    received.details["matched"] = matched;
    if (matched) {
        received.topic = pending->name;
        received.details["to-path"] = pending->message.path;
        received.details["by"] = answer.token.empty() ? "options" : "token";
        received.details["milliseconds"] =
            std::chrono::duration<double, std::milli>(Clock::now() - pending->sent).count();
        m_pending.erase(pending);
    }
    m_recorder.record(std::move(received));
}

void AppChannel::drop() {
    m_server.drop(selected());
}

} // namespace vxp
