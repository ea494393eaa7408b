// SPDX-License-Identifier: MIT
#pragma once

#include "message.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vxp {

enum class Direction { none, fromGateway, toGateway };

/// Something that happened; what the journal has a line for and a script can wait for.
struct Event {
    std::string name;  ///< the journal's "event": "connect", "request", "answer", ...
    std::string topic; ///< narrower: "login" for a request, the command's name for a command
    Direction direction = Direction::none;
    int connection = 0; ///< 0 when it belongs to no connection
    std::string transport;
    std::optional<Message> message;
    Json details = Json::object(); ///< further members, in the journal's order

    // Filled in by the recorder.
    std::uint64_t number = 0;
    std::chrono::system_clock::time_point time;
};

using EventPtr = std::shared_ptr<const Event>;

/// Somebody who is told each event, in order.
class EventSink {
public:
    EventSink() = default;
    EventSink(const EventSink&) = delete;
    EventSink& operator=(const EventSink&) = delete;
    virtual ~EventSink() = default;
    virtual void onEvent(const Event& event) = 0;
};

} // namespace vxp
