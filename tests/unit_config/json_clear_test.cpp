// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <cstring>
#include <set>

#include <cjson/cJSON.h>
#include <gmock/gmock.h>

#include <vxquilan/entry_points.h>

namespace {

std::multiset<void*> allocated;

void* allocate(std::size_t size) {
    void* const memory = std::malloc(size);
    allocated.insert(memory);
    return memory;
}

void release(void* memory) {
    if (memory == nullptr)
        return;
    EXPECT_EQ(allocated.erase(memory), 1U) << "freed what was not allocated";
    std::free(memory);
}

/** cJSON on counted memory: what is left at the end was lost. */
class JsonClear : public testing::Test {
protected:
    JsonClear() {
        cJSON_Hooks hooks{allocate, release};
        cJSON_InitHooks(&hooks);
    }
    ~JsonClear() override {
        EXPECT_EQ(allocated.size(), 0U);
        allocated.clear();
        cJSON_InitHooks(nullptr);
    }

    static void expect_empty(const cJSON& item) {
        EXPECT_EQ(item.child, nullptr);
        EXPECT_EQ(item.valuestring, nullptr);
        EXPECT_EQ(item.string, nullptr);
        EXPECT_EQ(item.next, nullptr);
    }

    static char* text(const char* content) {
        char* const copy = static_cast<char*>(cJSON_malloc(std::strlen(content) + 1));
        std::strcpy(copy, content);
        return copy;
    }
};

TEST_F(JsonClear, NullIsIgnored) {
    cJSON_Clear(nullptr);
}

TEST_F(JsonClear, ChildrenGoAndTheItemStays) {
    cJSON* const item = cJSON_Parse(R"({"a": [1, {"b": "c"}], "d": "e"})");
    ASSERT_NE(item, nullptr);
    cJSON_Clear(item);
    expect_empty(*item);
    EXPECT_EQ(item->type & 0xff, cJSON_Object);
    cJSON_Delete(item);
}

TEST_F(JsonClear, ValueTextAndKeyGo) {
    cJSON* const item = cJSON_CreateString("value");
    item->string = text("key");
    cJSON_Clear(item);
    expect_empty(*item);
    cJSON_Delete(item);
}

TEST_F(JsonClear, NumbersAndItemsWithoutAnythingAreNoTrouble) {
    cJSON* const item = cJSON_CreateNumber(7);
    cJSON_Clear(item);
    cJSON_Clear(item);
    expect_empty(*item);
    EXPECT_EQ(item->valueint, 7);
    cJSON_Delete(item);
}

TEST_F(JsonClear, OfTheNextItemOnlyItsOwnMemoryGoes) {
    cJSON* const item = cJSON_CreateString("value");
    cJSON* const next = cJSON_CreateString("next value");
    char* const next_text = next->valuestring;
    cJSON* const after = cJSON_CreateNumber(1);
    item->next = next;
    next->next = after;
    cJSON_Clear(item);
    expect_empty(*item);
    EXPECT_STREQ(next_text, "next value");
    cJSON_free(next_text);
    cJSON_Delete(after);
    cJSON_Delete(item);
}

TEST_F(JsonClear, WhatAReferenceShowsIsNotItsOwn) {
    cJSON* const owner = cJSON_Parse(R"({"list": [1, 2], "text": "value"})");
    cJSON* const array = cJSON_CreateArray();
    cJSON_AddItemReferenceToArray(array, cJSON_GetObjectItem(owner, "list"));
    cJSON_AddItemReferenceToArray(array, cJSON_GetObjectItem(owner, "text"));
    cJSON* const second = cJSON_DetachItemFromArray(array, 1);
    cJSON* const first = cJSON_DetachItemFromArray(array, 0);
    for (cJSON* const reference : {first, second}) {
        reference->string = text("key");
        cJSON_Clear(reference);
        expect_empty(*reference);
        cJSON_Delete(reference);
    }
    EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItem(owner, "list")), 2);
    EXPECT_STREQ(cJSON_GetObjectItem(owner, "text")->valuestring, "value");
    cJSON_Delete(array);
    cJSON_Delete(owner);
}

TEST_F(JsonClear, ConstantKeyIsOnlyForgotten) {
    cJSON* const object = cJSON_CreateObject();
    cJSON_AddItemToObjectCS(object, "constant", cJSON_CreateNumber(1));
    cJSON* const item = cJSON_DetachItemFromObject(object, "constant");
    cJSON_Clear(item);
    expect_empty(*item);
    cJSON_Delete(item);
    cJSON_Delete(object);
}

} // namespace
