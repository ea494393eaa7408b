// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "unit_resources/gateway_fixture.h"

/** How a member of a body is stored, as the tests see it. */
enum class Stored {
    text,    ///< cut to fit
    percent, ///< as a text, but a doubled percent sign is one
    decimal, ///< a number, as text
    number,
    rate, ///< a text that is read as a number
    flag, ///< the code of the member's type
};

/** One member of a settings body and what becomes of it. */
struct BodyMember {
    std::string pointer; ///< JSON pointer into the body
    Stored stored;
    std::size_t offset;
    std::size_t size; ///< of a text's array
    std::string path; ///< the "ID" of the answer when it is missing, or cannot be taken
    bool optional = false;
    /** Other members depend on its value, so it is only taken away, not varied. */
    bool steers = false;
};

/** A settings resource with one full body and the bytes that it must become. */
struct SettingsModel {
    const char* name;
    coap_method_handler_t handler;
    const char* announcement; ///< the first line of its log
    const char* parser;       ///< how its failures are logged
    const char* check;        ///< operation that checks first, or null
    const char* setter;
    std::string refused_path; ///< the "ID" when the setter refuses
    std::string unreadable_path;
    const char* unreadable_parser; ///< how a body that is no JSON is logged
    nlohmann::json body;
    RecordBytes record;
    std::vector<BodyMember> members;
};

/** A model that has a name is printed by it. */
void PrintTo(const SettingsModel& model, std::ostream* stream);

/** All settings resources; those that take bodies of several kinds are there once for each. */
const std::vector<SettingsModel>& settings_models();

class SettingsTest : public GatewayTest {
protected:
    /** The body is taken and the setter is given exactly these bytes, before the answer. */
    void expect_applied(const SettingsModel& model, const nlohmann::json& body,
                        const RecordBytes& record);
    /** The body fails with -1 and this "ID"; the device library is not called. */
    void expect_refused(const SettingsModel& model, const nlohmann::json& body,
                        const std::string& path);
    static const SettingsModel& model(const std::string& name);
};
