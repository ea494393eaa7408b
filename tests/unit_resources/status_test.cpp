// SPDX-License-Identifier: MIT
#include "protocol/gateway_status.h"

#include <climits>
#include <functional>

#include <nlohmann/json.hpp>
#include <pthread.h>

#include "support/fake_coap.h"
#include "unit_resources/gateway_fixture.h"

namespace {

using nlohmann::json;

enum FieldKind { kText, kNumber, kFlag };

struct FieldAt {
    std::size_t offset;
    std::size_t size;
    FieldKind kind;
};

constexpr FieldAt kWanDiagnosis[] = {
    {0, 32, kText}, {32, 32, kText},  {64, 32, kText},
    {96, 4, kFlag}, {100, 32, kText}, {132, 32, kText},
};

constexpr FieldAt kHost[] = {
    {0, 32, kText},     {32, 4, kFlag},     {36, 256, kText},   {292, 4, kNumber},
    {296, 4, kNumber},  {300, 64, kText},   {364, 4, kFlag},    {368, 4, kFlag},
    {372, 4, kNumber},  {376, 256, kText},  {632, 4, kNumber},  {636, 256, kText},
    {892, 64, kText},   {956, 4, kFlag},    {960, 16, kText},   {976, 256, kText},
    {1232, 32, kText},  {1264, 256, kText}, {1520, 4, kFlag},   {1524, 16, kText},
    {1540, 4, kFlag},   {1544, 256, kText}, {1800, 96, kText},  {1896, 4, kFlag},
    {1900, 4, kNumber}, {1904, 4, kFlag},   {1908, 4, kNumber}, {1912, 4, kNumber},
    {1916, 4, kNumber}, {1920, 4, kFlag},   {1924, 256, kText}, {2180, 4, kNumber},
    {2184, 4, kNumber},
};

constexpr FieldAt kDeviceInformation[] = {
    {0, 32, kText},    {32, 64, kText},   {96, 4, kNumber}, {100, 64, kText},  {164, 64, kText},
    {228, 64, kText},  {292, 4, kNumber}, {296, 64, kText}, {360, 4, kNumber}, {364, 4, kNumber},
    {368, 4, kNumber}, {372, 4, kNumber}, {376, 64, kText}, {440, 64, kText},  {504, 64, kText},
    {568, 64, kText},  {632, 64, kText},  {696, 64, kText}, {760, 192, kText}, {952, 4, kFlag},
    {956, 4, kNumber},
};

constexpr FieldAt kLanHost[] = {
    {0, 32, kText},   {32, 128, kText}, {160, 4, kFlag},   {164, 256, kText},
    {420, 16, kText}, {436, 32, kText}, {468, 128, kText}, {596, 4, kFlag},
};

constexpr FieldAt kWan[] = {
    {0, 256, kText},    {256, 256, kText},  {512, 256, kText},  {768, 16, kText},
    {784, 16, kText},   {800, 32, kText},   {832, 32, kText},   {864, 4, kNumber},
    {868, 4, kNumber},  {872, 4, kNumber},  {876, 64, kText},   {940, 4, kFlag},
    {944, 4, kFlag},    {948, 4, kNumber},  {952, 4, kNumber},  {956, 16, kText},
    {972, 16, kText},   {988, 64, kText},   {1052, 256, kText}, {1308, 4, kNumber},
    {1312, 8, kText},   {1320, 16, kText},  {1336, 16, kText},  {1352, 32, kText},
    {1384, 4, kNumber}, {1388, 4, kNumber}, {1392, 4, kFlag},   {1396, 4, kFlag},
    {1400, 16, kText},  {1416, 64, kText},  {1480, 128, kText}, {1608, 256, kText},
    {1864, 16, kText},  {1880, 4, kNumber}, {1884, 4, kNumber}, {1888, 4, kNumber},
    {1892, 4, kNumber}, {1896, 4, kNumber}, {1900, 16, kText},  {1916, 16, kText},
    {1932, 4, kNumber}, {1936, 32, kText},  {1968, 4, kFlag},   {1972, 32, kText},
    {2004, 4, kNumber},
};

constexpr FieldAt kWlanNetwork[] = {
    {0, 4, kFlag},     {4, 64, kText},   {68, 4, kNumber}, {72, 72, kText},   {144, 68, kText},
    {212, 288, kText}, {500, 12, kText}, {512, 4, kFlag},  {564, 16, kText},  {580, 4, kNumber},
    {584, 16, kText},  {600, 32, kText}, {632, 4, kFlag},  {668, 4, kFlag},   {672, 40, kText},
    {712, 32, kText},  {744, 16, kText}, {760, 4, kFlag},  {764, 4, kNumber}, {768, 4, kNumber},
    {772, 264, kText},
};

constexpr FieldAt kGuest[] = {
    {0, 32, kText},  {32, 4, kFlag},   {36, 4, kFlag},    {40, 40, kText},
    {80, 64, kText}, {148, 64, kText}, {212, 4, kNumber}, {216, 4, kNumber},
};

constexpr FieldAt kSchedule[] = {
    {8, 4, kFlag}, {12, 16, kText}, {28, 16, kText}, {44, 4, kNumber}, {48, 16, kText},
};

// Zero, one, and values that a cut-down or byte-swapped reading would take for zero.
constexpr std::int32_t kFlagValues[] = {1, 0, -1, 0x01000000, 0, 256};

std::int32_t flag_at(std::size_t offset) {
    return kFlagValues[(offset / 4) % std::size(kFlagValues)];
}

/** Each value tells the offset that it was put at, and in a list the entry. */
template <std::size_t Count>
void put_fields(RecordBytes& record, const FieldAt (&fields)[Count], std::size_t base,
                int index = -1) {
    for (const FieldAt& field : fields) {
        const std::string digits = std::to_string(1000 + index).substr(1);
        const std::string offset = std::to_string(field.offset);
        if (field.kind == kText) {
            record.soil(base + field.offset, field.size);
            std::string text = "t" + offset + (index < 0 ? "" : "." + digits);
            record.text(base + field.offset, text + '\0');
        } else if (field.kind == kNumber) {
            record.number(base + field.offset,
                          static_cast<std::int32_t>(field.offset) * 1000 + (index < 0 ? 0 : index));
        } else {
            record.number(base + field.offset, flag_at(field.offset));
        }
    }
}

std::string array_of(int count, const std::function<std::string(int)>& entry) {
    std::string text = "[";
    for (int index = 0; index < count; ++index)
        text += (index == 0 ? "" : ", ") + entry(index);
    return text + "]";
}

/** Texts of a document by the offset that they tell of ("t144" or "t144.007"). */
void collect_texts(const json& value, std::vector<std::pair<std::size_t, std::string>>& texts) {
    if (value.is_string())
        texts.emplace_back(std::stoul(value.get<std::string>().substr(1)),
                           value.get<std::string>());
    else if (value.is_structured())
        for (const json& member : value)
            collect_texts(member, texts);
}

class StatusTest : public GatewayTest {
protected:
    /** Texts that fill their array to the last byte, with a NUL there and without one. */
    template <std::size_t Size, std::size_t Count>
    void check_full_texts(coap_method_handler_t handler, const char* getter, RecordBytes record,
                          const FieldAt (&fields)[Count], std::size_t base,
                          const std::string& object = "") {
        for (const std::size_t nul : {std::size_t{1}, std::size_t{0}}) {
            SCOPED_TRACE(nul == 1 ? "terminated" : "not terminated");
            put_fields(record, fields, base);
            for (const FieldAt& field : fields) {
                if (field.kind == kText)
                    record.text(base + field.offset,
                                full_text(field, nul) + std::string(nul, '\0'));
            }
            fill<Size>(getter, record);
            std::vector<std::pair<std::size_t, std::string>> texts;
            collect_texts(json::parse(serve(handler)).at(json::json_pointer(object)), texts);
            for (const auto& [offset, text] : texts) {
                for (const FieldAt& field : fields) {
                    if (field.kind == kText && field.offset == offset) {
                        EXPECT_EQ(text, full_text(field, nul));
                    }
                }
            }
            EXPECT_GE(texts.size(), 3U);
        }
    }

private:
    static std::string full_text(const FieldAt& field, std::size_t nul) {
        std::string text = "t" + std::to_string(field.offset) + ".";
        text.resize(field.size - nul, 'x');
        return text;
    }
};

TEST_F(StatusTest, WanDiagnosis) {
    RecordBytes record(164);
    put_fields(record, kWanDiagnosis, 0);
    fill<164>("vx_device_wandiagnose", record);
    const std::string answer = serve(profession_sys_gateway_ntwk_wandiagnose);
    EXPECT_EQ(answer, expected("wandiagnose.json"));
    EXPECT_EQ(logged(6),
              (std::vector<std::string>{".sys/gateway/ntwk/wandiagnose\n", answer + "\n"}));
    EXPECT_EQ(deeds(), std::vector<std::string>{"frame_coap_response()"});
}

TEST_F(StatusTest, WanDiagnosisReportsTheStatusCodeAsTheReason) {
    fill<164>("vx_device_wandiagnose", RecordBytes(164).text(0, "0"));
    const json answer = json::parse(serve(profession_sys_gateway_ntwk_wandiagnose));
    EXPECT_EQ(answer["StatusCode"], "0");
    EXPECT_EQ(answer["ErrReason"], "0");
}

TEST_F(StatusTest, WanDiagnosisTextsFillTheirArrays) {
    check_full_texts<164>(profession_sys_gateway_ntwk_wandiagnose, "vx_device_wandiagnose",
                          RecordBytes(164), kWanDiagnosis, 0);
}

TEST_F(StatusTest, DeviceInformation) {
    RecordBytes record(960);
    put_fields(record, kDeviceInformation, 0);
    fill<960>("vx_device_info", record);
    const std::string answer = serve(profession_sys_gateway_system_deviceinfo);
    EXPECT_EQ(answer, expected("deviceinfo.json"));
    EXPECT_EQ(logged(6),
              (std::vector<std::string>{".sys/gateway/system/deviceinfo\n", answer + "\n"}));
}

TEST_F(StatusTest, DeviceInformationTextsFillTheirArrays) {
    check_full_texts<960>(profession_sys_gateway_system_deviceinfo, "vx_device_info",
                          RecordBytes(960), kDeviceInformation, 0);
}

TEST_F(StatusTest, LanHost) {
    RecordBytes record(600);
    put_fields(record, kLanHost, 0);
    fill<600>("vx_device_lanhost", record);
    const std::string answer = serve(profession_sys_gateway_ntwk_lanhost);
    EXPECT_EQ(answer, expected("lan_host.json"));
    EXPECT_EQ(logged(6), (std::vector<std::string>{".sys/gateway/ntwk/lan_host\n", answer + "\n"}));
}

TEST_F(StatusTest, LanHostTextsFillTheirArrays) {
    check_full_texts<600>(profession_sys_gateway_ntwk_lanhost, "vx_device_lanhost",
                          RecordBytes(600), kLanHost, 0);
}

TEST_F(StatusTest, Wan) {
    RecordBytes record(2008);
    put_fields(record, kWan, 0);
    fill<2008>("vx_device_wan", record);
    const std::string answer = serve(profession_sys_gateway_ntwk_wan);
    EXPECT_EQ(answer, expected("wan.json"));
    EXPECT_EQ(json::parse(answer).size(), 45U);
    EXPECT_EQ(logged(6), (std::vector<std::string>{".sys/gateway/ntwk/wan\n", answer + "\n"}));
}

TEST_F(StatusTest, WanTextsFillTheirArrays) {
    check_full_texts<2008>(profession_sys_gateway_ntwk_wan, "vx_device_wan", RecordBytes(2008),
                           kWan, 0);
}

TEST_F(StatusTest, NumbersKeepTheirSignAndSize) {
    for (const std::int32_t number : {-1, INT_MAX, INT_MIN}) {
        fill<2008>("vx_device_wan", RecordBytes(2008).number(1308, number).number(1932, number));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_wan));
        EXPECT_EQ(answer["MTU"], number);
        EXPECT_EQ(answer["IsConfigured"], number);
    }
}

