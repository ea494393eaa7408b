// SPDX-License-Identifier: MIT
#include "base_skill/config_file.h"

#include <algorithm>
#include <cstring>

#include "base_skill/line_table.h"
#include "text/text.h"

namespace {

using vxq::Line;
using vxq::LineTable;
using vxq::Setting;

constexpr std::size_t kLongestWantedKey = 126;

void copy_value(const Setting& setting, char* value) {
    if (setting.value.length == 0)
        *value = '\0';
    // Without a NUL: callers bring a buffer of zeros.
    std::memcpy(value, setting.value.begin, setting.value.length);
    base_riprt(value);
}

/** Puts the setting into the table; 1 when it replaced a line, 0 when it is new, -1 without room.
 */
int put_setting(LineTable& table, const char* key, const char* value) {
    Setting old{};
    if (Line* const line = table.find(key, old)) {
        line->set(key, old.separator, value);
        return 1;
    }
    Line* const line = table.append();
    if (line == nullptr)
        return -1;
    line->set(key, ':', value);
    return 0;
}

} // namespace

void base_riprt(char* text) {
    if (text == nullptr)
        return;
    std::replace_if(
        text, text + std::strlen(text),
        [](char character) { return character == '\r' || character == '\n'; }, '\0');
}

int vx_getcfgx(const char* path, const char* key, char* value) {
    if (path == nullptr || key == nullptr || value == nullptr)
        return 0;
    LineTable table;
    if (!table.read(path))
        return 0;
    char wanted[kLongestWantedKey + 1];
    vxq::copy_text(wanted, key);
    Setting setting{};
    if (table.find(wanted, setting) == nullptr)
        return 0;
    copy_value(setting, value);
    return 1;
}

int vx_setcfgx(const char* path, const char* key, const char* value) {
    if (path == nullptr || key == nullptr || value == nullptr)
        return 0;
    LineTable table;
    // What could not be read whole would be lost by writing it again.
    if (!table.read(path) || !table.whole())
        return 0;
    const int result = put_setting(table, key, value);
    return result >= 0 && table.write(path) ? result : 0;
}
