// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

/** @file Tables of the platform's names and the codes that the gateway has for them. */
namespace vxq {

struct NamedCode {
    const char* name;
    std::int32_t code;
};

/** How names are compared: std::strcmp, or strcasecmp where their case doesn't matter. */
using NameCompare = int (*)(const char*, const char*);

/** The table's row with this name; null when it has none. */
inline const NamedCode* find_name(std::span<const NamedCode> table, const char* name,
                                  NameCompare compare) {
    for (const NamedCode& row : table) {
        if (compare(name, row.name) == 0)
            return &row;
    }
    return nullptr;
}

/** The table's first row with this code; null when it has none. */
inline const NamedCode* find_code(std::span<const NamedCode> table, std::int32_t code) {
    for (const NamedCode& row : table) {
        if (row.code == code)
            return &row;
    }
    return nullptr;
}

} // namespace vxq
