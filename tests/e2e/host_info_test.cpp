// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "gateway.h"
#include "instrumented.h"
#include "platform.h"
#include "transports.h"

namespace e2e {
namespace {

using nlohmann::json;

constexpr std::size_t kHosts = 64;
constexpr std::size_t kLongBody = 100 * 1024;

/** A text of a host: its key in the document and in the state file, and the room for it. */
struct HostText {
    const char* key;
    const char* member;
    std::size_t size;
};

constexpr HostText kTexts[] = {
    {"AccessRecord", "access_record", 32},   {"QosclassID", "qosclass_id", 256},
    {"HostName", "host_name", 64},           {"ID", "id", 256},
    {"ActualName", "actual_name", 64},       {"Layer2Interface", "layer2_interface", 256},
    {"IPAddress", "ip_address", 16},         {"domain", "domain", 256},
    {"MACAddress", "mac_address", 32},       {"PolicerID", "policer_id", 256},
    {"AddressSource", "address_source", 16}, {"MacFilterID", "mac_filter_id", 256},
    {"IconType", "icon_type", 96},           {"DevBrands", "dev_brands", 256},
};

struct HostValue {
    const char* pointer;
    const char* member;
};

constexpr HostValue kNumbers[] = {
    {"/DeviceMaxDownLoadRate", "device_max_down_load_rate"},
    {"/DeviceMaxUpLoadRate", "device_max_up_load_rate"},
    {"/LeaseTime", "lease_time"},
    {"/ClassQueue", "class_queue"},
    {"/WeakInfo/SuggestValue", "suggest_value"},
    {"/BindWANLine", "bind_wan_line"},
    {"/RealWANLine", "real_wan_line"},
    {"/TelOperator", "tel_operator"},
    {"/DownRate", "down_rate"},
    {"/UpRate", "up_rate"},
};

constexpr HostValue kFlags[] = {
    {"/Active", "active"},
    {"/Active46", "active46"},
    {"/ParentControl", "parent_control"},
    {"/WlanActive", "wlan_active"},
    {"/DeviceDownRateEnable", "device_down_rate_enable"},
    {"/ParentControlEnable", "parent_control_enable"},
    {"/WeakInfo/WeakInfo", "weak_info"},
    {"/WeakInfo/WeakFltEnable", "weak_flt_enable"},
    {"/IsSlave", "is_slave"},
};

/** A text that fills its room, and that no other place has. */
std::string full_text(std::size_t host, const HostText& text) {
    std::string value = std::to_string(host) + ":";
    while (value.size() < text.size - 1)
        value += text.key;
    value.resize(text.size - 1);
    return value;
}

/** The largest home there is: as many hosts as fit, each with texts as long as they fit. */
class FullHome {
public:
    FullHome() {
        for (std::size_t host = 0; host < kHosts; ++host)
            add_host(host);
    }

    json hosts = json::array();    ///< for the state file
    json document = json::array(); ///< what the platform gets

private:
    void add_host(std::size_t host) {
        json kept;
        json shown;
        for (const HostText& text : kTexts)
            kept[text.member] = shown[text.key] = full_text(host, text);
        for (const HostValue& number : kNumbers)
            kept[number.member] = shown[json::json_pointer(number.pointer)] =
                std::numeric_limits<std::int32_t>::min() + static_cast<int>(host);
        for (const HostValue& flag : kFlags)
            kept[flag.member] = shown[json::json_pointer(flag.pointer)] = host % 2 == 0;
        hosts.push_back(std::move(kept));
        document.push_back(std::move(shown));
    }
};

class HostInfo : public testing::TestWithParam<Transport> {
protected:
    /** Brings the full home online. */
    void go_online(Gateway& gateway) const {
        gateway.edit([&](json& state) { state["hosts"] = home.hosts; });
        gateway.introduce_to(platform);
        gateway.start({{"VX_LOG_LEVEL", "3"}}); // bodies of this size would fill the log
        platform.wait_for("request:heartbeat");
    }

