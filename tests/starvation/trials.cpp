// SPDX-License-Identifier: MIT
#include "trials.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include "gateway.h"
#include "memory.h"

namespace starvation {

namespace {

constexpr long kMargin = 20;

struct Figure {
    long trials = 0;
    long lost = 0;
    long told_by_coap = 0;
};

std::map<std::string, Figure>& figures() {
    static std::map<std::string, Figure> instance;
    return instance;
}

/** Prints the figures for docs/reliability.md. */
class Summary : public testing::Environment {
public:
    void TearDown() override {
        for (const auto& [name, figure] : figures())
            std::printf("[  figure  ] %s: %ld trials, %ld lost, %ld told by libcoap only\n",
                        name.c_str(), figure.trials, figure.lost, figure.told_by_coap);
    }
};

testing::Environment* const s_summary = testing::AddGlobalTestEnvironment(new Summary);

struct Result {
    std::string outcome;
    long requests = 0;
    bool refused = false;
    bool complained = false;
    bool coap_complained = false;
    std::string refused_caller;
};

Result run(Course& course, long first = kForGood, long last = kForGood) {
    Result result;
    course.prepare();
    forget();
    {
        const Ration ration(first, last);
        course.go();
        result.requests = Ration::requests();
        result.refused = Ration::refused();
        result.refused_caller = refused_caller();
    }
    result.complained = !complaints().empty();
    result.coap_complained = !coap_complaints().empty();
    result.outcome = course.outcome();
    course.finish();
    // OpenSSL keeps its last errors, texts and all, for whoever asks on this thread; nobody does.
    OPENSSL_thread_stop();
    return result;
}

/** One trial; none when the course was over before that request. */
void try_once(Figure& figure, Course& course, const Result& ordinary, long first, long last) {
    const long before = live_blocks();
    mark();
    const Result result = run(course, first, last);
    EXPECT_LE(live_blocks(), before) << live_since_mark();
    EXPECT_TRUE(result.refused || !course.is_steady())
        << "only " << result.requests << " requests for memory";
    const bool lost = result.outcome != ordinary.outcome;
    const bool told = result.complained || (course.is_begun_by_coap() && result.coap_complained);
    EXPECT_TRUE(told || !lost) << "lost without a word: " << result.outcome
                               << result.refused_caller;
    EXPECT_EQ(run(course).outcome, ordinary.outcome) << "not recovered";
    EXPECT_LE(live_blocks(), before) << live_since_mark();
    if (!result.refused)
        return;
    ++figure.trials;
    figure.lost += lost ? 1 : 0;
    figure.told_by_coap += lost && !result.complained ? 1 : 0;
}

bool all_trials() {
    const char* const wanted = std::getenv("VXQUILAN_STARVATION");
    return wanted != nullptr && std::strcmp(wanted, "all") == 0;
}

} // namespace

void expect_survived(const std::string& figure, Course& course) {
    const Result ordinary = run(course);
    // What is made once and kept has been made now.
    ASSERT_EQ(run(course).outcome, ordinary.outcome);
    const long requests = std::min(run(course).requests, course.most_requests());
    ASSERT_GT(requests, 0);
    // One that isn't steady may take more another time.
    const long margin = course.is_steady() || requests == course.most_requests() ? 0 : kMargin;
    const long stride = all_trials() ? 1 : course.stride();
    for (const bool for_good : {false, true}) {
        for (long request = 0; request < requests + margin; request += stride) {
            try_once(figures()[figure], course, ordinary, request, for_good ? kForGood : request);
            if (testing::Test::HasFailure()) {
                ADD_FAILURE() << "request " << request << " of " << requests
                              << (for_good ? " and all behind it" : "");
                return;
            }
        }
    }
}

void add_to_figure(const std::string& figure, long trials, long lost) {
    figures()[figure].trials += trials;
    figures()[figure].lost += lost;
}

} // namespace starvation
