// SPDX-License-Identifier: MIT
// Wireless networks, guest networks, MAC filters, schedules and rate limits: the app channel's
// view.

#include "wireless.h"

#include "export.h"
#include "operation.h"
#include "records.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace vxdevice {
namespace {

constexpr std::size_t kLongestSsid = 32;
constexpr std::size_t kShortestKey = 8;

bool is_guest(const Json& network) {
    return network.value("guest", false);
}

bool needs_key(const Json& network) {
    const std::string security = network.value("beacon_type", "");
    return security == "WPA" || security == "11i" || security == "WPAand11i";
}

bool count_fits(std::int32_t count, std::size_t capacity) {
    return count >= 0 && static_cast<std::size_t>(count) <= capacity;
}

std::string text_member(const Json& network, const char* name) {
    return network.is_object() ? network.value(name, "") : "";
}

template <std::size_t size>
std::string text_of(const char (&array)[size]) {
    return get_text(array, size);
}

/// Equal texts clash; absent ones don't.
bool same(const std::string& a, const std::string& b) {
    return !a.empty() && a == b;
}

/// Applies an entry to a network when the outcome can be run.
template <class Entry>
int update(Json* network, const Layout& layout, const Entry& entry) {
    if (network == nullptr) {
        return kNotFound;
    }
    merge(layout, &entry, *network);
    return acceptable(*network) ? kDone : kBadValue;
}

/// Names and keys as they would be after a guide request.
struct GuideOutcome {
    std::string ssid_2g, ssid_5g, ssid_guest_2g, ssid_guest_5g;
    std::string key_guest_2g, key_guest_5g;
    std::string new_key_2g, new_key_5g; ///< empty unless the request has them
};

GuideOutcome outcome_of(const Json& state, const vx_guide& guide) {
    const Json guest_2g = network_copy(state, VX_BAND_2G, true);
    const Json guest_5g = network_copy(state, VX_BAND_5G, true);
    GuideOutcome outcome;
    outcome.ssid_2g = text_member(network_copy(state, VX_BAND_2G, false), "wifi_ssid");
    outcome.ssid_5g = text_member(network_copy(state, VX_BAND_5G, false), "wifi_ssid");
    outcome.ssid_guest_2g = text_member(guest_2g, "wifi_ssid");
    outcome.ssid_guest_5g = text_member(guest_5g, "wifi_ssid");
    outcome.key_guest_2g = text_member(guest_2g, "wpa_pre_shared_key");
    outcome.key_guest_5g = text_member(guest_5g, "wpa_pre_shared_key");
    for (std::int32_t i = 0; i < guide.count; ++i) {
        const vx_guide_entry& entry = guide.entries[i];
        if (entry.band == VX_BAND_2G) {
            outcome.ssid_2g = text_of(entry.ssid);
            outcome.new_key_2g = text_of(entry.wpa_key);
        } else if (entry.band == VX_BAND_5G) {
            outcome.ssid_5g = text_of(entry.ssid);
            outcome.new_key_5g = text_of(entry.wpa_key);
        } else if (entry.band == VX_BAND_2G_GUEST && guide.set_guest_ssid != 0) {
            outcome.ssid_guest_2g = text_of(entry.ssid);
        }
    }
    return outcome;
}

/// The clash code of a guide request; 0 for none.
int guide_clash(const GuideOutcome& o, bool band_steering) {
    const auto is_a_guests_name = [&](const std::string& ssid) {
        return same(ssid, o.ssid_guest_2g) || same(ssid, o.ssid_guest_5g);
    };
    const auto is_a_new_key = [&](const std::string& key) {
        return same(key, o.new_key_2g) || same(key, o.new_key_5g);
    };
    if (is_a_guests_name(o.ssid_2g)) {
        return 1;
    }
    if (is_a_guests_name(o.ssid_5g)) {
        return 2;
    }
    if (is_a_new_key(o.key_guest_2g)) {
        return 3;
    }
    if (is_a_new_key(o.key_guest_5g)) {
        return 4;
    }
    // With band steering one name for both bands is what is wanted.
    return !band_steering && same(o.ssid_2g, o.ssid_5g) ? 5 : 0;
}

/// The clash code of a guest request; 0 for none.
int guest_clash(const Json& state, const vx_guest_network& guests) {
    struct Rule {
        int code;
        std::int32_t band;
        const char* member;
        bool compares_keys;
    };
    constexpr Rule rules[] = {
        {1, VX_BAND_2G, "wifi_ssid", false},
        {2, VX_BAND_5G, "wifi_ssid", false},
        {3, VX_BAND_2G, "wpa_pre_shared_key", true},
        {4, VX_BAND_5G, "wpa_pre_shared_key", true},
    };
    for (const Rule& rule : rules) {
        const std::string taken = text_member(network_copy(state, rule.band, false), rule.member);
        for (std::int32_t i = 0; i < guests.count; ++i) {
            const vx_guest_entry& entry = guests.entries[i];
            if (same(taken, rule.compares_keys ? text_of(entry.wpa_pre_shared_key)
                                               : text_of(entry.wifi_ssid))) {
                return rule.code;
            }
        }
    }
    return 0;
}

int apply_guide_entry(Json& state, const vx_guide& guide, const vx_guide_entry& entry) {
    if (entry.band == VX_BAND_2G_GUEST) {
        return guide.set_guest_ssid == 0
                   ? kDone
                   : update(find_network(state, VX_BAND_2G, true), layout::guide_guest, entry);
    }
    return update(find_network(state, entry.band, false), layout::guide_update, entry);
}

/// The network of a band that an SSID request names by its number.
Json* find_by_index(Json& state, const vx_ssid_entry& entry) {
    Json* radio = find_radio(state, entry.band);
    if (radio == nullptr) {
        return nullptr;
    }
    for (Json& network : networks_of(*radio)) {
        if (std::to_string(network.value("wifi_ssid_index", 0)) == text_of(entry.id)) {
            return &network;
        }
    }
    return nullptr;
}

Json& array_member(Json& object, const char* name) {
    Json& member = object[name];
    if (!member.is_array()) {
        member = Json::array();
    }
    return member;
}

/// The entry of an array whose member has this value, or its end.
template <class Value>
Json::iterator find_entry(Json& array, const char* name, Value value) {
    return std::find_if(array.begin(), array.end(),
                        [&](const Json& entry) { return entry.value(name, Value()) == value; });
}

int put_mac_filter(Json& state, const vx_mac_filter_band& filter) {
    if (!count_fits(filter.filter_count, VX_MAC_FILTER_CAPACITY) ||
        (filter.band != VX_BAND_2G && filter.band != VX_BAND_5G)) {
        return kBadValue;
    }
    Json entry = Json::object();
    merge(layout::mac_filter_band, &filter, entry);
    Json named = Json::array(); // an entry without an address filters nothing
    for (const Json& item : entry["filters"]) {
        if (!item.value("mac_address", "").empty()) {
            named.push_back(item);
        }
    }
    entry["filters"] = std::move(named);
    Json& filters = array_member(state, "mac_filter");
    const auto present = find_entry(filters, "band", filter.band);
    if (present == filters.end()) {
        filters.push_back(std::move(entry));
    } else {
        present->update(entry);
    }
    return kDone;
}

int put_schedule(Json& state, const vx_time_switch_entry& entry) {
    Json& schedules = array_member(state, "schedules");
    const auto present = find_entry(schedules, "id", entry.id);
    if (text_of(entry.action).rfind("del", 0) == 0) {
        if (present == schedules.end()) {
            return kNotFound;
        }
        schedules.erase(present);
        return kDone;
    }
    Json schedule = Json::object();
    merge(layout::schedule, &entry, schedule);
    if (present != schedules.end()) {
        present->update(schedule);
        return kDone;
    }
    if (schedules.size() >= VX_TIME_SWITCH_CAPACITY) {
        return kFull;
    }
    schedules.push_back(std::move(schedule));
    return kDone;
}

} // namespace

