// SPDX-License-Identifier: MIT
// Building the tables: each operation of an engine, and cmsCreateTransform for the same profile. Builds alternate
// between two output spaces, so that no result can be reused.
#include <benchmark/benchmark.h>

#include <array>
#include <map>
#include <numeric>

#include "Peers.h"

namespace bench {
namespace {

using ICC40::ICCFILE::IntentPerceptual;

/// The profile for the arguments of a row, created once.
const ProfileFile& Profile(const benchmark::State& state) {
    static std::map<std::int64_t, ProfileFile> files;
    const std::int64_t points = state.range(1), entries = state.range(2);
    const ProfileShape shape{static_cast<int>(points), static_cast<int>(entries), static_cast<int>(entries)};
    return files.try_emplace(points << 32 | entries, shape).first->second;
}

int Bits(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

/// sRGB and AdobeRGB alternately.
class Turns {
public:
    const Target& Next() { return (count_++ % 2 != 0) ? kSRgb : kAdobeRgb; }

private:
    unsigned count_ = 0;
};

/// The file is read again in each call, because one of the other arguments differs each time.
void BM_CIccEngineS_SetProfile(benchmark::State& state) {
    const int bits = Bits(state);
    const ProfileFile& profile = Profile(state);
    const auto engine = MakeEngine(profile, bits);
    Turns turns;
    for (auto _ : state) {
        engine->SetProfile(profile.Path(), IntentPerceptual, Input(bits), turns.Next().Space(bits), 0.0, 0.0, 0.0);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_CIccEngineS_SetIntent(benchmark::State& state) {
    const int bits = Bits(state);
    const auto engine = MakeEngine(Profile(state), bits);
    Turns turns;
    for (auto _ : state) {
        engine->SetIntent(IntentPerceptual, Input(bits), turns.Next().Space(bits), 0.0, 0.0, 0.0);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_CIccEngineS_AdjustLch(benchmark::State& state) {
    const auto engine = MakeEngine(Profile(state), Bits(state));
    unsigned count = 0;
    for (auto _ : state) engine->Adjust_Lch(1.0 + count++ % 2, 3.0, 10.0);
    state.SetItemsProcessed(state.iterations());
}

void BM_CIccEngineS_AdjustOutput(benchmark::State& state) {
    const auto engine = MakeEngine(Profile(state), Bits(state));
    std::array<unsigned char, 256> curve;
    std::iota(curve.begin(), curve.end(), static_cast<unsigned char>(0));
    for (auto _ : state) engine->Adjust_Output(curve.data(), curve.data(), curve.data(), 256);
    state.SetItemsProcessed(state.iterations());
}

/// The profile is open and its tables have been read, like the engine's before SetIntent.
void BM_LittleCms_CreateTransform(benchmark::State& state) {
    const cmsUInt32Number format = LcmsFormat(Bits(state));
    const cmsHPROFILE from = cmsOpenProfileFromFile(Profile(state).Path(), "r");
    const std::array<cmsHPROFILE, 2> to = {kSRgb.make(), kAdobeRgb.make()};
    std::size_t count = 0;
    for (auto _ : state) {
        const cmsHTRANSFORM transform = cmsCreateTransform(from, format, to[++count % 2], format, INTENT_PERCEPTUAL, 0);
        if (transform == nullptr) return state.SkipWithError("no transform");
        cmsDeleteTransform(transform);
    }
    for (const cmsHPROFILE profile : to) cmsCloseProfile(profile);
    cmsCloseProfile(from);
    state.SetItemsProcessed(state.iterations());
}

/// The same from the file, as in SetProfile.
void BM_LittleCms_OpenAndCreate(benchmark::State& state) {
    Turns turns;
    for (auto _ : state) LittleCms(Profile(state), Bits(state), 0, turns.Next());
    state.SetItemsProcessed(state.iterations());
}

void Shapes(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"bits", "points", "entries"})->Unit(benchmark::kMicrosecond);
    for (const int bits : {8, 16}) {
        bench->Args({bits, 33, 1024});
        bench->Args({bits, 17, 256});
    }
}
BENCHMARK(BM_CIccEngineS_SetProfile)->Apply(Shapes);
BENCHMARK(BM_CIccEngineS_SetIntent)->Apply(Shapes);
BENCHMARK(BM_CIccEngineS_AdjustLch)->Apply(Shapes);
BENCHMARK(BM_CIccEngineS_AdjustOutput)->Apply(Shapes);
BENCHMARK(BM_LittleCms_CreateTransform)->Apply(Shapes);
BENCHMARK(BM_LittleCms_OpenAndCreate)->Apply(Shapes);

}  // namespace
}  // namespace bench
