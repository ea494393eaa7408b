// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "report.h"
#include "site.h"
#include "transports.h"
#include "waiting.h"
#include "waits.h"

namespace netfaults {

/** Skips the test where there can be no namespaces. */
class FaultTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string reason = obstacle();
        if (!reason.empty())
            GTEST_SKIP() << reason;
    }

    Site& build(const Plan& plan) {
        site_ = std::make_unique<Site>(plan);
        return *site_;
    }
    Site& site() { return *site_; }

    /** Waits until the relay has done what it was told to; the time. */
    double wait_for_relay() {
        EXPECT_TRUE(
            e2e::wait_until([&] { return site().relay().done(); }, std::chrono::seconds(80)))
            << "the stream was shorter than that";
        return now();
    }

    /** Waits until the daemon has read what the relay has passed on, and nothing is on its way. */
    void wait_until_settled() {
        EXPECT_TRUE(e2e::wait_until(
            [&] { return site().relay().acknowledged() && site().gateway_host().is_settled(); }));
    }

    /**
     * Starts the gateway up to a request that is not answered; how many bytes it has been given by
     * then. Others are given as many before their first request of that kind.
     */
    std::size_t bytes_before_reply(const std::string& request) {
        site().platform().command("set " + request + " silence times=1");
        site().gateway().start();
        site().platform().wait_for("request:" + request);
        return site().relay().passed();
    }
    /** Starts another gateway whose stream ends behind that many bytes; the time of that. */
    double start_until(std::size_t bytes, Then then) {
        site().renew_gateway();
        site().relay().allow(bytes, then);
        site().gateway().start();
        return wait_for_relay();
    }

private:
    std::unique_ptr<Site> site_;
};

/** A fault that comes over either transport. */
class TransportFault : public FaultTest, public testing::WithParamInterface<e2e::Transport> {
protected:
    static std::string title(const std::string& fault) {
        return fault + ", " + testing::PrintToString(GetParam());
    }
};

/** The trials of one test, of as many as there are in all of its siblings together. */
struct Share {
    int number; ///< from 0
    int of;

    /** Whether trial `index` of all is made, here. In the short form one in `sparse` is. */
    bool has(std::size_t index, std::size_t sparse) const {
        const std::size_t step = all_trials() ? 1 : sparse;
        return index % step == 0 &&
               index / step % static_cast<std::size_t>(of) == static_cast<std::size_t>(number);
    }

    /** Makes trials that each cut a stream of that length at another byte, until one gives up. */
    void cut_at_each_byte(std::size_t length, std::size_t sparse,
                          const std::function<bool(std::size_t byte)>& trial) const {
        for (std::size_t byte = 0; byte < length; ++byte) {
            if (!has(byte, sparse))
                continue;
            SCOPED_TRACE(byte);
            if (!trial(byte))
                return;
        }
    }
};

inline std::string name_of(const testing::TestParamInfo<Share>& share) {
    return std::to_string(share.param.number + 1) + "of" + std::to_string(share.param.of);
}

inline void PrintTo(const Share& share, std::ostream* stream) {
    *stream << share.number + 1 << " of " << share.of;
}

/** `of` shares, for INSTANTIATE_TEST_SUITE_P. */
inline std::vector<Share> shares(int of) {
    std::vector<Share> result;
    for (int number = 0; number < of; ++number)
        result.push_back({number, of});
    return result;
}

} // namespace netfaults
