// SPDX-License-Identifier: MIT
#include "net_channel.h"

#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace vxp {

namespace {

constexpr std::string_view transport = "net";
constexpr std::string_view magic{"\x3f\x72\x1f\xb5", 4};
constexpr std::size_t readSize = std::size_t{64} * 1024;

/// Messages that gateways never answer are not kept for ever.
constexpr std::size_t maxPending = 1000;

constexpr std::pair<NetFault::Kind, std::string_view> faultNames[] = {
    {NetFault::Kind::silence, "silence"},
    {NetFault::Kind::wrongKey, "wrong-key"},
    {NetFault::Kind::split, "split"},
    {NetFault::Kind::merge, "merge"},
    {NetFault::Kind::magic, "magic"},
    {NetFault::Kind::overLong, "over-long"},
    {NetFault::Kind::highLength, "high-length"},
    {NetFault::Kind::cut, "cut"},
    {NetFault::Kind::dhGarbage, "dh-garbage"},
};

std::uint32_t lengthOf(std::string_view header) {
    std::uint32_t length = 0;
    for (const char c : header.substr(magic.size(), 4)) {
        length = length << 8U | static_cast<unsigned char>(c);
    }
    return length;
}

std::string textAt(const Json& document, std::string_view path) {
    const Json* member = findMember(document, path);
    return member != nullptr && member->is_string() ? member->get<std::string>() : std::string{};
}

KeyOffer offerIn(const std::string& text) {
    const Json document = parseJson(text).value_or(Json{});
    return {textAt(document, "data.dh_p"), textAt(document, "data.dh_g"),
            textAt(document, "data.dh_key")};
}

AesKey otherKey(AesKey key) {
    for (unsigned char& byte : key) {
        byte = static_cast<unsigned char>(~byte);
    }
    return key;
}

std::string keyText(const AesKey& key) {
    return hexText({reinterpret_cast<const char*>(key.data()), key.size()});
}

} // namespace

std::string netHeader(std::uint32_t length) {
    std::string header(magic);
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        header += static_cast<char>(length >> shift & 0xffU);
    }
    return header;
}

std::string_view netFaultName(NetFault::Kind kind) {
    for (const auto& [candidate, name] : faultNames) {
        if (candidate == kind) {
            return name;
        }
    }
    return {};
}

NetChannel::NetChannel(const NetSettings& settings, Recorder& recorder, Timers& timers)
    : m_settings(settings), m_recorder(recorder), m_timers(timers) {}

Event NetChannel::event(std::string name, const NetConnection& connection) {
    Event result;
    result.name = std::move(name);
    result.connection = connection.id;
    result.transport = transport;
    return result;
}

Event NetChannel::messageEvent(std::string name, const NetConnection& connection,
                               Direction direction, const std::string& text,
                               const Envelope& envelope) {
    Event result = event(std::move(name), connection);
    result.direction = direction;
    Message message;
    message.carrier = Carrier::frame;
    message.payload = text;
    result.message = std::move(message);
    if (!envelope.type.empty()) {
        result.details["type"] = envelope.type;
    }
    if (envelope.sequence) {
        result.details["sequence"] = *envelope.sequence;
    }
    result.details["encrypted"] = connection.key.has_value();
    return result;
}

// --- connections --------------------------------------------------------------------------------

void NetChannel::listen() {
    if (m_listener.isOpen()) {
        return;
    }
    m_listener = openListener(m_settings.address, transport);
    Event listening;
    listening.name = "listening";
    listening.details["transport"] = transport;
    listening.details["address"] = m_settings.address.text();
    listening.details["port"] = m_settings.address.port();
    m_recorder.record(std::move(listening));
}

void NetChannel::refuse() {
    // Who sees the connection end and comes back at once is to be refused.
    m_listener.reset();
    dropAll(false);
}

void NetChannel::fillPoll(std::vector<pollfd>& descriptors) const {
    if (m_listener.isOpen()) {
        descriptors.push_back({m_listener.get(), POLLIN, 0});
    }
    const Clock::time_point now = Clock::now();
    for (const NetConnection& connection : m_connections) {
        const bool writes = !connection.output.empty() && now >= connection.nextPiece;
        descriptors.push_back(
            {connection.socket.get(), static_cast<short>(POLLIN | (writes ? POLLOUT : 0)), 0});
    }
}

void NetChannel::process(const std::vector<pollfd>& descriptors) {
    for (NetConnection& connection : m_connections) {
        if ((eventsOf(descriptors, connection.socket.get()) & readable) != 0) {
            readSome(connection);
        }
        flush(connection);
    }
    sweep();
    if (m_listener.isOpen() && (eventsOf(descriptors, m_listener.get()) & POLLIN) != 0) {
        accept();
    }
}

