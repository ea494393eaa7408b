// SPDX-License-Identifier: MIT
// The parsers of the Wi-Fi commands, down to the bytes of their records: offsets are written out
// here as the device library knows them.
#include "tnjsonapi/tn_wifi.h"

#include "unit_net/net_fixture.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr std::size_t kWifiSize = 5788;
constexpr std::size_t kTimerSize = 944;

constexpr std::size_t radio_at(std::size_t index) {
    return 4 + index * 2892;
}
constexpr std::size_t ap_at(std::size_t radio, std::size_t index) {
    return radio_at(radio) + 12 + index * 180;
}
constexpr std::size_t timer_at(std::size_t index) {
    return 20 + index * 132;
}

std::string wifi_message(const std::string& radios) {
    return "{\"type\":\"cfg\",\"sequence\":3,\"set\":{\"wifi\":" + radios + "}}";
}

/** A message with one access point that has these members. */
std::string ap_message(const std::string& members) {
    return wifi_message("[{\"ap\":[{" + members + "}]}]");
}

class WifiParser : public NetTest {
protected:
    int parse(const std::string& text) { return tn_wifi_parse(text.c_str(), &config); }

    /** The parser's complaints, without the line that shows the text. */
    static Lines complaints() { return log_lines(VX_LOG_UNUSUAL); }

    wifi_cfg config{};
};

Lines missing(std::initializer_list<const char*> keys) {
    Lines lines;
    for (const char* const key : keys)
        lines.push_back("tn_wifi_parse #:no " + std::string(key) + "\n");
    return lines;
}

} // namespace

TEST_F(WifiParser, AFullCommand) {
    const std::string text = wifi_message(
        R"([{"radio":{"mode":"2.4G","channel":6},
             "ap":[{"apidx":0,"auth":"wpa2psk","enable":"yes","encrypt":"aes",
                    "ssid":"home","key":"secret12"},
                   {"apidx":1,"auth":"OPEN","enable":"no","encrypt":"none",
                    "ssid":"guest","key":""}]},
            {"radio":{"mode":"5G","channel":149},
             "ap":[{"apidx":5,"auth":"wpapskwpa2psk","enable":"yes","encrypt":"AESTKIP",
                    "ssid":"home-5g","key":"secret34"}]}])");
    EXPECT_EQ(parse(text), 0);
    RecordBytes expected(kWifiSize);
    expected.number(0, 2);
    expected.number(radio_at(0), 1).number(radio_at(0) + 4, 6).number(radio_at(0) + 8, 2);
    expected.number(ap_at(0, 0) + 4, 1).text(ap_at(0, 0) + 8, "home");
    expected.text(ap_at(0, 0) + 41, "secret12").number(ap_at(0, 0) + 172, 6);
    expected.number(ap_at(0, 0) + 176, 2);
    expected.number(ap_at(0, 1), 1).text(ap_at(0, 1) + 8, "guest");
    expected.number(ap_at(0, 1) + 172, 1);
    expected.number(2896, 2).number(2896 + 4, 149).number(2896 + 8, 1);
    expected.number(ap_at(1, 0), 5).number(ap_at(1, 0) + 4, 1).text(ap_at(1, 0) + 8, "home-5g");
    expected.text(ap_at(1, 0) + 41, "secret34").number(ap_at(1, 0) + 172, 7);
    expected.number(ap_at(1, 0) + 176, 3);
    EXPECT_EQ(bytes_of(config), expected.bytes());
    EXPECT_THAT(log_lines(), ElementsAre("6 tn_wifi_parse #:buf:" + text + "\n"));
}

TEST_F(WifiParser, ElementsWithoutMembersStillSucceed) {
    EXPECT_EQ(parse(wifi_message("[{},{\"radio\":{},\"ap\":[{},{}]}]")), 0);
    EXPECT_EQ(bytes_of(config),
              RecordBytes(kWifiSize).number(0, 2).number(radio_at(1) + 8, 2).bytes());
    EXPECT_EQ(complaints(),
              missing({"mode", "channel", "apidx", "auth", "enable", "encrypt", "ssid", "key",
                       "apidx", "auth", "enable", "encrypt", "ssid", "key"}));
}

