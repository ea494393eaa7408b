// SPDX-License-Identifier: MIT
// Start-up, the change of mode, and states that aren't the app channel's.
#include "unit/loop_fixture.h"

#include "vxquilan/coap_events.h"

using fake::Source;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

TEST_F(LoopTest, StartPreparesTheLibraryInState9) {
    g_quilan_status = 3;
    fake::device().on_call("port_device_init", [] { EXPECT_EQ(g_quilan_status, 9); });
    loop.start();
    EXPECT_THAT(fake::journal().calls({Source::device, Source::query, Source::coap, Source::os}),
                ElementsAre("survive_broken_pipes()", "frame_coap_set_callbacks()",
                            "port_device_init()", "port_areacode_get()"));
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(fake::coap().callbacks().response, message_handler);
    EXPECT_EQ(fake::coap().callbacks().event, event_handler);
}

TEST_F(LoopTest, StartGoesOnWhenTheLibraryFails) {
    fake::device().set_result("port_device_init", -1);
    loop.start();
    loop.pass();
    EXPECT_EQ(g_quilan_status, 12);
}

struct AreaCase {
    const char* name;
    std::string area;
    Texts commands;
};

void PrintTo(const AreaCase& row, std::ostream* out) {
    *out << row.name;
}

const AreaCase kAreas[] = {
    {"Hebei",
     "Hebei",
     {"run_command(\"killall -9 vxquilan_hebei\")",
      "run_command(\"/vxrom/bin/vxquilan_hebei &\")"}},
    {"Tianjin",
     "Tianjin",
     {"run_command(\"killall -9 vxquilan_tianjin\")",
      "run_command(\"/vxrom/bin/vxquilan_tianjin &\")"}},
    {"Empty", "", {}},
    {"LowerCase", "hebei", {}},
    {"UpperCase", "TIANJIN", {}},
    {"Beginning", "Heb", {}},
    {"Longer", "Hebei1", {}},
    {"SpaceAfter", "Tianjin ", {}},
    {"SpaceBefore", " Hebei", {}},
    {"Other", "Shanghai", {}},
};

class Area : public LoopTest, public testing::WithParamInterface<AreaCase> {};

TEST_P(Area, StartsItsSiblingAndGoesOn) {
    fake::device().set_text("port_areacode_get", GetParam().area);
    loop.start();
    Texts expected{"survive_broken_pipes()"};
    expected.insert(expected.end(), GetParam().commands.begin(), GetParam().commands.end());
    EXPECT_THAT(fake::journal().calls({Source::os}), ElementsAreArray(expected));
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 1);
}

INSTANTIATE_TEST_SUITE_P(All, Area, testing::ValuesIn(kAreas), case_name<AreaCase>);

TEST_F(LoopTest, AnAreaCodeThatFillsItsBufferStartsNothing) {
    fake::device().set_bytes("port_areacode_get", std::string(32, 'H'));
    loop.start();
    EXPECT_THAT(fake::journal().calls({Source::os}), ElementsAre("survive_broken_pipes()"));
}

TEST_F(LoopTest, AnAreaCodeThatCannotBeReadStartsNothing) {
    fake::device().set_bytes("port_areacode_get", "");
    fake::device().set_result("port_areacode_get", -1);
    loop.start();
    EXPECT_THAT(fake::journal().calls({Source::os}), ElementsAre("survive_broken_pipes()"));
}

struct ModeCase {
    const char* name;
    int mode;
    Texts commands;
};

void PrintTo(const ModeCase& row, std::ostream* out) {
    *out << row.name;
}

const Texts kEndOnly{"run_command(\"killall -9 statpush\")"};
const Texts kRestart{"run_command(\"killall -9 statpush\")",
                     "run_command(\"/vxrom/bin/statpush &\")"};

const ModeCase kModes[] = {
    {"One", 1, kRestart},   {"Zero", 0, kEndOnly},      {"Two", 2, kEndOnly},
    {"Three", 3, kEndOnly}, {"Negative", -2, kEndOnly}, {"Large", 1000000, kEndOnly},
};

class Mode : public LoopTest, public testing::WithParamInterface<ModeCase> {
protected:
    Mode() { fake::coap().set_connect_result(-1); } // the change stays visible
};

TEST_P(Mode, OfTheFirstPassIsAChange) {
    fake::device().set_number("port_device_mode_get", GetParam().mode);
    loop.start();
    fake::journal().clear();
    loop.pass();
    Texts expected = GetParam().commands;
    expected.emplace_back("frame_coap_connect()"); // in the same pass
    EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(expected));
    EXPECT_EQ(g_coap_recvflag, GetParam().mode == 1 ? 1 : 0);
    EXPECT_EQ(g_app_count, 0);
}

TEST_P(Mode, ThatStaysIsNoChange) {
    fake::device().set_number("port_device_mode_get", GetParam().mode);
    loop.start();
    loop.pass();
    g_quilan_status = 16;
    fake::journal().clear();
    loop.pass();
    EXPECT_THAT(fake::journal().deeds(), IsEmpty());
    EXPECT_EQ(g_quilan_status, 16);
}

