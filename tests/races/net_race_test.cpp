// SPDX-License-Identifier: MIT
#include <cstdio>

#include <gtest/gtest.h>

#include "races/library_threads.h"
#include "races/net_platform.h"
#include "races/race_clock.h"
#include "races/race_device.h"
#include "races/race_test.h"
#include "races/schedule.h"
#include "state/state.h"
#include "support/running.h"
#include "transport/waiting.h"
#include "vxquilan/frame_vxquilan_net.h"

/**
 * @file
 * The platform channel's threads all at once: loop, receive thread, heartbeat thread, upgrades, two
 * threads of the device library, and a platform that does what it likes.
 */
namespace races {

namespace {

using transport::wait_until;

void reset_flags() {
    for (auto* const word :
         {&g_quilan_status, &g_tcp_flag, &g_tcp_thread, &g_heartbeat_thread, &g_heartbeat_recvflag})
        *word = 0;
}

} // namespace

class NetRace : public RaceTest {
protected:
    void race(std::uint32_t seed, int turns) {
        reset_flags();
        NetPlatform platform(Random(seed, 0), turns);
        {
            const Running<vxq::NetLoop> loop;
            {
                const LibraryThreads library(seed);
                EXPECT_TRUE(wait_until([&] { return platform.had_its_turns(); }));
            }
            platform.behave();
            EXPECT_TRUE(wait_until([&] { return platform.serves_a_gateway(); }))
                << "not online again, state " << g_quilan_status;
            set_pace(kHurry);
            tally_ += platform.stop();
        }
        EXPECT_TRUE(wait_until([] { return look(device().upgrades) == 0; }));
        EXPECT_EQ(g_tcp_thread, 0);
        EXPECT_EQ(g_heartbeat_thread, 0);
    }

    NetPlatform::Tally tally_;
};

TEST_F(NetRace, OfAllItsThreads) {
    run_seeds(12, 150, [this](std::uint32_t seed, int turns) { race(seed, turns); });
    EXPECT_GT(tally_.registrations, 0);
    EXPECT_GT(tally_.answers, 0);
    std::printf("%d connections, %d registrations, %d of %d commands answered\n",
                tally_.connections, tally_.registrations, tally_.answers, tally_.commands);
}

} // namespace races
