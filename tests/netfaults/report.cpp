// SPDX-License-Identifier: MIT
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include <gtest/gtest.h>

#include "waiting.h"

namespace netfaults {

bool all_trials() {
    const char* const wanted = std::getenv("VXQUILAN_NETFAULTS");
    return wanted != nullptr && std::strcmp(wanted, "all") == 0;
}

Report::Report(std::string fault, double allowed)
    : fault_(std::move(fault)), allowed_(allowed * e2e::patience()) {}

Report::~Report() {
    if (std::uncaught_exceptions() > 0) { // the trial at hand has ended with that
        ++trials_;
        ++lost_;
    }
    std::printf("%s: online again after %.1f s, allowed %.1f s, trials %d, lost %d\n",
                fault_.c_str(), worst_, allowed_, trials_, lost_);
    const char* const results = std::getenv("VXQUILAN_NETFAULTS_RESULTS");
    if (results == nullptr)
        return;
    if (std::FILE* const file = std::fopen(results, "a")) {
        std::fprintf(file, "%s\t%d\t%.1f\t%.1f\t%d\n", fault_.c_str(), trials_, allowed_, worst_,
                     lost_);
        std::fclose(file);
    }
}

void Report::add(double seconds) {
    ++trials_;
    worst_ = std::max(worst_, seconds);
    const bool in_time = seconds >= 0 && seconds <= allowed_;
    lost_ += in_time ? 0 : 1;
    EXPECT_TRUE(in_time) << fault_ << ", trial " << trials_ << ": " << seconds << " s, allowed "
                         << allowed_ << " s";
}

bool Report::expect_online(Site& site, double since) {
    const double seconds = site.online_after(since, allowed_ * 1.5 + 20);
    add(seconds);
    EXPECT_TRUE(site.gateway().daemon().running());
    EXPECT_FALSE(site.gateway().complained()) << site.gateway().log();
    if (seconds < 0) {
        ADD_FAILURE() << "the gateway's log:\n" << site.gateway().log();
        return false;
    }
    EXPECT_EQ(site.platform().ask("rename").at("errcode"), 0) << fault_;
    return true;
}

} // namespace netfaults
