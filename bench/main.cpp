// SPDX-License-Identifier: MIT
// All benchmarks in one program, so that one run can interleave them: only their ratios are meaningful.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <string>

int main(int argc, char** argv) {
    benchmark::AddCustomContext("little_cms", std::to_string(cmsGetEncodedCMMversion()));
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
