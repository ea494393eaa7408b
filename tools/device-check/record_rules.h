// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// What must hold in a record that a library has filled: texts end, counts are within capacity.
namespace device_check {

struct RecordRules;

struct TextRule {
    const char* name;
    std::size_t offset;
    std::size_t size;
};

struct ListRule {
    const char* name;
    std::size_t offset;
    std::size_t stride; ///< bytes of one entry
    std::int32_t capacity;
    const char* count_name;
    std::size_t count_offset;
    const RecordRules* entry;
};

struct RecordRules {
    std::span<const TextRule> texts;
    std::span<const ListRule> lists;
};

extern const RecordRules kAddress;
extern const RecordRules kStationList;
extern const RecordRules kWanDiagnosis;
extern const RecordRules kHostTable;
extern const RecordRules kDeviceInformation;
extern const RecordRules kLanHost;
extern const RecordRules kWan;
extern const RecordRules kWlanStatus;
extern const RecordRules kGuestNetwork;
extern const RecordRules kMacFilter;
extern const RecordRules kTimeSwitch;
extern const RecordRules kWifi;
extern const RecordRules kWifiTimer;

std::int32_t load_number(const char* place);

/// What is wrong with a filled record, or nothing.
std::optional<std::string> record_defect(const RecordRules& rules, const char* record);

/// "2 of 64 entries" for each list; empty without lists.
std::string describe_lists(const RecordRules& rules, const char* record);

/// Sets the counts of all lists to 0, wherever in the record they are.
void clear_counts(const RecordRules& rules, char* record);

} // namespace device_check
