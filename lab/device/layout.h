// SPDX-License-Identifier: MIT
#pragma once

#include "common.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

/// Tables that say which JSON member goes with which place in a record, and the few routines that
/// walk them.
namespace vxdevice {

enum class Kind {
    text,   ///< JSON string, NUL-terminated array
    number, ///< JSON integer, int32
    flag,   ///< JSON bool (or integer), int32
    list,   ///< JSON array, array of records and its count
};

struct Layout;

struct Field {
    const char* key;
    Kind kind;
    std::size_t offset;
    std::size_t size;
    const Layout* element = nullptr; ///< lists: what the entries look like
    std::size_t count_offset = 0;    ///< lists: where the count is
};

struct Layout {
    std::size_t size; ///< of the whole record
    std::span<const Field> fields;
};

template <class Member>
constexpr Kind kind_of() {
    static_assert(std::is_same_v<Member, std::int32_t> ||
                  std::is_same_v<std::remove_extent_t<Member>, char>);
    return std::is_array_v<Member> ? Kind::text : Kind::number;
}

/// A text or a number whose JSON member has a name of its own.
#define VXDEVICE_FIELD_AS(record, member, key)                                                     \
    ::vxdevice::Field {                                                                            \
        key, ::vxdevice::kind_of<decltype(record::member)>(), offsetof(record, member),            \
            sizeof(record::member)                                                                 \
    }
#define VXDEVICE_FLAG_AS(record, member, key)                                                      \
    ::vxdevice::Field {                                                                            \
        key, ::vxdevice::Kind::flag, offsetof(record, member), sizeof(record::member)              \
    }
#define VXDEVICE_FIELD(record, member) VXDEVICE_FIELD_AS(record, member, #member)
#define VXDEVICE_FLAG(record, member) VXDEVICE_FLAG_AS(record, member, #member)
#define VXDEVICE_LIST(record, member, count, layout, key)                                          \
    ::vxdevice::Field {                                                                            \
        key, ::vxdevice::Kind::list, offsetof(record, member), sizeof(record::member), &(layout),  \
            offsetof(record, count)                                                                \
    }

/// Copies a text into an array, cut to fit between two characters, and terminates it.
void put_text(void* place, std::size_t size, const std::string& text);

/// The text in an array, whether or not it is terminated; without bytes that aren't UTF-8.
std::string get_text(const void* place, std::size_t size);

/// JSON to record. Members that the JSON lacks leave their place as it is.
void fill(const Layout& layout, const Json& object, void* record);

/// Record to JSON as it is, flags as numbers: what a request brought, for the journal.
Json describe(const Layout& layout, const void* record);

/// Record to state: overwrites the object's members, flags as true and false. An empty text stands
/// for a member that the request hadn't, and leaves what is there.
void merge(const Layout& layout, const void* record, Json& object);

/// What is wrong with a member's type, or nothing.
std::optional<std::string> type_problem(Kind kind, const Json& value);

/// What is wrong with an object's members, or nothing. The place is a JSON pointer.
std::optional<std::string> layout_problem(const Layout& layout, const Json& object,
                                          const std::string& place);

} // namespace vxdevice
