// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace vxp {

/// Writes to standard output, at once. When nobody reads it any more the text is lost, no more: a
/// platform goes on serving.
void say(std::string_view text);

/// The same to standard error, behind what was said before.
void complain(std::string_view text);

} // namespace vxp
