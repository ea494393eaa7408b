// SPDX-License-Identifier: MIT
#include "tnjsonapi/tn_status.h"

#include "protocol/platform_commands.h"
#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kHead[] = "{\n"
                         "\t\"type\":\t\"status\",\n"
                         "\t\"sequence\":\t31,\n"
                         "\t\"mac\":\t\"00:11:22:AA:BB:CC\",\n";

std::string text_of(const vxq::JsonText& text) {
    return text ? text.get() : "(null)";
}

wifi_ap make_ap(int index, int enable, const char* ssid, const char* key, int auth, int encrypt) {
    wifi_ap ap{};
    ap.apidx = index;
    ap.enable = enable;
    std::snprintf(ap.ssid, sizeof ap.ssid, "%s", ssid);
    std::snprintf(ap.key, sizeof ap.key, "%s", key);
    ap.auth = auth;
    ap.encrypt = encrypt;
    return ap;
}

wifi_cfg sample_wifi() {
    wifi_cfg wifi{};
    wifi.radio_num = 2;
    wifi.radio[0].mode = 1;
    wifi.radio[0].channel = 11;
    wifi.radio[0].ap_num = 2;
    wifi.radio[0].ap[0] = make_ap(0, 1, "home", "secret12", 6, 2);
    wifi.radio[0].ap[1] = make_ap(1, 0, "guest", "", 1, 0);
    wifi.radio[1].mode = 2;
    wifi.radio[1].channel = 149;
    return wifi;
}

wifitimer_cfg sample_timer() {
    wifitimer_cfg timer{};
    timer.wifiswitch = 1;
    timer.timer_num = 1;
    timer.timer[0].enable = 1;
    std::snprintf(timer.timer[0].weekday, sizeof timer.timer[0].weekday, "1,2");
    std::snprintf(timer.timer[0].time, sizeof timer.timer[0].time, "07:00-22:00");
    return timer;
}

class Status : public NetTest {
protected:
    static std::string build(const status_req& request, const wifi_cfg& wifi = sample_wifi(),
                             const wifitimer_cfg& timer = sample_timer()) {
        return text_of(tn_status(request, 31, wifi, timer));
    }
};

} // namespace

TEST_F(Status, Everything) {
    const std::string text = build({1, 1, 1, 1});
    EXPECT_EQ(text, std::string(kHead) + "\t\"status\":\t{\n"
                                         "\t\t\"Wi-Fi\":\t[{\n"
                                         "\t\t\t\t\"radio\":\t{\n"
                                         "\t\t\t\t\t\"mode\":\t\"2.4G\",\n"
                                         "\t\t\t\t\t\"channel\":\t11\n"
                                         "\t\t\t\t},\n"
                                         "\t\t\t\t\"ap\":\t[{\n"
                                         "\t\t\t\t\t\t\"channel\":\t0,\n"
                                         "\t\t\t\t\t\t\"enable\":\t\"yes\",\n"
                                         "\t\t\t\t\t\t\"ssid\":\t\"home\",\n"
                                         "\t\t\t\t\t\t\"key\":\t\"secret12\",\n"
                                         "\t\t\t\t\t\t\"auth\":\t\"wpa2psk\",\n"
                                         "\t\t\t\t\t\t\"encrypt\":\t\"aes\"\n"
                                         "\t\t\t\t\t}, {\n"
                                         "\t\t\t\t\t\t\"channel\":\t1,\n"
                                         "\t\t\t\t\t\t\"enable\":\t\"no\",\n"
                                         "\t\t\t\t\t\t\"ssid\":\t\"guest\",\n"
                                         "\t\t\t\t\t\t\"key\":\t\"\",\n"
                                         "\t\t\t\t\t\t\"auth\":\t\"open\",\n"
                                         "\t\t\t\t\t\t\"encrypt\":\t\"none\"\n"
                                         "\t\t\t\t\t}]\n"
                                         "\t\t\t}, {\n"
                                         "\t\t\t\t\"radio\":\t{\n"
                                         "\t\t\t\t\t\"mode\":\t\"5G\",\n"
                                         "\t\t\t\t\t\"channel\":\t149\n"
                                         "\t\t\t\t},\n"
                                         "\t\t\t\t\"ap\":\t[]\n"
                                         "\t\t\t}],\n"
                                         "\t\t\"Wi-Fiswitch\":\t{\n"
                                         "\t\t\t\"status\":\t\"NO\"\n"
                                         "\t\t},\n"
                                         "\t\t\"ledswitch\":\t{\n"
                                         "\t\t\t\"status\":\t\"OFF\"\n"
                                         "\t\t},\n"
                                         "\t\t\"Wi-Fitimer\":\t[{\n"
                                         "\t\t\t\t\"weekday\":\t\"1,2\",\n"
                                         "\t\t\t\t\"time\":\t\"07:00-22:00\",\n"
                                         "\t\t\t\t\"enable\":\t\"1\"\n"
                                         "\t\t\t}]\n"
                                         "\t}\n"
                                         "}");
    EXPECT_THAT(log_lines(), ElementsAre("6 " + text + "\n"));
}

