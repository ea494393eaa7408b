// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "unit_net/socket_pair.h"

/** @file The platform's end of the platform channel. */
namespace peer {

inline constexpr int kPlatformPort = 32'768;

/** A text at a path of keys; empty when there is none. */
std::string member(const std::string& text, std::initializer_list<const char*> path);
/** A number in the same place; 0 when there is none. */
int number_member(const std::string& text, std::initializer_list<const char*> path);

/** One connection. */
class Session {
public:
    explicit Session(Descriptor connection) : connection_(std::move(connection)) {}

    [[nodiscard]] int socket() const { return connection_.get(); }
    void send_plain(const std::string& text) const;
    void send(const std::string& text) const;
    /** The next message in plain; empty at the end of the connection. */
    [[nodiscard]] std::string receive_plain() const;
    [[nodiscard]] std::string receive() const;
    /** The next message that isn't a heartbeat; those are acknowledged. */
    [[nodiscard]] std::string receive_reply() const;

    /** Agrees on the key and lets the gateway register. */
    void open();
    /** The three steps of it; each throws std::runtime_error when something else comes. */
    void choose_key_mode();
    void agree_on_key();
    void let_register();

private:
    Descriptor connection_;
    std::string key_;
};

} // namespace peer
