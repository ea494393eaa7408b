// SPDX-License-Identifier: MIT
// Whole courses of the app channel, main loop and dispatcher together, to the second.
#include "unit/loop_fixture.h"

#include <cmath>

#include "protocol/provisioning.h"

using fake::Source;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

namespace {

/** Main loop against a platform, from the start of the process. */
class Course : public LoopTest {
protected:
    Course() { loop.start(); }

    ReplyingPlatform platform;
};

/** The states that the loop named in the log. */
Texts announced() {
    static const std::string kPrefix = "frame_vxquilan #:QUILAN_APP_";
    Texts names;
    for (const std::string& text : fake::log().texts(6)) {
        if (text.find(kPrefix) == 0)
            names.push_back(text.substr(kPrefix.size(), text.size() - kPrefix.size() - 1));
    }
    return names;
}

/** How fast the platform answers: before the sender returns, at once, slowly. */
class OrdinaryCourse : public Course, public testing::WithParamInterface<double> {
protected:
    OrdinaryCourse() {
        platform.reply(".sys/register", kOkReply, GetParam());
        platform.reply(".sys/activate", kActivateReply, GetParam());
        platform.reply(".sys/login", kTokenReply, GetParam());
        platform.reply(".sys/devInfoSync", kOkReply, GetParam());
        platform.reply(".sys/data", kOkReply, GetParam());
        platform.reply(".sys/refresh", kTokenReply, GetParam());
    }
};

TEST_P(OrdinaryCourse, LogsInSyncsAndGoesOnlineWithoutData) {
    pass_until(16);
    EXPECT_EQ(g_app_count, 0);
    EXPECT_THAT(sent_paths(), ElementsAre(".sys/login", ".sys/devInfoSync"));
    EXPECT_THAT(announced(), ElementsAre("CONNECT", "LOGIN", "DEVINFOSYNC", "DATA"));
    EXPECT_THAT(fake::journal().calls({Source::os}),
                ElementsAre("survive_broken_pipes()", "run_command(\"killall -9 statpush\")",
                            "start_detached_thread(frame_coap_recv)",
                            "start_detached_thread(frame_app_heartbeat_thread)"));
    // Each reply is found by the next look, once a second.
    EXPECT_EQ(fake::os().elapsed(), after_seconds(2 * std::ceil(GetParam())));
}

TEST_P(OrdinaryCourse, RegistersParksAndActivatesWhenACodeComes) {
    fake::device().set_text("port_device_id_get", "");
    pass_until(16);
    EXPECT_THAT(sent_paths(), ElementsAre(".sys/register"));
    EXPECT_EQ(g_coap_session, nullptr);
    for (int pass = 0; pass < 100; ++pass)
        loop.pass();
    EXPECT_EQ(fake::coap().connects(), 1); // parked

    profession_sys_register_code("CODE-77");
    loop.pass();
    pass_until(16);
    EXPECT_THAT(sent_paths(),
                ElementsAre(".sys/register", ".sys/activate", ".sys/login", ".sys/devInfoSync"));
    EXPECT_THAT(fake::journal().calls({Source::device}),
                ElementsAre("port_device_init()", "port_device_code_set(\"CODE-77\")",
                            "port_device_id_set(\"dev-9\")", "port_device_secret_set(\"s-9\")",
                            "port_device_firstguide_set(1)", "port_device_accesstoken_set(\"a\")",
                            "port_device_refreshtoken_set(\"r\")",
                            "port_device_timeout_set(7200)"));
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_EQ(g_app_count, 0);
}

TEST_P(OrdinaryCourse, RefreshesAndStaysOnline) {
    pass_until(16);
    g_quilan_status = 14; // what the heartbeat thread does
    pass_until(16);
    EXPECT_THAT(sent_paths(), ElementsAre(".sys/login", ".sys/devInfoSync", ".sys/refresh"));
    EXPECT_EQ(fake::coap().connects(), 1);
}

/** A refresh leaves its count behind, so the next one has one attempt less. */
TEST_P(OrdinaryCourse, ASecondRefreshHasTwoAttempts) {
    pass_until(16);
    g_quilan_status = 14;
    pass_until(16);
    EXPECT_EQ(g_app_count, 1);
    platform.fall_silent(".sys/refresh");
    g_quilan_status = 14;
    pass_until(16);
    EXPECT_THAT(sent_paths(), Contains(".sys/refresh").Times(1 + 2));
    EXPECT_EQ(g_coap_session, nullptr);
}

INSTANTIATE_TEST_SUITE_P(RepliesAfter, OrdinaryCourse, testing::Values(0.0, 0.000'1, 0.9, 4.2),
                         [](const auto& information) {
                             return std::to_string(static_cast<int>(information.param * 1e6)) +
                                    "Microseconds";
                         });

struct RefusalCase {
    const char* name;
    int state;
    const char* reply;
    std::vector<double> sends;
    int next;
    double until; ///< seconds
    Texts deeds;
};

void PrintTo(const RefusalCase& row, std::ostream* out) {
    *out << row.name;
}

const Texts kForgetAndClose{"port_device_id_set(\"\")", "frame_coap_close()"};

const RefusalCase kRefusals[] = {
    {"LoginIsRetriedAfterTenSecondsAndKeepsItsSession",
     12,
     R"({"errcode":5})",
     {0, 10, 20, 30, 40, 50},
     9,
     60,
     {}},
    {"LoginWith4998", 12, R"({"errcode":4998})", {0, 10, 20, 30, 40, 50}, 9, 60, {}},
    {"LoginWith1403", 12, R"({"errcode":1403})", {0, 10, 20, 30, 40, 50}, 9, 60, {}},
    {"LoginWithGarbage", 12, "<html>", {0, 10, 20, 30, 40, 50}, 9, 60, {}},
    {"LoginOfADeletedDevice", 12, R"({"errcode":6})", {0}, 16, 0, kForgetAndClose},
    {"RefreshIsRetriedAfterTenSecondsThenForgotten",
     14,
     R"({"errcode":1})",
     {0, 10, 20},
     16,
     30,
     kForgetAndClose},
    {"RegisterIsRetriedAtOnceThenReconnects",
     10,
     R"({"errcode":4999})",
     {0, 0, 0},
     9,
     0,
     kForgetAndClose},
    {"RegisterThatMustReconnect", 10, R"({"errcode":1})", {0}, 9, 0, {}},
    {"ActivateIsRetriedAtOnceThenParked",
     11,
     R"({"errcode":4999})",
     {0, 0, 0},
     16,
     0,
     kForgetAndClose},
    {"ActivateOfAnUnknownCode", 11, R"({"errcode":2})", {0}, 16, 0, kForgetAndClose},
    {"RefreshWithRevokedToken", 14, R"({"errcode":1006})", {0}, 9, 0, {}},
};

class Refusal : public LoopTest, public testing::WithParamInterface<RefusalCase> {};

TEST_P(Refusal, TakesItsCourse) {
    run_in(GetParam().state);
    ReplyingPlatform platform;
    for (const char* const path : {".sys/register", ".sys/activate", ".sys/login", ".sys/refresh"})
        platform.reply(path, GetParam().reply);
    pass_while(GetParam().state);
    EXPECT_EQ(send_times(), GetParam().sends);
    EXPECT_EQ(g_quilan_status, GetParam().next);
    EXPECT_EQ(fake::os().elapsed(), after_seconds(GetParam().until));
    Texts deeds = fake::journal().deeds();
    std::erase_if(deeds, [](const std::string& call) { return call.find("frame_coap_send") == 0; });
    EXPECT_THAT(deeds, ElementsAreArray(GetParam().deeds));
}

INSTANTIATE_TEST_SUITE_P(All, Refusal, testing::ValuesIn(kRefusals), case_name<RefusalCase>);

/** A refused refresh doesn't end the wait: even the reconnect it asks for comes 10 s later. */
TEST_F(LoopTest, ARevokedTokenReconnectsWhenTheReplyTimeIsOver) {
    run_in(14);
    ReplyingPlatform platform;
    platform.reply(".sys/refresh", R"({"errcode":1006})");
    loop.pass();
    EXPECT_EQ(g_quilan_status, 9);
    loop.pass();
    EXPECT_EQ(fake::coap().connects(), 2); // the first was that of run_in
    EXPECT_GE(fake::os().elapsed(), after_seconds(10));
    EXPECT_LE(fake::os().elapsed(), after_seconds(11)); // a second for the receive thread
}

TEST_F(Course, ALoginThatIsNeverAnsweredIsTriedSixTimesThenReconnects) {
    loop.pass();
    pass_while(12);
    EXPECT_EQ(g_quilan_status, 9);
    EXPECT_EQ(g_app_count, 6);
    EXPECT_NE(g_coap_session, nullptr); // not closed here
    loop.pass();
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_EQ(g_app_count, 0);
    EXPECT_EQ(fake::coap().connects(), 2);
    EXPECT_THAT(fake::journal().deeds(), Not(Contains("port_device_id_set(\"\")")));
}

TEST_F(Course, DeviceInformationThatIsNeverAnsweredLeavesTheGatewayOnlineWithoutHeartbeat) {
    platform.reply(".sys/login", kTokenReply);
    pass_until(16);
    EXPECT_THAT(send_times(), ElementsAre(0, 0));
    EXPECT_EQ(fake::os().elapsed(), after_seconds(10));
    EXPECT_EQ(g_app_count, 0);
    EXPECT_EQ(fake::os().threads().size(), 1u); // the receive thread
}

struct DataCase {
    const char* name;
    const char* reply; ///< null for none
    double until;
};

void PrintTo(const DataCase& row, std::ostream* out) {
    *out << row.name;
}

class Data : public LoopTest, public testing::WithParamInterface<DataCase> {};

TEST_P(Data, GoesOutWhenItsStateIsEnteredWithACountOfZero) {
    run_in(15, 0);
    ReplyingPlatform platform;
    if (GetParam().reply != nullptr)
        platform.reply(".sys/data", GetParam().reply);
    pass_until(16);
    EXPECT_THAT(sent_paths(), ElementsAre(".sys/data"));
    EXPECT_EQ(fake::os().elapsed(), after_seconds(GetParam().until));
}

INSTANTIATE_TEST_SUITE_P(All, Data,
                         testing::Values(DataCase{"Accepted", R"({"errcode":0})", 0},
                                         DataCase{"Refused", R"({"errcode":1002})", 0},
                                         DataCase{"Unanswered", nullptr, 10}),
                         case_name<DataCase>);

TEST_F(LoopTest, DataDoesNotGoOutWhenItsStateIsEnteredWithACount) {
    run_in(15, 1);
    loop.pass();
    EXPECT_THAT(sent_paths(), IsEmpty());
    EXPECT_EQ(g_quilan_status, 16);
    EXPECT_EQ(g_app_count, 0);
    EXPECT_THAT(fake::log().texts(6), ElementsAre("frame_vxquilan #:QUILAN_APP_DATA\n"));
}

TEST_F(Course, HeartbeatRepliesThatRevokeTheLoginReconnect) {
    platform.reply(".sys/login", kTokenReply);
    platform.reply(".sys/devInfoSync", kOkReply);
    for (const int code : {1002, 1006, 4998, 4999}) {
        pass_until(16);
        const int connects = fake::coap().connects();
        frame_coap_process(("{\"errcode\":" + std::to_string(code) + "}").c_str());
        EXPECT_EQ(g_quilan_status, 9);
        loop.pass();
        EXPECT_EQ(fake::coap().connects(), connects + 1);
        EXPECT_EQ(g_quilan_status, 12);
    }
}

} // namespace
