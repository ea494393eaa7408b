// SPDX-License-Identifier: MIT
#pragma once

#include "message.h"

#include <span>
#include <string_view>

namespace vxp {

/// A request to the gateway that has a command of its own.
struct NamedRequest {
    std::string_view name;
    int method;
    std::string_view path;
    std::string_view body; ///< file in the bodies folder; empty for requests without a body
    std::string_view help;
};

/// One for each method of each resource that gateways serve.
std::span<const NamedRequest> namedRequests();

/// @return the request of that name, or null
const NamedRequest* findNamedRequest(std::string_view name);

} // namespace vxp
