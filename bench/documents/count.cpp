// SPDX-License-Identifier: MIT
// Four runs of each side of each document, for valgrind --tool=callgrind: they are dumped under
// "name/ours" or "name/plain".

#include <cstdio>
#include <string>
#include <valgrind/callgrind.h>

#include "documents/cases.h"

namespace {

// The heap tidies itself up now and then: one run alone may hit or miss that.
constexpr int kWarmUp = 3;
constexpr int kTurns = 4;

void count(const bench::Case& one, const char* side_name, char* (*side)(const std::string&)) {
    const std::string label = one.name + "/" + side_name;
    bench::prepare(one);
    for (int turn = 0; turn < kWarmUp; ++turn)
        bench::run(side, one);
    CALLGRIND_DUMP_STATS_AT("before"); // zeroing alone leaves remains behind
    for (int turn = 0; turn < kTurns; ++turn)
        bench::run(side, one);
    CALLGRIND_DUMP_STATS_AT(label.c_str());
}

} // namespace

int main() {
    for (const bench::Case& one : bench::cases()) {
        count(one, "ours", one.ours);
        count(one, "plain", one.plain);
    }
}
