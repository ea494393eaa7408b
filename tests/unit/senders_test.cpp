// SPDX-License-Identifier: MIT
// What goes out for each exchange: type, code, path and the whole body.
#include "unit/fixture.h"

#include "protocol/provisioning.h"
#include "protocol/reporting.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct SenderCase {
    const char* name;
    int (*send)();
    const char* path;
    const char* body_begins;
    const char* body_ends;
};

void PrintTo(const SenderCase& row, std::ostream* out) {
    *out << row.name;
}

int send_report() {
    return profession_sys_data_report(3);
}

constexpr SenderCase kSenders[] = {
    {"Register", profession_sys_register, ".sys/register", "{\n\t\"mac\":\t",
     "\t\"from\":\t\"1\"\n}"},
    {"Activate", profession_sys_activate, ".sys/activate", "{\n\t\"code\":\t\"CODE-77\",\n",
     "\t\t\"protType\":\t3\n\t}\n}"},
    {"Login", profession_sys_login, ".sys/login", "{\n\t\"devId\":\t\"dev-0001\",\n",
     "\t\"secret\":\t\"secret-0001\"\n}"},
    {"Refresh", profession_sys_refresh, ".sys/refresh", "{\n\t\"refreshToken\":\t",
     "\"refresh-0001\"\n}"},
    {"DevInfo", profession_sys_devinfo, ".sys/devInfoSync", "[{\n\t\t\"devId\":\t",
     "\t\t\t\"protType\":\t3\n\t\t}\n\t}]"},
    {"Heartbeat", profession_sys_heartbeat, ".sys/heartbeat", "{\n\t\"ts\":\t",
     "\"20231114T221320Z\"\n}"},
    {"Data", profession_sys_data, ".sys/data", "{\n\t\"devId\":\t", "\t\"services\":\t[]\n}"},
    {"DataReport", send_report, ".sys/data", "{\n\t\"devId\":\t", "\t\"services\":\t[]\n}"},
};

class Sender : public DaemonTest, public testing::WithParamInterface<SenderCase> {
protected:
    Sender() { fake::device().allow({"vx_device_stainfo_get", "vx_device_stainfo_byget"}); }
};

TEST_P(Sender, PostsItsBodyAsConfirmable) {
    fake::coap().open_session();
    EXPECT_EQ(GetParam().send(), 0);
    ASSERT_EQ(fake::coap().sent().size(), 1u);
    const fake::SentRequest& request = fake::coap().sent()[0];
    EXPECT_EQ(request.type, 0);
    EXPECT_EQ(request.code, 2);
    EXPECT_EQ(request.path, GetParam().path);
    EXPECT_THAT(request.body, testing::StartsWith(GetParam().body_begins));
    EXPECT_THAT(request.body, testing::EndsWith(GetParam().body_ends));
}

TEST_P(Sender, SucceedsWithoutASession) {
    EXPECT_EQ(GetParam().send(), 0);
    EXPECT_THAT(fake::coap().sent(), IsEmpty());
}

TEST_P(Sender, TouchesNoSharedState) {
    fake::coap().open_session();
    g_quilan_status = 12;
    g_app_count = 2;
    g_coap_recvflag = 1;
    GetParam().send();
    EXPECT_EQ(g_quilan_status, 12);
    EXPECT_EQ(g_app_count, 2);
    EXPECT_EQ(g_coap_recvflag, 1);
    EXPECT_EQ(fake::journal().deeds().size(), 1u); // the message
}

TEST_P(Sender, SendsNothingWhenTheBodyCannotBeBuilt) {
    fake::coap().open_session();
    JsonMemory memory;
    memory.refuse(1);
    EXPECT_EQ(GetParam().send(), 0);
    EXPECT_THAT(fake::journal().deeds(), IsEmpty());
    EXPECT_EQ(memory.in_use(), 0);
}

TEST_P(Sender, FreesItsText) {
    fake::coap().open_session();
    const JsonMemory memory;
    GetParam().send();
    EXPECT_EQ(memory.in_use(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, Sender, testing::ValuesIn(kSenders), case_name<SenderCase>);

TEST_F(SessionTest, DataReportSaysSoBeforeItAsksTheLibrary) {
    fake::device().allow({"vx_device_stainfo_byget"});
    EXPECT_EQ(profession_sys_data_report(-9), 0);
    EXPECT_THAT(fake::journal().calls({fake::Source::log, fake::Source::query}),
                ElementsAre("6 profession_sys_data_report #\n",
                            "vx_device_stainfo_byget(record, -9)", "port_device_id_get()",
                            testing::StartsWith("6 {\n")));
}

TEST_F(SessionTest, DataAsksForAllStations) {
    fake::device().allow({"vx_device_stainfo_get"});
    profession_sys_data();
    EXPECT_THAT(fake::journal().calls({fake::Source::query}),
                testing::Contains("vx_device_stainfo_get(record)"));
}

} // namespace
