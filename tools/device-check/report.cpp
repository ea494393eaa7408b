// SPDX-License-Identifier: MIT
#include "report.h"

#include <array>
#include <cstdio>
#include <fmt/format.h>

namespace device_check {
namespace {

constexpr std::array kWords{"ok", "DEFECT", "-"};

struct Counts {
    int of[kWords.size()] = {};
};

void examine(Examination& examination, const Operation& operation, Counts& counts) {
    const Finding finding = examination.examine(operation);
    const auto verdict = static_cast<std::size_t>(finding.verdict);
    ++counts.of[verdict];
    fmt::print("{:<7} {:<32} {}\n", kWords[verdict], operation.name, finding.detail);
    std::fflush(stdout);
}

/// Actions come last: after a reboot nobody reads on.
Counts examine_all(Examination& examination) {
    Counts counts;
    for (const bool actions : {false, true}) {
        for (const Operation& operation : operations()) {
            if (is_action(operation.kind) == actions)
                examine(examination, operation, counts);
        }
    }
    return counts;
}

void print_entry_calls(const Examination& examination) {
    for (std::size_t i = 0; i < entry_points().size(); ++i) {
        if (const int calls = examination.entry_calls(i); calls > 0)
            fmt::print("called by the library: {}, {} time{}; nothing was done\n",
                       entry_points()[i].name, calls, calls == 1 ? "" : "s");
    }
}

} // namespace

bool report(Examination& examination, const Settings& settings) {
    const Counts counts = examine_all(examination);
    print_entry_calls(examination);
    const auto& [good, defects, not_called] = counts.of;
    fmt::print("{}: {}; of {} operations {} ok, {} not called, {} with a defect\n",
               settings.library, defects == 0 ? "fit" : "UNFIT", operations().size(), good,
               not_called, defects);
    return defects == 0;
}

} // namespace device_check