void NetChannel::accept() {
    Descriptor socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.isOpen()) {
        return;
    }
    disableNagle(socket.get());
    NetConnection& connection = m_connections.emplace_back();
    connection.id = ++m_lastId;
    connection.peer = remoteAddress(socket.get());
    connection.socket = std::move(socket);
    Event connect = event("connect", connection);
    connect.topic = transport;
    connect.details["peer"] = connection.peer.text();
    m_recorder.record(std::move(connect));
}

NetConnection* NetChannel::find(int id) {
    for (NetConnection& connection : m_connections) {
        if (connection.id == id) {
            return &connection;
        }
    }
    return nullptr;
}

NetConnection& NetChannel::selected() {
    if (m_selected != 0) {
        if (NetConnection* connection = find(m_selected)) {
            return *connection;
        }
        throw std::runtime_error(
            fmt::format("platform channel: connection {} has ended", m_selected));
    }
    const auto newest = std::max_element(m_connections.begin(), m_connections.end(),
                                         [](const NetConnection& a, const NetConnection& b) {
                                             return a.registration < b.registration;
                                         });
    if (newest == m_connections.end() || newest->registration == 0) {
        throw std::runtime_error("no gateway has registered on the platform channel");
    }
    return *newest;
}

void NetChannel::drop(NetConnection& connection) {
    connection.dropped = true;
    connection.dead = true;
}

void NetChannel::drop() {
    drop(selected());
    sweep();
}

std::size_t NetChannel::dropAll(bool reset) {
    const std::size_t count = m_connections.size();
    for (NetConnection& connection : m_connections) {
        if (reset) {
            armReset(connection.socket.get());
        }
        drop(connection);
    }
    sweep();
    return count;
}

void NetChannel::sweep() {
    for (NetConnection& connection : m_connections) {
        if (!connection.dead) {
            continue;
        }
        connection.socket.reset();
        m_pending.remove_if(
            [&](const Pending& pending) { return pending.connection == connection.id; });
        Event close = event("close", connection);
        close.topic = transport;
        close.details["by"] = connection.dropped ? "platform" : "gateway";
        if (!connection.input.empty() && !connection.dropped) {
            close.details["inside-frame"] = connection.input.size();
        }
        m_recorder.record(std::move(close));
    }
    m_connections.remove_if([](const NetConnection& connection) { return connection.dead; });
}

// --- what gateways send -------------------------------------------------------------------------

void NetChannel::readSome(NetConnection& connection) {
    char buffer[readSize];
    const ssize_t count = ::recv(connection.socket.get(), buffer, sizeof buffer, 0);
    if (count > 0) {
        connection.input.append(buffer, static_cast<std::size_t>(count));
        takeFrames(connection);
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        connection.dead = true;
    }
}

void NetChannel::takeFrames(NetConnection& connection) {
    std::string& input = connection.input;
    while (!connection.dead && !connection.ending && input.size() >= netHeaderSize) {
        const std::string header = input.substr(0, netHeaderSize);
        const std::size_t length = lengthOf(header);
        if (!header.starts_with(magic)) {
            malformed(connection, "a frame does not begin with the magic", header);
            drop(connection);
        } else if (length > maxNetBodyFromGateway) {
            malformed(connection, fmt::format("a frame of {} bytes", length), header);
            drop(connection);
        } else if (input.size() < netHeaderSize + length) {
            return;
        } else {
            const std::string body = input.substr(netHeaderSize, length);
            input.erase(0, netHeaderSize + length);
            onFrame(connection, body);
        }
    }
}

void NetChannel::malformed(NetConnection& connection, const std::string& reason,
                           const std::string& bytes) {
    Event wrong = messageEvent("malformed", connection, Direction::fromGateway, bytes, {});
    wrong.details["reason"] = reason;
    m_recorder.record(std::move(wrong));
}

void NetChannel::onFrame(NetConnection& connection, const std::string& body) {
    if (!connection.key) {
        onText(connection, body);
    } else if (const auto text = decryptText(*connection.key, m_settings.ivFill, body)) {
        onText(connection, *text);
    } else {
        malformed(connection, fmt::format("{} bytes are no whole blocks", body.size()), body);
    }
}

