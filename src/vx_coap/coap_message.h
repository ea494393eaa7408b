// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <coap3/coap.h>

/** @file A CoAP message that is ours until it is handed to libcoap. */
namespace vxq {

struct DeletePdu {
    void operator()(coap_pdu_t* message) const { coap_delete_pdu(message); }
};
using Message = std::unique_ptr<coap_pdu_t, DeletePdu>;

} // namespace vxq