TEST_F(StatusTest, AGetterThatFailsLeavesEmptyTextsZerosAndFalse) {
    fake::device().set_result("vx_device_lanhost", -1);
    EXPECT_EQ(serve(profession_sys_gateway_ntwk_lanhost),
              "{\n\t\"FirstMac\":\t\"\",\n\t\"DevName\":\t\"\",\n\t\"FirstEnable\":\tfalse,\n"
              "\t\"ID\":\t\"\",\n\t\"FristIP\":\t\"\",\n\t\"MACAddress\":\t\"\",\n"
              "\t\"DomainName\":\t\"\",\n\t\"ShowLanDomainEnable\":\tfalse\n}");
}

TEST_F(StatusTest, TextsAreEscapedAsJson) {
    fill<600>("vx_device_lanhost", RecordBytes(600).text(32, "a \"b\" \\ \n\t\x01 \xc3\xa9"));
    const std::string answer = serve(profession_sys_gateway_ntwk_lanhost);
    EXPECT_NE(answer.find("\"DevName\":\t\"a \\\"b\\\" \\\\ \\n\\t\\u0001 \xc3\xa9\","),
              std::string::npos);
}

TEST_F(StatusTest, TheBodyOfAQuestionIsNotRead) {
    fake::device().allow({"vx_device_lanhost"});
    const std::string answer = serve(profession_sys_gateway_ntwk_lanhost);
    EXPECT_EQ(serve(profession_sys_gateway_ntwk_lanhost, "{\"not\": even json"), answer);
}

