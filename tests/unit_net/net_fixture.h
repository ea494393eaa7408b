// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/fake_os.h"
#include "support/journal.h"
#include "support/json_memory.h"
#include "support/record_bytes.h"
#include "unit_net/fake_frame.h"
#include "unit_net/log_lines.h"
#include <vxquilan/device.h>
#include <vxquilan/log.h>

/**
 * A test of the platform channel's modules among fakes: everything starts afresh, a sample gateway
 * answers the device library's getters, setters have to be allowed, and whatever breaks a contract
 * fails the test.
 */
class NetTest : public testing::Test {
protected:
    NetTest();
    ~NetTest() override;

    static constexpr int kSock = 9;
};

/** The texts that were sent. */
Lines sent_texts();

/** What an acknowledgement looks like. */
std::string ack_text(int sequence);

/** Names of the calls of the device library that change something, with their arguments. */
Lines device_calls();

/** The bytes of the record that the last call of an operation was given. */
std::vector<unsigned char> last_record(const std::string& operation);

template <class Record>
std::vector<unsigned char> bytes_of(const Record& record) {
    std::vector<unsigned char> bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}
