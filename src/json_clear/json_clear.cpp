// SPDX-License-Identifier: MIT
#include <cjson/cJSON.h>

#include <vxquilan/entry_points.h>

namespace {

void free_children_and_value(cJSON& item) {
    cJSON_Delete(item.child);
    cJSON_free(item.valuestring);
}

} // namespace

void cJSON_Clear(cJSON* item) {
    if (item == nullptr)
        return;
    // What a reference shows belongs to another item.
    if ((item->type & cJSON_IsReference) == 0)
        free_children_and_value(*item);
    // A constant key is the program's, not the heap's.
    if ((item->type & cJSON_StringIsConst) == 0)
        cJSON_free(item->string);
    cJSON_free(item->next);
    item->child = nullptr;
    item->valuestring = nullptr;
    item->string = nullptr;
    item->next = nullptr;
}
