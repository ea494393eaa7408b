// SPDX-License-Identifier: MIT
#pragma once

#include "message.h"
#include "registry.h"

#include <chrono>
#include <span>
#include <string>
#include <string_view>

namespace vxp {

/// What the platform insists on; both sides of each switch are something an operator runs.
struct Policy {
    bool requireRegistration = true; ///< activate only gateways that have registered
    bool checkToken = false;         ///< refuse requests without a good access token
    long long tokenTimeout = 7200;   ///< "timeOut" of the replies, seconds
};

/// The result of serving one request, before anybody changes the reply.
struct Outcome {
    int errcode = errcodeSuccess;
    Json members = Json::object(); ///< what the reply carries besides "errcode"
    Gateway* gateway = nullptr;    ///< whose request it was, where that is known
};

enum class TokenRule {
    none,     ///< the request is made before there are credentials: it carries no token
    any,      ///< it carries the option, whatever it holds
    required, ///< it carries the token that was issued
    stale,    ///< as required, but the token may have expired
};

/// One kind of request that gateways send to the platform.
struct Exchange {
    std::string_view name; ///< in commands and in the journal
    std::string_view path;
    TokenRule tokenRule;
    Outcome (*serve)(Registry& registry, const Policy& policy, const Json& body,
                     const std::string* token);
};

/// All of them.
std::span<const Exchange> exchanges();

/// @return the exchange of that path, or null
const Exchange* findExchangeByPath(std::string_view path);

/// @return the exchange of that name or path (any case, ".sys/" may be left out), or null
const Exchange* findExchangeByName(std::string_view name);

/// @return why the token is not as the exchange wants it, or an empty text
std::string_view tokenComplaint(TokenRule rule, TokenVerdict verdict);

/// Serves a request: changes the registry and says what the reply carries.
Outcome serveExchange(const Exchange& exchange, Registry& registry, const Policy& policy,
                      const Message& request);

} // namespace vxp
