// SPDX-License-Identifier: MIT
// What holds for each settings resource: every member is taken away, given other types and other
// values, one at a time, and everything else must stay as in the full body.
#include "unit_resources/settings_model.h"

#include <algorithm>
#include <climits>

using nlohmann::json;

namespace {

/** The members that are stored in one of some ways and can be varied alone. */
std::vector<BodyMember> variable_members(const SettingsModel& model,
                                         std::initializer_list<Stored> kinds) {
    std::vector<BodyMember> chosen;
    for (const BodyMember& member : model.members) {
        if (!member.steers && std::find(kinds.begin(), kinds.end(), member.stored) != kinds.end())
            chosen.push_back(member);
    }
    return chosen;
}

class EachSettings : public SettingsTest, public ::testing::WithParamInterface<SettingsModel> {
protected:
    static json with(const std::string& pointer, json value) {
        json body = GetParam().body;
        body[json::json_pointer(pointer)] = std::move(value);
        return body;
    }
    static json without(const std::string& pointer) {
        json body = GetParam().body;
        const json::json_pointer at(pointer);
        body[at.parent_pointer()].erase(at.back());
        return body;
    }
    static RecordBytes record_with_text(const BodyMember& member, const std::string& text) {
        RecordBytes record = GetParam().record;
        return record.clear(member.offset, member.size).text(member.offset, text);
    }
    static RecordBytes record_with_number(const BodyMember& member, std::int32_t number) {
        RecordBytes record = GetParam().record;
        return record.number(member.offset, number);
    }

    void expect_text(const BodyMember& member, const std::string& sent, const std::string& stored) {
        SCOPED_TRACE(member.pointer);
        expect_applied(GetParam(), with(member.pointer, sent), record_with_text(member, stored));
    }
    void expect_number(const BodyMember& member, const json& sent, std::int32_t stored) {
        SCOPED_TRACE(member.pointer);
        if (member.stored == Stored::decimal)
            expect_applied(GetParam(), with(member.pointer, sent),
                           record_with_text(member, std::to_string(stored)));
        else
            expect_applied(GetParam(), with(member.pointer, sent),
                           record_with_number(member, stored));
    }