// ---- lists: counts at their limits and beyond

struct CountCase {
    std::int32_t reported;
    int entries;
};

class ListTest : public StatusTest {
protected:
    static std::vector<CountCase> counts(int capacity) {
        return {{0, 0},
                {1, 1},
                {capacity - 1, capacity - 1},
                {capacity, capacity},
                {capacity + 1, capacity},
                {INT_MAX, capacity},
                {-1, 0},
                {INT_MIN, 0}};
    }
};

TEST_F(ListTest, Hosts) {
    RecordBytes record(140036);
    for (int index = 0; index < 64; ++index)
        put_fields(record, kHost, static_cast<std::size_t>(index) * 2188, index);
    for (const CountCase& count : counts(64)) {
        SCOPED_TRACE(count.reported);
        fill<140036>("vx_device_hostinfo", record.number(140032, count.reported));
        const std::string answer = serve(profession_sys_gateway_system_hostinfo);
        EXPECT_EQ(answer, array_of(count.entries,
                                   [](int index) { return expected("host.json.in", index); }));
        EXPECT_EQ(logged(6),
                  (std::vector<std::string>{".sys/gateway/system/HostInfo\n", answer + "\n"}));
    }
}

TEST_F(ListTest, NoHostsAreAnEmptyArray) {
    fake::device().allow({"vx_device_hostinfo"});
    EXPECT_EQ(serve(profession_sys_gateway_system_hostinfo), "[]");
}

