// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <coap3/coap.h>

/** A confirmable message as libcoap hands it to the daemon's handlers, with or without a payload.
 */
class CoapMessage {
public:
    CoapMessage(coap_pdu_code_t code, const std::optional<std::string>& body);
    [[nodiscard]] const coap_pdu_t* pdu() const { return pdu_.get(); }

private:
    struct Delete {
        void operator()(coap_pdu_t* pdu) const { coap_delete_pdu(pdu); }
    };
    std::unique_ptr<coap_pdu_t, Delete> pdu_;
};
