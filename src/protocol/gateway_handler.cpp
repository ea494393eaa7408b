// SPDX-License-Identifier: MIT
#include "protocol/gateway_handler.h"

#include <cstring>

#include "log/log.h"
#include "vx_coap/frame_coap.h"

namespace vxq {

namespace {

constexpr std::uint8_t kContent = 69; // 2.05

RequestBody body_of(const coap_pdu_t* request) {
    std::size_t length = 0;
    const std::uint8_t* data = nullptr;
    if (coap_get_data(request, &length, &data) == 0)
        return {};
    return {reinterpret_cast<const char*>(data), length};
}

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

void serve_status(const coap_session_t* session, const coap_pdu_t* request, const char* path,
                  JsonText (*build)()) {
    if (frame_coap_serves(session) == 0)
        return;
    QUILAN_LOG(VX_LOG_PROGRESS, "%s\n", path);
    answer_request(request, build());
}

void serve_settings(const coap_session_t* session, const coap_pdu_t* request, const char* verb,
                    const char* path, SettingsChange change) {
    if (frame_coap_serves(session) == 0)
        return;
    QUILAN_LOG(VX_LOG_PROGRESS, "%s%s\n", verb, path);
    ParameterPath parameter{};
    const int result = change(body_of(request), parameter);
    answer_request(request, app_errcode(result, parameter));
}

void write_clash(std::span<const ClashMessage> clashes, int code, ParameterPath& path) {
    for (const ClashMessage& clash : clashes) {
        if (clash.code == code)
            copy_text(path, clash.message);
    }
}

} // namespace vxq
