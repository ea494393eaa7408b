// SPDX-License-Identifier: MIT
#pragma once

#include "arguments.h"

#include <string>
#include <string_view>

namespace vxp {

/// Where a message's body comes from; files are read when the message is sent.
struct Body {
    enum class Kind { none, text, file };
    Kind kind = Kind::none;
    std::string value;
};

/// The text as it stands, @FILE, hex:HEX or none.
/// @throws UsageError with the reason
Body parseBody(const Arguments& arguments, std::string_view text);

/// The same where a plain word is the name of a file: FILE, {...}, [...], hex:HEX or none.
Body parseFileOrBody(const Arguments& arguments, std::string_view text);

/**
 * @param samples the folder in which a file is looked for that is not where the body says
 * @throws std::runtime_error naming the file that cannot be read
 */
std::string loadBody(const std::string& samples, const Body& body);

} // namespace vxp
