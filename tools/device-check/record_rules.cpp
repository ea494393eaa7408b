// SPDX-License-Identifier: MIT
#include "record_rules.h"

#include "operations.h"

#include <vxquilan/records.h>

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace device_check {
namespace {

#define TEXT_OF(record, member)                                                                    \
    { #member, offsetof(record, member), sizeof(record::member) }
#define LIST_OF(record, member, count, capacity, rules)                                            \
    {                                                                                              \
#member, offsetof(record, member), sizeof(record::member) / (capacity), capacity, #count,  \
            offsetof(record, count), &(rules)                                                      \
    }

#define T(member) TEXT_OF(Address, member)
constexpr TextRule kAddressTexts[] = {T(host)};
#undef T

#define T(member) TEXT_OF(vx_station, member)
constexpr TextRule kStationTexts[] = {T(mac), T(name), T(time)};
#undef T

#define T(member) TEXT_OF(vx_wan_diagnosis, member)
constexpr TextRule kWanDiagnosisTexts[] = {
    T(status_code), T(status), T(result), T(external_ip_address), T(mac_address),
};
#undef T

#define T(member) TEXT_OF(vx_host, member)
constexpr TextRule kHostTexts[] = {
    T(access_record),  T(qosclass_id),   T(host_name), T(id),          T(layer2_interface),
    T(actual_name),    T(ip_address),    T(domain),    T(mac_address), T(policer_id),
    T(address_source), T(mac_filter_id), T(icon_type), T(dev_brands),
};
#undef T

#define T(member) TEXT_OF(vx_device_information, member)
constexpr TextRule kDeviceInformationTexts[] = {
    T(device_name),      T(serial_number),      T(manufacturer_oui), T(software_version),
    T(hardware_version), T(friendly_name),      T(modem_s_version),  T(modem_h_version),
    T(manufacturer),     T(bootloader_version), T(firmware_version), T(chip_model),
    T(release_date),
};
#undef T

#define T(member) TEXT_OF(vx_lan_host, member)
constexpr TextRule kLanHostTexts[] = {
    T(first_mac), T(dev_name), T(id), T(first_ip), T(mac_address), T(domain_name),
};
#undef T

#define T(member) TEXT_OF(vx_wan, member)
constexpr TextRule kWanTexts[] = {
    T(id),
    T(username),
    T(password),
    T(access_type),
    T(access_status),
    T(connection_type),
    T(connection_status),
    T(ipv4_dns_servers),
    T(ipv4_addr),
    T(ppp_trigger),
    T(service_list),
    T(lower_layer),
    T(ipv4_addr_type),
    T(ipv4_mask),
    T(dial_num),
    T(mac_colone),
    T(ipv4_gateway),
    T(alias),
    T(name),
    T(pppoe_service_name),
    T(ppp_auth_mode),
    T(ppp_dial_ip_mode),
    T(ppp_dial_ip_addr),
    T(wan_type),
    T(pppoe_ac_name),
};
#undef T

#define T(member) TEXT_OF(vx_wlan_network, member)
constexpr TextRule kWlanNetworkTexts[] = {
    T(wpa_pre_shared_key), T(x_wlan11n_ht_mcs),  T(beacon_type),          T(wpa_encryption_mode),
    T(wlan_standard),      T(frequency_band),    T(x_wlan11n_bw_control), T(basic_auth_mode),
    T(wifi_ssid),          T(wifi_ssid_factory), T(x_wlan11n_gi_control), T(max_bit_rate),
};
#undef T

#define T(member) TEXT_OF(vx_guest_entry, member)
constexpr TextRule kGuestTexts[] = {T(sec_opt), T(wifi_ssid), T(wpa_pre_shared_key), T(id)};
#undef T

#define T(member) TEXT_OF(vx_mac_filter_entry, member)
constexpr TextRule kFilterTexts[] = {T(mac_address), T(host_name)};
#undef T

#define T(member) TEXT_OF(vx_mac_filter_band, member)
constexpr TextRule kFilterBandTexts[] = {T(id)};
#undef T

#define T(member) TEXT_OF(vx_time_switch_entry, member)
constexpr TextRule kTimeSwitchTexts[] = {T(action), T(end_time), T(start_time), T(repeat_day)};
#undef T

#define T(member) TEXT_OF(wifi_ap, member)
constexpr TextRule kAccessPointTexts[] = {T(ssid), T(key)};
#undef T

#define T(member) TEXT_OF(wifitimer_entry, member)
constexpr TextRule kTimerTexts[] = {T(weekday), T(time)};
#undef T

constexpr RecordRules kStation{kStationTexts, {}};
constexpr RecordRules kHost{kHostTexts, {}};
constexpr RecordRules kWlanNetwork{kWlanNetworkTexts, {}};
constexpr RecordRules kGuest{kGuestTexts, {}};
constexpr RecordRules kFilter{kFilterTexts, {}};
constexpr RecordRules kTimeSwitchEntry{kTimeSwitchTexts, {}};
constexpr RecordRules kAccessPoint{kAccessPointTexts, {}};
constexpr RecordRules kTimer{kTimerTexts, {}};

constexpr ListRule kFilters[] = {
    LIST_OF(vx_mac_filter_band, filters, filter_count, VX_MAC_FILTER_CAPACITY, kFilter)};
constexpr RecordRules kFilterBand{kFilterBandTexts, kFilters};

constexpr ListRule kAccessPoints[] = {
    LIST_OF(wifi_radio, ap, ap_num, VX_WIFI_AP_CAPACITY, kAccessPoint)};
constexpr RecordRules kRadio{{}, kAccessPoints};

constexpr ListRule kStations[] = {
    LIST_OF(vx_station_list, entries, count, VX_STATION_CAPACITY, kStation)};
constexpr ListRule kHosts[] = {LIST_OF(vx_host_table, entries, count, VX_HOST_CAPACITY, kHost)};
constexpr ListRule kWlanNetworks[] = {
    LIST_OF(vx_wlan_status, entries, count, VX_WLAN_NETWORK_CAPACITY, kWlanNetwork)};
constexpr ListRule kGuests[] = {
    LIST_OF(vx_guest_network, entries, count, VX_GUEST_ENTRY_CAPACITY, kGuest)};
constexpr ListRule kFilterBands[] = {
    LIST_OF(vx_mac_filter, entries, count, VX_MAC_FILTER_BAND_CAPACITY, kFilterBand)};
constexpr ListRule kTimeSwitches[] = {
    LIST_OF(vx_time_switch, entries, count, VX_TIME_SWITCH_CAPACITY, kTimeSwitchEntry)};
constexpr ListRule kRadios[] = {
    LIST_OF(wifi_cfg, radio, radio_num, VX_WIFI_RADIO_CAPACITY, kRadio)};
constexpr ListRule kTimers[] = {
    LIST_OF(wifitimer_cfg, timer, timer_num, VX_WIFI_TIMER_CAPACITY, kTimer)};

/// Entries that the count names, as far as there is room for them.
std::size_t valid_entries(const ListRule& list, const char* record) {
    const std::int32_t count = load_number(record + list.count_offset);
    return static_cast<std::size_t>(std::clamp(count, 0, list.capacity));
}

std::optional<std::string> defect_below(const RecordRules& rules, const char* record,
                                        const std::string& place);

std::optional<std::string> list_defect(const ListRule& list, const char* record,
                                       const std::string& place) {
    const std::int32_t count = load_number(record + list.count_offset);
    if (count < 0 || count > list.capacity)
        return fmt::format("{}{} is {}, beyond the capacity of {}", place, list.count_name, count,
                           list.capacity);
    for (std::size_t i = 0; i < valid_entries(list, record); ++i) {
        if (auto defect = defect_below(*list.entry, record + list.offset + i * list.stride,
                                       fmt::format("{}{}[{}].", place, list.name, i)))
            return defect;
    }
    return std::nullopt;
}

std::optional<std::string> defect_below(const RecordRules& rules, const char* record,
                                        const std::string& place) {
    for (const TextRule& text : rules.texts) {
        if (std::memchr(record + text.offset, '\0', text.size) == nullptr)
            return fmt::format("{}{} has no NUL in its {} bytes", place, text.name, text.size);
    }
    for (const ListRule& list : rules.lists) {
        if (auto defect = list_defect(list, record, place))
            return defect;
    }
    return std::nullopt;
}

} // namespace

const RecordRules kAddress{kAddressTexts, {}};
const RecordRules kStationList{{}, kStations};
const RecordRules kWanDiagnosis{kWanDiagnosisTexts, {}};
const RecordRules kHostTable{{}, kHosts};
const RecordRules kDeviceInformation{kDeviceInformationTexts, {}};
const RecordRules kLanHost{kLanHostTexts, {}};
const RecordRules kWan{kWanTexts, {}};
const RecordRules kWlanStatus{{}, kWlanNetworks};
const RecordRules kGuestNetwork{{}, kGuests};
const RecordRules kMacFilter{{}, kFilterBands};
const RecordRules kTimeSwitch{{}, kTimeSwitches};
const RecordRules kWifi{{}, kRadios};
const RecordRules kWifiTimer{{}, kTimers};

std::int32_t load_number(const char* place) {
    std::int32_t number = 0;
    std::memcpy(&number, place, sizeof number);
    return number;
}

std::optional<std::string> record_defect(const RecordRules& rules, const char* record) {
    return defect_below(rules, record, "");
}

std::string describe_lists(const RecordRules& rules, const char* record) {
    std::string text;
    for (const ListRule& list : rules.lists)
        text +=
            fmt::format("{} of {} entries", load_number(record + list.count_offset), list.capacity);
    return text;
}

void clear_counts(const RecordRules& rules, char* record) {
    for (const ListRule& list : rules.lists) {
        std::memset(record + list.count_offset, 0, sizeof(std::int32_t));
        for (std::int32_t i = 0; i < list.capacity; ++i)
            clear_counts(*list.entry,
                         record + list.offset + static_cast<std::size_t>(i) * list.stride);
    }
}

} // namespace device_check
