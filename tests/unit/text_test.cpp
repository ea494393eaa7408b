// SPDX-License-Identifier: MIT
// Texts in fixed buffers and the ownership of JSON trees.
#include "unit/fixture.h"

#include "text/text.h"
#include "json/json.h"

namespace {

struct CopyCase {
    const char* name;
    std::size_t size;
    const char* text;
    const char* expected;
};

void PrintTo(const CopyCase& row, std::ostream* out) {
    *out << row.name;
}

class CopyText : public testing::TestWithParam<CopyCase> {};

TEST_P(CopyText, CutsAtTheBufferAndTerminates) {
    std::string buffer(16, '#');
    vxq::copy_text(buffer.data(), GetParam().size, GetParam().text);
    EXPECT_STREQ(buffer.c_str(), GetParam().expected);
    for (std::size_t position = GetParam().size; position < buffer.size(); ++position)
        EXPECT_EQ(buffer[position], '#');
}

TEST_P(CopyText, AndPrintfDoTheSame) {
    if (GetParam().text == nullptr)
        return;
    std::string buffer(16, '#');
    vxq::format_text(buffer.data(), GetParam().size, "%s", GetParam().text);
    EXPECT_STREQ(buffer.c_str(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, CopyText,
    testing::Values(CopyCase{"Fits", 8, "abc", "abc"}, CopyCase{"JustFits", 4, "abc", "abc"},
                    CopyCase{"IsCut", 4, "abcd", "abc"}, CopyCase{"IsCutShort", 2, "abcd", "a"},
                    CopyCase{"OnlyItsEnd", 1, "abcd", ""}, CopyCase{"Empty", 4, "", ""},
                    CopyCase{"Null", 4, nullptr, ""}),
    case_name<CopyCase>);

TEST(CopyBytes, AddsAnEnd) {
    EXPECT_STREQ(vxq::copy_bytes("abcdef", 3).get(), "abc");
    EXPECT_STREQ(vxq::copy_bytes(nullptr, 0).get(), "");
    EXPECT_STREQ(vxq::copy_bytes("a\0b", 3).get(), "a");
}

TEST(TextBuffer, EndsEvenWhenItIsFull) {
    vxq::TextBuffer<4> buffer;
    EXPECT_TRUE(buffer.empty());
    std::copy_n("wxyz", 4, buffer.data());
    EXPECT_STREQ(buffer.text(), "wxyz");
    EXPECT_FALSE(buffer.empty());
}

TEST(Json, AMemberThatFindsNoParentIsFreed) {
    const JsonMemory memory;
    EXPECT_EQ(vxq::json_add(nullptr, "key", cJSON_CreateString("text")), nullptr);
    EXPECT_EQ(vxq::json_append(nullptr, cJSON_CreateString("text")), nullptr);
    EXPECT_EQ(memory.in_use(), 0);
}

TEST(Json, NoMemberIsNotAdded) {
    const vxq::JsonTree object(cJSON_CreateObject());
    const vxq::JsonTree array(cJSON_CreateArray());
    EXPECT_EQ(vxq::json_add(object.get(), "key", nullptr), nullptr);
    EXPECT_EQ(vxq::json_append(array.get(), nullptr), nullptr);
    EXPECT_STREQ(vxq::json_print(object).get(), "{\n}");
    EXPECT_STREQ(vxq::json_print(array).get(), "[]");
}

TEST(Json, NoTreeHasNoText) {
    EXPECT_EQ(vxq::json_print(nullptr), nullptr);
}

TEST(Json, ValuesOfOtherTypesReadAsNothing) {
    const vxq::JsonTree tree(cJSON_Parse(R"({"n":7,"t":"seven","b":true,"z":null})"));
    const auto member = [&tree](const char* key) {
        return cJSON_GetObjectItem(tree.get(), key);
    };
    EXPECT_EQ(vxq::json_int(member("n")), 7);
    EXPECT_STREQ(vxq::json_text(member("t")), "seven");
    for (const char* const key : {"t", "b", "z", "none"})
        EXPECT_EQ(vxq::json_int(member(key)), 0);
    for (const char* const key : {"n", "b", "z", "none"})
        EXPECT_EQ(vxq::json_text(member(key)), nullptr);
}

} // namespace
