// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/case_name.h"
#include "support/fake_coap.h"
#include "support/fake_device.h"
#include "support/fake_log.h"
#include "support/fake_os.h"
#include "support/journal.h"
#include "support/json_memory.h"

/**
 * A test of the daemon's modules among fakes: everything starts afresh, a sample gateway answers
 * the device library's getters, setters have to be allowed, and a call that breaks the interface's
 * contract fails the test.
 */
class DaemonTest : public testing::Test {
protected:
    DaemonTest();
    ~DaemonTest() override;
};

/** The same with a running session. */
class SessionTest : public DaemonTest {
protected:
    SessionTest() { fake::coap().open_session(); }
};

using Texts = std::vector<std::string>;

inline fake::Microseconds after_seconds(double count) {
    return fake::Microseconds(static_cast<long>(count * 1e6));
}

/** Elapsed seconds at which requests went out. */
std::vector<double> send_times();
/** The paths of the requests that went out. */
Texts sent_paths();
