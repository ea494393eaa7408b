// SPDX-License-Identifier: MIT
// The fakes themselves: a fake that passes everything would make every other test worthless.
#include "unit/fixture.h"

#include <cstring>
#include <stdexcept>

#include "os/clock.h"
#include <vxquilan/log.h>

using fake::Source;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/** Takes the complaints away, so that the test that provoked them passes. */
Texts take_complaints() {
    Texts complaints = fake::journal().complaints();
    fake::journal().clear();
    return complaints;
}

TEST_F(DaemonTest, FakeDeviceComplainsAboutWhatWasNotProgrammed) {
    vx_device_reboot();
    EXPECT_THAT(take_complaints(),
                ElementsAre("unexpected call of the device library: vx_device_reboot()"));
    fake::device().allow({"vx_device_reboot"});
    vx_device_reboot();
    EXPECT_THAT(take_complaints(), IsEmpty());
    fake::device().forbid("vx_device_reboot");
    vx_device_reboot();
    EXPECT_THAT(take_complaints(), testing::SizeIs(1));
}

TEST_F(DaemonTest, FakeDeviceComplainsAboutBuffersThatAreNotZeroed) {
    char mac[32] = {};
    mac[31] = 'x';
    port_device_mac_get(mac);
    EXPECT_THAT(take_complaints(),
                ElementsAre("port_device_mac_get was given a buffer that isn't zeroed"));
    vx_station_list stations{};
    stations.count = 1;
    fake::device().allow({"vx_device_stainfo_get"});
    vx_device_stainfo_get(&stations);
    EXPECT_THAT(take_complaints(), testing::SizeIs(1));
}

TEST_F(DaemonTest, FakeDeviceRefusesProgramsThatCannotBe) {
    fake::Device& device = fake::device();
    EXPECT_THROW(device.allow({"port_device_colour_get"}), std::invalid_argument);
    EXPECT_THROW(device.forbid("port_device_colour_get"), std::invalid_argument);
    EXPECT_THROW(device.set_text("port_device_mode_get", "x"), std::invalid_argument);
    EXPECT_THROW(device.set_text("port_device_id_set", "x"), std::invalid_argument);
    EXPECT_THROW(device.set_text("port_device_model_get", std::string(16, 'x')),
                 std::invalid_argument);
    EXPECT_THROW(device.set_number("port_device_mac_get", 1), std::invalid_argument);
    EXPECT_THROW(device.set_record("vx_device_wan", vx_lan_host{}), std::invalid_argument);
    EXPECT_THROW(device.set_record("vx_device_ssidsetting", vx_ssid_settings{}),
                 std::invalid_argument);
}

TEST_F(DaemonTest, FakeDeviceGivesWhatItWasTold) {
    fake::Device& device = fake::device();
    device.set_text("port_device_app_ip", "example.test");
    device.set_number("port_device_app_ip", 5683);
    device.set_result("port_device_app_ip", 4);
    char host[64] = {};
    int port = -1;
    EXPECT_EQ(port_device_app_ip(host, &port), 4);
    EXPECT_STREQ(host, "example.test");
    EXPECT_EQ(port, 5683);

    device.set_result("port_device_sequence_get", 41);
    EXPECT_EQ(port_device_sequence_get(), 41);
    EXPECT_THAT(fake::journal().calls({Source::query}),
                ElementsAre("port_device_app_ip(-1)", "port_device_sequence_get()"));
}

TEST_F(DaemonTest, FakeDeviceKeepsRecordsByteByByte) {
    fake::device().allow({"vx_device_qosclasshost"});
    fake::device().set_result("vx_device_qosclasshost", 5);
    vx_qos_host record{};
    record.class_queue = 0x01020304;
    EXPECT_EQ(vx_device_qosclasshost(&record), 5);
    const std::vector<fake::Entry> entries = fake::journal().entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].call, "vx_device_qosclasshost(record)");
    ASSERT_EQ(entries[0].record.size(), sizeof record);
    EXPECT_EQ(std::memcmp(entries[0].record.data(), &record, sizeof record), 0);
}

TEST_F(DaemonTest, FakeDeviceFillsRecords) {
    vx_lan_host programmed{};
    programmed.first_enable = 1;
    fake::device().set_record("vx_device_lanhost", programmed);
    vx_lan_host filled{};
    EXPECT_EQ(vx_device_lanhost(&filled), 0);
    EXPECT_EQ(filled.first_enable, 1);
}

TEST_F(DaemonTest, FakeClockFiresEventsInOrderAndOnTime) {
    std::vector<std::pair<char, long>> fired;
    const auto event = [&fired](char name) {
        return [&fired, name] {
            fired.emplace_back(name, fake::os().elapsed().count());
        };
    };
    fake::os().after(after_seconds(2), event('b'));
    fake::os().after(after_seconds(0.5), event('a'));
    fake::os().after(after_seconds(2), event('c'));
    fake::os().after(after_seconds(9), event('d'));
    const long begin = vxq::steady_seconds();
    vxq::sleep_seconds(2);
    EXPECT_THAT(fired, ElementsAre(std::pair('a', 500'000L), std::pair('b', 2'000'000L),
                                   std::pair('c', 2'000'000L)));
    EXPECT_EQ(vxq::steady_seconds() - begin, 2);
    EXPECT_EQ(fake::os().wall(), 1'700'000'002);
}

TEST_F(DaemonTest, FakeClockLetsAnEventScheduleAnother) {
    int fired = 0;
    fake::os().after(after_seconds(1),
                     [&fired] { fake::os().after(after_seconds(1), [&fired] { ++fired; }); });
    vxq::sleep_seconds(2);
    EXPECT_EQ(fired, 1);
}

TEST_F(DaemonTest, FakeLogKeepsLinesAndHidesSourceLines) {
    vx_mod_log_printf("quilan", 6, "%s %d:NAME %s\n", "function", 123, "5");
    ASSERT_EQ(fake::log().lines().size(), 1u);
    EXPECT_EQ(fake::log().lines()[0].text, "function 123:NAME 5\n");
    EXPECT_THAT(fake::log().texts(6), ElementsAre("function #:NAME 5\n"));
    EXPECT_EQ(fake::without_source_line("errcode:12"), "errcode:12");
    EXPECT_EQ(fake::without_source_line("a b 12"), "a b 12");
    EXPECT_EQ(fake::without_source_line(""), "");
}

TEST_F(DaemonTest, FakeTransportDropsRequestsWithoutASession) {
    frame_coap_send(0, 2, "x", 1, "p");
    EXPECT_THAT(fake::coap().sent(), IsEmpty());
    EXPECT_THAT(fake::journal().deeds(), ElementsAre("frame_coap_send(\"p\") without a session"));
    fake::coap().open_session();
    frame_coap_send(0, 2, "xyz", 2, "p");
    ASSERT_EQ(fake::coap().sent().size(), 1u);
    EXPECT_EQ(fake::coap().sent()[0].body, "xy");
}

} // namespace
