// SPDX-License-Identifier: MIT
#include "protocol/platform_session.h"

#include "protocol/platform_exchange.h"
#include "tnjsonapi/tn_session.h"
#include <vxquilan/device.h>

namespace {

using vxq::PlatformExchange;
using vxq::ReplyBuffer;

constexpr PlatformExchange kPublicKey{"profession_public_key", tn_public_key, kFramePlain, 5};
constexpr PlatformExchange kDhPublicKey{"profession_dh_public_key", tn_dh_public_key, kFramePlain,
                                        5};
constexpr PlatformExchange kDeviceReg{"profession_device_reg", tn_device_reg, kFrameEncrypted, 20};
constexpr PlatformExchange kHeartbeat{"profession_heartbeat", tn_device_heartbeat, kFrameEncrypted,
                                      0};

/** The whole of an exchange; `parse` takes the reply's text and returns 0 when it is a good one. */
template <typename Parse>
int carry_out(const PlatformExchange& exchange, int sock, Parse parse) {
    ReplyBuffer reply;
    int error = run_exchange(exchange, sock, reply);
    if (error == 0)
        error = parse(reply.text);
    if (error == 0)
        port_device_sequence_set();
    return error;
}

int no_reply(const char*) {
    return 0;
}

} // namespace

int profession_public_key(int sock, int* key_mode) {
    return carry_out(kPublicKey, sock, [key_mode](const char* reply) {
        return tn_public_key_parse(reply, key_mode);
    });
}

int profession_dh_public_key(int sock) {
    return carry_out(kDhPublicKey, sock, tn_dh_public_key_parse);
}

int profession_device_reg(int sock) {
    return carry_out(kDeviceReg, sock, tn_device_ack);
}

int profession_heartbeat(int sock) {
    return carry_out(kHeartbeat, sock, no_reply);
}

int profession_ack(int sock, const char*, int sequence) {
    vxq::send_logged("profession_ack", sock, tn_ack_resp(sequence), kFrameEncrypted);
    return 0;
}
