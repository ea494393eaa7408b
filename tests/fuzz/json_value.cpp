// SPDX-License-Identifier: MIT
#include "fuzz/json_value.h"

#include <algorithm>
#include <memory>
#include <strings.h>

#include <cjson/cJSON.h>
#include <nlohmann/json.hpp>

#include "fuzz/harness.h"

namespace fuzz {

namespace {

// What cJSON can't read although it is JSON.
constexpr std::size_t kDeepest = 1000;
constexpr std::size_t kLongestNumber = 63;
// With a byte order mark, which is not JSON itself, before it.
constexpr std::size_t kShortestMarked = 5;

/** Builds a value from the events of the strict parser. */
class Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    [[nodiscard]] Value take() { return std::move(root_); }
    /** The text holds something that cJSON is known not to read. */
    [[nodiscard]] bool beyond_cjson() const { return beyond_cjson_; }

    bool null() override { return put(Value::kNull); }
    bool boolean(bool value) override { return put(value ? Value::kTrue : Value::kFalse); }
    bool number_integer(number_integer_t value) override {
        return put_number(static_cast<double>(value));
    }
    bool number_unsigned(number_unsigned_t value) override {
        return put_number(static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t& text) override {
        beyond_cjson_ = beyond_cjson_ || text.size() > kLongestNumber;
        return put_number(value);
    }
    bool string(string_t& value) override {
        Value text{Value::kText, 0, until_nul(value), {}};
        return place(std::move(text)) != nullptr;
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(Value::kObject); }
    bool start_array(std::size_t) override { return open(Value::kArray); }
    bool key(string_t& value) override {
        key_ = until_nul(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    /** The daemon's texts end at a NUL. */
    static std::string until_nul(const std::string& text) { return text.c_str(); }

    Value* place(Value value) {
        if (open_.empty()) {
            root_ = std::move(value);
            return &root_;
        }
        auto& members = open_.back()->members;
        members.emplace_back(open_.back()->type == Value::kObject ? key_ : "", std::move(value));
        return &members.back().second;
    }
    bool put(Value::Type type) { return place({type, 0, {}, {}}) != nullptr; }
    bool put_number(double number) { return place({Value::kNumber, number, {}, {}}) != nullptr; }
    bool open(Value::Type type) {
        open_.push_back(place({type, 0, {}, {}}));
        beyond_cjson_ = beyond_cjson_ || open_.size() > kDeepest;
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    Value root_;
    std::vector<Value*> open_; ///< the parents; a parent's members don't move while one is open
    std::string key_;
    bool beyond_cjson_ = false;
};

struct DeleteTree {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};

bool too_short_for_mark(const std::string& body) {
    return body.starts_with("\xEF\xBB\xBF") && body.size() < kShortestMarked;
}

Value::Type type_of(const cJSON& item) {
    if (cJSON_IsFalse(&item) != 0)
        return Value::kFalse;
    if (cJSON_IsTrue(&item) != 0)
        return Value::kTrue;
    if (cJSON_IsNull(&item) != 0)
        return Value::kNull;
    if (cJSON_IsNumber(&item) != 0)
        return Value::kNumber;
    if (cJSON_IsString(&item) != 0)
        return Value::kText;
    return cJSON_IsArray(&item) != 0 ? Value::kArray : Value::kObject;
}

Value convert(const cJSON& item) {
    Value value;
    value.type = type_of(item);
    if (value.type == Value::kNumber)
        value.number = item.valuedouble;
    if (value.type == Value::kText)
        value.text = item.valuestring;
    for (const cJSON* child = item.child; child != nullptr; child = child->next)
        value.members.emplace_back(child->string != nullptr ? child->string : "", convert(*child));
    return value;
}

} // namespace

const Value* Value::find(const std::string& key) const {
    if (type != kObject)
        return nullptr;
    const auto found = std::find_if(members.begin(), members.end(), [&key](const auto& member) {
        return strcasecmp(member.first.c_str(), key.c_str()) == 0;
    });
    return found != members.end() ? &found->second : nullptr;
}

std::optional<Value> parse_value(const std::string& body) {
    const std::unique_ptr<cJSON, DeleteTree> tree(cJSON_ParseWithLength(body.data(), body.size()));
    Builder strict;
    const bool standard = nlohmann::json::sax_parse(
        body, &strict, nlohmann::json::input_format_t::json, false /* bytes may follow */);
    if (!tree) {
        require(!standard || strict.beyond_cjson() || too_short_for_mark(body),
                "JSON that was not taken");
        return std::nullopt;
    }
    Value value = convert(*tree);
    const Value read_strictly = strict.take();
    // Of "007" by itself one reads a 0, behind which bytes may follow, and the other a 7.
    const bool bare_numbers = value.type == Value::kNumber && read_strictly.type == Value::kNumber;
    require(!standard || bare_numbers || value == read_strictly,
            "JSON that two parsers read differently");
    return value;
}

} // namespace fuzz
