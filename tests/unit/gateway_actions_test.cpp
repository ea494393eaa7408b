// SPDX-License-Identifier: MIT
// The resources that only perform an action, and the document that all gateway resources answer
// with.
#include "unit/fixture.h"

#include <limits>

#include "appjsonapi/app_errcode.h"
#include "protocol/gateway_actions.h"

using fake::Source;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr char kSuccess[] = "{\n\t\"errcode\":\t0\n}";

struct ActionCase {
    const char* name;
    const char* path;
    coap_method_handler_t handler;
    const char* operation; ///< of the device library, or null
    bool closes;
};

void PrintTo(const ActionCase& row, std::ostream* out) {
    *out << row.name;
}

constexpr ActionCase kActions[] = {
    {"DelDevice", ".sys/delDevice", profession_sys_deldevice, "vx_device_deldevice", true},
    {"ChangeDeviceName", ".sys/gateway/system/changedevicename",
     profession_sys_gateway_system_changedevicename, nullptr, false},
    {"Reboot", ".sys/gateway/service/reboot.cgi", profession_sys_gateway_server_reboot,
     "vx_device_reboot", false},
    {"RestoreDefaults", ".sys/gateway/service/restoredefcfg.cgi",
     profession_sys_gateway_server_restoredefcfg, "vx_device_restoredefcfg", false},
};

