// SPDX-License-Identifier: MIT
#include "appjsonapi/record_writer.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "message/document.h"
#include "text/text.h"
#include <vxquilan/records.h>

namespace vxq {

namespace {

cJSON* create_text(const Member& member, const void* record) {
    const char* const stored = at(record, member.offset);
    if (std::memchr(stored, '\0', member.size) != nullptr)
        return cJSON_CreateStringReference(stored);
    char text[kLargestMember + 1];
    copy_text(text, member.size + 1, stored);
    return cJSON_CreateString(text);
}

cJSON* create_band(int band) {
    return cJSON_CreateStringReference(band == VX_BAND_2G ? "2.4GHz" : "5GHz");
}

/** An object made of the members that a row has. */
cJSON* create_object(const Member& row, const void* record) {
    JsonTree object(cJSON_CreateObject());
    for (const Member& member : std::span(row.members, row.member_count)) {
        if (applies(member, record) &&
            json_add(object.get(), member.key, create_member(member, record)) == nullptr)
            return nullptr;
    }
    return object.release();
}

cJSON* create_list(const Member& member, const void* record) {
    const ListPlace& list = *member.list;
    JsonTree array(cJSON_CreateArray());
    const int count = std::clamp(load_int(record, list.count), 0, list.capacity);
    for (int index = 0; index < count; ++index) {
        const std::size_t offset = list.entries + static_cast<std::size_t>(index) * list.stride;
        if (json_append(array.get(), create_object(member, at(record, offset))) == nullptr)
            return nullptr;
    }
    return array.release();
}

} // namespace

cJSON* create_member(const Member& member, const void* record) {
    switch (member.kind) {
    case MemberKind::text:
        return create_text(member, record);
    case MemberKind::empty_text:
        return cJSON_CreateStringReference("");
    case MemberKind::number:
        return json_number(load_int(record, member.offset));
    case MemberKind::flag:
        return cJSON_CreateBool(load_int(record, member.offset) != 0);
    case MemberKind::band:
        return create_band(load_int(record, member.offset));
    case MemberKind::object:
        return create_object(member, record);
    case MemberKind::list:
        break;
    }
    return create_list(member, record);
}

JsonText write_record(const Member& document, const void* record) {
    const JsonTree tree(create_member(document, record));
    return finish_document(tree, tree != nullptr);
}

} // namespace vxq
