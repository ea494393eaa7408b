// SPDX-License-Identifier: MIT
// The handlers of the Wi-Fi commands: acknowledged first, then carried out.
#include "protocol/platform_commands.h"

#include "unit_net/net_fixture.h"

using fake::Source;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kWifi[] = R"({"sequence":21,"type":"cfg","set":{"wifi":[{"ap":[{"apidx":3}]}]}})";
constexpr char kTimer[] = R"({"sequence":21,"type":"cfg","set":{"Wi-Fiswitch":{"status":"ON"}}})";
constexpr char kWps[] = R"({"sequence":21,"type":"cfg","set":{"wpsswitch":{"status":"ON"}}})";
constexpr char kAckSent[] = "frame_socket_send_tcp(9, 1)";

struct Command {
    const char* name;
    int (*handle)(int, const char*, int);
    const char* good;
    const char* operation;
    const char* call;
};

constexpr Command kCommands[] = {
    {"profession_wifi", profession_wifi, kWifi, "vx_device_wifi", "vx_device_wifi(record)"},
    {"profession_wifitimer", profession_wifitimer, kTimer, "vx_device_wifitimer",
     "vx_device_wifitimer(record)"},
    {"profession_wpsswitch", profession_wpsswitch, kWps, "vx_device_wpsswitch",
     "vx_device_wpsswitch(1)"},
};

void PrintTo(const Command& row, std::ostream* out) {
    *out << row.name;
}

class Commands : public NetTest, public testing::WithParamInterface<Command> {
protected:
    static int handle(const char* text) { return GetParam().handle(kSock, text, 21); }
};

} // namespace

TEST_P(Commands, AcknowledgesAndThenApplies) {
    fake::device().allow({GetParam().operation});
    EXPECT_EQ(handle(GetParam().good), 0);
    EXPECT_THAT(fake::journal().deeds(), ElementsAre(kAckSent, GetParam().call));
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(21)));
    EXPECT_THAT(log_lines(VX_LOG_ERROR), IsEmpty());
}

TEST_P(Commands, AFailureIsOnlyLogged) {
    fake::device().set_result(GetParam().operation, 5);
    EXPECT_EQ(handle(GetParam().good), 0);
    EXPECT_THAT(log_lines(VX_LOG_ERROR),
                ElementsAre(std::string(GetParam().name) + " # wifi set err\n"));
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(21)));
}

TEST_P(Commands, AnAcknowledgementThatCannotBeSentStopsNothing) {
    fake::frame().set_send_result(32);
    fake::device().allow({GetParam().operation});
    EXPECT_EQ(handle(GetParam().good), 0);
    EXPECT_THAT(device_calls(), ElementsAre(GetParam().call));
}

TEST_P(Commands, MalformedCommandsAreAcknowledgedAndDropped) {
    for (const char* const text : {"", "{}", "{\"set\":7", "[]"})
        EXPECT_EQ(handle(text), 0);
    EXPECT_EQ(handle(nullptr), 0);
    EXPECT_THAT(sent_texts(), testing::AllOf(testing::SizeIs(5), testing::Each(ack_text(21))));
    EXPECT_THAT(device_calls(), IsEmpty());
}

TEST_P(Commands, TheGatewaysOwnNumberStays) {
    fake::device().allow({GetParam().operation});
    handle(GetParam().good);
    const Lines calls = fake::journal().calls({Source::query, Source::device});
    EXPECT_THAT(calls, testing::Not(testing::Contains("port_device_sequence_set()")));
}

INSTANTIATE_TEST_SUITE_P(All, Commands, testing::ValuesIn(kCommands),
                         [](const auto& information) { return information.param.name; });

using WifiCommand = NetTest;

TEST_F(WifiCommand, TheRecordIsHandedOver) {
    fake::device().allow({"vx_device_wifi"});
    profession_wifi(kSock, kWifi, 21);
    EXPECT_EQ(last_record("vx_device_wifi"),
              RecordBytes(5788).number(0, 1).number(12, 1).number(16, 3).bytes());
}

