// SPDX-License-Identifier: MIT
#pragma once

#include "json.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vxp {

/// The operator's private options; all of them carry text of at most 255 bytes.
enum PrivateOption : std::uint16_t {
    optionAccessToken = 2049,
    optionRequestId = 2050,
    optionSessionId = 2051,
    optionTraceId = 2052,
};

inline constexpr std::size_t maxPrivateOptionLength = 255;

/// Codes of CoAP's header, class in the upper three bits.
constexpr int coapCode(int codeClass, int detail) {
    return codeClass * 32 + detail;
}

inline constexpr int codeGet = coapCode(0, 1);
inline constexpr int codePost = coapCode(0, 2);
inline constexpr int codePut = coapCode(0, 3);
inline constexpr int codeDelete = coapCode(0, 4);
inline constexpr int codeContent = coapCode(2, 5);
inline constexpr int codeNotFound = coapCode(4, 4);
inline constexpr int codeMethodNotAllowed = coapCode(4, 5);

struct Option {
    std::uint16_t number = 0;
    std::string value;
};

/// What carries a message: the platform channel's frames have nothing but a payload.
enum class Carrier { coap, frame };

/// One message, free of the library that carries it.
struct Message {
    int code = 0;
    std::string token;
    std::string path;            ///< without a leading slash
    std::string query;           ///< the parts joined by "&"
    std::vector<Option> options; ///< all but path and query, by number
    std::string payload;
    Carrier carrier = Carrier::coap;

    /// @return the value of the first option of that number, or null
    [[nodiscard]] const std::string* option(std::uint16_t number) const;
};

/// "POST", "2.05", "7.01".
std::string codeText(int code);

/// @return the code named by "GET" (any case) or by "2.05", or -1
int parseCode(std::string_view text);

/// "access-token", "uri-host", or the number when the option has no name here.
std::string optionName(std::uint16_t number);

/// The value as a person reads it: numbers as numbers, texts quoted.
std::string optionText(const Option& option);

/// The members that describe a message in the journal.
Json describeMessage(const Message& message);

} // namespace vxp
