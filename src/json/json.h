// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <cJSON.h>

/** @file Ownership of cJSON's trees and texts, and the few ways in which the daemon reads them. */
namespace vxq {

struct DeleteJson {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
/** A JSON tree that ends with cJSON_Delete. */
using JsonTree = std::unique_ptr<cJSON, DeleteJson>;

struct FreeJsonText {
    void operator()(char* text) const { cJSON_free(text); }
};
/** A text printed by cJSON; null stands for "could not be built". */
using JsonText = std::unique_ptr<char, FreeJsonText>;

/** Creates a number for a document that is going to be printed; null when there is no memory. */
cJSON* json_number(int value);

/**
 * Creates a member and hands it to an object.
 * @return the member, owned by the object; null when there is no memory (or `object` is null)
 */
cJSON* json_add(cJSON* object, const char* key, cJSON* member);

/** Appends an element to an array; as json_add. */
cJSON* json_append(cJSON* array, cJSON* element);

/** Prints a tree in the formatted form that every message of the daemon has. */
JsonText json_print(const JsonTree& tree);

/** The integer value of a member; 0 for a member that is no number (or none at all). */
int json_int(const cJSON* member);

/** The text of a member; null for a member that is no string (or none at all). */
const char* json_text(const cJSON* member);

/**
 * A member's JSON type in the codes that records carry: 0 false, 1 true, 2 null, 3 number, 4
 * string, 5 array, 6 object. cJSON numbers its types differently from release to release.
 */
int json_type_code(const cJSON* member);

} // namespace vxq
