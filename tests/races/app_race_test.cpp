// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "races/app_platform.h"
#include "races/library_threads.h"
#include "races/race_clock.h"
#include "races/race_device.h"
#include "races/race_test.h"
#include "races/schedule.h"
#include "state/state.h"
#include "support/running.h"
#include "transport/libcoap_probe.h"
#include "transport/waiting.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/frame_vxquilan.h"
#include <vxquilan/entry_points.h>

/**
 * @file
 * The app channel's threads all at once: main loop, receive thread, heartbeat thread, two threads
 * of the device library that call the entry points, and a platform that does what it likes. When it
 * behaves again, the gateway must come back, and when all is over nothing may be left.
 */
namespace races {

namespace {

using transport::wait_until;

void reset_flags() {
    for (auto* const word :
         {&g_quilan_status, &g_coap_recvflag, &g_app_count, &g_activate_flag, &g_coap_refused,
          &g_run_flag, &g_coap_recv_thread, &g_heartbeat_app_thread})
        *word = 0;
}

bool is_parked() {
    return g_quilan_status == kAppOnline && !look(device().bound);
}

using Platforms = std::vector<std::unique_ptr<AppPlatform>>;

/**
 * Waits until the gateway is online, at any of them: it may have set out for one just before it
 * moved to another. Only one that was forgotten is helped, as its owner would.
 */
bool comes_back(const Platforms& platforms) {
    return wait_until([&] {
        if (is_parked())
            profession_sys_register_code("code");
        return g_quilan_status == kAppOnline &&
               std::any_of(platforms.begin(), platforms.end(),
                           [](const auto& each) { return each->serves_a_gateway(); });
    });
}

bool had_their_turns(const Platforms& platforms) {
    return std::all_of(platforms.begin(), platforms.end(),
                       [](const auto& each) { return each->had_its_turns(); });
}

bool lock_is_free() {
    const bool taken = pthread_mutex_trylock(&g_coap_lock) == 0;
    if (taken)
        pthread_mutex_unlock(&g_coap_lock);
    return taken;
}

} // namespace

class AppRace : public RaceTest {
protected:
    /** @param platforms  whether each is reached over TLS; the gateway begins at the first one */
    void run(const std::vector<bool>& platforms, int ordinary_seeds) {
        run_seeds(ordinary_seeds, kTurns,
                  [&](std::uint32_t seed, int turns) { race(seed, turns, platforms); });
        EXPECT_GT(tally_.connections, 0);
        EXPECT_GT(tally_.heartbeats, 0);
        EXPECT_GT(tally_.answers, 0);
        std::printf("%d connections, %d dropped; %d requests of the gateway, %d heartbeats; "
                    "%d of %d requests answered\n",
                    tally_.connections, tally_.drops, tally_.requests, tally_.heartbeats,
                    tally_.answers, tally_.asked);
    }

private:
    static constexpr int kTurns = 300;

    void race(std::uint32_t seed, int turns, const std::vector<bool>& kinds) {
        reset_flags();
        probe::reset();
        const long objects = probe::objects();
        {
            Platforms platforms;
            Addresses addresses;
            for (const bool tls : kinds) {
                platforms.push_back(std::make_unique<AppPlatform>(
                    AppPlatform::Manner{tls, kinds.size() > 1, turns},
                    Random(seed, static_cast<std::uint32_t>(platforms.size()))));
                addresses.push_back({platforms.back()->port(), tls});
            }
            misbehave_and_come_back(seed, platforms, addresses);
        }
        frame_coap_close();
        expect_ended(objects);
    }

    void misbehave_and_come_back(std::uint32_t seed, const Platforms& platforms,
                                 const Addresses& addresses) {
        device().set_platform(addresses.front().port, addresses.front().tls);
        const Running<vxq::AppLoop> loop;
        {
            const LibraryThreads library(seed, addresses);
            EXPECT_TRUE(wait_until([&] { return had_their_turns(platforms); }));
        }
        put(device().expired, false);
        for (const auto& platform : platforms)
            platform->behave();
        const bool back = comes_back(platforms);
        EXPECT_TRUE(back) << "not online again, state " << g_quilan_status << ", bound "
                          << device().bound;
        set_pace(kHurry);
        for (const auto& platform : platforms) {
            tally_ += platform->stop();
            EXPECT_TRUE(back) << platform->progress();
        }
    }

    static void expect_ended(long objects) {
        EXPECT_TRUE(wait_until([] { return frame_coap_state() == 0; }));
        EXPECT_TRUE(wait_until([] { return g_heartbeat_app_thread == 0; }));
        EXPECT_TRUE(lock_is_free());
        EXPECT_EQ(g_coap_ctx, nullptr);
        EXPECT_EQ(g_coap_session, nullptr);
        EXPECT_EQ(probe::objects(), objects);
        EXPECT_EQ(probe::overlaps(), 0) << "two threads were inside libcoap with one context";
        EXPECT_EQ(probe::unlocked_changes(), 0) << "libcoap was changed outside the lock";
        EXPECT_EQ(probe::frees_at_work(), 0) << "a context was freed while libcoap worked on it";
    }

    Tally tally_;
};

TEST_F(AppRace, OverTcp) {
    run({false}, 15);
}

TEST_F(AppRace, OverTls) {
    run({true}, 12);
}

TEST_F(AppRace, BetweenAPlatformOverTcpAndOneOverTls) {
    run({false, true}, 8);
}

} // namespace races