TEST_F(WifiCommand, WithTheSyncSwitchOffNothingButTheAcknowledgementHappens) {
    fake::device().set_number("port_device_syncswitch_get", 0);
    EXPECT_EQ(profession_wifi(kSock, kWifi, 21), 0);
    EXPECT_THAT(fake::journal().deeds(), ElementsAre(kAckSent));
    EXPECT_THAT(log_lines(), ElementsAre("6 " + ack_text(21) + "\n")) << "not even a parse";
}

TEST_F(WifiCommand, ASyncSwitchThatIsNotKnownIsOff) {
    fake::device().forbid("port_device_syncswitch_get");
    fake::device().set_result("port_device_syncswitch_get", -1);
    profession_wifi(kSock, kWifi, 21);
    EXPECT_THAT(device_calls(), IsEmpty());
}

TEST_F(WifiCommand, AnySyncSwitchButZeroIsOn) {
    fake::device().allow({"vx_device_wifi"});
    for (const int flag : {1, 2, -1}) {
        fake::device().set_number("port_device_syncswitch_get", flag);
        profession_wifi(kSock, kWifi, 21);
    }
    EXPECT_EQ(device_calls().size(), 3U);
}

TEST_F(WifiCommand, ModeOneEndsWithASuccessfulCommand) {
    fake::device().allow({"vx_device_wifi", "port_device_mode_set"});
    fake::device().set_number("port_device_mode_get", 1);
    profession_wifi(kSock, kWifi, 21);
    EXPECT_THAT(device_calls(), ElementsAre("vx_device_wifi(record)", "port_device_mode_set(0)"));
}

TEST_F(WifiCommand, OtherModesStay) {
    fake::device().allow({"vx_device_wifi"});
    for (const int mode : {0, 2, -1}) {
        fake::device().set_number("port_device_mode_get", mode);
        profession_wifi(kSock, kWifi, 21);
    }
    EXPECT_THAT(device_calls(), testing::Each("vx_device_wifi(record)"));
}

TEST_F(WifiCommand, AfterAFailureTheModeIsNotEvenRead) {
    fake::device().set_result("vx_device_wifi", 1);
    fake::device().set_number("port_device_mode_get", 1);
    profession_wifi(kSock, kWifi, 21);
    EXPECT_THAT(fake::journal().calls({Source::query}),
                testing::Not(testing::Contains(testing::StartsWith("port_device_mode_get"))));
}

TEST_F(WifiCommand, TheTimerCommandIgnoresSyncSwitchAndMode) {
    fake::device().allow({"vx_device_wifitimer"});
    fake::device().set_number("port_device_syncswitch_get", 0);
    fake::device().set_number("port_device_mode_get", 1);
    profession_wifitimer(kSock, kTimer, 21);
    EXPECT_THAT(device_calls(), ElementsAre("vx_device_wifitimer(record)"));
    EXPECT_EQ(last_record("vx_device_wifitimer"),
              RecordBytes(944).number(0, 1).number(4, 1).bytes());
}

TEST_F(WifiCommand, WpsIsSwitchedOffByAnythingButOn) {
    fake::device().allow({"vx_device_wpsswitch"});
    profession_wpsswitch(kSock, R"({"set":{"wpsswitch":{"status":"on"}}})", 21);
    EXPECT_THAT(device_calls(), ElementsAre("vx_device_wpsswitch(0)"));
}

TEST_F(WifiCommand, ARecordLivesForOneCommand) {
    fake::device().allow({"vx_device_wifi", "vx_device_wifitimer"});
    profession_wifi(kSock, kWifi, 21);
    profession_wifi(kSock, R"({"set":{"wifi":[]}})", 22);
    EXPECT_EQ(last_record("vx_device_wifi"), RecordBytes(5788).bytes());
    profession_wifitimer(kSock, kTimer, 23);
    profession_wifitimer(kSock, R"({"set":{}})", 24);
    EXPECT_EQ(last_record("vx_device_wifitimer"), RecordBytes(944).bytes());
}
