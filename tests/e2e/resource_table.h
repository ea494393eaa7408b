// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

/** @file What the gateway serves, and how its settings are refused, as the platform knows it. */
namespace e2e {

/** One method of one resource, and the platform's command for it. */
struct ServedRequest {
    const char* command;
    const char* method;
    const char* path;
};

/** All of them; the ones that end the session or the settings come last. */
std::span<const ServedRequest> served_requests();

/** The paths of the resources, each once. */
std::vector<std::string> served_paths();

/** One settings request that the sample gateway takes. */
struct SettingsRequest {
    const char* name;
    const char* path;
    const char* setter;     ///< the device library's operation
    const char* object;     ///< the "ID" when the setter has failed
    const char* unreadable; ///< the "ID" when there is no body, or it is no JSON
    const char* senseless;  ///< the "ID" when the body is another document than expected
    const char* body;
};

std::span<const SettingsRequest> settings_requests();

/** The request with that name. */
const SettingsRequest& settings_request(const std::string& name);

/** The platform's command for a POST. */
inline std::string post(const std::string& path, const std::string& body) {
    return "post " + path + " " + body;
}

/** The whole text of an answer to a settings request, refused or not. */
std::string refusal(int errcode, const std::string& id);
inline constexpr char kSuccess[] = "{\n\t\"errcode\":\t0\n}";

} // namespace e2e
