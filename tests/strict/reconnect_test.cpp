// SPDX-License-Identifier: MIT
// The app channel's waits before it connects again: even, or each gateway's own.
#include <chrono>
#include <utility>

#include "unit/loop_fixture.h"

#include "protocol/provisioning.h"
#include "strict/strictness.h"
#include "vxquilan/coap_events.h"

namespace {

class Waits : public LoopTest {
protected:
    /** Connected, with the receive thread at work. */
    Waits() {
        run_in(9);
        fake::coap().reset();
        g_quilan_status = 9;
        loop.pass();
        EXPECT_EQ(fake::coap().connects(), 1);
    }
    static void lose_session() {
        event_handler(g_coap_session, COAP_EVENT_TCP_CLOSED);
        g_coap_recv_thread = 0;
        EXPECT_EQ(g_quilan_status, 9);
        fake::os().reset();
    }
    /** One pass that connects; how long it took. */
    double connect() {
        const int connects = fake::coap().connects();
        const fake::Microseconds start = fake::os().elapsed();
        loop.pass();
        EXPECT_EQ(fake::coap().connects(), connects + 1);
        return std::chrono::duration<double>(fake::os().elapsed() - start).count();
    }
};

TEST_F(LoopTest, TheFirstConnectWaitsForNothing) {
    run_in(9);
    fake::coap().reset();
    g_quilan_status = 9;
    fake::os().set_random({1234});
    loop.pass();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(0));
    EXPECT_EQ(fake::coap().connects(), 1);
}

TEST_F(Waits, ALostSessionIsReplacedAtOnceOrWithinFiveSeconds) {
    for (const auto& [random, seconds] :
         {std::pair(0U, 0.0), std::pair(1234U, 1.234), std::pair(5000U, 5.0)}) {
        lose_session();
        fake::os().set_random({random});
        EXPECT_DOUBLE_EQ(connect(), kStrict ? seconds : 0.0);
    }
}

TEST_F(Waits, AFailedConnectIsRepeatedInFiveSecondsOrUpToTen) {
    fake::coap().set_connect_result(-1);
    lose_session();
    fake::os().set_random({0, 1234, 5000, 77});
    EXPECT_DOUBLE_EQ(connect(), kStrict ? 6.234 : 5.0);
    EXPECT_DOUBLE_EQ(connect(), kStrict ? 10.0 : 5.0);
    fake::coap().set_connect_result(0);
    EXPECT_DOUBLE_EQ(connect(), 0.0); // the wait has been
}

TEST_F(Waits, ARefusedConnectIsRepeatedInFiveSecondsOrUpToTen) {
    lose_session();
    g_coap_refused = 1;
    fake::os().set_random({2500, 77});
    loop.pass();
    EXPECT_EQ(fake::os().elapsed(), after_seconds(kStrict ? 7.5 : 5.0));
    EXPECT_EQ(fake::coap().connects(), 1);
    EXPECT_DOUBLE_EQ(connect(), 0.0);
}

TEST_F(Waits, AnActivationWaitsForNothing) {
    lose_session();
    fake::os().set_random({1234});
    profession_sys_register_code("CODE-77");
    EXPECT_DOUBLE_EQ(connect(), 0.0);
    EXPECT_EQ(g_quilan_status, 11);
}

} // namespace
