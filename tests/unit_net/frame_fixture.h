// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <gmock/gmock.h>

#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/journal.h"
#include "unit_net/log_lines.h"
#include "unit_net/peer_codec.h"
#include "unit_net/socket_pair.h"
#include "unit_net/system_calls.h"
#include "vx_socket/frame_socket.h"

/** The framing on real sockets, with a key in the device library's fake. */
class FrameTest : public testing::Test {
protected:
    FrameTest();
    ~FrameTest() override;

    int daemon() const { return pair.daemon.get(); }
    int platform() const { return pair.platform.get(); }

    const std::string key = peer::random_bytes(16, 77);
    peer::SocketPair pair = peer::local_pair();
};
