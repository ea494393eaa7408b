// SPDX-License-Identifier: MIT
#include "json.h"

#include "text.h"

namespace vxp {

namespace {

/// One pass over the brackets, so that the parser itself never sees a document that is too deep.
bool tooDeep(std::string_view text) {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                quoted = false;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == '{' || c == '[') {
            if (++depth > maxJsonDepth) {
                return true;
            }
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

} // namespace

std::optional<Json> parseJson(std::string_view text) {
    if (text.empty() || tooDeep(text)) {
        return std::nullopt;
    }
    Json document = Json::parse(text, nullptr, false);
    if (document.is_discarded()) {
        return std::nullopt;
    }
    return document;
}

std::string printJson(const Json& document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

const Json* findMember(const Json& document, std::string_view path) {
    const Json* here = &document;
    while (!path.empty()) {
        const std::size_t dot = path.find('.');
        const std::string key{path.substr(0, dot)};
        path = dot == std::string_view::npos ? std::string_view{} : path.substr(dot + 1);
        if (here->is_array()) {
            const auto index = parseInteger(key);
            if (!index || *index < 0 || static_cast<std::size_t>(*index) >= here->size()) {
                return nullptr;
            }
            here = &(*here)[static_cast<std::size_t>(*index)];
        } else if (here->is_object()) {
            const auto found = here->find(key);
            if (found == here->end()) {
                return nullptr;
            }
            here = &*found;
        } else {
            return nullptr;
        }
    }
    return here;
}

} // namespace vxp
