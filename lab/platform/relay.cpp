// SPDX-License-Identifier: MIT
#include "relay.h"

#include "descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vxp {

namespace {

constexpr std::size_t readSize = std::size_t{64} * 1024;
/// Beyond this the other side is not read any more until the bytes have gone.
constexpr std::size_t maxBacklog = std::size_t{1024} * 1024;

/// What libcoap takes from a socket at once; a message is split by putting its header there.
constexpr std::size_t readBufferSize = 1472;

/// A pong without options: two bytes that everybody ignores.
constexpr std::string_view filler{"\x00\xe3", 2};

/// Likewise, with a token of one byte, where an odd number of bytes is to be filled.
constexpr std::string_view oddFiller{"\x01\xe3\x00", 3};

/// Sizes in bytes of the message at the beginning of a stream of CoAP over TCP.
struct Frame {
    std::size_t header = 0; ///< everything before the options; 0 while the size cannot be told
    std::size_t total = 0;
};

Frame findFrame(std::string_view bytes) {
    if (bytes.empty()) {
        return {};
    }
    const auto byteAt = [&](std::size_t index) {
        return static_cast<std::size_t>(static_cast<unsigned char>(bytes[index]));
    };
    const std::size_t length = byteAt(0) >> 4U;
    const std::size_t token = byteAt(0) & 0x0fU;
    struct Form {
        std::size_t extraBytes;
        std::size_t base;
    };
    static constexpr Form forms[] = {{0, 0}, {1, 13}, {2, 269}, {4, 65805}};
    const Form& form = forms[length < 13 ? 0 : length - 12];
    if (bytes.size() < 1 + form.extraBytes) {
        return {};
    }
    std::size_t extra = 0;
    for (std::size_t i = 0; i < form.extraBytes; ++i) {
        extra = extra << 8U | byteAt(1 + i);
    }
    const std::size_t rest = form.extraBytes == 0 ? length : form.base + extra;
    const std::size_t header = 1 + form.extraBytes + 1 + token;
    return {header, header + rest};
}

/// Pongs up to the place where a message's byte of that offset is the first of the second read.
std::string fillerFor(std::size_t offset) {
    std::string bytes;
    std::size_t missing = readBufferSize - offset;
    if (missing % 2 == 1) {
        bytes += oddFiller;
        missing -= oddFiller.size();
    }
    for (; missing > 0; missing -= filler.size()) {
        bytes += filler;
    }
    return bytes;
}

int openSocket(const Address& address) {
    return ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

/// @return whether the stream goes on
bool readInto(int descriptor, std::string& bytes) {
    char buffer[readSize];
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count > 0) {
        bytes.append(buffer, static_cast<std::size_t>(count));
        return true;
    }
    return count < 0 && (errno == EAGAIN || errno == EINTR);
}

} // namespace

Relay::Relay(std::string name, Address listen, bool framed, Recorder& recorder)
    : m_name(std::move(name)), m_listen(listen), m_framed(framed), m_recorder(recorder) {}

Relay::~Relay() {
    close();
}

void Relay::open(const Address& target) {
    m_target = target;
    if (m_listener >= 0) {
        return;
    }
    m_listener = openListener(m_listen, m_name).release();
    Event listening;
    listening.name = "listening";
    listening.details["transport"] = m_name;
    listening.details["address"] = m_listen.text();
    listening.details["port"] = m_listen.port();
    m_recorder.record(std::move(listening));
}

void Relay::close() {
    dropAll(false);
    if (m_listener >= 0) {
        ::close(m_listener);
        m_listener = -1;
    }
}

std::size_t Relay::inject(const std::string& bytes) {
    for (Link& link : m_links) {
        link.toGateway += bytes;
        flush(link.gateway, link.toGateway, link.dead);
    }
    return m_links.size();
}

std::size_t Relay::dropAll(bool reset) {
    const std::size_t count = m_links.size();
    for (Link& link : m_links) {
        closeLink(link, reset);
    }
    m_links.clear();
    return count;
}

bool Relay::owns(const Address& peer) const {
    const std::string text = peer.text();
    return std::any_of(m_links.begin(), m_links.end(),
                       [&](const Link& link) { return link.platformSide.text() == text; });
}