TEST_F(ListTest, HostTextsFillTheirArrays) {
    for (const std::size_t host : {std::size_t{0}, std::size_t{63}})
        check_full_texts<140036>(profession_sys_gateway_system_hostinfo, "vx_device_hostinfo",
                                 RecordBytes(140036).number(140032, 64), kHost, host * 2188,
                                 "/" + std::to_string(host));
}

RecordBytes full_host_table() {
    RecordBytes record(140036);
    for (std::size_t host = 0; host < 64; ++host) {
        put_fields(record, kHost, host * 2188);
        for (const FieldAt& field : kHost) {
            if (field.kind == kText)
                record.text(host * 2188 + field.offset, std::string(field.size - 1, 'h') + '\0');
        }
    }
    return record.number(140032, 64);
}

TEST_F(ListTest, SixtyFourFullHosts) {
    fill<140036>("vx_device_hostinfo", full_host_table());
    const std::string answer = serve(profession_sys_gateway_system_hostinfo);
    EXPECT_GT(answer.size(), 100'000U);
    const json hosts = json::parse(answer);
    ASSERT_EQ(hosts.size(), 64U);
    EXPECT_EQ(hosts[63]["DevBrands"], std::string(255, 'h'));
}

TEST_F(ListTest, TheHostTableFitsTheReceiveThreadsStack) {
    fill<140036>("vx_device_hostinfo", full_host_table());
    const Request request(std::nullopt);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, vxq::kThreadStack), 0);
    pthread_t thread;
    const auto serve_request = [](void* pdu) -> void* {
        profession_sys_gateway_system_hostinfo(
            nullptr, g_coap_session, static_cast<const coap_pdu_t*>(pdu), nullptr, nullptr);
        return nullptr;
    };
    ASSERT_EQ(
        pthread_create(&thread, &attributes, serve_request, const_cast<coap_pdu_t*>(request.pdu())),
        0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(fake::coap().answers().size(), 1U);
    EXPECT_GT(fake::coap().answers()[0].body.size(), 100'000U);
}

TEST_F(ListTest, WlanNetworks) {
    RecordBytes record(8296);
    for (int index = 0; index < 8; ++index)
        put_fields(record, kWlanNetwork, 8 + static_cast<std::size_t>(index) * 1036, index);
    for (const CountCase& count : counts(8)) {
        SCOPED_TRACE(count.reported);
        fill<8296>("vx_device_wlanbasic", record.number(0, 2).number(4, count.reported));
        const std::string answer = serve(profession_sys_gateway_ntwk_wlanbasic);
        EXPECT_EQ(answer,
                  "{\n\t\"DbhoEnable\":\ttrue,\n\t\"WifiConfig\":\t" +
                      array_of(count.entries,
                               [](int index) { return expected("wlan_network.json.in", index); }) +
                      "\n}");
        EXPECT_EQ(logged(6), (std::vector<std::string>{".sys/gateway/ntwk/WlanBasic\n",
                                                       "app_sys_gateway_system_wlanbasic #\n",
                                                       answer + "\n"}));
    }
}

TEST_F(ListTest, WlanNetworkTextsFillTheirArrays) {
    for (const std::size_t network : {std::size_t{0}, std::size_t{7}})
        check_full_texts<8296>(profession_sys_gateway_ntwk_wlanbasic, "vx_device_wlanbasic",
                               RecordBytes(8296).number(4, 8), kWlanNetwork, 8 + network * 1036,
                               "/WifiConfig/" + std::to_string(network));
}

TEST_F(ListTest, OnlyAnOpenWlanNetworkHasNoEncryptionMode) {
    const std::pair<const char*, const char*> cases[] = {{"None", ""},     {"none", "AES"},
                                                         {"None ", "AES"}, {"Non", "AES"},
                                                         {"", "AES"},      {"11i", "AES"}};
    for (const auto& [beacon_type, mode] : cases) {
        SCOPED_TRACE(beacon_type);
        fill<8296>("vx_device_wlanbasic",
                   RecordBytes(8296).number(4, 1).text(8 + 144, beacon_type).text(8 + 212, "AES"));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_wlanbasic));
        EXPECT_EQ(answer["DbhoEnable"], false);
        EXPECT_EQ(answer["WifiConfig"][0]["WpaEncryptionMode"], mode);
        EXPECT_EQ(answer["WifiConfig"][0]["BeaconType"], beacon_type);
    }
}

