// SPDX-License-Identifier: MIT
#include "vx_coap/frame_coap.h"

#include <cassert>
#include <cstdio>
#include <cstring>

#include "log/log.h"
#include "state/state.h"
#include "text/text.h"
#include "vx_coap/coap_endpoint.h"
#include "vx_coap/coap_message.h"
#include "vx_coap/coap_options.h"
#include "vx_coap/session_life.h"

namespace vxq {

namespace {

constexpr std::size_t kUriBuffer = 128;
constexpr coap_log_t kLogDebug = static_cast<coap_log_t>(7);

// The two exchanges that make the gateway known: it has no access token yet, or an old one.
constexpr const char* kPathsWithoutToken[] = {".sys/activate", ".sys/login"};

struct Body {
    const char* data;
    std::size_t length;
};

/**
 * Room for options and body in one message. Until the platform has announced its limit the one
 * that CoAP over TCP starts with holds; asking libcoap then would make it wait for the
 * announcement on this thread, handlers included.
 */
std::size_t message_limit(const coap_session_t* session) {
    constexpr std::size_t kInitialLimit = 1152;
    constexpr std::size_t kLargestHeader = 4;
    if (coap_session_get_state(session) != COAP_SESSION_STATE_ESTABLISHED)
        return kInitialLimit - kLargestHeader;
    return coap_session_max_pdu_size(session);
}

Message new_message(std::uint8_t type, std::uint8_t code, coap_mid_t message_id) {
    assert(CoapLock::held());
    return Message(coap_pdu_init(static_cast<coap_pdu_type_t>(type),
                                 static_cast<coap_pdu_code_t>(code), message_id,
                                 message_limit(g_coap_session)));
}

/** Adds the body; false when it does not fit. */
bool add_body(coap_pdu_t* message, const Body& body) {
    return body.length == 0 || coap_add_data(message, body.length,
                                             reinterpret_cast<const std::uint8_t*>(body.data)) != 0;
}

/** Half a message must not go out. */
void log_unfit(const Body& body, const char* caller) {
    QUILAN_LOG(VX_LOG_ERROR, "%s : message with %lu bytes of body does not fit, not sent\n", caller,
               static_cast<unsigned long>(body.length));
}

void hand_over(Message message) {
    assert(CoapLock::held());
    if (coap_send(g_coap_session, message.release()) == COAP_INVALID_MID) {
        std::fputs("send err", stdout);
        std::fflush(stdout);
    }
}

bool carries_token(const char* path) {
    for (const char* const without : kPathsWithoutToken) {
        if (std::strcmp(path, without) == 0)
            return false;
    }
    return true;
}

void add_request_options(const char* path, OptionList& options) {
    const CoapEndpoint endpoint = read_endpoint();
    char uri[kUriBuffer];
    format_text(uri, sizeof uri, "coap+tcp://%s:%d/%s", endpoint.host.text(), endpoint.port, path);
    cmdline_uri(uri, options);
    options.add_text(COAP_OPTION_URI_HOST, endpoint.host.text());
    if (carries_token(path))
        add_access_token(options);
}

} // namespace

} // namespace vxq

using namespace vxq;

int frame_coap_send(std::uint8_t type, std::uint8_t code, const char* data, std::size_t length,
                    const char* path) {
    if (g_run_flag == 0)
        return 0;
    const CoapWork work;
    if (g_coap_session == nullptr)
        return 0;
    Message message = new_message(type, code, coap_new_message_id(g_coap_session));
    if (!message) {
        QUILAN_LOG(VX_LOG_ERROR, "%s : %d\n", "frame_coap_send", __LINE__);
        return -1;
    }
    OptionList options;
    add_request_options(path, options);
    const Body body{data, length};
    if (!options.attach(message.get()) || !add_body(message.get(), body)) {
        log_unfit(body, "frame_coap_send");
        return -1;
    }
    coap_log(kLogDebug, "sending CoAP request:\n");
    hand_over(std::move(message));
    s_session_life.carried = true;
    return 0;
}

int frame_coap_response(const coap_pdu_t* request, std::uint8_t type, std::uint8_t code,
                        const char* data, std::size_t length) {
    const CoapWork work;
    // libcoap would connect once more to send into a connection that is gone.
    if (g_coap_session == nullptr || s_session_life.lost)
        return 0;
    Message message = new_message(type, code, coap_pdu_get_mid(request));
    if (!message) {
        QUILAN_LOG(VX_LOG_ERROR, "%s : %d\n", "frame_coap_response", __LINE__);
        return 0;
    }
    const Body body{data, length};
    if (!add_answer_options(request, message.get()) || !add_body(message.get(), body)) {
        log_unfit(body, "frame_coap_response");
        return 0;
    }
    coap_show_pdu(kLogDebug, message.get());
    hand_over(std::move(message));
    return 0;
}
