// SPDX-License-Identifier: MIT
#include "appjsonapi/record_reader.h"

#include <cassert>

#include "log/log.h"
#include "log/log_text.h"
#include "text/text.h"
#include "json/json.h"

namespace vxq {

namespace {

/**
 * Copies a text in which the platform doubles percent signs. A single one has no meaning there and
 * is copied as it stands.
 */
void copy_percent_text(char* buffer, std::size_t size, const char* text) {
    char* const last = buffer + size - 1;
    while (*text != '\0' && buffer != last) {
        *buffer++ = *text;
        text += text[0] == '%' && text[1] == '%' ? 2 : 1;
    }
    *buffer = '\0';
}

bool holds_text(SettingKind kind) {
    return kind == SettingKind::text || kind == SettingKind::percent_text ||
           kind == SettingKind::text_number;
}

/** Stores a text; false when the member is none, for there is nothing to store then. */
bool store_text(const Setting& setting, const cJSON* member, void* record) {
    const char* const text = json_text(member);
    if (text == nullptr)
        return false;
    char* const place = at(record, setting.offset);
    if (setting.kind == SettingKind::text)
        copy_text(place, setting.size, text);
    else if (setting.kind == SettingKind::percent_text)
        copy_percent_text(place, setting.size, text);
    else
        store_int(record, setting.offset, decimal_value(text));
    return true;
}

void store_value(const Setting& setting, const cJSON* member, void* record) {
    if (setting.kind == SettingKind::flag)
        store_int(record, setting.offset, json_type_code(member));
    else if (setting.kind == SettingKind::number)
        store_int(record, setting.offset, json_int(member));
    else
        format_text(at(record, setting.offset), setting.size, "%d", json_int(member));
}

class SettingsReader {
public:
    SettingsReader(const Parser& parser, ParameterPath& path) : parser_(parser), path_(path) {}

    bool read_group(const SettingGroup& group, const cJSON* object, void* record) {
        for (const Setting& setting : group.settings) {
            if (!applies(setting, record))
                continue;
            const cJSON* const member = cJSON_GetObjectItem(object, setting.key);
            if (member == nullptr && setting.absent == Absent::end_group)
                return true;
            if (member != nullptr ? !read_member(group, setting, member, record)
                                  : !pass_absent(group, setting))
                return false;
        }
        return true;
    }

private:
    bool read_member(const SettingGroup& group, const Setting& setting, const cJSON* member,
                     void* record) {
        if (setting.kind == SettingKind::object)
            return read_group(*setting.group, member, record);
        if (setting.kind == SettingKind::network)
            return read_network(setting, member, record);
        if (setting.kind == SettingKind::list)
            return read_list(group, setting, member, record);
        if (!holds_text(setting.kind))
            store_value(setting, member, record);
        else if (!store_text(setting, member, record))
            return refuse(group, setting);
        return true;
    }

    /** Fills the next entry, which only counts when all of it could be read. */
    bool read_network(const Setting& setting, const cJSON* member, void* record) {
        const ListPlace& list = *setting.list;
        const int count = load_int(record, list.count);
        assert(count < list.capacity);
        char* const entry =
            at(record, list.entries + static_cast<std::size_t>(count) * list.stride);
        store_int(entry, setting.offset, setting.band);
        if (!read_group(*setting.group, member, entry))
            return false;
        store_int(record, list.count, count + 1);
        return true;
    }

    /** A list that has no room, or is none, is refused: part of a list is another list. */
    bool read_list(const SettingGroup& group, const Setting& setting, const cJSON* member,
                   void* record) {
        const ListPlace& list = *setting.list;
        const int size = cJSON_GetArraySize(member);
        if (!cJSON_IsArray(member) || size > list.capacity)
            return refuse(group, setting);
        char* entry = at(record, list.entries);
        const cJSON* item;
        cJSON_ArrayForEach(item, member) {
            if (!read_group(*setting.group, item, entry))
                return false;
            entry += list.stride;
        }
        store_int(record, list.count, size);
        return true;
    }

    bool pass_absent(const SettingGroup& group, const Setting& setting) {
        if (setting.absent == Absent::refuse)
            return refuse(group, setting);
        if (setting.absent == Absent::note)
            write_path(group, setting);
        if (setting.absent == Absent::log)
            QUILAN_LOG(VX_LOG_UNUSUAL, "ERROR (%s)%d %s\n", parser_.function, setting.line,
                       setting.key);
        return true;
    }

    bool refuse(const SettingGroup& group, const Setting& setting) {
        write_path(group, setting);
        parser_failed({parser_.function, setting.line});
        return false;
    }

    void write_path(const SettingGroup& group, const Setting& setting) {
        format_text(path_, sizeof path_, "%s%s", group.object, setting.parameter);
    }

    const Parser& parser_;
    ParameterPath& path_;
};

void log_body(const RequestBody& body) {
    const LogText shown(body.data, body.length);
    QUILAN_LOG(VX_LOG_PROGRESS, "%.*s\n", shown.length(), shown.text());
}

} // namespace

int parser_failed(const Parser& parser) {
    QUILAN_LOG(VX_LOG_UNUSUAL, "ERROR (%s)%d failed\n", parser.function, parser.line);
    return -1;
}

int read_settings(const Parser& parser, const RequestBody& body, const SettingsDocument& document,
                  void* record, ParameterPath& path) {
    const JsonTree tree(cJSON_ParseWithLength(body.data, body.length));
    if (!tree) {
        copy_text(path, document.unreadable);
        return parser_failed(parser);
    }
    if (document.logged)
        log_body(body);
    SettingsReader reader(parser, path);
    return reader.read_group(document.root, tree.get(), record) ? 0 : -1;
}

} // namespace vxq
