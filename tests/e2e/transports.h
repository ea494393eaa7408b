// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "platform.h"

namespace e2e {

/** Names the tests of INSTANTIATE_TEST_SUITE_P. */
inline std::string name_of_transport(const testing::TestParamInfo<Transport>& transport) {
    return transport.param == Transport::tls ? "Tls" : "Tcp";
}

} // namespace e2e