TEST_F(WifiParser, NoRadiosAtAll) {
    for (const char* const radios : {"[]", "{}", "\"text\"", "null", "7"}) {
        config = {};
        EXPECT_EQ(parse(wifi_message(radios)), 0) << radios;
        EXPECT_EQ(bytes_of(config), RecordBytes(kWifiSize).bytes()) << radios;
    }
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(WifiParser, NullElementsAreSkipped) {
    EXPECT_EQ(parse(wifi_message("[null,{\"radio\":{\"mode\":\"2.4G\",\"channel\":1},"
                                 "\"ap\":[null]}]")),
              0);
    EXPECT_EQ(bytes_of(config), RecordBytes(kWifiSize)
                                    .number(0, 2)
                                    .number(radio_at(1), 1)
                                    .number(radio_at(1) + 4, 1)
                                    .number(radio_at(1) + 8, 1)
                                    .bytes());
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(WifiParser, RadiosAndAccessPointsBeyondTheRecordAreLeftOut) {
    std::string aps;
    for (int index = 0; index < 17; ++index)
        aps += (index == 0 ? "" : ",") + std::string("{\"apidx\":") + std::to_string(100 + index) +
               R"(,"auth":"open","enable":"yes","encrypt":"none","ssid":"s","key":"k"})";
    const std::string radio = R"({"radio":{"mode":"5G","channel":36},"ap":[)" + aps + "]}";
    EXPECT_EQ(parse(wifi_message("[" + radio + "," + radio + "," + radio + "]")), 0);
    RecordBytes expected(kWifiSize);
    expected.number(0, 2);
    for (std::size_t index = 0; index < 2; ++index) {
        expected.number(radio_at(index), 2).number(radio_at(index) + 4, 36);
        expected.number(radio_at(index) + 8, 16);
        for (std::size_t ap = 0; ap < 16; ++ap) {
            const std::size_t at = ap_at(index, ap);
            expected.number(at, 100 + static_cast<int>(ap)).number(at + 4, 1);
            expected.text(at + 8, "s").text(at + 41, "k").number(at + 172, 1);
        }
    }
    EXPECT_EQ(bytes_of(config), expected.bytes());
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(WifiParser, OnlyTheExactTextIsTheLowerBand) {
    for (const char* const mode : {"2.4G", "2.4g", "5G", "5g", "", "2.4GHz"}) {
        config = {};
        parse(wifi_message(std::string("[{\"radio\":{\"channel\":1,\"mode\":\"") + mode + "\"}}]"));
        EXPECT_EQ(config.radio[0].mode, std::string(mode) == "2.4G" ? 1 : 2) << mode;
    }
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(WifiParser, TextsAreCutToTheirFields) {
    const std::string ssid = "0123456789012345678901234567890123456789"; // 40
    const std::string key(200, 'k');
    EXPECT_EQ(parse(ap_message(R"("apidx":1,"auth":"wpa","enable":"yes","encrypt":"tkip",)"
                               R"("ssid":")" +
                               ssid + R"(","key":")" + key + '"')),
              0);
    RecordBytes expected(kWifiSize);
    expected.number(0, 1).number(radio_at(0) + 8, 1).number(ap_at(0, 0), 1);
    expected.number(ap_at(0, 0) + 4, 1).text(ap_at(0, 0) + 8, ssid.substr(0, 32));
    expected.text(ap_at(0, 0) + 41, key.substr(0, 127)).number(ap_at(0, 0) + 172, 3);
    expected.number(ap_at(0, 0) + 176, 1);
    EXPECT_EQ(bytes_of(config), expected.bytes());
}

TEST_F(WifiParser, TextsAreCopiedLiterally) {
    parse(ap_message(R"("ssid":"100% %s %n","key":"%d%d%d%d")"));
    EXPECT_STREQ(config.radio[0].ap[0].ssid, "100% %s %n");
    EXPECT_STREQ(config.radio[0].ap[0].key, "%d%d%d%d");
}

TEST_F(WifiParser, EnableIsExactlyYes) {
    for (const char* const text : {"yes", "YES", "Yes", "no", "1", ""}) {
        config = {};
        parse(ap_message(std::string("\"enable\":\"") + text + '"'));
        EXPECT_EQ(config.radio[0].ap[0].enable, std::string(text) == "yes" ? 1 : 0) << text;
    }
}

TEST_F(WifiParser, CodesAreTakenInAnyCase) {
    parse(ap_message(
        R"("apidx":0,"auth":"WPA2PSK","enable":"","encrypt":"Tkip","ssid":"","key":"")"));
    EXPECT_EQ(config.radio[0].ap[0].auth, 6);
    EXPECT_EQ(config.radio[0].ap[0].encrypt, 1);
    parse(ap_message(R"("apidx":0,"auth":"none","enable":"","encrypt":"NONE","ssid":"","key":"")"));
    EXPECT_EQ(config.radio[0].ap[0].auth, 1);
    EXPECT_EQ(config.radio[0].ap[0].encrypt, 0);
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(WifiParser, UnknownCodesAreSaidAndStayZero) {
    parse(ap_message(R"("apidx":0,"auth":"wep","enable":"","encrypt":"des","ssid":"","key":"")"));
    EXPECT_EQ(config.radio[0].ap[0].auth, 0);
    EXPECT_EQ(config.radio[0].ap[0].encrypt, 0);
    EXPECT_THAT(complaints(),
                ElementsAre("tn_wifi_parse #:not support\n", "tn_wifi_parse #:not support\n"));
}

TEST_F(WifiParser, EachMemberMayBeMissing) {
    const char* const members[] = {R"("apidx":9)",       R"("auth":"wpa")",  R"("enable":"yes")",
                                   R"("encrypt":"aes")", R"("ssid":"name")", R"("key":"word")"};
    const char* const keys[] = {"apidx", "auth", "enable", "encrypt", "ssid", "key"};
    for (std::size_t left_out = 0; left_out < 6; ++left_out) {
        fake::log().reset();
        config = {};
        std::string list;
        for (std::size_t index = 0; index < 6; ++index) {
            if (index != left_out)
                list += (list.empty() ? "" : ",") + std::string(members[index]);
        }
        EXPECT_EQ(parse(ap_message(list)), 0);
        EXPECT_EQ(complaints(), missing({keys[left_out]}));
        const wifi_ap& ap = config.radio[0].ap[0];
        EXPECT_EQ(ap.apidx, left_out == 0 ? 0 : 9);
        EXPECT_EQ(ap.auth, left_out == 1 ? 0 : 3);
        EXPECT_EQ(ap.enable, left_out == 2 ? 0 : 1);
        EXPECT_EQ(ap.encrypt, left_out == 3 ? 0 : 2);
        EXPECT_STREQ(ap.ssid, left_out == 4 ? "" : "name");
        EXPECT_STREQ(ap.key, left_out == 5 ? "" : "word");
    }
}

TEST_F(WifiParser, MembersOfAnotherTypeAreMissingTexts) {
    EXPECT_EQ(parse(wifi_message(R"([{"radio":{"mode":2.4,"channel":"6"},)"
                                 R"("ap":[{"apidx":"1","auth":4,"enable":true,"encrypt":null,)"
                                 R"("ssid":[],"key":{}}]}])")),
              0);
    EXPECT_EQ(bytes_of(config),
              RecordBytes(kWifiSize).number(0, 1).number(radio_at(0) + 8, 1).bytes());
    EXPECT_EQ(complaints(), missing({"mode", "auth", "enable", "encrypt", "ssid", "key"}));
}

namespace {

struct Malformed {
    const char* text;
    Lines lines; ///< without the line that shows the text
};

/** Expects a parser to refuse each text with just these lines. */
template <class Parse>
void expect_refused(const char* parser, Parse parse, const std::vector<Malformed>& cases) {
    for (const Malformed& row : cases) {
        fake::log().reset();
        EXPECT_EQ(parse(row.text), -1);
        Lines expected;
        if (row.text != nullptr)
            expected.push_back("6 " + std::string(parser) + " #:buf:" + row.text + "\n");
        for (const std::string& line : row.lines)
            expected.push_back("4 " + line);
        EXPECT_EQ(log_lines(), expected);
    }
}

const std::vector<Malformed> kCommonlyMalformed = {
    {nullptr, {"null\n"}},         {"", {"not json\n"}},
    {"{\"set\":", {"not json\n"}}, {"{}", {"not set\n"}},
    {"[1]", {"not set\n"}},        {"{\"type\":\"cfg\",\"sequence\":1}", {"not set\n"}},
};

} // namespace

TEST_F(WifiParser, Refused) {
    const auto run = [this](const char* text) {
        return tn_wifi_parse(text, &config);
    };
    expect_refused("tn_wifi_parse", run, kCommonlyMalformed);
    expect_refused("tn_wifi_parse", run,
                   {{"{\"set\":{}}", {"not wifi\n"}}, {"{\"set\":7}", {"not wifi\n"}}});
    EXPECT_EQ(bytes_of(config), RecordBytes(kWifiSize).bytes());
}

namespace {

class TimerParser : public NetTest {
protected:
    int parse(const std::string& set) {
        const std::string text = "{\"set\":{" + set + "}}";
        return tn_wifitimer_parse(text.c_str(), &config);
    }
    static Lines complaints() { return log_lines(VX_LOG_UNUSUAL); }
    std::vector<unsigned char> record() const { return bytes_of(config); }

    wifitimer_cfg config{};
};

constexpr char kNoTimers[] = "tn_wifitimer_parse #:no Wi-Fitimer\n";
constexpr char kNoWifi[] = "tn_wifitimer_parse #:no Wi-Fiswitch\n";
constexpr char kNoLed[] = "tn_wifitimer_parse #:no ledswitch\n";

} // namespace

TEST_F(TimerParser, AFullCommand) {
    EXPECT_EQ(parse(R"("Wi-Fiswitch":{"status":"ON"},"ledswitch":{"status":"OFF"},"Wi-Fitimer":[)"
                    R"({"weekday":"1,2,3","time":"07:00-23:00","enable":"1"},)"
                    R"({"weekday":"6,7","time":"09:00-01:00","enable":"0"}])"),
              0);
    RecordBytes expected(kTimerSize);
    expected.number(0, 1).number(4, 1).number(8, 1).number(12, 0).number(16, 2);
    expected.number(timer_at(0), 1).text(timer_at(0) + 4, "1,2,3");
    expected.text(timer_at(0) + 68, "07:00-23:00");
    expected.text(timer_at(1) + 4, "6,7").text(timer_at(1) + 68, "09:00-01:00");
    EXPECT_EQ(record(), expected.bytes());
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(TimerParser, OnlyTimers) {
    EXPECT_EQ(parse(R"("Wi-Fitimer":[{"weekday":"7","time":"x","enable":"1"}])"), 0);
    EXPECT_EQ(record(), RecordBytes(kTimerSize)
                            .number(16, 1)
                            .number(timer_at(0), 1)
                            .text(timer_at(0) + 4, "7")
                            .text(timer_at(0) + 68, "x")
                            .bytes());
    EXPECT_THAT(complaints(), ElementsAre(kNoWifi, kNoLed));
}

TEST_F(TimerParser, NothingAtAllIsAccepted) {
    EXPECT_EQ(parse(""), 0);
    EXPECT_EQ(record(), RecordBytes(kTimerSize).bytes());
    EXPECT_THAT(complaints(), ElementsAre(kNoWifi, kNoLed, kNoTimers));
}

TEST_F(TimerParser, OnlyTheExactTextSwitchesOn) {
    for (const char* const status : {"ON", "on", "On", "OFF", "NO", "1", ""}) {
        config = {};
        const std::string member = std::string("{\"status\":\"") + status + "\"}";
        parse("\"Wi-Fiswitch\":" + member + ",\"ledswitch\":" + member);
        const int on = std::string(status) == "ON" ? 1 : 0;
        EXPECT_EQ(
            record(),
            RecordBytes(kTimerSize).number(0, 1).number(4, on).number(8, 1).number(12, on).bytes())
            << status;
    }
}

TEST_F(TimerParser, ASwitchWithoutAStatusIsIgnoredSilently) {
    for (const char* const member : {"{}", "{\"status\":1}", "{\"status\":null}", "\"ON\"", "[]"}) {
        config = {};
        fake::log().reset();
        EXPECT_EQ(parse(std::string("\"Wi-Fiswitch\":") + member + ",\"ledswitch\":" + member), 0);
        EXPECT_EQ(record(), RecordBytes(kTimerSize).bytes()) << member;
        EXPECT_THAT(complaints(), ElementsAre(kNoTimers)) << member;
    }
}

TEST_F(TimerParser, ATimerIsReadUpToTheFirstMissingMember) {
    EXPECT_EQ(parse(R"("Wi-Fiswitch":{},"ledswitch":{},"Wi-Fitimer":[)"
                    R"({"time":"t0","enable":"1"},)"
                    R"({"weekday":"d1","enable":"1"},)"
                    R"({"weekday":"d2","time":"t2"},)"
                    R"(null,)"
                    R"({"weekday":"d4","time":"t4","enable":1}])"),
              0);
    RecordBytes expected(kTimerSize);
    expected.number(16, 5);
    expected.text(timer_at(1) + 4, "d1");
    expected.text(timer_at(2) + 4, "d2").text(timer_at(2) + 68, "t2");
    expected.text(timer_at(4) + 4, "d4").text(timer_at(4) + 68, "t4");
    EXPECT_EQ(record(), expected.bytes());
    EXPECT_THAT(complaints(), ElementsAre("tn_wifitimer_parse #:no weekday 0\n",
                                          "tn_wifitimer_parse #:no time 1\n",
                                          "tn_wifitimer_parse #:no enable 2\n",
                                          "tn_wifitimer_parse #:no enable 4\n"));
}

TEST_F(TimerParser, EnableIsADecimalNumber) {
    struct Case {
        const char* text;
        int value;
    };
    for (const Case& row :
         {Case{"1", 1}, Case{"0", 0}, Case{"yes", 0}, Case{"", 0}, Case{" 12abc", 12},
          Case{"-3", -3}, Case{"0x10", 0}, Case{"99999999999999999999", 2'147'483'647},
          Case{"-99999999999999999999", -2'147'483'647 - 1}, Case{"2147483648", 2'147'483'647}}) {
        config = {};
        parse(std::string(R"("Wi-Fitimer":[{"weekday":"d","time":"t","enable":")") + row.text +
              "\"}]");
        EXPECT_EQ(config.timer[0].enable, row.value) << row.text;
    }
}

TEST_F(TimerParser, TextsAreCutAndCopiedLiterally) {
    const std::string weekday(100, 'w');
    parse(R"("Wi-Fitimer":[{"weekday":")" + weekday + R"(","time":"%s%n%d","enable":"1"}])");
    EXPECT_EQ(record(), RecordBytes(kTimerSize)
                            .number(16, 1)
                            .number(timer_at(0), 1)
                            .text(timer_at(0) + 4, weekday.substr(0, 63))
                            .text(timer_at(0) + 68, "%s%n%d")
                            .bytes());
}

TEST_F(TimerParser, TimersBeyondTheRecordAreLeftOut) {
    std::string timers;
    for (int index = 0; index < 8; ++index)
        timers += (index == 0 ? "" : ",") + std::string(R"({"weekday":"d)") +
                  std::to_string(index) + R"(","time":"t","enable":"1"})";
    EXPECT_EQ(parse("\"Wi-Fitimer\":[" + timers + "]"), 0);
    RecordBytes expected(kTimerSize);
    expected.number(16, 7);
    for (std::size_t index = 0; index < 7; ++index) {
        expected.number(timer_at(index), 1).text(timer_at(index) + 4, "d" + std::to_string(index));
        expected.text(timer_at(index) + 68, "t");
    }
    EXPECT_EQ(record(), expected.bytes());
}

TEST_F(TimerParser, Refused) {
    expect_refused(
        "tn_wifitimer_parse",
        [this](const char* text) { return tn_wifitimer_parse(text, &config); }, kCommonlyMalformed);
}

namespace {

class WpsParser : public NetTest {
protected:
    std::int32_t on = 4711;
};

} // namespace

TEST_F(WpsParser, OnlyTheExactTextSwitchesOn) {
    for (const char* const status : {"ON", "on", "OFF", ""}) {
        const std::string text =
            std::string("{\"set\":{\"wpsswitch\":{\"status\":\"") + status + "\"}}}";
        EXPECT_EQ(tn_wpsswitch_parse(text.c_str(), &on), 0);
        EXPECT_EQ(on, std::string(status) == "ON" ? 1 : 0) << status;
    }
}

TEST_F(WpsParser, Refused) {
    const auto run = [this](const char* text) {
        return tn_wpsswitch_parse(text, &on);
    };
    expect_refused("tn_wpsswitch_parse", run, kCommonlyMalformed);
    expect_refused("tn_wpsswitch_parse", run,
                   {{"{\"set\":{}}", {"not wpsswitch\n"}},
                    {"{\"set\":{\"wpsswitch\":{}}}", {"not status\n"}},
                    {"{\"set\":{\"wpsswitch\":\"ON\"}}", {"not status\n"}},
                    {"{\"set\":{\"wpsswitch\":{\"status\":true}}}", {"not status\n"}}});
    EXPECT_EQ(on, 4711);
}

TEST_F(NetTest, ParsersLeakNothing) {
    JsonMemory memory;
    wifi_cfg wifi{};
    wifitimer_cfg timer{};
    std::int32_t on = 0;
    for (const char* const text :
         {"", "{}", "{\"set\":{}}", "{\"set\":{\"wifi\":[{\"ap\":[{}]}],\"Wi-Fitimer\":[{}]}}",
          "{\"set\":{\"wpsswitch\":{}}}", "{\"set\":{\"wpsswitch\":{\"status\":\"ON\"}}}"}) {
        tn_wifi_parse(text, &wifi);
        tn_wifitimer_parse(text, &timer);
        tn_wpsswitch_parse(text, &on);
    }
    EXPECT_EQ(memory.in_use(), 0);
}
