// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

/** @file JSON as the model of the settings bodies sees it. */
namespace fuzz {

/** A value with everything that its text says: doubled keys and their order included. */
struct Value {
    enum Type : int { kFalse, kTrue, kNull, kNumber, kText, kArray, kObject };

    Type type = kNull;
    double number = 0;
    std::string text;
    /** Of objects and arrays; the latter's have empty keys. */
    std::vector<std::pair<std::string, Value>> members;

    bool operator==(const Value&) const = default;

    /** An object's first member with this key, in any case; null when there is none. */
    [[nodiscard]] const Value* find(const std::string& key) const;
};

/**
 * Reads a body. What is JSON is settled by the daemon's JSON library, which is laxer than the
 * standard in some things (control characters, broken UTF-8); where a strict parser takes the text
 * as well, both must have read the same.
 */
std::optional<Value> parse_value(const std::string& body);

} // namespace fuzz
