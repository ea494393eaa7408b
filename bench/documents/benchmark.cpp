// SPDX-License-Identifier: MIT
// The time that each document takes, ours and plain; run with
// --benchmark_enable_random_interleaving=true, so that both sides see the same machine.

#include <benchmark/benchmark.h>

#include "documents/cases.h"

namespace {

using Side = char* (*)(const std::string&);

void measure(benchmark::State& state, const bench::Case& one, Side side) {
    bench::prepare(one);
    for ([[maybe_unused]] auto turn : state)
        bench::run(side, one);
}

} // namespace

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    for (const bench::Case& one : bench::cases()) {
        benchmark::RegisterBenchmark((one.name + "/ours").c_str(), measure, one, one.ours);
        benchmark::RegisterBenchmark((one.name + "/plain").c_str(), measure, one, one.plain);
    }
    benchmark::RunSpecifiedBenchmarks();
}