TEST_P(Mode, ThatChangesLaterReconnects) {
    for (const int state : {0, 5, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}) {
        vxq::AppLoop other_loop;
        fake::device().set_number("port_device_mode_get", GetParam().mode == 7 ? 8 : 7);
        other_loop.start();
        other_loop.pass();
        fake::device().set_number("port_device_mode_get", GetParam().mode);
        g_quilan_status = state;
        g_coap_recvflag = 0;
        fake::journal().clear();
        other_loop.pass();
        Texts expected = GetParam().commands;
        expected.emplace_back("frame_coap_connect()");
        EXPECT_THAT(fake::journal().deeds(), ElementsAreArray(expected)) << state;
        EXPECT_EQ(g_quilan_status, 9);
        EXPECT_EQ(g_coap_recvflag, GetParam().mode == 1 ? 1 : 0);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Mode, testing::ValuesIn(kModes), case_name<ModeCase>);

TEST_F(LoopTest, ModeMinusOneIsNoChangeAtStart) {
    fake::device().set_number("port_device_mode_get", -1);
    fake::coap().set_connect_result(-1);
    loop.start();
    fake::journal().clear();
    loop.pass();
    EXPECT_THAT(fake::journal().deeds(), ElementsAre("frame_coap_connect()"));
}

TEST_F(LoopTest, AChangeOfModeDoesNotWaitForAReply) {
    run_in(12);
    loop.pass(); // a login goes out
    fake::device().set_number("port_device_mode_get", 2);
    fake::coap().set_connect_result(-1);
    fake::journal().clear();
    loop.pass();
    // A second for the receive thread, and the pause after the connect that fails.
    EXPECT_THAT(fake::journal().calls({Source::sleep, Source::coap}),
                ElementsAre("sleep_seconds(1)", "frame_coap_close()", "frame_coap_connect()",
                            "sleep_seconds(5)"));
}

/** Waits for both threads: sleep, clear the heartbeat's flag, close; again and again. */
TEST_F(LoopTest, AChangeOfModeTearsTheSessionDownFirst) {
    run_in(16);
    g_heartbeat_app_thread = 1;
    fake::coap().keep_receive_thread();
    fake::os().after(after_seconds(2.5), [] { fake::coap().end_receive_thread(); });
    fake::coap().on_close([] { EXPECT_EQ(g_heartbeat_app_thread, 0); });
    fake::device().set_number("port_device_mode_get", 1);
    fake::coap().set_connect_result(-1);
    loop.pass();
    EXPECT_THAT(fake::journal().calls({Source::sleep, Source::coap, Source::os}),
                ElementsAre("sleep_seconds(1)", "frame_coap_close()", //
                            "sleep_seconds(1)", "frame_coap_close()", //
                            "sleep_seconds(1)", "frame_coap_close()", //
                            "run_command(\"killall -9 statpush\")",
                            "run_command(\"/vxrom/bin/statpush &\")", "frame_coap_connect()",
                            "sleep_seconds(5)"));
    EXPECT_EQ(g_heartbeat_app_thread, 0);
}

TEST_F(LoopTest, AChangeOfModeEndsAHeartbeatThatOutlivedItsSession) {
    run_in(16);
    fake::coap().reset();
    g_heartbeat_app_thread = 1;
    fake::device().set_number("port_device_mode_get", 2);
    loop.pass();
    EXPECT_THAT(fake::journal().calls({Source::sleep, Source::coap}),
                ElementsAre("sleep_seconds(1)", "frame_coap_close()", "frame_coap_connect()"));
    EXPECT_EQ(g_heartbeat_app_thread, 0);
}

class ForeignState : public LoopTest, public testing::WithParamInterface<int> {};

TEST_P(ForeignState, SleepsTenSecondsAndTouchesNothing) {
    run_in(GetParam(), 2);
    fake::os().sleep(std::chrono::seconds(60)); // nothing to wait for
    const auto before = fake::os().elapsed();
    for (int pass = 1; pass <= 3; ++pass) {
        loop.pass();
        EXPECT_EQ((fake::os().elapsed() - before).count(), pass * 10'000'000);
    }
    EXPECT_THAT(fake::journal().calls({Source::device, Source::coap, Source::os, Source::log}),
                IsEmpty());
    EXPECT_EQ(fake::os().sleeps(), std::vector(3, after_seconds(10)));
    EXPECT_EQ(g_quilan_status, GetParam());
    EXPECT_EQ(g_app_count, 2);
    EXPECT_EQ(g_coap_recvflag, 0);
    EXPECT_EQ(g_run_flag, 1);
}

INSTANTIATE_TEST_SUITE_P(All, ForeignState,
                         testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 8, 17, 1000, -1),
                         [](const auto& information) {
                             const std::string number = std::to_string(information.param);
                             return number[0] == '-' ? "Minus" + number.substr(1) : number;
                         });

/** Below 9 the reply to an earlier request isn't waited for. */
TEST_F(LoopTest, ThePlatformChannelsStatesDoNotWaitForAReply) {
    run_in(12);
    loop.pass(); // a login goes out
    g_quilan_status = 8;
    const auto before = fake::os().elapsed();
    loop.pass();
    EXPECT_EQ(fake::os().elapsed() - before, after_seconds(10));
}

TEST_F(LoopTest, OnlineIdlesInTenMillisecondSteps) {
    run_in(16, 1);
    fake::os().sleep(std::chrono::seconds(60));
    for (int pass = 0; pass < 3; ++pass)
        loop.pass();
    EXPECT_EQ(fake::os().sleeps(), std::vector(3, after_seconds(0.01)));
    EXPECT_THAT(fake::journal().calls({Source::device, Source::coap, Source::os, Source::log}),
                IsEmpty());
    EXPECT_EQ(g_app_count, 1);
}

TEST_F(LoopTest, TheModeIsAskedForOnEveryPass) {
    run_in(16);
    for (int pass = 0; pass < 4; ++pass)
        loop.pass();
    EXPECT_THAT(fake::journal().calls({Source::query}),
                ElementsAreArray(Texts(4, "port_device_mode_get(0)")));
}

} // namespace
