// SPDX-License-Identifier: MIT
#include "protocol/platform_commands.h"
#include "tnjsonapi/tn_upgrade.h"
#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string order(const std::string& address, const std::string& reboot) {
    return R"({"type":"cfg","sequence":8,"set":{"upgrade":{"downurl":")" + address +
           R"(","isreboot":")" + reboot + "\"}}}";
}

std::vector<unsigned char> record(const std::string& address, int reboot) {
    return RecordBytes(260).text(0, address).number(256, reboot).bytes();
}

class UpgradeParser : public NetTest {
protected:
    int parse(const char* text) { return tn_upgrade_parse(text, &upgrade); }

    vx_upgrade upgrade{};
};

} // namespace

TEST_F(UpgradeParser, AGoodOrder) {
    const std::string text = order("http://host.example/image.bin", "1");
    EXPECT_EQ(parse(text.c_str()), 0);
    EXPECT_EQ(bytes_of(upgrade), record("http://host.example/image.bin", 1));
    EXPECT_THAT(log_lines(), ElementsAre("6 tn_upgrade_parse #:buf:" + text + "\n"));
}

TEST_F(UpgradeParser, TheRebootFlagIsADecimalNumber) {
    parse(order("u", "yes").c_str());
    EXPECT_EQ(upgrade.isreboot, 0);
    parse(order("u", "2").c_str());
    EXPECT_EQ(upgrade.isreboot, 2);
    parse(order("u", "99999999999").c_str());
    EXPECT_EQ(upgrade.isreboot, 2'147'483'647);
}

TEST_F(UpgradeParser, TheAddressIsCutAndCopiedLiterally) {
    const std::string address = "http://%s%n%d/" + std::string(300, 'a');
    EXPECT_EQ(parse(order(address, "0").c_str()), 0);
    EXPECT_EQ(bytes_of(upgrade), record(address.substr(0, 255), 0));
}

TEST_F(UpgradeParser, Refused) {
    struct Case {
        const char* text;
        const char* line;
    };
    for (const Case& row : {
             Case{nullptr, "null\n"},
             Case{"", "not json\n"},
             Case{"{}", "not set\n"},
             Case{"{\"set\":{}}", "not upgrade\n"},
             Case{"{\"set\":{\"upgrade\":{}}}", "not status\n"},
             Case{"{\"set\":{\"upgrade\":{\"isreboot\":\"1\"}}}", "not status\n"},
             Case{"{\"set\":{\"upgrade\":{\"downurl\":7,\"isreboot\":\"1\"}}}", "not status\n"},
             Case{"{\"set\":{\"upgrade\":\"http://host.example\"}}", "not status\n"},
         }) {
        fake::log().reset();
        EXPECT_EQ(parse(row.text), -1);
        EXPECT_THAT(log_lines(VX_LOG_UNUSUAL), ElementsAre(row.line));
    }
    EXPECT_EQ(bytes_of(upgrade), record("", 0));
}

TEST_F(UpgradeParser, WithoutARebootFlagTheAddressHasBeenOverwritten) {
    parse(order("old", "1").c_str());
    for (const char* const reboot : {"", ",\"isreboot\":1", ",\"isreboot\":null"}) {
        fake::log().reset();
        const std::string text =
            std::string(R"({"set":{"upgrade":{"downurl":"new")") + reboot + "}}}";
        EXPECT_EQ(parse(text.c_str()), -1);
        EXPECT_THAT(log_lines(VX_LOG_UNUSUAL), ElementsAre("not status\n"));
        EXPECT_STREQ(upgrade.downurl, "new");
        EXPECT_EQ(upgrade.isreboot, 1);
    }
}

namespace {

class Upgrade : public NetTest {
protected:
    Upgrade() { fake::device().allow({"vx_device_upgrade"}); }

    /** Runs a thread that was started; it owns its argument. */
    static void run(const fake::StartedThread& thread) { thread.entry(thread.argument); }
    static std::string started_address() {
        const std::vector<unsigned char> bytes = last_record("vx_device_upgrade");
        return reinterpret_cast<const char*>(bytes.data());
    }
};

} // namespace

TEST_F(Upgrade, IsAcknowledgedAndRunsOnItsOwnThread) {
    EXPECT_EQ(profession_upgrade(kSock, order("http://a.example/", "1").c_str(), 8), 0);
    EXPECT_THAT(fake::journal().deeds(),
                ElementsAre("frame_socket_send_tcp(9, 1)", "start_detached_thread(?)"));
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(8)));
    ASSERT_EQ(fake::os().threads().size(), 1U);
    run(fake::os().threads()[0]);
    EXPECT_EQ(device_calls(), Lines{"vx_device_upgrade(record)"});
    const std::vector<unsigned char> given = last_record("vx_device_upgrade");
    EXPECT_EQ(given.size(), 260U);
    EXPECT_EQ(started_address(), "http://a.example/");
    EXPECT_EQ(given[256] + given[257] + given[258] + given[259], 1);
}

TEST_F(Upgrade, ASecondOrderLeavesTheRunningOnesRecordWhole) {
    profession_upgrade(kSock, order("http://first.example/", "1").c_str(), 8);
    profession_upgrade(kSock, order("http://second.example/", "0").c_str(), 9);
    profession_upgrade(kSock, R"({"set":{"upgrade":{"downurl":"http://third.example/"}}})", 10);
    EXPECT_THAT(sent_texts(), ElementsAre(ack_text(8), ack_text(9), ack_text(10)));
    const std::vector<fake::StartedThread> threads = fake::os().threads();
    ASSERT_EQ(threads.size(), 2U);
    run(threads[0]);
    EXPECT_EQ(started_address(), "http://first.example/");
    run(threads[1]);
    EXPECT_EQ(started_address(), "http://second.example/");
}

TEST_F(Upgrade, AnOrderDuringAnUpgradeDoesNotTouchIt) {
    profession_upgrade(kSock, order("http://first.example/", "1").c_str(), 8);
    const std::vector<fake::StartedThread> threads = fake::os().threads();
    std::string seen_afterwards;
    fake::device().on_call("vx_device_upgrade", [&] {
        profession_upgrade(kSock, order("http://second.example/", "0").c_str(), 9);
        seen_afterwards = static_cast<const vx_upgrade*>(threads[0].argument)->downurl;
    });
    run(threads[0]);
    EXPECT_EQ(seen_afterwards, "http://first.example/");
    fake::device().on_call("vx_device_upgrade", nullptr);
    run(fake::os().threads()[1]);
}

TEST_F(Upgrade, ABadOrderIsAcknowledgedAndDropped) {
    for (const char* const text : {"", "{}", R"({"set":{"upgrade":{"downurl":"u"}}})"})
        EXPECT_EQ(profession_upgrade(kSock, text, 8), 0);
    EXPECT_EQ(profession_upgrade(kSock, nullptr, 8), 0);
    EXPECT_EQ(sent_texts().size(), 4U);
    EXPECT_THAT(fake::os().threads(), IsEmpty());
}

TEST_F(Upgrade, AThreadThatCannotBeStartedIsLogged) {
    fake::os().refuse_threads(true);
    EXPECT_EQ(profession_upgrade(kSock, order("u", "1").c_str(), 8), 0);
    EXPECT_EQ(log_lines().back(), "6 profession_upgrade:pthread_create error!\n");
}