    static std::vector<BodyMember> members(std::initializer_list<Stored> kinds) {
        return variable_members(GetParam(), kinds);
    }
};

// Suites of the resources that have members of a kind at all.
class SettingsWithFlags : public EachSettings {};
class SettingsWithTexts : public EachSettings {};
class SettingsWithPercentSigns : public EachSettings {};
class SettingsWithNumbers : public EachSettings {};
class SettingsWithRates : public EachSettings {};

std::vector<SettingsModel> models_with(std::initializer_list<Stored> kinds) {
    std::vector<SettingsModel> chosen;
    for (const SettingsModel& model : settings_models()) {
        if (!variable_members(model, kinds).empty())
            chosen.push_back(model);
    }
    return chosen;
}

std::string name_of(const ::testing::TestParamInfo<SettingsModel>& instance) {
    return instance.param.name;
}

const std::vector<json>& values_of_all_types() {
    // In the order of the types' codes.
    static const std::vector<json> values = {false,      true, nullptr, 7, "7", json::array({7}),
                                             {{"ID", 7}}};
    return values;
}

TEST_P(EachSettings, AFullBodyBecomesTheRecord) {
    const SettingsModel& model = GetParam();
    expect_applied(model, model.body, model.record);
    ASSERT_FALSE(logged(6).empty());
    EXPECT_EQ(logged(6).front(), model.announcement);
    EXPECT_EQ(logged(6).back(), success() + "\n");
    EXPECT_EQ(logged(4), std::vector<std::string>());
}

TEST_P(EachSettings, TheSettersRefusalIsReported) {
    const SettingsModel& model = GetParam();
    for (const int code : {5, -1, 9003, INT_MIN}) {
        fake::device().set_result(model.setter, code);
        if (model.check != nullptr)
            fake::device().allow({model.check});
        EXPECT_EQ(serve(model.handler, model.body.dump()), failure(code, model.refused_path));
    }
}

TEST_P(EachSettings, ARequestWithoutPayload) {
    const SettingsModel& model = GetParam();
    EXPECT_EQ(serve(model.handler), failure(-1, model.unreadable_path));
    EXPECT_EQ(deeds(), std::vector<std::string>{"frame_coap_response()"});
    EXPECT_EQ(logged(4), std::vector<std::string>{"ERROR (" + std::string(model.unreadable_parser) +
                                                  ")# failed\n"});
    EXPECT_EQ(logged(6), (std::vector<std::string>{model.announcement,
                                                   failure(-1, model.unreadable_path) + "\n"}));
}

TEST_P(EachSettings, ABodyThatIsNoJson) {
    const SettingsModel& model = GetParam();
    const std::string whole = model.body.dump();
    for (const std::string& body :
         {std::string("{"), std::string("nonsense"), std::string(" "), std::string("\0", 1),
          whole.substr(0, whole.size() - 1), std::string(2000, '['), std::string("\xff\xfe")}) {
        EXPECT_EQ(serve(model.handler, body), failure(-1, model.unreadable_path)) << body;
        EXPECT_EQ(deeds(), std::vector<std::string>{"frame_coap_response()"});
        EXPECT_EQ(logged(4), std::vector<std::string>{
                                 "ERROR (" + std::string(model.unreadable_parser) + ")# failed\n"});
    }
}

TEST_P(EachSettings, EachMissingMember) {
    for (const BodyMember& member : GetParam().members) {
        SCOPED_TRACE(member.pointer);
        RecordBytes record = GetParam().record;
        if (member.optional)
            expect_applied(GetParam(), without(member.pointer),
                           record.clear(member.offset, member.size));
        else
            expect_refused(GetParam(), without(member.pointer), member.path);
    }
}

TEST_P(EachSettings, EachMemberOfEachWrongType) {
    for (const BodyMember& member : GetParam().members) {
        for (const json& value : values_of_all_types()) {
            SCOPED_TRACE(member.pointer + " " + value.dump());
            const bool text = member.stored == Stored::text || member.stored == Stored::percent ||
                              member.stored == Stored::rate;
            if (text && !value.is_string())
                expect_refused(GetParam(), with(member.pointer, value), member.path);
            const bool number = member.stored == Stored::number || member.stored == Stored::decimal;
            if (number && !value.is_number() && !member.steers)
                expect_number(member, value, 0);
        }
    }
}

TEST_P(SettingsWithFlags, AFlagIsStoredAsTheCodeOfItsType) {
    for (const BodyMember& member : members({Stored::flag})) {
        std::int32_t code = 0;
        for (const json& value : values_of_all_types()) {
            SCOPED_TRACE(member.pointer + " " + value.dump());
            expect_applied(GetParam(), with(member.pointer, value),
                           record_with_number(member, code++));
        }
    }
}

TEST_P(SettingsWithTexts, TextsAreCutToTheirArrays) {
    for (const BodyMember& member : members({Stored::text, Stored::percent})) {
        const std::string longest(member.size - 1, 'x');
        expect_text(member, "", "");
        expect_text(member, longest.substr(1), longest.substr(1));
        expect_text(member, longest, longest);
        expect_text(member, longest + "y", longest);
        expect_text(member, longest + "yz", longest);
        expect_text(member, longest + std::string(5000, 'y'), longest);
    }
}

TEST_P(SettingsWithTexts, TextsAreCutByBytes) {
    const std::string e_acute = "\xc3\xa9";
    const std::string euro = "\xe2\x82\xac";
    for (const BodyMember& member : members({Stored::text, Stored::percent})) {
        const std::string room_for_one(member.size - 2, 'x');
        expect_text(member, room_for_one + e_acute, room_for_one + "\xc3");
        expect_text(member, room_for_one.substr(1) + e_acute, room_for_one.substr(1) + e_acute);
        expect_text(member, room_for_one.substr(1) + euro, room_for_one.substr(1) + "\xe2\x82");
        expect_text(member, "\xc3\xa9\xf0\x9f\x98\x80", "\xc3\xa9\xf0\x9f\x98\x80");
    }
}

TEST_P(SettingsWithTexts, PercentSigns) {
    const std::pair<const char*, const char*> cases[] = {
        {"%%", "%"},   {"50%%", "50%"}, {"%%%%", "%%"},   {"a%%b", "a%b"},
        {"%", "%"},    {"50%", "50%"},  {"%s%n", "%s%n"}, {"%d%%", "%d%"},
        {"%%d", "%d"}, {"%%%", "%%"},   {"%5$s", "%5$s"}};
    for (const BodyMember& member : members({Stored::percent})) {
        for (const auto& [sent, stored] : cases) {
            if (std::strlen(sent) < member.size)
                expect_text(member, sent, stored);
        }
    }
    for (const BodyMember& member : members({Stored::text})) {
        for (const auto& [sent, stored] : cases)
            expect_text(member, sent, sent);
    }
}

TEST_P(SettingsWithPercentSigns, PercentSignsAtTheCut) {
    for (const BodyMember& member : members({Stored::percent})) {
        const std::string room_for_one(member.size - 2, 'x');
        expect_text(member, room_for_one + "%%", room_for_one + "%");
        expect_text(member, room_for_one + "%%y", room_for_one + "%");
        expect_text(member, room_for_one + "%y", room_for_one + "%");
        expect_text(member, room_for_one + "y%%", room_for_one + "y");
        std::string doubled;
        for (std::size_t index = 0; index < member.size + 3; ++index)
            doubled += "%%";
        expect_text(member, doubled, std::string(member.size - 1, '%'));
    }
}

TEST_P(SettingsWithNumbers, NumbersAreTakenAsIntegers) {
    for (const BodyMember& member : members({Stored::number, Stored::decimal})) {
        expect_number(member, 0, 0);
        expect_number(member, -1, -1);
        expect_number(member, INT_MAX, INT_MAX);
        expect_number(member, INT_MIN, INT_MIN);
        expect_number(member, 3.9, 3);
        expect_number(member, 1e99, INT_MAX);
        expect_number(member, -1e99, INT_MIN);
        expect_number(member, 4294967296LL, INT_MAX);
    }
}

TEST_P(SettingsWithRates, RatesAreReadFromTexts) {
    const std::pair<const char*, std::int32_t> cases[] = {{"2048", 2048},
                                                          {"abc", 0},
                                                          {"", 0},
                                                          {" 12", 12},
                                                          {"-5", -5},
                                                          {"+7", 7},
                                                          {"12kbit", 12},
                                                          {"0x10", 0},
                                                          {"010", 10},
                                                          {"2147483647", INT_MAX},
                                                          {"2147483648", INT_MAX},
                                                          {"-2147483649", INT_MIN},
                                                          {"99999999999999999999999", INT_MAX}};
    for (const BodyMember& member : members({Stored::rate})) {
        for (const auto& [text, rate] : cases)
            expect_number(member, text, rate);
    }
}

TEST_P(EachSettings, KeysAreFoundInAnyCase) {
    for (const BodyMember& member : GetParam().members) {
        SCOPED_TRACE(member.pointer);
        const json::json_pointer at(member.pointer);
        json body = without(member.pointer);
        std::string key = at.back();
        for (char& character : key)
            character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
        body[at.parent_pointer()][key] = GetParam().body[at];
        expect_applied(GetParam(), body, GetParam().record);
    }
}

TEST_P(EachSettings, OtherMembersAreIgnored) {
    json body = GetParam().body;
    body["more"] = {1, 2, 3};
    body["data"]["more"] = "more";
    expect_applied(GetParam(), body, GetParam().record);
}

TEST_P(EachSettings, OfDoubledMembersTheFirstCounts) {
    std::string body = GetParam().body.dump();
    body.pop_back();
    const SettingsModel& model = GetParam();
    fake::device().allow({model.setter});
    if (model.check != nullptr)
        fake::device().allow({model.check});
    EXPECT_EQ(serve(model.handler, body + R"(, "data": null, "action": "?"})"), success());
    EXPECT_EQ(given(model.setter).at(0), model.record.bytes());
}

TEST_P(EachSettings, BytesBehindTheJsonAreIgnored) {
    const SettingsModel& model = GetParam();
    fake::device().allow({model.setter});
    if (model.check != nullptr)
        fake::device().allow({model.check});
    for (const std::string& tail : {std::string(" \r\n"), std::string("\0\xff", 2)}) {
        EXPECT_EQ(serve(model.handler, model.body.dump() + tail), success());
        EXPECT_EQ(given(model.setter).at(0), model.record.bytes());
    }
}

INSTANTIATE_TEST_SUITE_P(Resources, EachSettings, ::testing::ValuesIn(settings_models()), name_of);
INSTANTIATE_TEST_SUITE_P(Resources, SettingsWithFlags,
                         ::testing::ValuesIn(models_with({Stored::flag})), name_of);
INSTANTIATE_TEST_SUITE_P(Resources, SettingsWithTexts,
                         ::testing::ValuesIn(models_with({Stored::text, Stored::percent})),
                         name_of);
INSTANTIATE_TEST_SUITE_P(Resources, SettingsWithPercentSigns,
                         ::testing::ValuesIn(models_with({Stored::percent})), name_of);
INSTANTIATE_TEST_SUITE_P(Resources, SettingsWithNumbers,
                         ::testing::ValuesIn(models_with({Stored::number, Stored::decimal})),
                         name_of);
INSTANTIATE_TEST_SUITE_P(Resources, SettingsWithRates,
                         ::testing::ValuesIn(models_with({Stored::rate})), name_of);

} // namespace
