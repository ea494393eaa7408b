// SPDX-License-Identifier: MIT
#pragma once

#include "address.h"
#include "descriptor.h"
#include "net_crypto.h"
#include "net_messages.h"
#include "recorder.h"
#include "timers.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace vxp {

/// The port that gateways connect to; they know no other.
inline constexpr std::uint16_t netPort = 32768;

inline constexpr std::size_t netHeaderSize = 8;
/// What a gateway can send, header left out: it builds frames in 10,240 bytes.
inline constexpr std::size_t maxNetBodyFromGateway = 10232;
/// The first length that gateways refuse to read.
inline constexpr std::size_t refusedNetLength = 10240;

/// A frame's header: magic and big-endian length.
std::string netHeader(std::uint32_t length);

/// What the platform channel does wrong on purpose.
struct NetFault {
    enum class Kind {
        none,
        silence,    ///< no replies
        wrongKey,   ///< what is encrypted is so with another key
        split,      ///< frames go out in small pieces
        merge,      ///< the next frames go out together
        magic,      ///< one byte of the next frame's magic is inverted
        overLong,   ///< the next frame's body has that length
        highLength, ///< the upper half of the next frame's length field holds that number
        cut,        ///< the next frame ends after some bytes, then the connection is closed
        dhGarbage,  ///< the next key reply's "dh_key" is a text that is none
    };
    Kind kind = Kind::none;
    std::size_t number = 0;             ///< byte, length or count, as the kind has it
    std::string text;                   ///< dhGarbage: the text; silence: the request, or empty
    std::chrono::milliseconds pause{0}; ///< split: between the pieces
};

/// The fault's name in commands and in the journal; empty for none.
std::string_view netFaultName(NetFault::Kind kind);

/// A message to a gateway.
struct NetCommand {
    std::string name; ///< what the answer goes under, besides "answer"
    std::string type; ///< empty: the body is sent as it stands
    std::string body;
};

/// One gateway's connection.
struct NetConnection {
    /// Bytes that leave by one call.
    struct Piece {
        std::string bytes;
        std::chrono::milliseconds pause{0}; ///< before the next one
    };

    int id = 0; ///< counts from 1
    Descriptor socket;
    Address peer;
    std::string mac;                ///< as the last message had it
    std::optional<AesKey> key;      ///< once it is agreed
    std::uint64_t registration = 0; ///< counts registrations; 0: has not registered

    std::string input;
    std::deque<Piece> output;
    Clock::time_point nextPiece; ///< when the first piece may leave
    std::string held;            ///< frames that are to leave together
    std::size_t heldFrames = 0;
    bool ending = false;  ///< to be closed once everything is written
    bool dead = false;    ///< to be closed
    bool dropped = false; ///< this side has ended it
};

struct NetSettings {
    Address address;
    unsigned char ivFill = 0; ///< the value of all bytes of the frames' IV
};

/**
 * The platform channel: framed JSON messages over TCP, encrypted once a key is agreed.
 *
 * Gateways ask for the key mode, agree on a key, register and send heartbeats; the platform sends
 * them commands, which they acknowledge by sequence number.
 */
class NetChannel {
public:
    NetChannel(const NetSettings& settings, Recorder& recorder, Timers& timers);
    NetChannel(const NetChannel&) = delete;
    NetChannel& operator=(const NetChannel&) = delete;

    /// Starts to listen and says where; a port that the system chose stays the same from then on.
    /// @throws std::runtime_error naming the address that cannot be listened on
    void listen();

    /// Closes the listening socket and every connection.
    void refuse();

    /// Adds what is to be waited for.
    void fillPoll(std::vector<pollfd>& descriptors) const;

    /// Moves bytes; descriptors as filled by fillPoll and waited for.
    void process(const std::vector<pollfd>& descriptors);

    /// What the reply to a key mode request says.
    void setKeyMode(std::string mode) { m_keyMode = std::move(mode); }

    /// Sends a message on the selected connection.
    /// @throws std::runtime_error with the reason when it cannot be sent
    void send(const NetCommand& command);

    /// Makes a connection the one that commands mean; 0 stands for the one that registered last.
    void select(int connection) { m_selected = connection; }

    /// Ends the selected connection.
    void drop();

    /// Takes the place of the fault before it; what that one held back goes out.
    void setFault(NetFault fault);

    /// Bytes of any kind to every connection.
    /// @return to how many
    std::size_t inject(const std::string& bytes);

    /// Ends every connection; with a reset instead of an orderly close on request.
    /// @return how many there were
    std::size_t dropAll(bool reset);

    [[nodiscard]] const std::list<NetConnection>& connections() const { return m_connections; }

private:
    /// A message that waits for its answer.
    struct Pending {
        int connection = 0;
        long long sequence = 0;
        std::string name;
        std::string_view answerType;
        Clock::time_point sent;
    };

    NetConnection* find(int id);
    NetConnection& selected();
    void accept();
    void readSome(NetConnection& connection);
    void takeFrames(NetConnection& connection);
    void onFrame(NetConnection& connection, const std::string& body);
    void onText(NetConnection& connection, const std::string& text);
    void onRequest(NetConnection& connection, const NetExchange& exchange, const std::string& text,
                   const Envelope& envelope);
    void onAnswer(NetConnection& connection, const std::string& text, const Envelope& envelope);
    void reply(NetConnection& connection, const NetExchange& exchange, const Json& document,
               const Json& notes = Json::object());
    void replyWithKey(NetConnection& connection, const NetExchange& exchange, Json document,
                      const KeyAgreement& agreement);
    [[nodiscard]] bool silent(const NetExchange& exchange) const;
    void malformed(NetConnection& connection, const std::string& reason, const std::string& bytes);
    void transmit(NetConnection& connection, const std::string& text);
    void dispatch(NetConnection& connection, std::string frame);
    void release(NetConnection& connection);
    void flush(NetConnection& connection);
    static void drop(NetConnection& connection);
    void sweep();
    void faultDone(std::size_t offset);
    static Event event(std::string name, const NetConnection& connection);
    static Event messageEvent(std::string name, const NetConnection& connection,
                              Direction direction, const std::string& text,
                              const Envelope& envelope);

    NetSettings m_settings;
    Recorder& m_recorder;
    Timers& m_timers;
    Descriptor m_listener;
    std::list<NetConnection> m_connections;
    std::list<Pending> m_pending;
    std::string m_keyMode = "dh";
    NetFault m_fault;
    int m_selected = 0;
    int m_lastId = 0;
    std::uint64_t m_registrations = 0;
    long long m_lastSequence = 0;
};

} // namespace vxp
