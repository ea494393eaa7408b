// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>

#include "json/json.h"

/** @file Facts that the device library knows about the gateway, as members of a message. */
namespace vxq {

/** One member: a text or a number from the device library, or a constant text. */
struct DeviceFact {
    const char* key;
    int (*text)(char*);   ///< getter of a text, or null
    std::size_t size;     ///< size of that getter's buffer, its NUL included
    int (*number)(int*);  ///< getter of a number, or null
    const char* constant; ///< the text itself, or null
};

/** The largest buffer that any text getter asks for. */
inline constexpr std::size_t kLargestFact = 256;

template <std::size_t Size>
consteval DeviceFact text_fact(const char* key, int (*getter)(char*)) {
    static_assert(Size <= kLargestFact);
    return {key, getter, Size, nullptr, nullptr};
}
consteval DeviceFact number_fact(const char* key, int (*getter)(int*)) {
    return {key, nullptr, 0, getter, nullptr};
}
consteval DeviceFact constant_fact(const char* key, const char* text) {
    return {key, nullptr, 0, nullptr, text};
}

/**
 * Asks the device library for each fact, in order, and adds it to `object`. Getters' results are
 * not looked at: a fact that the library does not know is an empty text, or -1.
 *
 * @return false when there is no memory for a member
 */
bool add_device_facts(cJSON* object, std::span<const DeviceFact> facts);

} // namespace vxq