class Request {
public:
    explicit Request(const std::string& body)
        : message_(coap_pdu_init(COAP_MESSAGE_CON, COAP_REQUEST_CODE_POST, 7, 5'000)) {
        if (!body.empty())
            coap_add_data(message_, body.size(),
                          reinterpret_cast<const std::uint8_t*>(body.data()));
    }
    ~Request() { coap_delete_pdu(message_); }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    [[nodiscard]] const coap_pdu_t* message() const { return message_; }

private:
    coap_pdu_t* message_;
};

class Action : public SessionTest, public testing::WithParamInterface<ActionCase> {
protected:
    Action() {
        if (GetParam().operation != nullptr)
            fake::device().allow({GetParam().operation});
    }
    static void serve(const Request& request, coap_session_t* session = g_coap_session) {
        GetParam().handler(nullptr, session, request.message(), nullptr, nullptr);
    }
    static Texts everything() {
        return fake::journal().calls(
            {Source::log, Source::coap, Source::device, Source::query, Source::os, Source::sleep});
    }
};

TEST_P(Action, LogsAnswersAndOnlyThenActs) {
    serve(Request("{}"));
    Texts expected{std::string("6 ") + GetParam().path + "\n", std::string("6 ") + kSuccess + "\n",
                   "frame_coap_response()"};
    if (GetParam().operation != nullptr)
        expected.push_back(std::string(GetParam().operation) + "()");
    if (GetParam().closes)
        expected.emplace_back("frame_coap_close()");
    EXPECT_THAT(everything(), ElementsAreArray(expected));
}

TEST_P(Action, AnswersSuccessAsNonConfirmableContent) {
    const Request request("{}");
    serve(request);
    ASSERT_EQ(fake::coap().answers().size(), 1u);
    const fake::SentAnswer& answer = fake::coap().answers()[0];
    EXPECT_EQ(answer.request, request.message());
    EXPECT_EQ(answer.type, 1);
    EXPECT_EQ(answer.code, 69);
    EXPECT_EQ(answer.body, kSuccess);
}

TEST_P(Action, DoesNotReadTheBody) {
    for (const char* const body :
         {"", "{}", "{\"errcode\":5,\"name\":\"new\"}", "no json", "{\"", "\xff\xff\xff"}) {
        fake::coap().open_session();
        fake::journal().clear();
        serve(Request(body));
        EXPECT_EQ(fake::coap().answers().back().body, kSuccess);
        EXPECT_THAT(fake::log().texts(4), IsEmpty());
    }
}

TEST_P(Action, AnswersSuccessWhateverTheActionResults) {
    if (GetParam().operation == nullptr)
        return;
    fake::device().set_result(GetParam().operation, -1);
    serve(Request(""));
    ASSERT_EQ(fake::coap().answers().size(), 1u);
    EXPECT_EQ(fake::coap().answers()[0].body, kSuccess);
    EXPECT_EQ(g_coap_session == nullptr, GetParam().closes);
}

TEST_P(Action, LeavesTheStateAndItsFlagsAlone) {
    for (const int state : {9, 12, 13, 15, 16}) {
        fake::coap().open_session();
        g_quilan_status = state;
        g_app_count = 2;
        g_coap_recvflag = 1;
        serve(Request(""));
        EXPECT_EQ(g_quilan_status, state);
        EXPECT_EQ(g_app_count, 2);
        EXPECT_EQ(g_coap_recvflag, 1);
        EXPECT_EQ(g_activate_flag, 0);
    }
}

TEST_P(Action, OnlyDeletionEndsTheSession) {
    serve(Request(""));
    EXPECT_EQ(g_coap_session == nullptr, GetParam().closes);
    EXPECT_EQ(g_run_flag, GetParam().closes ? 0 : 1);
}

TEST_P(Action, DoesNothingForASessionThatHasEnded) {
    coap_session_t* const old_session = g_coap_session;
    fake::coap().open_session();
    serve(Request(""), old_session);
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_P(Action, DoesNothingWithoutASession) {
    coap_session_t* const old_session = g_coap_session;
    fake::coap().reset();
    serve(Request(""), old_session);
    serve(Request(""), nullptr);
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_P(Action, FreesItsText) {
    const JsonMemory memory;
    serve(Request("{}"));
    EXPECT_EQ(memory.in_use(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, Action, testing::ValuesIn(kActions), case_name<ActionCase>);

struct ErrcodeCase {
    const char* name;
    int code;
    std::string path;
    const char* expected;
};

void PrintTo(const ErrcodeCase& row, std::ostream* out) {
    *out << row.name;
}

const ErrcodeCase kErrcodes[] = {
    {"Success", 0, "", kSuccess},
    {"SuccessWithPath", 0, "InternetGatewayDevice.LANDevice.1", kSuccess},
    {"ParseFailure", -1, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.action",
     "{\n\t\"errcode\":\t-1,\n"
     "\t\"ID\":\t\"InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.action\"\n}"},
    {"ParseFailureWithoutPath", -1, "", "{\n\t\"errcode\":\t-1,\n\t\"ID\":\t\"\"\n}"},
    {"Clash", 9003, "", "{\n\t\"errcode\":\t9003,\n\t\"ID\":\t\"\"\n}"},
    {"LibraryCode", 5, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.",
     "{\n\t\"errcode\":\t5,\n"
     "\t\"ID\":\t\"InternetGatewayDevice.LANDevice.1.WLANConfiguration.\"\n}"},
    {"Largest", 2147483647, "x", "{\n\t\"errcode\":\t2147483647,\n\t\"ID\":\t\"x\"\n}"},
    {"Smallest", std::numeric_limits<int>::min(), "x",
     "{\n\t\"errcode\":\t-2147483648,\n\t\"ID\":\t\"x\"\n}"},
    {"PathToEscape", 1, "a\"b", "{\n\t\"errcode\":\t1,\n\t\"ID\":\t\"a\\\"b\"\n}"},
};

class Errcode : public DaemonTest, public testing::WithParamInterface<ErrcodeCase> {};

TEST_P(Errcode, CarriesAnIdExactlyWhenItIsNotZero) {
    const vxq::JsonText text = app_errcode(GetParam().code, GetParam().path.c_str());
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text.get(), GetParam().expected);
    EXPECT_THAT(fake::journal().calls({Source::log}),
                ElementsAre(std::string("6 ") + GetParam().expected + "\n"));
}

TEST_P(Errcode, GivesNothingWithoutMemoryAndLeaksNone) {
    JsonMemory memory;
    for (long request = 0;; ++request) {
        memory.refuse(request);
        const bool built = app_errcode(GetParam().code, GetParam().path.c_str()) != nullptr;
        EXPECT_EQ(memory.in_use(), 0);
        EXPECT_NE(built, memory.refused());
        if (built)
            break;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Errcode, testing::ValuesIn(kErrcodes), case_name<ErrcodeCase>);

TEST_F(DaemonTest, ErrcodeCarriesTheLongestPathWhole) {
    const std::string path(255, 'p');
    EXPECT_THAT(app_errcode(-1, path.c_str()).get(),
                testing::HasSubstr("\"ID\":\t\"" + path + "\"\n"));
}

} // namespace
