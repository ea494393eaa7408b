// SPDX-License-Identifier: MIT
#pragma once

#include "address.h"
#include "recorder.h"

#include <poll.h>

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace vxp {

/// What a fault port does to the bytes that go from the platform to the gateway.
struct Fault {
    enum class Kind {
        none,
        mute,    ///< nothing gets through, not even the first announcement
        cut,     ///< the next message ends after some bytes, then the connection is closed
        split,   ///< the next message's header is cut in two by the gateway's reads
        corrupt, ///< one byte of the next message is turned around
    };
    Kind kind = Kind::none;
    std::size_t offset = 0; ///< the byte that a cut, a split or a corruption is at
};

/**
 * A plain socket in front of a listening port of the platform: passes bytes on in both directions
 * and does to them what no well-behaved library would.
 *
 * A fault that is done to a message is done once; the next message passes.
 */
class Relay {
public:
    /**
     * @param framed whether the bytes are CoAP messages that can be told apart; else (TLS) whatever
     *        one read gives counts as a message
     */
    Relay(std::string name, Address listen, bool framed, Recorder& recorder);
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;
    ~Relay();

    /// @throws std::runtime_error naming the address that cannot be listened on
    void open(const Address& target);

    /// Closes the listening socket and every connection.
    void close();

    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] const Address& address() const { return m_listen; }
    [[nodiscard]] bool framed() const { return m_framed; }

    void setFault(const Fault& fault) { m_fault = fault; }

    /// While stalled, nothing is read from the gateways: what they send piles up on their side.
    void setStalled(bool stalled) { m_stalled = stalled; }

    /// Bytes of any kind to every gateway that is connected here.
    /// @return to how many
    std::size_t inject(const std::string& bytes);

    /// Ends every connection here; with a reset instead of an orderly close on request.
    /// @return how many there were
    std::size_t dropAll(bool reset);

    /// Whether one of the relay's own connections to the platform has that local address.
    [[nodiscard]] bool owns(const Address& peer) const;

    /// Adds what is to be waited for.
    void fillPoll(std::vector<pollfd>& descriptors) const;

    /// Moves bytes; descriptors as filled by fillPoll and waited for.
    void process(const std::vector<pollfd>& descriptors);

private:
    /// One connection of a gateway and the relay's own to the platform that belongs to it.
    struct Link {
        int gateway = -1;
        int platform = -1;
        Address platformSide; ///< how the platform sees this link
        std::string toPlatform;
        std::string toGateway;
        std::string unframed; ///< bytes of a message that is not complete yet
        bool ending = false;  ///< to be closed once everything is written
        bool dead = false;
    };

    void accept();
    void readGateway(Link& link);
    void readPlatform(Link& link);
    void takeMessages(Link& link);
    void forward(Link& link, const std::string& message, std::size_t header);
    void note(std::string_view what, std::size_t offset);
    static void flush(int descriptor, std::string& bytes, bool& dead);
    static void closeLink(Link& link, bool reset);
    void sweep();

    std::string m_name;
    Address m_listen;
    Address m_target;
    bool m_framed;
    Recorder& m_recorder;
    int m_listener = -1;
    Fault m_fault;
    bool m_stalled = false;
    std::list<Link> m_links;
};

} // namespace vxp