void NetChannel::onText(NetConnection& connection, const std::string& text) {
    const auto envelope = readEnvelope(text);
    if (!envelope || envelope->type.empty()) {
        malformed(connection, envelope ? "no \"type\"" : "no JSON object", text);
        return;
    }
    if (!envelope->mac.empty()) {
        connection.mac = envelope->mac;
    }
    if (envelope->type == typeAck || envelope->type == typeStatus) {
        onAnswer(connection, text, *envelope);
        return;
    }
    const NetExchange* exchange = findNetExchangeByType(envelope->type);
    if (exchange == nullptr) {
        m_recorder.record(
            messageEvent("request", connection, Direction::fromGateway, text, *envelope));
    } else if (exchange->encrypted != connection.key.has_value()) {
        malformed(connection,
                  fmt::format("{} {} the key is agreed", exchange->name,
                              exchange->encrypted ? "before" : "when"),
                  text);
    } else {
        onRequest(connection, *exchange, text, *envelope);
    }
}

bool NetChannel::silent(const NetExchange& exchange) const {
    return m_fault.kind == NetFault::Kind::silence &&
           (m_fault.text.empty() || m_fault.text == exchange.name);
}

void NetChannel::onRequest(NetConnection& connection, const NetExchange& exchange,
                           const std::string& text, const Envelope& envelope) {
    Event received = messageEvent("request", connection, Direction::fromGateway, text, envelope);
    received.topic = exchange.name;
    KeyAgreement agreement;
    if (exchange.request == NetRequest::keyAgreement) {
        try {
            agreement = agreeKey(offerIn(text));
        } catch (const std::invalid_argument& error) {
            malformed(connection, error.what(), text);
            drop(connection);
            return;
        }
        received.details["prime-bits"] = agreement.primeBits;
        received.details["prime"] = agreement.primeKind;
        received.details["generator"] = agreement.generator;
    }
    m_recorder.record(std::move(received));
    if (silent(exchange)) {
        Event silence = event("silence", connection);
        silence.topic = exchange.name;
        m_recorder.record(std::move(silence));
        return;
    }
    Json document =
        writeEnvelope({std::string(exchange.replyType), envelope.sequence, envelope.mac});
    switch (exchange.request) {
    case NetRequest::keyMode:
        document["keymode"] = m_keyMode;
        break;
    case NetRequest::keyAgreement:
        replyWithKey(connection, exchange, std::move(document), agreement);
        return;
    case NetRequest::registration:
        connection.registration = ++m_registrations;
        break;
    case NetRequest::heartbeat:
        break;
    }
    reply(connection, exchange, document);
}

/// From the reply on, both directions are encrypted.
void NetChannel::replyWithKey(NetConnection& connection, const NetExchange& exchange, Json document,
                              const KeyAgreement& agreement) {
    const bool garbage = m_fault.kind == NetFault::Kind::dhGarbage;
    document["data"]["dh_key"] = garbage ? m_fault.text : agreement.publicKey;
    if (garbage) {
        faultDone(0);
    }
    reply(connection, exchange, document, {{"key", keyText(agreement.key)}});
    connection.key = agreement.key;
}

void NetChannel::reply(NetConnection& connection, const NetExchange& exchange, const Json& document,
                       const Json& notes) {
    const std::string text = printJson(document, 2);
    Event sent = messageEvent("response", connection, Direction::toGateway, text,
                              readEnvelope(text).value_or(Envelope{}));
    sent.topic = exchange.name;
    sent.details.update(notes);
    transmit(connection, text);
    if (connection.dead && !connection.dropped) {
        sent.name = "lost";
        sent.details["reason"] = "not taken by the connection";
    }
    m_recorder.record(std::move(sent));
}

void NetChannel::onAnswer(NetConnection& connection, const std::string& text,
                          const Envelope& envelope) {
    const auto pending =
        std::find_if(m_pending.begin(), m_pending.end(), [&](const Pending& candidate) {
            return candidate.connection == connection.id && envelope.sequence &&
                   candidate.sequence == *envelope.sequence &&
                   candidate.answerType == envelope.type;
        });
    const bool matched = pending != m_pending.end();
    Event received = messageEvent(matched ? "answer" : "stray", connection, Direction::fromGateway,
                                  text, envelope);
    received.details["matched"] = matched;
    if (matched) {
        received.topic = pending->name;
        received.details["milliseconds"] =
            std::chrono::duration<double, std::milli>(Clock::now() - pending->sent).count();
        m_pending.erase(pending);
    }
    m_recorder.record(std::move(received));
}

// --- what the platform sends --------------------------------------------------------------------

void NetChannel::send(const NetCommand& command) {
    NetConnection& connection = selected();
    std::string text = command.body;
    if (!command.type.empty()) {
        const Envelope usual{command.type, ++m_lastSequence, connection.mac};
        text = printJson(wrapBody(usual, command.body), 2);
    }
    const Envelope envelope = readEnvelope(text).value_or(Envelope{});
    Event sent = messageEvent("sent", connection, Direction::toGateway, text, envelope);
    sent.topic = command.name;
    const int id = connection.id;
    transmit(connection, text);
    if (connection.dead && !connection.dropped) {
        sweep();
        throw std::runtime_error(fmt::format("not sent on connection {}", id));
    }
    if (envelope.sequence) {
        const bool query = envelope.type == typeStatusQuery;
        m_pending.push_back(
            {id, *envelope.sequence, command.name, query ? typeStatus : typeAck, Clock::now()});
    }
    if (m_pending.size() > maxPending) {
        m_pending.pop_front();
    }
    m_recorder.record(std::move(sent));
    sweep();
}

