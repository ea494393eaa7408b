// SPDX-License-Identifier: MIT
#include "support/coap_message.h"

#include <cstdint>
#include <new>

namespace {

constexpr coap_mid_t kMessageId = 7;
constexpr std::size_t kRoomForOptions = 64;

} // namespace

CoapMessage::CoapMessage(coap_pdu_code_t code, const std::optional<std::string>& body)
    : pdu_(coap_pdu_init(COAP_MESSAGE_CON, code, kMessageId,
                         kRoomForOptions + (body ? body->size() : 0))) {
    if (!pdu_)
        throw std::bad_alloc();
    if (body && coap_add_data(pdu_.get(), body->size(),
                              reinterpret_cast<const std::uint8_t*>(body->data())) == 0)
        throw std::bad_alloc();
}
