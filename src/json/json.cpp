// SPDX-License-Identifier: MIT
#include "json/json.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace vxq {

namespace {

// What a value takes in a document, with its key, and what has room besides. cJSON alone would
// start with 256 bytes and copy the text at each doubling; with more it still does.
constexpr int kBytesPerValue = 32;
constexpr int kBytesBesides = 128;
constexpr int kFormatted = 1;

/** Of an item and those behind it, with all that they contain. */
int count_values(const cJSON* item) {
    int count = 0;
    for (; item != nullptr; item = item->next)
        count += 1 + count_values(item->child);
    return count;
}

} // namespace

cJSON* json_number(int value) {
    // cJSON's own numbers are doubles, which it prints and reads back to see whether digits were
    // lost: thousands of instructions for each.
    char digits[12];
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    return cJSON_CreateRaw(digits);
}

cJSON* json_add(cJSON* object, const char* key, cJSON* member) {
    // Keys are literals of this program: referring to them saves a copy for each member.
    if (member != nullptr && cJSON_AddItemToObjectCS(object, key, member))
        return member;
    cJSON_Delete(member);
    return nullptr;
}

cJSON* json_append(cJSON* array, cJSON* element) {
    if (element != nullptr && cJSON_AddItemToArray(array, element))
        return element;
    cJSON_Delete(element);
    return nullptr;
}

JsonText json_print(const JsonTree& tree) {
    if (!tree)
        return nullptr;
    const int room = kBytesBesides + kBytesPerValue * count_values(tree.get());
    return JsonText(cJSON_PrintBuffered(tree.get(), room, kFormatted));
}

int json_int(const cJSON* member) {
    return cJSON_IsNumber(member) ? member->valueint : 0;
}

const char* json_text(const cJSON* member) {
    return cJSON_IsString(member) ? member->valuestring : nullptr;
}

int json_type_code(const cJSON* member) {
    // In the order of their codes.
    constexpr int kTypes[] = {cJSON_False,  cJSON_True,  cJSON_NULL,  cJSON_Number,
                              cJSON_String, cJSON_Array, cJSON_Object};
    constexpr int kTypeMask = 0xff;
    const int* const found =
        std::find(std::begin(kTypes), std::end(kTypes), member->type & kTypeMask);
    return static_cast<int>(found - kTypes);
}

} // namespace vxq
