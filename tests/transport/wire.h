// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

/**
 * @file
 * CoAP over TCP as bytes, written down a second time: the tests judge what is on the wire without
 * the library that put it there.
 */
namespace transport {

enum Code : std::uint8_t {
    kEmpty = 0x00,
    kGet = 0x01,
    kPost = 0x02,
    kPut = 0x03,
    kDelete = 0x04,
    kContent = 0x45,          // 2.05
    kBadOption = 0x82,        // 4.02
    kNotFound = 0x84,         // 4.04
    kMethodNotAllowed = 0x85, // 4.05
    kCsm = 0xE1,              // 7.01
    kPing = 0xE2,
    kPong = 0xE3,
    kRelease = 0xE4,
    kAbort = 0xE5,
};

enum OptionNumber : std::uint16_t {
    kUriHost = 3,
    kUriPort = 7,
    kUriPath = 11,
    kUriQuery = 15,
    kBlock2 = 23,
    kAccessToken = 2049,
    kEcho1 = 2050,
    kEcho2 = 2051,
    kEcho3 = 2052,
};

struct Option {
    std::uint16_t number;
    std::string value;
    bool operator==(const Option&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Option& option);

using Options = std::vector<Option>;

struct Message {
    std::uint8_t code = kEmpty;
    std::string token;
    Options options; ///< sorted by number
    std::string body;

    /** The first option of that number. */
    std::optional<std::string> option(std::uint16_t number) const;
    /** All path segments, joined by slashes. */
    std::string path() const;
};

/** The bytes of a message. */
std::string encode(const Message& message);

/** How many bytes stand before the token: length, its extension, and code. */
std::size_t header_size(const std::string& encoded);

/**
 * Takes the first whole message off a stream; nothing when it is incomplete.
 * @throws std::runtime_error when the bytes are no CoAP
 */
std::optional<Message> take_message(std::string& stream);

/** An unsigned number as options carry it: most significant byte first, no leading zeros. */
std::string number_value(std::uint32_t number);

/** A platform's first message; without a size it leaves the limit at 1,152. */
Message csm(std::optional<std::uint32_t> max_message_size = 8 * 1024 * 1024);

/** A request of the platform, its path split at the slashes. */
Message request(std::uint8_t code, const std::string& path, const Options& more = {},
                const std::string& body = {}, const std::string& token = {});

} // namespace transport
