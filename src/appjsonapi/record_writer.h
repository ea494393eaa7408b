// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "appjsonapi/record_place.h"
#include "json/json.h"

/**
 * @file
 * Records of the device library as JSON documents. A document is a constexpr table of its members
 * in their order; one writer walks all tables.
 */
namespace vxq {

/** What a member is made of. */
enum class MemberKind : std::uint8_t {
    text,       ///< a text of the record
    empty_text, ///< an empty text, whatever the record holds
    number,     ///< an integer
    flag,       ///< an integer as true or false
    band,       ///< an integer as "2.4GHz" (VX_BAND_2G) or "5GHz" (all others)
    object,     ///< an object made of the same record
    list,       ///< an array with an object for each entry in use
};

/** One row of a table. */
struct Member {
    const char* key;
    const Member* members = nullptr; ///< of an object, or of each entry of a list
    const ListPlace* list = nullptr;
    Condition condition = nullptr;
    std::uint32_t offset = 0;
    std::uint16_t size = 0; ///< of a text's array, its NUL included
    std::uint8_t member_count = 0;
    MemberKind kind = MemberKind::text;
};

/** The largest text of any record. */
inline constexpr std::size_t kLargestMember = 288;

template <std::size_t Size>
consteval Member text_member(const char* key, Place<char[Size]> place) {
    static_assert(Size <= kLargestMember);
    return {.key = key, .offset = place.offset, .size = Size, .kind = MemberKind::text};
}
consteval Member empty_text_member(const char* key) {
    return {.key = key, .kind = MemberKind::empty_text};
}
consteval Member number_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .offset = place.offset, .kind = MemberKind::number};
}
consteval Member flag_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .offset = place.offset, .kind = MemberKind::flag};
}
consteval Member band_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .offset = place.offset, .kind = MemberKind::band};
}
template <std::size_t Count>
consteval Member object_member(const char* key, const Member (&members)[Count]) {
    return {.key = key, .members = members, .member_count = Count, .kind = MemberKind::object};
}
template <std::size_t Count>
consteval Member list_member(const char* key, const ListPlace& list, const Member (&entry)[Count]) {
    return {.key = key,
            .members = entry,
            .list = &list,
            .member_count = Count,
            .kind = MemberKind::list};
}

/** A document that is one object, or one array: a member without a key. */
template <std::size_t Count>
consteval Member object_document(const Member (&members)[Count]) {
    return object_member("", members);
}
template <std::size_t Count>
consteval Member list_document(const ListPlace& list, const Member (&entry)[Count]) {
    return list_member("", list, entry);
}

/**
 * Creates the value of one member, which refers to the record's texts: print it while the record
 * lives. A text that fills its array without a NUL ends with the array, and a count that the array
 * has no room for is taken as the nearest one that it has: what a device library gets wrong must
 * not make the daemon read outside the record.
 *
 * @return the value; null when there is no memory for it
 */
cJSON* create_member(const Member& member, const void* record);

/** Prints a record's document, logs the text and returns it; null when there is no memory. */
JsonText write_record(const Member& document, const void* record);

/**
 * The whole of a status builder: asks the device library, whose result is not looked at, and writes
 * what it filled in. A record that it leaves alone reads as empty texts, zeros and false.
 */
template <class Record>
JsonText write_status(int (*getter)(Record*), const Member& document) {
    Record record{};
    getter(&record);
    return write_record(document, &record);
}

} // namespace vxq
