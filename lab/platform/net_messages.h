// SPDX-License-Identifier: MIT
#pragma once

#include "json.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vxp {

/// What gateways ask for on the platform channel.
enum class NetRequest { keyMode, keyAgreement, registration, heartbeat };

struct NetExchange {
    NetRequest request;
    std::string_view name; ///< in commands and in the journal
    std::string_view type; ///< the message's "type"
    bool encrypted;        ///< it comes when there is a key
    std::string_view replyType;
};

/// @return the exchange of that name, or null
const NetExchange* findNetExchangeByName(std::string_view name);

/// @return the exchange of messages of that type, or null
const NetExchange* findNetExchangeByType(std::string_view type);

/// Types of messages that gateways answer with; they compare the one of an acknowledgement exactly.
inline constexpr std::string_view typeAck = "ack";
inline constexpr std::string_view typeStatus = "status";
inline constexpr std::string_view typeStatusQuery = "get_status";

/// A message to the gateway that has a command of its own.
struct NetRequestToGateway {
    std::string_view name;
    std::string_view type;
    std::string_view body; ///< file in the bodies folder: the members behind the envelope
    std::string_view help;
};

std::span<const NetRequestToGateway> netRequestsToGateway();

/// @return the one of that name, or null
const NetRequestToGateway* findNetRequestToGateway(std::string_view name);

/// What every message of the platform channel begins with.
struct Envelope {
    std::string type;
    std::optional<long long> sequence;
    std::string mac;
};

/// @return nothing when the text is no JSON object; members that are missing or of another kind
///         are empty
std::optional<Envelope> readEnvelope(std::string_view text);

/// The members of the envelope, in their order.
Json writeEnvelope(const Envelope& envelope);

/**
 * Puts an envelope around the members of a body; those that the body brings itself win.
 *
 * @throws std::runtime_error when the body is no JSON object
 */
Json wrapBody(const Envelope& envelope, std::string_view body);

} // namespace vxp
