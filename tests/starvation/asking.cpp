// SPDX-License-Identifier: MIT
#include "asking.h"

#include <cctype>

#include "e2e/resource_table.h"

namespace starvation {

namespace {

std::string identifier(std::string text) {
    std::erase_if(text, [](unsigned char character) { return std::isalnum(character) == 0; });
    return text;
}

transport::Message message(std::uint8_t code, const char* path, const char* body = "") {
    return transport::request(code, path,
                              {{transport::kEcho1, "one"}, {transport::kEcho3, "three"}}, body);
}

} // namespace

void PrintTo(const PlatformRequest& request, std::ostream* out) {
    *out << request.name;
}

std::vector<PlatformRequest> table_requests() {
    std::vector<PlatformRequest> requests;
    for (const e2e::ServedRequest& served : e2e::served_requests()) {
        const bool get = std::string(served.method) == "get";
        requests.push_back({identifier(served.command),
                            message(get ? transport::kGet : transport::kPost, served.path)});
    }
    return requests;
}

std::vector<PlatformRequest> settings_requests() {
    std::vector<PlatformRequest> requests;
    for (const e2e::SettingsRequest& settings : e2e::settings_requests())
        requests.push_back({identifier(settings.name) + "WithBody",
                            message(transport::kPost, settings.path, settings.body)});
    return requests;
}

std::string describe(const std::vector<transport::Message>& messages) {
    std::string text;
    for (const transport::Message& each : messages) {
        text += std::to_string(each.code);
        for (const transport::Option& option : each.options)
            text += ' ' + std::to_string(option.number) + '=' + option.value;
        text += '\n' + each.body + '\n';
    }
    return text;
}

} // namespace starvation
