// SPDX-License-Identifier: MIT
#include "schema.h"

#include "facts.h"
#include "records.h"

#include <dlfcn.h>
#include <functional>
#include <memory>
#include <vxquilan/records.h>

namespace vxdevice {
namespace {

using Problem = std::optional<std::string>;

struct Fact {
    const char* pointer;
    Kind kind;
};

constexpr Fact facts[] = {
#define TEXT(operation, pointer, size) {pointer, Kind::text},
#define NUMBER(operation, pointer, kind) {pointer, Kind::kind},
    VXDEVICE_TEXT_GETTERS(TEXT) VXDEVICE_NUMBER_GETTERS(NUMBER)
#undef TEXT
#undef NUMBER
        {"/settings/mode", Kind::number},
    {"/settings/first_guide", Kind::number},
    {"/app_platform/host", Kind::text},
    {"/app_platform/port", Kind::number},
    {"/platform_channel/ip", Kind::text},
    {"/platform_channel/key", Kind::text},
    {"/platform_channel/sequence", Kind::number},
    {"/platform_channel/start", Kind::flag},
    {"/registration/code", Kind::text},
    {"/wireless/dbho_enable", Kind::flag},
    {"/wireless/wps", Kind::flag},
    {"/wireless/settings_sent", Kind::number},
    {"/wireless/radios", Kind::list},
    {"/led_switch", Kind::flag},
    {"/boot/count", Kind::number},
    {"/boot/time", Kind::number},
    {"/upgrade/duration_ms", Kind::number},
};

struct Record {
    const char* pointer;
    const Layout& layout;
};

constexpr Record records[] = {
#define RECORD(operation, type, pointer, name) {pointer, layout::name},
    VXDEVICE_RECORD_GETTERS(RECORD)
#undef RECORD
        {"/device_information", layout::device_information},
    {"", layout::wifi_timers},
};

constexpr const char* objects[] = {
    "",          "/identity", "/credentials", "/settings", "/app_platform", "/platform_channel",
    "/wireless", "/factory",  "/faults",      "/boot",     "/upgrade",      "/registration"};

Problem objects_problem(const Json& root) {
    for (const char* pointer : objects) {
        if (const Json* value = find(root, pointer); value != nullptr && !value->is_object()) {
            return std::string(pointer) + ": must be an object";
        }
    }
    return std::nullopt;
}

Problem facts_problem(const Json& root) {
    for (const Fact& fact : facts) {
        const Json* value = find(root, fact.pointer);
        if (value == nullptr) {
            continue;
        }
        if (const auto problem = type_problem(fact.kind, *value)) {
            return std::string(fact.pointer) + ": " + *problem;
        }
    }
    return std::nullopt;
}

Problem records_problem(const Json& root) {
    for (const Record& record : records) {
        if (const Json* value = find(root, record.pointer)) {
            if (auto problem = layout_problem(record.layout, *value, record.pointer)) {
                return problem;
            }
        }
    }
    return std::nullopt;
}

Problem networks_problem(const Json& radio, const std::string& place) {
    const auto networks = radio.find("networks");
    if (networks == radio.end()) {
        return std::nullopt;
    }
    if (!networks->is_array()) {
        return place + "/networks: must be an array";
    }
    for (std::size_t i = 0; i < networks->size(); ++i) {
        const std::string here = place + "/networks/" + std::to_string(i);
        for (const Layout* view : {&layout::network, &layout::guest}) {
            if (auto problem = layout_problem(*view, (*networks)[i], here)) {
                return problem;
            }
        }
        const auto guest = (*networks)[i].find("guest");
        if (guest != (*networks)[i].end() && !guest->is_boolean()) {
            return here + "/guest: must be true or false";
        }
    }
    return std::nullopt;
}

Problem wireless_problem(const Json& root) {
    const Json& radios = array_at(root, "/wireless/radios");
    std::size_t networks = 0;
    for (std::size_t i = 0; i < radios.size(); ++i) {
        const std::string here = "/wireless/radios/" + std::to_string(i);
        if (auto problem = layout_problem(layout::radio, radios[i], here)) {
            return problem;
        }
        if (auto problem = networks_problem(radios[i], here)) {
            return problem;
        }
        networks += radios[i].contains("networks") ? radios[i]["networks"].size() : 0;
    }
    if (radios.size() > VX_WIFI_RADIO_CAPACITY || networks > VX_WLAN_NETWORK_CAPACITY) {
        return "/wireless/radios: at most " + std::to_string(VX_WIFI_RADIO_CAPACITY) +
               " radios and " + std::to_string(VX_WLAN_NETWORK_CAPACITY) + " networks fit";
    }
    return std::nullopt;
}

Problem key_problem(const Json& root) {
    const Json* key = find(root, "/platform_channel/key");
    if (key == nullptr) {
        return std::nullopt;
    }
    const auto& text = key->get_ref<const std::string&>();
    if (text.size() % 2 != 0 || text.size() > 256 ||
        text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return "/platform_channel/key: must be pairs of hexadecimal digits, at most 128";
    }
    return std::nullopt;
}

/// Whether this library, and no other that happens to be loaded, has the operation.
bool is_operation(const std::string& name) {
    if (name.rfind("port_", 0) != 0 && name.rfind("vx_device_", 0) != 0) {
        return false;
    }
    static const int anchor = 0;
    Dl_info self{};
    if (dladdr(&anchor, &self) == 0) {
        return true;
    }
    const std::unique_ptr<void, int (*)(void*)> library(
        dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD), dlclose);
    return library == nullptr || dlsym(library.get(), name.c_str()) != nullptr;
}

Problem faults_problem(const Json& root) {
    const Json* faults = find(root, "/faults");
    if (faults == nullptr) {
        return std::nullopt;
    }
    for (const auto& [operation, code] : faults->items()) {
        if (!is_operation(operation)) {
            return "/faults/" + operation + ": no such operation";
        }
        if (const auto problem = type_problem(Kind::number, code)) {
            return "/faults/" + operation + ": " + *problem;
        }
    }
    return std::nullopt;
}

Problem delay_problem(const Json& root) {
    const Json* delay = find(root, "/registration/delay");
    if (delay != nullptr && !(delay->is_number() && *delay >= 0 && *delay <= 86400)) {
        return "/registration/delay: must be a number of seconds from 0 to 86400";
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> state_problem(const Json& root) {
    for (const auto& check : {objects_problem, facts_problem, records_problem, wireless_problem,
                              key_problem, faults_problem, delay_problem}) {
        if (auto problem = check(root)) {
            return problem;
        }
    }
    return std::nullopt;
}

} // namespace vxdevice