    void expect_whole(const json& answer) const {
        EXPECT_GT(answer.at("length"), kLongBody);
        EXPECT_TRUE(answer.at("json") == home.document);
    }

    FullHome home;
    Platform platform{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Transports, HostInfo, testing::Values(Transport::tcp, Transport::tls),
                         name_of_transport);

TEST_P(HostInfo, FullTableComesWhole) {
    Gateway gateway(platform.port(), platform.is_tls());
    go_online(gateway);
    expect_whole(platform.ask("hosts"));
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
}

TEST_P(HostInfo, EmptyTableIsAnEmptyArray) {
    Gateway gateway(platform.port(), platform.is_tls());
    gateway.edit([](json& state) { state["hosts"] = json::array(); });
    gateway.go_online(platform);
    EXPECT_EQ(platform.ask("hosts").at("text"), "[]");
}

// The platform stops reading until the daemon's writes are cut short, reads on, and stops again
// while there is still something to come: every answer comes whole and in its turn.
TEST_P(HostInfo, SlowReaderGetsEveryAnswerWhole) {
    if (!platform.is_tls() && !Platform::keeps_framing())
        GTEST_SKIP() << "needs VXQUILAN_TEST_PLATFORM_LIBRARIES (scripts/platform-libraries)";
    Gateway gateway(platform.fault_port(), platform.is_tls());
    // libcoap says in its log when it has to keep a message back.
    gateway.edit([](json& state) { state["app_platform"]["coap_debug"] = 7; });
    go_online(gateway);

    constexpr std::size_t kMostRequests = 400;
    constexpr int kKeptBack = 5;
    std::size_t requests = 0;
    for (std::size_t round = 1; round <= 3; ++round) {
        platform.command("fault stall");
        platform.wait_for("fault:set-stall", round);
        // What is kept back from here on can't be answered before the platform reads on.
        const int enough = gateway.times_logged(": delayed") + kKeptBack;
        const auto is_enough = [&] {
            return gateway.times_logged(": delayed") >= enough;
        };
        while (!is_enough() && requests < kMostRequests) {
            platform.command("hosts");
            platform.wait_for("sent:hosts", ++requests);
        }
        ASSERT_TRUE(wait_until(is_enough)) << "too little kept back in " << requests << " requests";
        const std::size_t answers = platform.count("answer:hosts");
        EXPECT_LT(answers, requests);
        platform.command("fault off");
        platform.wait_for("answer:hosts", answers + 1);
    }
    platform.wait_for("answer:hosts", requests);
    for (const json& answer : platform.events("answer:hosts"))
        expect_whole(answer);
    EXPECT_GE(gateway.times_logged("transmitted after delay"), kKeptBack);
    EXPECT_EQ(platform.ask("rename").at("errcode"), 0);
    EXPECT_EQ(platform.count("connect"), 1u);
    EXPECT_EQ(platform.count("stray"), 0u);
}

TEST_P(HostInfo, MemoryDoesNotGrowFromRequestToRequest) {
    if (is_instrumented())
        GTEST_SKIP() << "sanitizers keep what is freed for a while";
    Gateway gateway(platform.port(), platform.is_tls());
    go_online(gateway);
    std::vector<long> kilobytes;
    for (std::size_t requests = 20; requests <= 220; requests += 20) {
        for (int times = 0; times < 20; ++times)
            platform.command("hosts");
        platform.wait_for("answer:hosts", requests);
        kilobytes.push_back(gateway.daemon().private_kilobytes());
    }
    // The C library keeps a few bodies' worth of freed memory or gives it back, as it happens. What
    // leaks raises the lowest too: 10 KB a request are a megabyte in the 100 requests between
    // these.
    constexpr int kSamples = 3;
    const auto warm = kilobytes.begin() + 1;
    const long highest_before = *std::max_element(warm, warm + kSamples);
    const long lowest_after = *std::min_element(kilobytes.end() - kSamples, kilobytes.end());
    EXPECT_GT(lowest_after, 0);
    EXPECT_LT(lowest_after - highest_before, 1024) << testing::PrintToString(kilobytes);
}

} // namespace
} // namespace e2e
