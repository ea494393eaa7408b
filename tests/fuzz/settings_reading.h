// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "fuzz/json_value.h"
#include "support/record_bytes.h"

/**
 * @file
 * What the settings requests mean, written down plainly a second time: member by member, without
 * the daemon's tables and headers.
 */
namespace fuzz {

/** What reading a body came to. */
struct Reading {
    int result = 0;
    std::string path;
    RecordBytes record; ///< of a success
};

using Body = std::optional<Value>; ///< nothing for a body that is no JSON

Reading read_action(const Body& body);
Reading read_radio_switch(const Body& body);
Reading read_ssid_settings(const Body& body);
Reading read_guide(const Body& body);
Reading read_guest_network(const Body& body);
Reading read_mac_filter(const Body& body);
Reading read_time_switch(const Body& body);
Reading read_qos_host(const Body& body);

} // namespace fuzz