void Relay::fillPoll(std::vector<pollfd>& descriptors) const {
    if (m_listener >= 0) {
        descriptors.push_back({m_listener, POLLIN, 0});
    }
    const auto add = [&](int descriptor, bool reads, const std::string& outgoing) {
        const int events = (reads ? POLLIN : 0) | (outgoing.empty() ? 0 : POLLOUT);
        descriptors.push_back({descriptor, static_cast<short>(events), 0});
    };
    for (const Link& link : m_links) {
        add(link.gateway, !m_stalled && link.toPlatform.size() < maxBacklog, link.toGateway);
        if (!link.ending) {
            add(link.platform, link.toGateway.size() < maxBacklog, link.toPlatform);
        }
    }
}

void Relay::process(const std::vector<pollfd>& descriptors) {
    for (Link& link : m_links) {
        if ((eventsOf(descriptors, link.gateway) & readable) != 0) {
            readGateway(link);
        }
        if ((eventsOf(descriptors, link.platform) & readable) != 0) {
            readPlatform(link);
        }
        flush(link.platform, link.toPlatform, link.dead);
        flush(link.gateway, link.toGateway, link.dead);
    }
    sweep();
    if (m_listener >= 0 && (eventsOf(descriptors, m_listener) & POLLIN) != 0) {
        accept();
    }
}

void Relay::accept() {
    const int gateway = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (gateway < 0) {
        return;
    }
    Link link;
    link.gateway = gateway;
    link.platform = openSocket(m_target);
    const bool connecting =
        link.platform >= 0 &&
        (::connect(link.platform, m_target.raw(), m_target.length) == 0 || errno == EINPROGRESS);
    if (!connecting) {
        closeLink(link, false);
        return;
    }
    disableNagle(link.gateway);
    disableNagle(link.platform);
    link.platformSide = localAddress(link.platform);
    m_links.push_back(std::move(link));
}

void Relay::readGateway(Link& link) {
    if (!readInto(link.gateway, link.toPlatform)) {
        link.dead = true;
    }
}

void Relay::readPlatform(Link& link) {
    if (!readInto(link.platform, link.unframed)) {
        link.ending = true;
    }
    takeMessages(link);
}

void Relay::takeMessages(Link& link) {
    while (!link.unframed.empty() && !link.ending) {
        const std::size_t all = link.unframed.size();
        const Frame frame = m_framed ? findFrame(link.unframed) : Frame{all, all};
        if (frame.header == 0 || all < frame.total) {
            return;
        }
        const std::string message = link.unframed.substr(0, frame.total);
        link.unframed.erase(0, frame.total);
        forward(link, message, frame.header);
    }
}

void Relay::forward(Link& link, const std::string& message, std::size_t header) {
    const std::size_t offset = std::min(m_fault.offset, message.size() - 1);
    switch (m_fault.kind) {
    case Fault::Kind::none:
        link.toGateway += message;
        return;
    case Fault::Kind::mute:
        return;
    case Fault::Kind::cut:
        link.toGateway += message.substr(0, offset);
        link.ending = true;
        note("cut", offset);
        break;
    case Fault::Kind::corrupt:
        link.toGateway += message;
        link.toGateway[link.toGateway.size() - message.size() + offset] =
            static_cast<char>(~message[offset]);
        note("corrupt", offset);
        break;
    case Fault::Kind::split:
        if (m_fault.offset >= header) {
            link.toGateway += message;
            return; // its header is too short; the next may do
        }
        link.toGateway += fillerFor(offset) + message;
        note("split-header", offset);
        break;
    }
    m_fault = Fault{};
}

void Relay::note(std::string_view what, std::size_t offset) {
    Event done;
    done.name = "fault";
    done.topic = what;
    done.details["port"] = m_name;
    done.details["offset"] = offset;
    m_recorder.record(std::move(done));
}

void Relay::flush(int descriptor, std::string& bytes, bool& dead) {
    if (bytes.empty() || dead) {
        return;
    }
    const ssize_t count = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
        bytes.erase(0, static_cast<std::size_t>(count));
    } else if (errno != EAGAIN && errno != EINTR && errno != ENOTCONN) {
        dead = true;
    }
}

void Relay::closeLink(Link& link, bool reset) {
    for (int* descriptor : {&link.gateway, &link.platform}) {
        if (*descriptor >= 0) {
            if (reset) {
                armReset(*descriptor);
            }
            ::close(*descriptor);
            *descriptor = -1;
        }
    }
}

void Relay::sweep() {
    for (Link& link : m_links) {
        if (link.dead || (link.ending && link.toGateway.empty())) {
            closeLink(link, false);
        }
    }
    m_links.remove_if([](const Link& link) { return link.gateway < 0; });
}

} // namespace vxp
