// SPDX-License-Identifier: MIT
#pragma once

#include <sys/epoll.h>

/**
 * @file
 * What libcoap waits for, asked of the system without libcoap: it would have to be locked for as
 * long as it waits.
 */
namespace vxq {

/** What the system reports of a session: its connection and its timer. */
struct CoapEvents {
    epoll_event list[4];
    int count;
};

/**
 * A descriptor of libcoap's for the receive thread alone: it stays what it is when another thread
 * closes the session, and reports nothing from then on.
 */
class CoapEventSource {
public:
    CoapEventSource() = default;
    ~CoapEventSource();
    CoapEventSource(const CoapEventSource&) = delete;
    CoapEventSource& operator=(const CoapEventSource&) = delete;

    /** @param descriptor  libcoap's; -1, or one that cannot be duplicated, makes this one -1, too
     */
    void open(int descriptor);
    /** To wait for its input; -1 when there is none. */
    int descriptor() const { return descriptor_; }
    /** Waits until there are events, and takes them; none when the time is over. */
    CoapEvents take(int milliseconds) const;

private:
    int descriptor_ = -1;
};

} // namespace vxq
