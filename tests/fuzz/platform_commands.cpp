// SPDX-License-Identifier: MIT
// A message of the platform as text, for the command dispatcher and for the parsers of the replies
// that open a session.
#include "fuzz/harness.h"
#include "fuzz/platform_channel.h"
#include "tnjsonapi/tn_session.h"
#include "unit_net/socket_pair.h"
#include "vxquilan/frame_tcp_recv.h"

namespace {

void parse_replies(const char* text) {
    int mode = 0;
    const int result = tn_public_key_parse(text, &mode);
    fuzz::require(result != 0 || mode == kKeyModeDh || mode == kKeyModeEcdh, "no key mode");
    fuzz::require((result == 0) == (mode != 0), "a key mode in spite of a refusal");
    tn_device_ack(text);
    tn_dh_public_key_parse(text);
}

} // namespace

void fuzz::run(Input input) {
    static const peer::SocketPair pair = peer::local_pair();
    const std::string text = input.rest();
    const World world;
    open_platform_channel();
    frame_tcp_process(pair.daemon.get(), text.c_str());
    peer::read_available(pair.platform.get());
    run_started_threads();
    check_records();
    parse_replies(text.c_str());
}