TEST_F(Status, NothingAskedForIsAnEmptyObject) {
    EXPECT_EQ(build({0, 0, 0, 0}), std::string(kHead) + "\t\"status\":\t{\n\t}\n}");
}

TEST_F(Status, ZeroedRecords) {
    EXPECT_EQ(build({1, 1, 1, 1}, {}, {}), std::string(kHead) + "\t\"status\":\t{\n"
                                                                "\t\t\"Wi-Fi\":\t[],\n"
                                                                "\t\t\"Wi-Fiswitch\":\t{\n"
                                                                "\t\t\t\"status\":\t\"OFF\"\n"
                                                                "\t\t},\n"
                                                                "\t\t\"ledswitch\":\t{\n"
                                                                "\t\t\t\"status\":\t\"OFF\"\n"
                                                                "\t\t},\n"
                                                                "\t\t\"Wi-Fitimer\":\t[]\n"
                                                                "\t}\n"
                                                                "}");
}

TEST_F(Status, EachPartAlone) {
    EXPECT_EQ(build({0, 1, 0, 0}), std::string(kHead) + "\t\"status\":\t{\n"
                                                        "\t\t\"Wi-Fiswitch\":\t{\n"
                                                        "\t\t\t\"status\":\t\"NO\"\n"
                                                        "\t\t}\n"
                                                        "\t}\n"
                                                        "}");
    wifitimer_cfg timer{};
    timer.ledswitch = 1;
    EXPECT_EQ(build({0, 0, 1, 0}, {}, timer), std::string(kHead) + "\t\"status\":\t{\n"
                                                                   "\t\t\"ledswitch\":\t{\n"
                                                                   "\t\t\t\"status\":\t\"NO\"\n"
                                                                   "\t\t}\n"
                                                                   "\t}\n"
                                                                   "}");
    EXPECT_EQ(build({0, 0, 0, 1}, {}, {}),
              std::string(kHead) + "\t\"status\":\t{\n\t\t\"Wi-Fitimer\":\t[]\n\t}\n}");
    EXPECT_EQ(build({1, 0, 0, 0}, {}, {}),
              std::string(kHead) + "\t\"status\":\t{\n\t\t\"Wi-Fi\":\t[]\n\t}\n}");
}

TEST_F(Status, OnlyOneIsOn) {
    wifi_cfg wifi{};
    wifi.radio_num = 1;
    wifi.radio[0].mode = 0;
    wifi.radio[0].ap_num = 1;
    wifi.radio[0].ap[0].enable = 2;
    wifitimer_cfg timer{};
    timer.wifiswitch = 2;
    timer.ledswitch = -1;
    timer.timer_num = 1;
    timer.timer[0].enable = 2;
    const std::string text = build({1, 1, 1, 1}, wifi, timer);
    for (const char* const member :
         {"\"mode\":\t\"5G\"", "\"enable\":\t\"no\"", "\"enable\":\t\"0\"", "\"OFF\""})
        EXPECT_THAT(text, testing::HasSubstr(member));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("\"NO\"")));
}

TEST_F(Status, CodesWithoutANameAreEmpty) {
    wifi_cfg wifi{};
    wifi.radio_num = 1;
    wifi.radio[0].ap_num = 1;
    wifi.radio[0].ap[0] = make_ap(0, 1, "s", "k", 0, 4);
    EXPECT_THAT(build({1, 0, 0, 0}, wifi),
                testing::HasSubstr("\"auth\":\t\"\",\n\t\t\t\t\t\t\"encrypt\":\t\"\"\n"));
}

