// SPDX-License-Identifier: MIT
#include <algorithm>

#include <gtest/gtest.h>

#include "state/state.h"
#include "transport_test.h"
#include "vx_coap/frame_coap.h"
#include "vxquilan/coap_resources.h"

/** @file The resource table, and the handlers that only perform an action. */
namespace transport {

namespace {

constexpr char kSuccess[] = "{\n\t\"errcode\":\t0\n}";
constexpr char kUnderscores[] = ".sys/gateway/ntwk/no_such_resource";

struct Row {
    const char* path;
    std::uint8_t method;
    const char* action; ///< of the device library, or null
};

// The resources that are served so far.
constexpr Row kRows[] = {
    {".sys/delDevice", kPost, "vx_device_deldevice()"},
    {".sys/gateway/system/changedevicename", kPost, nullptr},
    {".sys/gateway/service/reboot.cgi", kPost, "vx_device_reboot()"},
    {".sys/gateway/service/restoredefcfg.cgi", kPost, "vx_device_restoredefcfg()"},
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.path;
}

bool has_log_of(const std::string& path) {
    return logged(VX_LOG_PROGRESS, path + '\n');
}

} // namespace

class ResourceTest : public TransportTest, public ::testing::WithParamInterface<Row> {
protected:
    std::vector<std::string> expected_deeds() const {
        if (GetParam().action == nullptr)
            return {};
        return {GetParam().action};
    }

