// SPDX-License-Identifier: MIT
// A settings body, read by each of the daemon's parsers and by a plain model: result, path and
// record must be the same.
#include <cstring>

#include "appjsonapi/app_guest_network.h"
#include "appjsonapi/app_qos_host.h"
#include "appjsonapi/app_time_switch.h"
#include "appjsonapi/app_wlan_basic.h"
#include "appjsonapi/app_wlan_filter.h"
#include "appjsonapi/app_wlan_guide.h"
#include "fuzz/harness.h"
#include "fuzz/settings_reading.h"

namespace {

void compare(const char* name, int result, const ParameterPath& path,
             const fuzz::Reading& expected) {
    const std::string who = std::string(name) + ": ";
    fuzz::require(result == expected.result, who + "result " + std::to_string(result) + ", not " +
                                                 std::to_string(expected.result));
    fuzz::require(path == expected.path, who + "path " + path + ", not " + expected.path);
}

template <class Record>
void compare(const char* name, int (*parse)(const RequestBody&, Record&, ParameterPath&),
             const RequestBody& body, const fuzz::Reading& expected) {
    Record record{};
    ParameterPath path{};
    const int result = parse(body, record, path);
    compare(name, result, path, expected);
    const auto& bytes = expected.record.bytes();
    fuzz::require(bytes.size() == sizeof record, std::string(name) + ": another record");
    // What a refused body has left in the record is nobody's business.
    fuzz::require(result != 0 || std::memcmp(&record, bytes.data(), sizeof record) == 0,
                  std::string(name) + ": other bytes");
}

} // namespace

void fuzz::run(Input input) {
    const World world;
    const std::string text = input.rest();
    const Body value = parse_value(text);
    const RequestBody body{text.data(), text.size()};

    ParameterPath path{};
    const int action = app_sys_gateway_system_wlanbasic_action(body, path);
    compare("action", action, path, read_action(value));
    compare("radio switch", app_sys_gateway_system_wlanbasic_parse, body, read_radio_switch(value));
    compare("SSIDs", app_sys_gateway_system_ssidsetting_parse, body, read_ssid_settings(value));
    compare("guide", app_sys_gateway_ntwk_wlanguidebasic_parse, body, read_guide(value));
    compare("guest", app_sys_gateway_ntwk_guest_network_parse, body, read_guest_network(value));
    compare("filter", app_sys_gateway_ntwk_wlanfilterenhance_parse, body, read_mac_filter(value));
    compare("schedule", app_sys_gateway_ntwk_wlantimeswitch_parse, body, read_time_switch(value));
    compare("rates", app_sys_gateway_app_qosclasshost_parse, body, read_qos_host(value));
}