namespace {

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

} // namespace

TEST_F(Status, CountsBeyondTheRecordsAreCut) {
    wifi_cfg wifi{};
    wifitimer_cfg timer{};
    struct Counts {
        int radios;
        int aps;
        int timers;
    };
    for (const Counts& counts : {Counts{3, 17, 8}, Counts{1'000'000, 1'000'000, 1'000'000},
                                 Counts{2'147'483'647, 2'147'483'647, 2'147'483'647}}) {
        wifi.radio_num = counts.radios;
        wifi.radio[0].ap_num = counts.aps;
        wifi.radio[1].ap_num = -counts.aps;
        timer.timer_num = counts.timers;
        const std::string text = build({1, 0, 0, 1}, wifi, timer);
        EXPECT_EQ(count(text, "\"radio\""), 2U);
        EXPECT_EQ(count(text, "\"ssid\""), 16U);
        EXPECT_EQ(count(text, "\"weekday\""), 7U);
    }
    wifi.radio_num = -1;
    timer.timer_num = -1;
    EXPECT_EQ(build({1, 0, 0, 1}, wifi, timer),
              std::string(kHead) +
                  "\t\"status\":\t{\n\t\t\"Wi-Fi\":\t[],\n\t\t\"Wi-Fitimer\":\t[]\n\t}\n}");
}

TEST_F(Status, FieldsWithoutAnEndAreSentWhole) {
    wifi_cfg wifi{};
    wifi.radio_num = 1;
    wifi.radio[0].ap_num = 1;
    std::memset(wifi.radio[0].ap[0].ssid, 's', 33);
    std::memset(wifi.radio[0].ap[0].key, 'k', 128);
    wifitimer_cfg timer{};
    timer.timer_num = 7;
    std::memset(timer.timer[6].weekday, 'w', 64);
    std::memset(timer.timer[6].time, 't', 64);
    const std::string text = build({1, 0, 0, 1}, wifi, timer);
    for (const std::string& field :
         {std::string(33, 's'), std::string(128, 'k'), std::string(64, 'w'), std::string(64, 't')})
        EXPECT_THAT(text, testing::HasSubstr("\"" + field + "\""));
}

TEST_F(Status, WithoutMemoryThereIsNoReply) {
    JsonMemory memory;
    bool refused = true;
    for (long request = 0; refused; ++request) {
        memory.refuse_from(request);
        const bool built = tn_status({1, 1, 1, 1}, 31, sample_wifi(), sample_timer()) != nullptr;
        refused = memory.refused();
        EXPECT_EQ(built, !refused) << request;
        EXPECT_EQ(memory.in_use(), 0) << request;
    }
}

namespace {

class StatusParser : public NetTest {
protected:
    int parse(const std::string& get) {
        request = {};
        const std::string text = R"({"type":"get_status","sequence":31,"get":)" + get + "}";
        return tn_status_parse(text.c_str(), &request);
    }
    void expect(int wifi, int wifiswitch, int ledswitch, int wifitimer) const {
        EXPECT_EQ(bytes_of(request), RecordBytes(16)
                                         .number(0, wifi)
                                         .number(4, wifiswitch)
                                         .number(8, ledswitch)
                                         .number(12, wifitimer)
                                         .bytes());
    }

    status_req request{};
};

} // namespace

TEST_F(StatusParser, Names) {
    EXPECT_EQ(parse(R"([{"name":"Wi-Fi"}])"), 0);
    expect(1, 0, 0, 0);
    parse(R"([{"name":"Wi-Fiswitch"}])");
    expect(0, 1, 0, 0);
    parse(R"([{"name":"ledswitch"}])");
    expect(0, 0, 1, 0);
    parse(R"([{"name":"Wi-Fitimer"}])");
    expect(0, 0, 0, 1);
    parse(R"([{"name":"Wi-Fitimer"},{"name":"ledswitch"},{"name":"Wi-Fi"},{"name":"Wi-Fi"}])");
    expect(1, 0, 1, 1);
}

TEST_F(StatusParser, WhatIsUnknownIsIgnored) {
    EXPECT_EQ(parse(R"([{"name":"wi-fi"},{"name":"LEDSWITCH"},{"name":"uptime"},{},)"
                    R"({"name":7},{"name":null},null,"Wi-Fi",["Wi-Fi"],{"Name":""}])"),
              0);
    expect(0, 0, 0, 0);
    for (const char* const get : {"[]", "{}", "\"Wi-Fi\"", "null", "1"}) {
        EXPECT_EQ(parse(get), 0) << get;
        expect(0, 0, 0, 0);
    }
    EXPECT_THAT(log_lines(VX_LOG_UNUSUAL), IsEmpty());
}

TEST_F(StatusParser, Refused) {
    struct Case {
        const char* text;
        const char* line;
    };
    for (const Case& row :
         {Case{nullptr, "4 null\n"}, Case{"", "4 not json\n"}, Case{"{\"get\":[", "4 not json\n"},
          Case{"{}", "4 not get\n"}, Case{"{\"set\":{}}", "4 not get\n"}}) {
        fake::log().reset();
        EXPECT_EQ(tn_status_parse(row.text, &request), -1);
        EXPECT_EQ(log_lines().back(), row.line);
        if (row.text != nullptr) {
            EXPECT_EQ(log_lines().front(),
                      std::string("6 tn_status_parse #:buf:") + row.text + "\n");
        }
    }
}

namespace {

constexpr char kQuery[] =
    R"({"type":"get_status","sequence":31,"get":[{"name":"Wi-Fi"},{"name":"Wi-Fitimer"}]})";

class StatusQuery : public NetTest {
protected:
    StatusQuery() {
        fake::device().set_record("vx_device_wifi_get", sample_wifi());
        fake::device().set_record("vx_device_wifitimer_get", sample_timer());
    }
};

} // namespace

TEST_F(StatusQuery, IsAnsweredInsteadOfAcknowledged) {
    EXPECT_EQ(profession_status(kSock, kQuery, 31), 0);
    EXPECT_EQ(sent_texts(),
              Lines{text_of(tn_status({1, 0, 0, 1}, 31, sample_wifi(), sample_timer()))});
    EXPECT_EQ(fake::frame().sent()[0].mode, 1);
    EXPECT_EQ(last_record("vx_device_wifitimer_get"),
              RecordBytes(16).number(0, 1).number(12, 1).bytes());
    EXPECT_THAT(device_calls(), IsEmpty());
}

TEST_F(StatusQuery, AskedInTheOrderWifiThenTimers) {
    profession_status(kSock, kQuery, 31);
    Lines calls = fake::journal().calls({fake::Source::query});
    std::erase_if(calls, [](const std::string& call) { return call.rfind("vx_", 0) != 0; });
    EXPECT_THAT(calls, ElementsAre("vx_device_wifi_get(record)",
                                   "vx_device_wifitimer_get(record, request)"));
}

TEST_F(StatusQuery, WhatTheLibraryDoesNotKnowIsZero) {
    fake::device().reset();
    fake::device().set_text("port_device_wanmac_get", "00:11:22:AA:BB:CC");
    fake::device().set_result("vx_device_wifi_get", -1);
    fake::device().set_result("vx_device_wifitimer_get", -1);
    EXPECT_EQ(profession_status(kSock, kQuery, 31), 0);
    EXPECT_EQ(sent_texts(), Lines{text_of(tn_status({1, 0, 0, 1}, 31, {}, {}))});
}

TEST_F(StatusQuery, AMalformedQueryGetsNoReply) {
    for (const char* const text : {"", "{}", "{\"get\":"})
        EXPECT_EQ(profession_status(kSock, text, 31), 0);
    EXPECT_EQ(profession_status(kSock, nullptr, 31), 0);
    EXPECT_THAT(sent_texts(), IsEmpty());
}

TEST_F(StatusQuery, AReplyThatCannotBeSentIsNoError) {
    fake::frame().set_send_result(32);
    EXPECT_EQ(profession_status(kSock, kQuery, 31), 0);
}

TEST_F(StatusQuery, AReplyThatCannotBeBuilt) {
    JsonMemory memory;
    fake::device().on_call("vx_device_wifitimer_get", [&memory] { memory.refuse_from(0); });
    EXPECT_EQ(profession_status(kSock, kQuery, 31), -1);
    EXPECT_EQ(log_lines(VX_LOG_ERROR).back(), "profession_status:#\n");
    EXPECT_THAT(sent_texts(), IsEmpty());
    EXPECT_EQ(memory.in_use(), 0);
}
