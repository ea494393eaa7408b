// SPDX-License-Identifier: MIT
#include "body.h"

#include "text.h"

#include <filesystem>
#include <utility>

namespace vxp {

Body parseBody(const Arguments& arguments, std::string_view text) {
    if (text.empty() || text == "none") {
        return {};
    }
    if (text.front() == '@') {
        return {Body::Kind::file, arguments.resolve(std::string(text.substr(1)))};
    }
    constexpr std::string_view hexPrefix = "hex:";
    if (text.starts_with(hexPrefix)) {
        auto bytes = parseHex(text.substr(hexPrefix.size()));
        if (!bytes) {
            throw UsageError("hex: takes pairs of hexadecimal digits");
        }
        return {Body::Kind::text, std::move(*bytes)};
    }
    return {Body::Kind::text, std::string(text)};
}

Body parseFileOrBody(const Arguments& arguments, std::string_view text) {
    const bool literal = text.empty() || text == "none" || text.starts_with("hex:") ||
                         text.front() == '{' || text.front() == '[' || text.front() == '@';
    return parseBody(arguments, literal ? std::string(text) : "@" + std::string(text));
}

std::string loadBody(const std::string& samples, const Body& body) {
    namespace fs = std::filesystem;
    if (body.kind != Body::Kind::file) {
        return body.value;
    }
    std::error_code error;
    const fs::path sample = fs::path(samples) / fs::path(body.value).filename();
    // A file of the operator's own goes before the sample of that name.
    const bool own = fs::exists(body.value, error);
    return readFile(own || !fs::exists(sample, error) ? body.value : sample.string());
}

} // namespace vxp