void NetChannel::transmit(NetConnection& connection, const std::string& text) {
    const NetFault fault = m_fault;
    std::string body = text;
    if (connection.key) {
        const bool wrong = fault.kind == NetFault::Kind::wrongKey;
        body = encryptText(wrong ? otherKey(*connection.key) : *connection.key, m_settings.ivFill,
                           text);
    }
    if (fault.kind == NetFault::Kind::overLong) {
        body.resize(fault.number, '\0');
        faultDone(0);
    }
    auto length = static_cast<std::uint32_t>(body.size());
    if (fault.kind == NetFault::Kind::highLength) {
        length |= static_cast<std::uint32_t>(fault.number) << 16U;
        faultDone(magic.size());
    }
    std::string frame = netHeader(length) + body;
    if (fault.kind == NetFault::Kind::magic) {
        frame[fault.number] = static_cast<char>(~frame[fault.number]);
        faultDone(fault.number);
    }
    dispatch(connection, std::move(frame));
}

/// Hands a frame to the connection, in the pieces that the fault asks for.
void NetChannel::dispatch(NetConnection& connection, std::string frame) {
    switch (m_fault.kind) {
    case NetFault::Kind::split:
        for (std::size_t at = 0; at < frame.size(); at += m_fault.number) {
            connection.output.push_back({frame.substr(at, m_fault.number), m_fault.pause});
        }
        break;
    case NetFault::Kind::merge:
        connection.held += frame;
        if (++connection.heldFrames >= m_fault.number) {
            release(connection);
            faultDone(0);
        }
        break;
    case NetFault::Kind::cut: {
        const std::size_t count = std::min(m_fault.number, frame.size() - 1);
        connection.output.push_back({frame.substr(0, count), {}});
        connection.ending = true;
        faultDone(count);
        break;
    }
    default:
        connection.output.push_back({std::move(frame), {}});
        break;
    }
    flush(connection);
}

void NetChannel::release(NetConnection& connection) {
    if (!connection.held.empty()) {
        connection.output.push_back({std::exchange(connection.held, {}), {}});
    }
    connection.heldFrames = 0;
}

void NetChannel::flush(NetConnection& connection) {
    auto& output = connection.output;
    while (!connection.dead && !output.empty() && Clock::now() >= connection.nextPiece) {
        std::string& bytes = output.front().bytes;
        const ssize_t count =
            ::send(connection.socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) {
            connection.dead = errno != EAGAIN && errno != EINTR;
            return;
        }
        bytes.erase(0, static_cast<std::size_t>(count));
        if (!bytes.empty()) {
            return;
        }
        if (output.front().pause.count() > 0) {
            connection.nextPiece = Clock::now() + output.front().pause;
            m_timers.at(connection.nextPiece, [this, id = connection.id] {
                if (NetConnection* waiting = find(id)) {
                    flush(*waiting);
                    sweep();
                }
            });
        }
        output.pop_front();
    }
    if (connection.ending && output.empty()) {
        drop(connection);
    }
}

std::size_t NetChannel::inject(const std::string& bytes) {
    const std::size_t count = m_connections.size();
    for (NetConnection& connection : m_connections) {
        connection.output.push_back({bytes, {}});
        flush(connection);
    }
    sweep();
    return count;
}

// --- faults -------------------------------------------------------------------------------------

void NetChannel::setFault(NetFault fault) {
    for (NetConnection& connection : m_connections) {
        release(connection);
        for (NetConnection::Piece& piece : connection.output) {
            piece.pause = {};
        }
        connection.nextPiece = {};
        flush(connection);
    }
    sweep();
    m_fault = std::move(fault);
    Event set;
    set.name = "fault";
    set.topic = fmt::format(
        "set-{}", m_fault.kind == NetFault::Kind::none ? "off" : netFaultName(m_fault.kind));
    set.details["port"] = transport;
    m_recorder.record(std::move(set));
}

void NetChannel::faultDone(std::size_t offset) {
    Event done;
    done.name = "fault";
    done.topic = netFaultName(m_fault.kind);
    done.details["port"] = transport;
    done.details["offset"] = offset;
    m_recorder.record(std::move(done));
    m_fault = {};
}

} // namespace vxp
