// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "namespace.h"
#include "wake.h"

/** @file A relay in front of the platform that counts the bytes to the gateway. */
namespace netfaults {

/** An IPv4 address and a port. */
struct Endpoint {
    std::string host;
    int port;
};

/** What becomes of the connection that has had its share of bytes. */
enum class Then {
    close, ///< it ends in order
    reset, ///< it is reset
    hold,  ///< the rest of what the platform says stays here; the other direction goes on
};

/** What went through a connection in one direction. */
struct Traffic {
    std::size_t bytes;
    std::size_t segments; ///< with data, repeated ones included
};

/**
 * Passes bytes on in both directions, on whatever channel, until the gateway has been given a
 * number of them. That way a stream can be cut at any byte.
 */
class Relay {
public:
    Relay(const Namespace& host, const Endpoint& listen, const Endpoint& target);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /**
     * Lets `bytes` more bytes to the gateway pass, what was held back included, then does that,
     * once, to the connection on which the next byte would go out.
     */
    void allow(std::size_t bytes, Then then);
    /** Lets everything pass again, and first of all what was held back. */
    void release();
    /** Gives the gateway one byte at a time, each a segment; 0 ends that. */
    void set_spacing(std::chrono::milliseconds spacing);

    /** Whether what was to be done at the end of the share has been done. */
    bool done() const;
    /** Bytes that the gateway has been given so far. */
    std::size_t passed() const;
    /** Bytes that are held back. */
    std::size_t held() const;
    /** Whether the gateway's system has taken all that was given. */
    bool acknowledged() const;
    /** What the gateway has been given on its latest connection. */
    Traffic latest() const;

private:
    struct Link {
        int gateway;
        int platform;
        std::string to_gateway;
        std::string to_platform;
        std::size_t given = 0;      ///< bytes to the gateway
        bool held = false;          ///< nothing is given to the gateway
        bool platform_gone = false; ///< it has closed its side
        bool ended = false;
    };

    void carry();
    void accept();
    void serve(Link& link);
    void give(Link& link);
    void act_at_the_end(Link& link);
    void drop_ended();

    Endpoint target_;
    int listener_ = -1;
    Wake wake_;
    mutable std::mutex mutex_; ///< of what follows
    std::list<Link> links_;
    std::size_t share_ = 0; ///< bytes that may pass until `then_` is done; while `limited_`
    bool limited_ = false;
    Then then_ = Then::close;
    bool done_ = false;
    std::size_t passed_ = 0;
    std::chrono::milliseconds spacing_{0};
    bool ending_ = false;
    std::thread thread_;
};

} // namespace netfaults
