// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace vxp {

/// Members keep the order in which they were written: what is printed looks like what was sent.
using Json = nlohmann::ordered_json;

/// Deeper documents are treated as text: nobody gains from a stack that a peer can overflow.
inline constexpr int maxJsonDepth = 128;

/// @return the document, or nothing when the text is not JSON or is nested too deep
std::optional<Json> parseJson(std::string_view text);

/// Prints a document; bytes that are not UTF-8 are replaced, so it never throws.
std::string printJson(const Json& document, int indent = -1);

/**
 * Follows a path such as "data.datelist.0.Enable" into a document; numbers index arrays, an empty
 * path is the document itself.
 *
 * @return the member, or null when there is none
 */
const Json* findMember(const Json& document, std::string_view path);

} // namespace vxp