std::int32_t band_of(const Json& radio) {
    return radio.value("frequency_band", "") == "2.4GHz" ? VX_BAND_2G : VX_BAND_5G;
}

Json* find_radio(Json& state, std::int32_t band) {
    for (Json& radio : array_member(state["wireless"], "radios")) {
        if (band_of(radio) == band) {
            return &radio;
        }
    }
    return nullptr;
}

Json& networks_of(Json& radio) {
    return array_member(radio, "networks");
}

Json* find_network(Json& state, std::int32_t band, bool guest) {
    Json* radio = find_radio(state, band);
    if (radio == nullptr) {
        return nullptr;
    }
    Json& networks = networks_of(*radio);
    const auto network = std::find_if(networks.begin(), networks.end(),
                                      [&](const Json& n) { return is_guest(n) == guest; });
    return network == networks.end() ? nullptr : &*network;
}

Json network_copy(const Json& state, std::int32_t band, bool guest) {
    Json found;
    for_each_network(state, [&](const Json& radio, const Json& network) {
        if (found.is_null() && band_of(radio) == band && is_guest(network) == guest) {
            found = network;
        }
    });
    return found;
}

void for_each_network(const Json& state,
                      const std::function<void(const Json&, const Json&)>& visit) {
    for (const Json& radio : array_at(state, "/wireless/radios")) {
        for (const Json& network : array_at(radio, "/networks")) {
            visit(radio, network);
        }
    }
}

bool acceptable(const Json& network) {
    const std::string ssid = text_member(network, "wifi_ssid");
    return !ssid.empty() && ssid.size() <= kLongestSsid &&
           (!needs_key(network) ||
            text_member(network, "wpa_pre_shared_key").size() >= kShortestKey);
}

} // namespace vxdevice

using namespace vxdevice;

int vx_device_wlanbasic(struct vx_wlan_status* record) {
    return look(__func__, [&](const Json& state) {
        record->dbho_enable = is_on(find(state, "/wireless/dbho_enable")) ? 1 : 0;
        record->count = 0;
        for_each_network(state, [&](const Json& radio, const Json& network) {
            vx_wlan_network& entry = record->entries[record->count++];
            fill(layout::radio, radio, &entry);
            fill(layout::network, network, &entry);
        });
        return kDone;
    });
}