    Listener listener_;
};

INSTANTIATE_TEST_SUITE_P(Table, ResourceTest, ::testing::ValuesIn(kRows),
                         [](const ::testing::TestParamInfo<Row>& parameter) {
                             std::string name = parameter.param.path;
                             std::erase_if(name, [](unsigned char c) { return !std::isalnum(c); });
                             return name;
                         });

TEST_P(ResourceTest, AnswersSuccessToItsMethodAndActs) {
    Connection platform = establish(listener_);
    platform.send(request(GetParam().method, GetParam().path, {}, "{\"any\": \"body\"}"));
    const Message answer = platform.next_exchange();
    EXPECT_EQ(answer.code, kContent);
    EXPECT_EQ(answer.body, kSuccess);
    EXPECT_TRUE(wait_until([&] { return fake::journal().deeds() == expected_deeds(); }));
    EXPECT_TRUE(has_log_of(GetParam().path));
}

TEST_P(ResourceTest, AnswersARequestWithoutABody) {
    Connection platform = establish(listener_);
    platform.send(request(GetParam().method, GetParam().path));
    EXPECT_EQ(platform.next_exchange().body, kSuccess);
}

TEST_P(ResourceTest, AnswersBeforeTheDeviceLibraryActs) {
    std::atomic<bool> answered{false};
    std::atomic<bool> acting{false};
    if (GetParam().action != nullptr) {
        const std::string action = GetParam().action;
        fake::device().on_call(action.substr(0, action.find('(')).c_str(), [&] {
            acting = true;
            // The platform has its answer although this call hasn't returned.
            EXPECT_TRUE(wait_until([&] { return answered.load(); }));
        });
    }
    Connection platform = establish(listener_);
    platform.send(request(GetParam().method, GetParam().path));
    EXPECT_EQ(platform.next_exchange().body, kSuccess);
    EXPECT_TRUE(GetParam().action == nullptr || wait_until([&] { return acting.load(); }));
    answered = true;
    close_session();
}

TEST_P(ResourceTest, ReportsSuccessThoughTheActionFails) {
    if (GetParam().action != nullptr) {
        const std::string action = GetParam().action;
        fake::device().set_result(action.substr(0, action.find('(')).c_str(), 5);
    }
    Connection platform = establish(listener_);
    platform.send(request(GetParam().method, GetParam().path));
    EXPECT_EQ(platform.next_exchange().body, kSuccess);
}

TEST_P(ResourceTest, LeavesTheStateAlone) {
    Connection platform = establish(listener_);
    g_quilan_status = kAppOnline;
    platform.send(request(GetParam().method, GetParam().path));
    platform.next_exchange();
    close_session();
    EXPECT_EQ(g_quilan_status, kAppOnline);
}

TEST_P(ResourceTest, OtherMethodsAreNotPassedToTheHandler) {
    Connection platform = establish(listener_);
    for (const std::uint8_t method : {kGet, kPut, kDelete}) {
        platform.send(request(method, GetParam().path, {}, {}, "token"));
        const Message answer = platform.next_exchange();
        EXPECT_EQ(answer.code, kMethodNotAllowed);
        EXPECT_EQ(answer.token, "token");
    }
    EXPECT_FALSE(has_log_of(GetParam().path));
    EXPECT_TRUE(fake::journal().deeds().empty());
}

TEST_P(ResourceTest, PathsAreCaseSensitive) {
    Connection platform = establish(listener_);
    std::string path = GetParam().path;
    path[path.size() - 1] = static_cast<char>(std::toupper(path.back()));
    platform.send(request(GetParam().method, path));
    EXPECT_EQ(platform.next_exchange().code, kNotFound);
    EXPECT_TRUE(fake::journal().deeds().empty());
}

TEST_P(ResourceTest, PathsNeitherBeginWithASlashNorGoOn) {
    Connection platform = establish(listener_);
    for (const std::string& path :
         {'/' + std::string(GetParam().path), GetParam().path + std::string("/more")}) {
        platform.send(request(GetParam().method, path));
        EXPECT_EQ(platform.next_exchange().code, kNotFound) << path;
    }
    EXPECT_TRUE(fake::journal().deeds().empty());
}

TEST_P(ResourceTest, IsServedAgainInTheNextSession) {
    for (int round = 0; round < 3; ++round) {
        Connection platform = establish(listener_);
        platform.send(request(GetParam().method, GetParam().path));
        EXPECT_EQ(platform.next_exchange().body, kSuccess);
        close_session();
    }
}

TEST_P(ResourceTest, IsServedOverTls) {
    const TlsIdentity identity(make_certificate());
    Connection platform = establish_tls(listener_, identity);
    platform.send(request(GetParam().method, GetParam().path, {{kEcho1, "1"}}));
    const Message answer = platform.next_exchange();
    EXPECT_EQ(answer.body, kSuccess);
    EXPECT_EQ(answer.option(kEcho1), "1");
}

class ResourcesTest : public TransportTest {
protected:
    Listener listener_;
};

TEST_F(ResourcesTest, AnUnknownPathReachesNoHandler) {
    Connection platform = establish(listener_);
    for (const char* const path : {".sys", ".sys/gateway", kUnderscores, "delDevice"}) {
        platform.send(request(kPost, path, {}, {}, "token"));
        const Message answer = platform.next_exchange();
        EXPECT_EQ(answer.code, kNotFound) << path;
        EXPECT_EQ(answer.token, "token");
    }
    platform.send(request(kGet, ""));
    EXPECT_EQ(platform.next_exchange().code, kNotFound);
    EXPECT_TRUE(fake::journal().deeds().empty());
}

TEST_F(ResourcesTest, RegistrationWithoutASessionDoesNothing) {
    EXPECT_EQ(frame_coap_register_list(), 0);
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_TRUE(fake::log().lines().empty());
}

TEST_F(ResourcesTest, RequestsBeforeThePlatformsCsmAreRefused) {
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    EXPECT_EQ(platform.next().code, kCsm);
    // A handler's answer would make libcoap wait for the CSM inside its own processing, and the
    // second one would end the process.
    int requests = 0;
    for (int round = 0; round < 3; ++round) {
        for (const char* const path : {".sys/delDevice", ".well-known/core", "unknown"}) {
            for (const std::uint8_t method : {kGet, kPost, kDelete}) {
                platform.send(request(method, path));
                ++requests;
            }
        }
    }
    const auto took = duration_of([&] {
        platform.wait_until_read();
        platform.send(csm());
        for (int answer = 0; answer < requests; ++answer)
            EXPECT_NE(platform.next_exchange().code, kContent);
    });
    EXPECT_LT(took, milliseconds(3000));
    EXPECT_TRUE(fake::journal().deeds().empty());
    platform.send(request(kPost, ".sys/gateway/system/changedevicename"));
    EXPECT_EQ(platform.next_exchange().body, kSuccess);
}

TEST_F(ResourcesTest, ARequestRightBehindTheCsmIsServed) {
    set_platform(listener_);
    open_session();
    Connection platform = listener_.accept();
    platform.send(encode(csm()) + encode(request(kPost, ".sys/gateway/service/reboot.cgi")));
    EXPECT_EQ(platform.next_exchange().body, kSuccess);
}

TEST_F(ResourcesTest, DelDeviceAnswersAndThenClosesTheSession) {
    Connection platform = establish(listener_);
    g_quilan_status = kAppOnline;
    platform.send(request(kPost, ".sys/delDevice", {{kEcho1, "identity"}}));
    const std::vector<Message> messages = platform.rest();
    ASSERT_GE(messages.size(), 1u);
    EXPECT_EQ(messages[0].body, kSuccess);
    EXPECT_EQ(messages[0].option(kEcho1), "identity");
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(g_coap_ctx, nullptr);
    EXPECT_EQ(g_coap_session, nullptr);
    EXPECT_EQ(g_run_flag, 0);
    EXPECT_EQ(g_quilan_status, kAppOnline);
    EXPECT_EQ(fake::journal().deeds(), std::vector<std::string>{"vx_device_deldevice()"});
}

TEST_F(ResourcesTest, NothingGoesOutBehindTheAnswerOfDelDevice) {
    Connection platform = establish(listener_);
    platform.send(request(kPost, ".sys/delDevice"));
    std::string bytes;
    for (std::string more = platform.receive(); !more.empty(); more = platform.receive())
        bytes += more;
    EXPECT_EQ(take_message(bytes)->body, kSuccess);
    EXPECT_EQ(bytes, "");
}

TEST_F(ResourcesTest, RequestsBehindADelDeviceInOnePieceHaveNoEffect) {
    Connection platform = establish(listener_);
    std::string piece = encode(request(kPost, ".sys/delDevice"));
    for (const Row& row : kRows)
        piece += encode(request(kPost, row.path));
    platform.send(piece);
    platform.rest();
    EXPECT_TRUE(receive_threads_ended());
    EXPECT_EQ(fake::journal().deeds(), std::vector<std::string>{"vx_device_deldevice()"});
    for (std::size_t row = 1; row < std::size(kRows); ++row)
        EXPECT_FALSE(has_log_of(kRows[row].path));
}

// To what is not served, libcoap may still write an answer of its own (docs/decisions.md).
TEST_F(ResourcesTest, RequestsBehindADelDeviceInOnePieceAreNotAnswered) {
    Connection platform = establish(listener_);
    platform.send(encode(request(kPost, ".sys/delDevice")) +
                  encode(request(kPost, ".sys/gateway/service/reboot.cgi")) +
                  encode(request(kPost, ".sys/delDevice")) +
                  encode(request(kPost, ".sys/gateway/system/changedevicename")));
    std::vector<Message> messages = platform.rest();
    ASSERT_GE(messages.size(), 1u);
    EXPECT_EQ(messages[0].body, kSuccess);
    std::erase_if(messages, [](const Message& message) { return message.code == kEmpty; });
    EXPECT_EQ(messages.size(), 1u) << "an answer after the session was closed";
}

} // namespace transport