std::string guest(int index, const std::string& band) {
    std::string text = expected("guest.json.in", index);
    return text.replace(text.find("@band@"), 6, band);
}

TEST_F(ListTest, GuestNetworks) {
    RecordBytes record(444);
    for (int index = 0; index < 2; ++index)
        put_fields(record, kGuest, static_cast<std::size_t>(index) * 220, index);
    record.number(144, 1).number(220 + 144, 2);
    for (const CountCase& count : counts(2)) {
        SCOPED_TRACE(count.reported);
        fill<444>("vx_device_guest_network_get", record.number(440, count.reported));
        const std::string answer = serve(profession_sys_gateway_ntwk_guest_network);
        EXPECT_EQ(answer, array_of(count.entries, [](int index) {
                      return guest(index, index == 0 ? "2.4GHz" : "5GHz");
                  }));
        EXPECT_EQ(logged(6),
                  (std::vector<std::string>{".sys/gateway/ntwk/guest_network\n", answer + "\n"}));
    }
}

TEST_F(ListTest, EveryGuestBandButOneIs5GHz) {
    for (const std::int32_t band : {0, 2, 3, -1, 0x01000000}) {
        fill<444>("vx_device_guest_network_get", RecordBytes(444).number(144, band).number(440, 1));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_guest_network));
        EXPECT_EQ(answer[0]["FrequencyBand"], "5GHz") << band;
    }
}

