// SPDX-License-Identifier: MIT
#include "protocol/request.h"

#include <cstring>

#include "vx_coap/frame_coap.h"

namespace vxq {

int post_request(const JsonText& body, const char* path) {
    if (body)
        frame_coap_send(COAP_MESSAGE_CON, COAP_REQUEST_CODE_POST, body.get(),
                        std::strlen(body.get()), path);
    return 0;
}

} // namespace vxq
