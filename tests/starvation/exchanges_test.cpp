// SPDX-License-Identifier: MIT
// The gateway's own requests and the replies to them, with memory running out anywhere.
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "asking.h"
#include "gateway.h"
#include "memory.h"
#include "protocol/provisioning.h"
#include "protocol/reporting.h"
#include "state/state.h"
#include "support/case_name.h"
#include "support/journal.h"
#include "threads.h"
#include "trials.h"
#include <vxquilan/entry_points.h>

namespace starvation {

namespace {

/** One exchange, and the state in which its reply is routed. */
struct Exchange {
    const char* name;
    int (*send)();
    int state;
    const char* reply;
};

void PrintTo(const Exchange& exchange, std::ostream* out) {
    *out << exchange.name;
}

int report_some() {
    return profession_sys_data_report(1);
}

constexpr char kAccepted[] = R"({"errcode":0})";

constexpr Exchange kExchanges[] = {
    {"Register", profession_sys_register, kAppRegister, kAccepted},
    {"Activate", profession_sys_activate, kAppActivate,
     R"({"errcode":0,"devId":"a device ID","secret":"a secret"})"},
    {"Login", profession_sys_login, kAppLogin,
     R"({"errcode":0,"accessToken":"an access token","refreshToken":"another","timeOut":1800})"},
    {"DevInfoSync", profession_sys_devinfo, kAppDevInfoSync, kAccepted},
    {"Heartbeat", profession_sys_heartbeat, kAppOnline, kAccepted},
    {"Data", profession_sys_data, kAppData, kAccepted},
    {"DataReport", report_some, kAppOnline, R"({"errcode":1002})"},
    {"Refresh", profession_sys_refresh, kAppRefresh,
     R"({"errcode":0,"accessToken":"an access token","refreshToken":"another","timeOut":1800})"},
};

class Sending : public Course {
public:
    explicit Sending(const Exchange& exchange) : exchange_(exchange) {
        set_platform(listener_.address(), listener_.port());
    }

    void prepare() override { session_.emplace(listener_); }
    void go() override { EXPECT_EQ(exchange_.send(), 0); }
    std::string outcome() override {
        const std::string seen = take();
        if (ordinary_.empty())
            ordinary_ = seen;
        EXPECT_TRUE(seen.empty() || seen == ordinary_) << "half a request: " << seen;
        if (session_->alive()) {
            exchange_.send();
            EXPECT_EQ(take(), ordinary_) << "the session is of no use any more";
        }
        return seen;
    }
    void finish() override { session_.reset(); }

private:
    std::string take() { return describe(session_->sent()); }

    transport::Listener listener_;
    const Exchange& exchange_;
    std::optional<Session> session_;
    std::string ordinary_;
};

class Receiving : public Course {
public:
    explicit Receiving(const Exchange& exchange) : exchange_(exchange) {
        set_platform(listener_.address(), listener_.port());
    }

    void prepare() override {
        session_.emplace(listener_);
        g_quilan_status = exchange_.state;
        g_coap_recvflag = 0;
        g_app_count = 1;
        session_->platform().send(transport::Message{transport::kContent, {}, {}, exchange_.reply});
    }
    void go() override {
        while (Ration::requests() == 0)
            work();
    }
    std::string outcome() override {
        session_->sent();
        std::string text = "state " + std::to_string(g_quilan_status) + ", answered " +
                           std::to_string(g_coap_recvflag) + ", count " +
                           std::to_string(g_app_count);
        for (const std::string& deed : fake::journal().deeds())
            text += "\n" + deed;
        return text;
    }
    void finish() override { session_.reset(); }

private:
    transport::Listener listener_;
    const Exchange& exchange_;
    std::optional<Session> session_;
};

class Exchanges : public testing::TestWithParam<Exchange> {
protected:
    void SetUp() override {
        ASSERT_TRUE(heap_is_ours());
        equip_gateway();
        set_threads(Threads::pretended);
    }
    void TearDown() override { set_threads(Threads::real); }
};

INSTANTIATE_TEST_SUITE_P(App, Exchanges, testing::ValuesIn(kExchanges), case_name<Exchange>);

TEST_P(Exchanges, RequestSurvivesWithoutMemory) {
    Sending course(GetParam());
    expect_survived("request of the gateway", course);
}

TEST_P(Exchanges, ReplySurvivesWithoutMemory) {
    Receiving course(GetParam());
    expect_survived("reply to the gateway", course);
}

} // namespace

} // namespace starvation
