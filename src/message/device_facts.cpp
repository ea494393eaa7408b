// SPDX-License-Identifier: MIT
#include "message/device_facts.h"

#include "text/text.h"

namespace vxq {

namespace {

constexpr int kUnknownNumber = -1;

cJSON* create_fact(const DeviceFact& fact) {
    if (fact.constant != nullptr)
        return cJSON_CreateStringReference(fact.constant);
    if (fact.number != nullptr) {
        int number = kUnknownNumber;
        fact.number(&number);
        return json_number(number);
    }
    TextBuffer<kLargestFact> buffer;
    fact.text(buffer.data());
    buffer.data()[fact.size] = '\0';
    return cJSON_CreateString(buffer.text());
}

} // namespace

bool add_device_facts(cJSON* object, std::span<const DeviceFact> facts) {
    for (const DeviceFact& fact : facts) {
        if (json_add(object, fact.key, create_fact(fact)) == nullptr)
            return false;
    }
    return true;
}

} // namespace vxq
