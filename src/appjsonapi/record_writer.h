// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "appjsonapi/record_place.h"
#include "json/json.h"

/**
 * @file
 * Records of the device library as JSON documents. A document is a constexpr table of its members
 * in their order; one writer walks all tables.
 */
namespace vxq {

/** What a member is made of. */
enum class MemberKind {
    text,     ///< a text of the record
    number,   ///< an integer
    flag,     ///< an integer as true or false
    band,     ///< an integer as "2.4GHz" (VX_BAND_2G) or "5GHz" (all others)
    constant, ///< the same text for each record
    object,   ///< an object made of the same record
    list,     ///< an array with an object for each entry in use
};

/** One row of a table. */
struct Member {
    const char* key;
    MemberKind kind;
    std::size_t offset = 0;
    std::size_t size = 0; ///< of a text's array, its NUL included
    const char* constant = nullptr;
    std::span<const Member> members = {}; ///< of an object, or of each entry of a list
    ListPlace list = {};
    Condition condition = nullptr;
};

/** The largest text of any record. */
inline constexpr std::size_t kLargestMember = 288;

template <std::size_t Size>
consteval Member text_member(const char* key, Place<char[Size]> place) {
    static_assert(Size <= kLargestMember);
    return {.key = key, .kind = MemberKind::text, .offset = place.offset, .size = Size};
}
consteval Member number_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .kind = MemberKind::number, .offset = place.offset};
}
consteval Member flag_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .kind = MemberKind::flag, .offset = place.offset};
}
consteval Member band_member(const char* key, Place<std::int32_t> place) {
    return {.key = key, .kind = MemberKind::band, .offset = place.offset};
}
consteval Member constant_member(const char* key, const char* text) {
    return {.key = key, .kind = MemberKind::constant, .constant = text};
}
consteval Member object_member(const char* key, std::span<const Member> members) {
    return {.key = key, .kind = MemberKind::object, .members = members};
}
consteval Member list_member(const char* key, ListPlace list, std::span<const Member> entry) {
    return {.key = key, .kind = MemberKind::list, .members = entry, .list = list};
}

/** A document that is one object, or one array: a member without a key. */
consteval Member object_document(std::span<const Member> members) {
    return object_member("", members);
}
consteval Member list_document(ListPlace list, std::span<const Member> entry) {
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