TEST_F(ListTest, GuestTextsFillTheirArrays) {
    for (const std::size_t guest_network : {std::size_t{0}, std::size_t{1}}) {
        RecordBytes record(444);
        put_fields(record, kGuest, guest_network * 220);
        for (const FieldAt& field : kGuest) {
            if (field.kind == kText)
                record.text(guest_network * 220 + field.offset, std::string(field.size, 'g'));
        }
        fill<444>("vx_device_guest_network_get", record.number(440, 2));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_guest_network));
        EXPECT_EQ(answer[guest_network]["SecOpt"], std::string(32, 'g'));
        EXPECT_EQ(answer[guest_network]["WifiSsid"], std::string(40, 'g'));
        EXPECT_EQ(answer[guest_network]["WpaPreSharedKey"], std::string(64, 'g'));
        EXPECT_EQ(answer[guest_network]["ID"], std::string(64, 'g'));
        EXPECT_EQ(answer[1 - guest_network]["ID"], "");
    }
}

TEST_F(ListTest, ScheduleTextsFillTheirArrays) {
    for (const std::size_t schedule : {std::size_t{0}, std::size_t{15}})
        check_full_texts<1092>(profession_sys_gateway_ntwk_wlantimeswitch,
                               "vx_device_wlantimeswitch_get", RecordBytes(1092).number(1088, 16),
                               kSchedule, schedule * 68, "/datelist/" + std::to_string(schedule));
}

TEST_F(ListTest, Schedules) {
    RecordBytes record(1092);
    for (int index = 0; index < 16; ++index)
        put_fields(record, kSchedule, static_cast<std::size_t>(index) * 68, index);
    for (const CountCase& count : counts(16)) {
        SCOPED_TRACE(count.reported);
        fill<1092>("vx_device_wlantimeswitch_get", record.number(1088, count.reported));
        const std::string answer = serve(profession_sys_gateway_ntwk_wlantimeswitch);
        EXPECT_EQ(answer, "{\n\t\"datelist\":\t" + array_of(count.entries, [](int index) {
                              return expected("schedule.json.in", index);
                          }) + "\n}");
        EXPECT_EQ(logged(6),
                  (std::vector<std::string>{".sys/gateway/ntwk/wlantimeswitch\n", answer + "\n"}));
    }
}

