// SPDX-License-Identifier: MIT
#include "layout.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vxdevice {
namespace {

std::int32_t load(const void* record, std::size_t offset) {
    std::int32_t value = 0;
    std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
    return value;
}

void store(void* record, std::size_t offset, std::int32_t value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

std::int32_t to_int(const Json& value) {
    return value.is_boolean() ? static_cast<std::int32_t>(value.get<bool>())
                              : value.get<std::int32_t>();
}

std::size_t capacity(const Field& list) {
    return list.size / list.element->size;
}

void fill_list(const Field& field, const Json& array, void* record) {
    const std::size_t count = std::min(array.size(), capacity(field));
    for (std::size_t i = 0; i < count; ++i) {
        fill(*field.element, array[i],
             static_cast<char*>(record) + field.offset + i * field.element->size);
    }
    store(record, field.count_offset, static_cast<std::int32_t>(count));
}

/// The valid entries of a list, each as convert(entry) gives it.
template <class Convert>
Json list_entries(const Field& field, const void* record, const Convert& convert) {
    const std::int32_t count = load(record, field.count_offset);
    const auto valid =
        std::min(capacity(field), static_cast<std::size_t>(std::max<std::int32_t>(count, 0)));
    const char* entry = static_cast<const char*>(record) + field.offset;
    Json array = Json::array();
    for (std::size_t i = 0; i < valid; ++i, entry += field.element->size) {
        array.push_back(convert(entry));
    }
    return array;
}

std::optional<std::string> list_problem(const Field& field, const Json& value,
                                        const std::string& place) {
    if (value.size() > capacity(field)) {
        return place + ": has " + std::to_string(value.size()) + " entries, at most " +
               std::to_string(capacity(field)) + " fit";
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (auto problem =
                layout_problem(*field.element, value[i], place + "/" + std::to_string(i))) {
            return problem;
        }
    }
    return std::nullopt;
}

} // namespace

void put_text(void* place, std::size_t size, const std::string& text) {
    std::size_t length = std::min(text.find('\0'), text.size());
    if (length >= size) {
        length = size - 1;
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) {
            --length;
        }
    }
    std::memcpy(place, text.data(), length);
    std::memset(static_cast<char*>(place) + length, 0, size - length);
}

std::string get_text(const void* place, std::size_t size) {
    const auto* text = static_cast<const char*>(place);
    const std::string raw(text, strnlen(text, size));
    return Json::parse(dump(raw)).get<std::string>();
}

void fill(const Layout& layout, const Json& object, void* record) {
    for (const Field& field : layout.fields) {
        const auto member = object.find(field.key);
        if (member == object.end()) {
            continue;
        }
        switch (field.kind) {
        case Kind::text:
            put_text(static_cast<char*>(record) + field.offset, field.size,
                     member->get_ref<const std::string&>());
            break;
        case Kind::number:
        case Kind::flag:
            store(record, field.offset, to_int(*member));
            break;
        case Kind::list:
            fill_list(field, *member, record);
            break;
        }
    }
}

Json describe(const Layout& layout, const void* record) {
    Json object = Json::object();
    for (const Field& field : layout.fields) {
        switch (field.kind) {
        case Kind::text:
            object[field.key] =
                get_text(static_cast<const char*>(record) + field.offset, field.size);
            break;
        case Kind::number:
        case Kind::flag:
            object[field.key] = load(record, field.offset);
            break;
        case Kind::list:
            object[field.key] = list_entries(
                field, record, [&](const char* entry) { return describe(*field.element, entry); });
            object["count"] = load(record, field.count_offset);
            break;
        }
    }
    return object;
}

void merge(const Layout& layout, const void* record, Json& object) {
    for (const Field& field : layout.fields) {
        switch (field.kind) {
        case Kind::text:
            if (auto text = get_text(static_cast<const char*>(record) + field.offset, field.size);
                !text.empty()) {
                object[field.key] = std::move(text);
            }
            break;
        case Kind::number:
            object[field.key] = load(record, field.offset);
            break;
        case Kind::flag:
            object[field.key] = load(record, field.offset) != 0;
            break;
        case Kind::list:
            object[field.key] = list_entries(field, record, [&](const char* entry) {
                Json merged = Json::object();
                merge(*field.element, entry, merged);
                return merged;
            });
            break;
        }
    }
}

std::optional<std::string> type_problem(Kind kind, const Json& value) {
    const bool integer = value.is_number_integer() &&
                         value >= std::numeric_limits<std::int32_t>::min() &&
                         value <= std::numeric_limits<std::int32_t>::max();
    switch (kind) {
    case Kind::text:
        return value.is_string() ? std::nullopt : std::optional("must be a string");
    case Kind::number:
        return integer ? std::nullopt : std::optional("must be an integer of 32 bits");
    case Kind::flag:
        return value.is_boolean() || integer ? std::nullopt
                                             : std::optional("must be true or false");
    case Kind::list:
        return value.is_array() ? std::nullopt : std::optional("must be an array");
    }
    return std::nullopt;
}

std::optional<std::string> layout_problem(const Layout& layout, const Json& object,
                                          const std::string& place) {
    if (!object.is_object()) {
        return place + ": must be an object";
    }
    for (const Field& field : layout.fields) {
        const auto member = object.find(field.key);
        if (member == object.end()) {
            continue;
        }
        const std::string here = place + "/" + field.key;
        if (const auto problem = type_problem(field.kind, *member)) {
            return here + ": " + *problem;
        }
        if (field.kind == Kind::list) {
            if (auto problem = list_problem(field, *member, here)) {
                return problem;
            }
        }
    }
    return std::nullopt;
}

} // namespace vxdevice