int vx_device_sendsetting(const struct vx_wlan_status* record) {
    return act(__func__, {{"count", record->count}}, [](Json& state) {
        Json& sent = state["wireless"]["settings_sent"];
        sent = sent.is_null() ? 1 : sent.get<int>() + 1;
        complain("wireless settings sent again");
        return kDone;
    });
}

int vx_device_wlanbasic_set(const struct vx_radio_switch* record) {
    return act(__func__, describe(layout::radio_switch, record), [&](Json& state) {
        if (!count_fits(record->count, VX_RADIO_ENTRY_CAPACITY)) {
            return kBadValue;
        }
        for (std::int32_t i = 0; i < record->count; ++i) {
            Json* radio = find_radio(state, record->entries[i].band);
            if (radio == nullptr) {
                return kNotFound;
            }
            (*radio)["wifi_enable"] = record->entries[i].enable != 0;
        }
        return kDone;
    });
}

int vx_device_ssidsetting(const struct vx_ssid_settings* record) {
    return act(__func__, describe(layout::ssid_settings, record), [&](Json& state) {
        if (!count_fits(record->count, VX_SSID_ENTRY_CAPACITY)) {
            return kBadValue;
        }
        state["wireless"]["dbho_enable"] = record->dbho_enable != 0;
        int result = kDone;
        for (std::int32_t i = 0; i < record->count && result == kDone; ++i) {
            const vx_ssid_entry& entry = record->entries[i];
            result = update(find_by_index(state, entry), layout::ssid_update, entry);
        }
        return result;
    });
}

int vx_device_wifi_check(const struct vx_guide* record) {
    return look(__func__, [&](const Json& state) {
        return count_fits(record->count, VX_GUIDE_ENTRY_CAPACITY)
                   ? guide_clash(outcome_of(state, *record), record->entries[0].dbho_enable != 0)
                   : kBadValue;
    });
}

int vx_device_wlanguidebasic(const struct vx_guide* record) {
    return act(__func__, describe(layout::guide, record), [&](Json& state) {
        if (!count_fits(record->count, VX_GUIDE_ENTRY_CAPACITY)) {
            return kBadValue;
        }
        state["wireless"]["dbho_enable"] = record->entries[0].dbho_enable != 0;
        state["device_information"]["guide"] = record->entries[0].guide != 0;
        int result = kDone;
        for (std::int32_t i = 0; i < record->count && result == kDone; ++i) {
            result = apply_guide_entry(state, *record, record->entries[i]);
        }
        return result;
    });
}

int vx_device_guest_network_get(struct vx_guest_network* record) {
    return look(__func__, [&](const Json& state) {
        record->count = 0;
        for_each_network(state, [&](const Json& radio, const Json& network) {
            if (is_guest(network) && record->count < VX_GUEST_ENTRY_CAPACITY) {
                vx_guest_entry& entry = record->entries[record->count++];
                fill(layout::guest, network, &entry);
                entry.band = band_of(radio);
            }
        });
        return kDone;
    });
}

int vx_device_guest_check(const struct vx_guest_network* record) {
    return look(__func__, [&](const Json& state) {
        return count_fits(record->count, VX_GUEST_ENTRY_CAPACITY) ? guest_clash(state, *record)
                                                                  : kBadValue;
    });
}

int vx_device_guest_network_set(const struct vx_guest_network* record) {
    return act(__func__, describe(layout::guest_network, record), [&](Json& state) {
        if (!count_fits(record->count, VX_GUEST_ENTRY_CAPACITY)) {
            return kBadValue;
        }
        int result = kDone;
        for (std::int32_t i = 0; i < record->count && result == kDone; ++i) {
            const vx_guest_entry& entry = record->entries[i];
            result = update(find_network(state, entry.band, true), layout::guest_update, entry);
        }
        return result;
    });
}

int vx_device_wlanfilterenhance_set(const struct vx_mac_filter* record) {
    return act(__func__, describe(layout::mac_filter, record), [&](Json& state) {
        if (!count_fits(record->count, VX_MAC_FILTER_BAND_CAPACITY)) {
            return kBadValue;
        }
        int result = kDone;
        for (std::int32_t i = 0; i < record->count && result == kDone; ++i) {
            result = put_mac_filter(state, record->entries[i]);
        }
        return result;
    });
}

int vx_device_wlantimeswitch_set(const struct vx_time_switch_entry* entry) {
    Json arguments = {{"action", text_of(entry->action)}};
    arguments.update(describe(layout::schedule, entry));
    return act(__func__, arguments, [&](Json& state) { return put_schedule(state, *entry); });
}

int vx_device_qosclasshost(const struct vx_qos_host* record) {
    return act(__func__, describe(layout::qos_host, record), [&](Json& state) {
        const std::string address = text_of(record->mac_address);
        for (Json& host : array_member(state, "hosts")) {
            if (strcasecmp(host.value("mac_address", "").c_str(), address.c_str()) == 0) {
                merge(layout::qos_update, record, host);
                return kDone;
            }
        }
        return kNotFound;
    });
}
