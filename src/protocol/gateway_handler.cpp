// SPDX-License-Identifier: MIT
#include "protocol/gateway_handler.h"

#include <cstring>

#include "appjsonapi/app_errcode.h"
#include "log/log.h"
#include "vx_coap/frame_coap.h"

namespace vxq {

namespace {

constexpr std::uint8_t kContent = 69; // 2.05

} // namespace

void answer_request(const coap_pdu_t* request, const JsonText& document) {
    if (document)
        frame_coap_response(request, COAP_MESSAGE_NON, kContent, document.get(),
                            std::strlen(document.get()));
}

bool serve_action(const coap_session_t* session, const coap_pdu_t* request, const char* path,
                  int (*action)()) {
    if (frame_coap_serves(session) == 0)
        return false;
    QUILAN_LOG(VX_LOG_PROGRESS, "%s\n", path);
    answer_request(request, app_errcode(kGatewaySuccess, ""));
    if (action != nullptr)
        action();
    return true;
}

} // namespace vxq
