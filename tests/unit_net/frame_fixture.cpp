// SPDX-License-Identifier: MIT
#include "unit_net/frame_fixture.h"

#include <array>
#include <cstring>

FrameTest::FrameTest() {
    fake::device().reset();
    fake::log().reset();
    std::array<char, 128> stored{};
    std::memcpy(stored.data(), key.data(), key.size());
    stored[16] = 'x'; // not part of the key
    fake::device().set_record("port_device_encryptkey_get", stored);
    fake::journal().clear();
    calls::reset();
}

FrameTest::~FrameTest() {
    EXPECT_THAT(fake::journal().complaints(), testing::IsEmpty());
    for (const fake::LogLine& line : fake::log().lines())
        EXPECT_EQ(line.module, "quilan") << line.text;
    calls::reset();
}
