// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "appjsonapi/record_place.h"
#include "appjsonapi/request_body.h"

/**
 * @file
 * Bodies of settings requests as records of the device library. A body is a constexpr table of its
 * members in the order in which they are read; one reader walks all tables.
 *
 * Each row also says how a failure on it is reported: by the path of its object and the row's own
 * part of it. The platform matches these paths as they are, so several rows name another member.
 *
 * Keys are matched without regard to case, and members that no row names are ignored.
 */
namespace vxq {

/** How a member's value gets into the record. */
enum class SettingKind : std::uint8_t {
    text,         ///< a text, cut to fit
    percent_text, ///< the same, with doubled percent signs made single
    number,       ///< an integer; 0 when the member is no number
    decimal,      ///< an integer, as decimal text
    text_number,  ///< a text that starts with a decimal integer; 0 when it does not
    flag,         ///< the member's type code, whatever its type
    object,       ///< an object with more members of the same record
    network,      ///< an object that fills the next entry of a list, which is marked with a band
    list,         ///< an array with an object for each entry
};

/** What happens when the member isn't there. */
enum class Absent : std::uint8_t {
    refuse,    ///< the request fails
    pass,      ///< nothing
    log,       ///< a line in the log
    note,      ///< its path is left behind, for a failure that may come later
    end_group, ///< the rest of its object is not read
};

struct Setting;

/** The members of one object, and the path that theirs begin with. */
struct SettingGroup {
    const char* object;
    std::span<const Setting> settings;
};

/** One row of a table. */
struct Setting {
    const char* key;
    const char* parameter = ""; ///< the end of the path that a failure is reported with
    const SettingGroup* group = nullptr;
    const ListPlace* list = nullptr;
    Condition condition = nullptr;
    std::uint32_t offset = 0; ///< of a network: its band's, in the entry
    std::uint16_t size = 0;   ///< of a text's array, its NUL included
    std::uint16_t line = 0;   ///< where the row is written: a failure's log line names it
    SettingKind kind = SettingKind::text;
    Absent absent = Absent::refuse;
    std::uint8_t band = 0;
};

constexpr Setting setting_row(SettingKind kind, const char* key, std::uint32_t offset,
                              const char* parameter, std::uint16_t line) {
    return {.key = key, .parameter = parameter, .offset = offset, .line = line, .kind = kind};
}
constexpr Setting sized_row(SettingKind kind, const char* key, std::uint32_t offset,
                            std::uint16_t size, const char* parameter, std::uint16_t line) {
    Setting row = setting_row(kind, key, offset, parameter, line);
    row.size = size;
    return row;
}

// The line is that of the table's row: it is taken where the function is called.
#define VXQ_ROW_LINE std::uint16_t line = __builtin_LINE()

template <std::size_t Size>
consteval Setting text_setting(const char* key, Place<char[Size]> place, const char* parameter,
                               VXQ_ROW_LINE) {
    return sized_row(SettingKind::text, key, place.offset, Size, parameter, line);
}
template <std::size_t Size>
consteval Setting percent_text_setting(const char* key, Place<char[Size]> place,
                                       const char* parameter, VXQ_ROW_LINE) {
    return sized_row(SettingKind::percent_text, key, place.offset, Size, parameter, line);
}
template <std::size_t Size>
consteval Setting decimal_setting(const char* key, Place<char[Size]> place, const char* parameter,
                                  VXQ_ROW_LINE) {
    return sized_row(SettingKind::decimal, key, place.offset, Size, parameter, line);
}
consteval Setting number_setting(const char* key, Place<std::int32_t> place, const char* parameter,
                                 VXQ_ROW_LINE) {
    return setting_row(SettingKind::number, key, place.offset, parameter, line);
}
consteval Setting text_number_setting(const char* key, Place<std::int32_t> place,
                                      const char* parameter, VXQ_ROW_LINE) {
    return setting_row(SettingKind::text_number, key, place.offset, parameter, line);
}
consteval Setting flag_setting(const char* key, Place<std::int32_t> place, const char* parameter,
                               VXQ_ROW_LINE) {
    return setting_row(SettingKind::flag, key, place.offset, parameter, line);
}
consteval Setting object_setting(const char* key, const SettingGroup& group, const char* parameter,
                                 VXQ_ROW_LINE) {
    Setting row = setting_row(SettingKind::object, key, 0, parameter, line);
    row.group = &group;
    return row;
}
consteval Setting list_setting(const char* key, const ListPlace& list, const SettingGroup& entry,
                               const char* parameter, VXQ_ROW_LINE) {
    Setting row = setting_row(SettingKind::list, key, 0, parameter, line);
    row.group = &entry;
    row.list = &list;
    return row;
}
/** Networks may be left out: a request without any succeeds and changes none. */
consteval Setting network_setting(const char* key, std::uint8_t band,
                                  Place<std::int32_t> band_place, const ListPlace& list,
                                  const SettingGroup& entry) {
    return {.key = key,
            .group = &entry,
            .list = &list,
            .offset = band_place.offset,
            .kind = SettingKind::network,
            .absent = Absent::pass,
            .band = band};
}

#undef VXQ_ROW_LINE

/** A row whose member may be missing. */
consteval Setting unless_absent(Absent absent, Setting setting) {
    setting.absent = absent;
    return setting;
}

/** A whole body. */
struct SettingsDocument {
    SettingGroup root;
    const char* unreadable; ///< the path reported when there is no body, or it is not JSON
    bool logged = false;    ///< whether the body is logged once it has been parsed
};

/** The parser that reads, as failures are logged. */
struct Parser {
    const char* function;
    int line; ///< logged when the body cannot be parsed at all
};

/** Logs that a parser failed at a source line; gives back the parsers' result for it. */
int parser_failed(const Parser& parser);

/**
 * Reads a body into a zero-filled record.
 *
 * @return 0; or -1 when a member is missing or cannot be taken, which has been logged and written
 *         to `path`; the record is then only filled in part
 */
int read_settings(const Parser& parser, const RequestBody& body, const SettingsDocument& document,
                  void* record, ParameterPath& path);

} // namespace vxq
