// SPDX-License-Identifier: MIT
// One refresh after the other in one session, and what is left of the attempts.
#include "strict/strictness.h"
#include "unit/loop_fixture.h"

#include <algorithm>

namespace {

class Refreshes : public LoopTest {
protected:
    Refreshes() {
        platform.reply(".sys/login", kTokenReply);
        platform.reply(".sys/devInfoSync", kOkReply);
        platform.reply(".sys/refresh", kTokenReply);
        loop.start();
        pass_until(16);
    }
    /** What the heartbeat thread does when the token has expired, so many times. */
    void refresh(int times = 1) {
        for (int time = 0; time < times; ++time) {
            g_quilan_status = 14;
            pass_until(16);
        }
    }
    static long sent() {
        const Texts paths = sent_paths();
        return std::count(paths.begin(), paths.end(), ".sys/refresh");
    }
    static bool forgotten() {
        const Texts deeds = fake::journal().deeds();
        return std::find(deeds.begin(), deeds.end(), "port_device_id_set(\"\")") != deeds.end();
    }

    ReplyingPlatform platform;
};

TEST_F(Refreshes, ThreeInOneSessionAreFine) {
    refresh(3);
    EXPECT_EQ(sent(), 3);
    EXPECT_FALSE(forgotten());
    EXPECT_NE(g_coap_session, nullptr);
}

TEST_F(Refreshes, TheFourthForgetsTheDeviceUnlessEachStartsTheCountAnew) {
    refresh(4);
    EXPECT_EQ(sent(), kStrict ? 4 : 3);
    EXPECT_EQ(forgotten(), !kStrict);
    EXPECT_EQ(g_coap_session == nullptr, !kStrict);
}

TEST_F(Refreshes, FailuresAreCountedInEitherBuild) {
    refresh();
    platform.reply(".sys/refresh", R"({"errcode":7})");
    refresh();
    EXPECT_EQ(sent(), kStrict ? 1 + 3 : 1 + 2);
    EXPECT_TRUE(forgotten());
    EXPECT_EQ(g_coap_session, nullptr);
}

TEST_F(Refreshes, AThousandInOneSessionKeepTheDeviceOnlyWhenTheCountStartsAnew) {
    refresh(1000);
    EXPECT_EQ(sent(), kStrict ? 1000 : 3);
    EXPECT_EQ(forgotten(), !kStrict);
}

} // namespace
