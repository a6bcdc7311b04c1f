// SPDX-License-Identifier: MIT
// The main function of every benchmark: that of Google Benchmark, and the environment variable
// VANTREL_CPU (foundation/cpu/cpu_features.h), which limits what the kernels may need.

#include "foundation/cpu/cpu_features.h"

#include <cstdio>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    if (!vantrel::cpu::limitFromEnvironment()) {
        std::fputs("cannot use the value of VANTREL_CPU\n", stderr);
        return 2;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
