// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "transport/wire.h"

/** @file The requests that a platform makes, and what comes back. */
namespace starvation {

/** One request of the platform. */
struct PlatformRequest {
    std::string name; ///< letters and digits only
    transport::Message message;
};

void PrintTo(const PlatformRequest& request, std::ostream* out);

/** The whole resource table; settings without a body. The one that ends the session comes last. */
std::vector<PlatformRequest> table_requests();
/** A settings resource once for each kind of body that it takes. */
std::vector<PlatformRequest> settings_requests();

/** Messages as a text: codes, options, bodies. */
std::string describe(const std::vector<transport::Message>& messages);

} // namespace starvation
