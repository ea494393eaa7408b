// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "site.h"

/** @file What the tests find: each fault's times beside the allowed one. */
namespace netfaults {

/** Whether every trial is to be made, not a choice of them (VXQUILAN_NETFAULTS=all). */
bool all_trials();

/** One fault, tried once or many times. Printed at its end, and added to the file of results. */
class Report {
public:
    /** @param allowed  seconds, from waits.h */
    Report(std::string fault, double allowed);
    ~Report();
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    /** A trial that took that long; negative: it came to nothing. */
    void add(double seconds);
    /**
     * A trial: waits until the gateway is online again after `since`, and asks it for something;
     * false when it was not online in time.
     */
    bool expect_online(Site& site, double since);

    double allowed() const { return allowed_; }

private:
    std::string fault_;
    double allowed_;
    double worst_ = 0;
    int trials_ = 0;
    int lost_ = 0;
};

} // namespace netfaults
