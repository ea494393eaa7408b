// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/**
 * @file
 * Where things lie in the records of the device library. The tables that records are written and
 * read by consist of these places, so that a table can be laid beside the record's definition, and
 * a member of the wrong type does not compile.
 *
 * Rows are kept small: they contain addresses, which are only known once the program is loaded, so
 * the tables are memory that each running daemon has for itself.
 */
namespace vxq {

/** Where a member of type T lies in its record. */
template <class T>
struct Place {
    std::uint32_t offset;
};

/** The place of `member` in `record`. */
#define VXQ_AT(record, member)                                                                     \
    ::vxq::Place<decltype(record::member)> {                                                       \
        offsetof(record, member)                                                                   \
    }

/** An array in a record, with the number of its entries that are in use. */
struct ListPlace {
    std::uint32_t entries;
    std::uint32_t stride;
    std::int32_t capacity;
    std::uint32_t count;
};

template <class Entry, std::size_t Capacity>
consteval ListPlace list_place(Place<Entry[Capacity]> entries, Place<std::int32_t> count) {
    return {entries.offset, sizeof(Entry), Capacity, count.offset};
}

/** Whether a row of a table applies to a record; null stands for always. */
using Condition = bool (*)(const void* record);

template <auto Predicate>
struct ConditionOf;
template <class Record, bool (*Predicate)(const Record&)>
struct ConditionOf<Predicate> {
    static bool holds(const void* record) { return Predicate(*static_cast<const Record*>(record)); }
};

/** A row that only applies to records for which `Predicate` holds. */
template <auto Predicate, class Row>
consteval Row when(Row row) {
    row.condition = &ConditionOf<Predicate>::holds;
    return row;
}

template <class Row>
bool applies(const Row& row, const void* record) {
    return row.condition == nullptr || row.condition(record);
}

inline const char* at(const void* record, std::size_t offset) {
    return static_cast<const char*>(record) + offset;
}
inline char* at(void* record, std::size_t offset) {
    return static_cast<char*>(record) + offset;
}

inline int load_int(const void* record, std::size_t offset) {
    std::int32_t value;
    std::memcpy(&value, at(record, offset), sizeof value);
    return value;
}
inline void store_int(void* record, std::size_t offset, int value) {
    const std::int32_t stored = value;
    std::memcpy(at(record, offset), &stored, sizeof stored);
}

} // namespace vxq