// ---- the MAC filter: lists in a list

TEST_F(ListTest, MacFilters) {
    RecordBytes record(16548);
    record.number(0, 1).number(4, 1).text(8, "first").number(72, 2);
    record.text(76, "00:00:00:00:00:01").text(76 + 64, "host 1");
    record.text(204, "00:00:00:00:00:02").text(204 + 64, "host 2").number(8268, 2);
    record.number(8272, 2).number(8276, 0).text(8280, "second").number(8344, 0);
    fill<16548>("vx_device_wlanfilterenhance_get", record.number(16544, 2));
    const std::string answer = serve(profession_sys_gateway_ntwk_wlanfilterenhance);
    EXPECT_EQ(answer, expected("wlanfilterenhance.json"));
    EXPECT_EQ(logged(6),
              (std::vector<std::string>{".sys/gateway/ntwk/wlanfilterenhance\n", answer + "\n"}));
}

TEST_F(ListTest, MacFilterBands) {
    for (const CountCase& count : counts(2)) {
        SCOPED_TRACE(count.reported);
        fill<16548>("vx_device_wlanfilterenhance_get",
                    RecordBytes(16548).text(8, "a").text(8280, "b").number(16544, count.reported));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_wlanfilterenhance));
        ASSERT_EQ(answer.size(), static_cast<std::size_t>(count.entries));
        for (int index = 0; index < count.entries; ++index) {
            const auto at = static_cast<std::size_t>(index);
            EXPECT_EQ(answer[at]["ID"], index == 0 ? "a" : "b");
            EXPECT_EQ(answer[at]["FrequencyBand"], "5GHz");
            EXPECT_EQ(answer[at]["BMACAddresses"], json::array());
            EXPECT_FALSE(answer[at].contains("WMACAddresses"));
        }
    }
}

TEST_F(ListTest, MacFilterHosts) {
    for (const std::size_t band : {std::size_t{0}, std::size_t{8272}}) {
        RecordBytes record(16548);
        for (std::size_t host = 0; host < 64; ++host)
            record.text(band + 76 + host * 128, "mac " + std::to_string(host))
                .text(band + 76 + host * 128 + 64, std::string(64, 'n'));
        for (const CountCase& count : counts(64)) {
            SCOPED_TRACE(count.reported);
            fill<16548>("vx_device_wlanfilterenhance_get",
                        record.number(band + 8268, count.reported).number(16544, 2));
            const json answer = json::parse(serve(profession_sys_gateway_ntwk_wlanfilterenhance));
            const json& hosts = answer[band == 0 ? 0 : 1]["BMACAddresses"];
            ASSERT_EQ(hosts.size(), static_cast<std::size_t>(count.entries));
            for (std::size_t host = 0; host < hosts.size(); ++host)
                EXPECT_EQ(hosts[host], (json{{"MACAddress", "mac " + std::to_string(host)},
                                             {"HostName", std::string(64, 'n')}}));
            EXPECT_EQ(answer[band == 0 ? 1 : 0]["BMACAddresses"], json::array());
        }
    }
}

TEST_F(ListTest, EveryMacFilterPolicyButZeroIsAWhiteList) {
    for (const std::int32_t policy : {1, -1, 3, 0x01000000}) {
        fill<16548>("vx_device_wlanfilterenhance_get",
                    RecordBytes(16548).number(72, policy).number(16544, 1));
        const json answer = json::parse(serve(profession_sys_gateway_ntwk_wlanfilterenhance));
        EXPECT_EQ(answer[0]["MacFilterPolicy"], policy);
        EXPECT_EQ(answer[0]["WMACAddresses"], json::array());
        EXPECT_FALSE(answer[0].contains("BMACAddresses"));
    }
}

} // namespace
