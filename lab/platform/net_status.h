// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vxp {

/**
 * A status message of a gateway as a person reads it, a line for each radio, access point, switch
 * and timer.
 *
 * @return no lines for any other text
 */
std::vector<std::string> describeStatus(std::string_view text);

} // namespace vxp
