// SPDX-License-Identifier: MIT
// Every request of the platform, with memory running out anywhere between its arrival and the end
// of its answer.
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "asking.h"
#include "gateway.h"
#include "memory.h"
#include "support/case_name.h"
#include "trials.h"

namespace starvation {

namespace {

// libcoap's own answer when it cannot prepare one for us to fill.
constexpr char kServerError[] = "160\nInternal Server Error\n";
// What a request gets that finds no room to wait in.
constexpr char kNoRoom[] = "163\n\n";
constexpr char kRefusal[] = "{\n\t\"errcode\":\t-1,\n\t\"ID\":\t\"InternetGatewayDevice.";

class Asking : public Course {
public:
    explicit Asking(const transport::Message& request) : request_(request) {
        set_platform(listener_.address(), listener_.port());
    }

    void prepare() override {
        session_.emplace(listener_);
        session_->platform().send(request_);
    }
    void go() override {
        while (Ration::requests() == 0)
            work();
    }
    std::string outcome() override {
        const std::string seen = take();
        if (ordinary_.empty())
            ordinary_ = seen;
        EXPECT_TRUE(seen.empty() || seen == ordinary_ || seen == kServerError || seen == kNoRoom ||
                    seen.find(kRefusal) != std::string::npos)
            << "half an answer: " << seen;
        // Whoever still has the session must be able to go on using it.
        if (session_->alive()) {
            session_->platform().send(request_);
            EXPECT_EQ(take(), ordinary_) << "the session is of no use any more";
        }
        return seen;
    }
    void finish() override { session_.reset(); }
    [[nodiscard]] bool is_begun_by_coap() const override { return true; }

private:
    std::string take() { return describe(session_->sent()); }

    transport::Listener listener_;
    transport::Message request_;
    std::optional<Session> session_;
    std::string ordinary_;
};

class Requests : public testing::TestWithParam<PlatformRequest> {
protected:
    void SetUp() override {
        ASSERT_TRUE(heap_is_ours());
        equip_gateway();
    }
};

INSTANTIATE_TEST_SUITE_P(Table, Requests, testing::ValuesIn(table_requests()),
                         case_name<PlatformRequest>);
INSTANTIATE_TEST_SUITE_P(Settings, Requests, testing::ValuesIn(settings_requests()),
                         case_name<PlatformRequest>);

TEST_P(Requests, SurviveWithoutMemory) {
    Asking course(GetParam().message);
    expect_survived("request of the platform", course);
}

} // namespace

} // namespace starvation
