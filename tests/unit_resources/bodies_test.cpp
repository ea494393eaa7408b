// SPDX-License-Identifier: MIT
// Bodies end where their length says: behind them there may be anything, or nothing at all.
#include <cstring>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "appjsonapi/app_guest_network.h"
#include "appjsonapi/app_qos_host.h"
#include "appjsonapi/app_time_switch.h"
#include "appjsonapi/app_wlan_basic.h"
#include "appjsonapi/app_wlan_filter.h"
#include "appjsonapi/app_wlan_guide.h"
#include "unit_resources/settings_model.h"

namespace {

/** Bytes with an unreadable page right behind the last one. */
class GuardedBytes {
public:
    explicit GuardedBytes(const std::string& bytes)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          room_((bytes.size() + page_ - 1) / page_ * page_), size_(room_ + page_),
          begin_(static_cast<char*>(
              mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          body_{begin_ + room_ - bytes.size(), bytes.size()} {
        if (begin_ == MAP_FAILED || mprotect(begin_ + room_, page_, PROT_NONE) != 0)
            throw std::bad_alloc();
        std::memcpy(begin_ + room_ - bytes.size(), bytes.data(), bytes.size());
    }
    ~GuardedBytes() { munmap(begin_, size_); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    [[nodiscard]] const RequestBody& body() const { return body_; }

private:
    std::size_t page_;
    std::size_t room_;
    std::size_t size_;
    char* begin_;
    RequestBody body_;
};

template <class Record>
int parse(int (*parser)(const RequestBody&, Record&, ParameterPath&), const RequestBody& body) {
    Record record{};
    ParameterPath path{};
    return parser(body, record, path);
}

/** One result for each parser; all that cannot be taken are -1. */
std::vector<int> parse_with_all(const RequestBody& body) {
    ParameterPath path{};
    return {app_sys_gateway_system_wlanbasic_action(body, path),
            parse(app_sys_gateway_system_wlanbasic_parse, body),
            parse(app_sys_gateway_system_ssidsetting_parse, body),
            parse(app_sys_gateway_ntwk_wlanguidebasic_parse, body),
            parse(app_sys_gateway_ntwk_guest_network_parse, body),
            parse(app_sys_gateway_ntwk_wlanfilterenhance_parse, body),
            parse(app_sys_gateway_ntwk_wlantimeswitch_parse, body),
            parse(app_sys_gateway_app_qosclasshost_parse, body)};
}

const std::vector<int> kAllRefuse(8, -1);

class BodiesTest : public SettingsTest {};

TEST_F(BodiesTest, EachBodyCutAtEachLength) {
    for (const SettingsModel& model : settings_models()) {
        SCOPED_TRACE(model.name);
        const std::string whole = model.body.dump();
        EXPECT_NE(parse_with_all(GuardedBytes(whole).body()), kAllRefuse);
        for (std::size_t length = 1; length < whole.size(); ++length)
            EXPECT_EQ(parse_with_all(GuardedBytes(whole.substr(0, length)).body()), kAllRefuse);
    }
}

TEST_F(BodiesTest, NoBody) {
    EXPECT_EQ(parse_with_all({}), kAllRefuse);
    EXPECT_EQ(parse_with_all({"{}", 0}), kAllRefuse);
    EXPECT_EQ(parse_with_all({nullptr, 5}), kAllRefuse);
}

TEST_F(BodiesTest, RootsThatAreNoObjects) {
    for (const char* const root : {"[]", "[{\"data\": {}}]", "5", "-0", "1e5", "\"data\"", "true",
                                   "false", "null", "\"\"", "{}", "\xef\xbb\xbf{}"})
        EXPECT_EQ(parse_with_all(GuardedBytes(root).body()), kAllRefuse) << root;
}

TEST_F(BodiesTest, BrokenJson) {
    for (const char* const text : {"{\"data\"",
                                   "{\"data\":",
                                   "{\"data\":}",
                                   "{\"data\":\"",
                                   "{\"data\":\"\\",
                                   "{\"data\":\"\\u",
                                   "{\"data\":\"\\u12",
                                   "{\"data\":\"\\ud800",
                                   "{\"data\":\"\\ud800\\u",
                                   "{\"data\":1",
                                   "{\"data\":-",
                                   "{\"data\":t",
                                   "{\"data\":nul",
                                   "{\"data\":[",
                                   "{\"data\":[1,",
                                   "{,}",
                                   "{\"data\":{}",
                                   "\xef\xbb\xbf",
                                   "\xef\xbb",
                                   "   ",
                                   "\t",
                                   "'data'",
                                   "{data: {}}"})
        EXPECT_EQ(parse_with_all(GuardedBytes(text).body()), kAllRefuse) << text;
}

TEST_F(BodiesTest, DeepNesting) {
    for (const int depth : {1000, 1001, 2000, 100'000}) {
        std::string objects;
        for (int level = 0; level < depth; ++level)
            objects += "{\"more\":";
        objects += "1" + std::string(static_cast<std::size_t>(depth), '}');
        EXPECT_EQ(parse_with_all(GuardedBytes(objects).body()), kAllRefuse);
        const std::string arrays = std::string(static_cast<std::size_t>(depth), '[') +
                                   std::string(static_cast<std::size_t>(depth), ']');
        EXPECT_EQ(parse_with_all(GuardedBytes(arrays).body()), kAllRefuse);
    }
}

TEST_F(BodiesTest, AMegabyte) {
    nlohmann::json body = model("QosHost").body;
    body["data"]["HostName"] = std::string(1 << 20, 'x');
    RecordBytes record = model("QosHost").record;
    expect_applied(model("QosHost"), body, record.text(108, std::string(63, 'x')));
    EXPECT_EQ(logged(6).at(1), body.dump() + "\n");
}

TEST_F(BodiesTest, NamesWithEscapedNuls) {
    nlohmann::json body = model("QosHost").body;
    body["data"]["HostName"] = std::string("a\0b", 3);
    ASSERT_NE(body.dump().find("a\\u0000b"), std::string::npos);
    // The text ends at the NUL that the escape stands for.
    RecordBytes record = model("QosHost").record;
    expect_applied(model("QosHost"), body, record.clear(108, 64).text(108, "a"));
}

TEST_F(BodiesTest, SurrogatePairsBecomeUtf8) {
    nlohmann::json body = model("QosHost").body;
    body["data"]["HostName"] = "\xf0\x9f\x98\x80";
    fake::device().allow({"vx_device_qosclasshost"});
    EXPECT_EQ(serve(model("QosHost").handler,
                    body.dump(-1, ' ', true /* everything but ASCII is escaped */)),
              success());
    RecordBytes record = model("QosHost").record;
    record.clear(108, 64).text(108, "\xf0\x9f\x98\x80");
    EXPECT_EQ(given("vx_device_qosclasshost").at(0), record.bytes());
}

} // namespace
