// SPDX-License-Identifier: MIT
#pragma once

#include "layout.h"

/// How the records of the interface go with the state file. Where nothing else is said, a JSON
/// member has the name of the record's member.
namespace vxdevice::layout {

// Records that the state file holds as they are. The lists are members of the file's root.
extern const Layout stations;
extern const Layout wan_diagnosis;
extern const Layout hosts;
extern const Layout device_information;
extern const Layout lan_host;
extern const Layout wan;
extern const Layout mac_filter;
extern const Layout mac_filter_band;
extern const Layout schedules;
extern const Layout schedule;
extern const Layout wifi_timers;

// The wireless networks, held once in the file and seen through several records.
extern const Layout radio;        ///< vx_wlan_network: what all networks of a radio share
extern const Layout network;      ///< vx_wlan_network: what each has for itself
extern const Layout guest;        ///< vx_guest_entry: a guest network, read
extern const Layout guest_update; ///< vx_guest_entry: a guest network, changed
extern const Layout ssid_update;  ///< vx_ssid_entry: a network changed by SSID settings
extern const Layout guide_update; ///< vx_guide_entry: a network changed by the guide
extern const Layout guide_guest;  ///< vx_guide_entry: the guest network changed by the guide
extern const Layout wifi_ap_ssid; ///< wifi_ap: what it has in common with a network
extern const Layout qos_update;   ///< vx_qos_host: a host's limits

// Requests, for the journal.
extern const Layout radio_switch;
extern const Layout ssid_settings;
extern const Layout guide;
extern const Layout guest_network;
extern const Layout qos_host;
extern const Layout wifi;
extern const Layout wifitimer;
extern const Layout upgrade;

} // namespace vxdevice::layout
