// SPDX-License-Identifier: MIT
// The exact transform, as the command uses it by default, and Little CMS with its default optimisation, for the same
// profiles at the same depth: perceptual, one thread, from one buffer to another. Items are pixels, or transforms made.
// For one of the profiles also the library's precision, and the engine itself that defines it.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Peers.h"
#include "Pictures.h"
#include "Profile.h"
#include "TableProfile.h"
#include "colour/Transform.h"
#include "colour/library/EngineBinding.h"
#include "colour/library/LibraryConverter.h"
#include "engine/CIccEngineS.h"

namespace bench {
namespace {

using hueweave::colour::LibraryConverter;
using hueweave::colour::Rendering;
using hueweave::colour::Transform;
using hueweave::colour::TransformOptions;
using Bytes = std::vector<std::uint8_t>;

constexpr Size kThreeMegapixels{2001, 1501};

/// A source and a target as files.
struct Job {
    Bytes source, target;
};
constexpr const char* kNames[] = {"lab", "xyz", "matrix", "table_target"};

Bytes Made(cmsHPROFILE (*make)()) {
    const cmsHPROFILE profile = make();
    Bytes data = Saved(profile);
    cmsCloseProfile(profile);
    return data;
}

const Job& JobOf(std::int64_t index) {
    static const std::vector<Job> jobs = [] {
        const Bytes srgb = Made(kSRgb.make);
        return std::vector<Job>{{demo::ScannerProfile(), srgb},
                                {TableProfile(cmsSigXYZData), srgb},
                                {Made(kAdobeRgb.make), srgb},
                                {srgb, TableProfile(cmsSigLabData)}};
    }();
    return jobs[static_cast<std::size_t>(index)];
}

/// With both profiles opened for it, as `Transform` opens its own.
class Peer {
public:
    Peer(const Job& job, int bits)
        : from_(cmsOpenProfileFromMem(job.source.data(), static_cast<cmsUInt32Number>(job.source.size()))),
          to_(cmsOpenProfileFromMem(job.target.data(), static_cast<cmsUInt32Number>(job.target.size()))),
          transform_(cmsCreateTransform(from_, LcmsFormat(bits), to_, LcmsFormat(bits), INTENT_PERCEPTUAL, 0)) {
        if (transform_ == nullptr) throw std::runtime_error("Little CMS refused a profile");
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() {
        cmsDeleteTransform(transform_);
        cmsCloseProfile(to_);
        cmsCloseProfile(from_);
    }
    void Convert(const void* source, void* dest, std::size_t pixels) const {
        cmsDoTransform(transform_, source, dest, static_cast<cmsUInt32Number>(pixels));
    }

private:
    cmsHPROFILE from_, to_;
    cmsHTRANSFORM transform_;
};

template <typename Sample>
const std::vector<Sample>& Photograph() {
    static const std::vector<Sample> photo = [] {
        Samples16 words = MakePhoto(kThreeMegapixels);
        if constexpr (sizeof(Sample) == 1) return ToBytes(words);
        if constexpr (sizeof(Sample) == 2) return words;
    }();
    return photo;
}

template <typename Sample, typename Convert>
void WholePhoto(benchmark::State& state, const Convert& convert) {
    const std::vector<Sample>& source = Photograph<Sample>();
    std::vector<Sample> dest(source.size());
    const std::size_t pixels = source.size() / 3;
    for (auto _ : state) {
        convert(source.data(), dest.data(), pixels);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
}

template <typename Sample>
void ConvertOurs(benchmark::State& state, const Job& job) {
    const Transform transform(job.source, job.target, TransformOptions());
    state.SetLabel(std::string(WayName(transform.way())));
    WholePhoto<Sample>(state, [&](const Sample* source, Sample* dest, std::size_t pixels) {
        transform.Convert(source, dest, pixels);
    });
}

template <typename Sample>
void ConvertTheirs(benchmark::State& state, const Job& job) {
    const Peer peer(job, 8 * sizeof(Sample));
    WholePhoto<Sample>(
        state, [&](const Sample* source, Sample* dest, std::size_t pixels) { peer.Convert(source, dest, pixels); });
}

/// Converts in place, as the library does, so the photo is copied: in runs, which then are in the first cache.
template <typename Sample, typename Convert>
void WholePhotoInRuns(benchmark::State& state, const Convert& convert) {
    constexpr std::size_t kRun = 2048;
    WholePhoto<Sample>(state, [&](const Sample* source, Sample* dest, std::size_t pixels) {
        for (std::size_t done = 0; done < pixels; done += kRun) {
            const std::size_t count = std::min(kRun, pixels - done);
            std::memcpy(dest + 3 * done, source + 3 * done, 3 * count * sizeof(Sample));
            convert(reinterpret_cast<unsigned char*>(dest + 3 * done), count);
        }
    });
}

Rendering ToSrgb() {
    Rendering rendering;
    rendering.space = hueweave::colour::FindSpace("srgb");
    return rendering;
}

template <typename Sample>
void ConvertByLibrary(benchmark::State& state, const Job& job) {
    const LibraryConverter converter(job.source, ToSrgb(), 8 * sizeof(Sample));
    WholePhotoInRuns<Sample>(state, [&](unsigned char* rgb, std::size_t pixels) { converter.Convert(rgb, pixels); });
}

template <typename Sample>
void ConvertByEngine(benchmark::State& state, const Job& job) {
    constexpr bool kWide = sizeof(Sample) == 2;
    const Rendering rendering = ToSrgb();
    const auto engine = hueweave::colour::BindEngine(job.source, rendering, kWide,
                                                     kWide ? rendering.space->code16 : rendering.space->code8);
    WholePhotoInRuns<Sample>(
        state, [&](unsigned char* rgb, std::size_t pixels) { engine->Conversion(rgb, rgb, static_cast<int>(pixels)); });
}

/// One transform is for both depths, and its error is measured.
void MakeOurs(benchmark::State& state, const Job& job) {
    for (auto _ : state) benchmark::DoNotOptimize(Transform(job.source, job.target, TransformOptions()).way());
    state.SetItemsProcessed(state.iterations());
}

void MakeTheirs(benchmark::State& state, const Job& job, int bits) {
    for (auto _ : state) Peer(job, bits);
    state.SetItemsProcessed(state.iterations());
}

template <typename Body>
void Add(const std::string& name, benchmark::TimeUnit unit, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), body)->Unit(unit);
}

template <typename Sample>
void AddDepth(std::int64_t index) {
    constexpr int kBits = 8 * sizeof(Sample);
    const std::string rest = std::string(kNames[index]) + "/bits:" + std::to_string(kBits);
    Add("BM_Transform_Convert/" + rest, benchmark::kMillisecond,
        [=](benchmark::State& state) { ConvertOurs<Sample>(state, JobOf(index)); });
    Add("BM_LittleCms_Convert/" + rest, benchmark::kMillisecond,
        [=](benchmark::State& state) { ConvertTheirs<Sample>(state, JobOf(index)); });
    Add("BM_Transform_Make/" + rest, benchmark::kMicrosecond,
        [=](benchmark::State& state) { MakeOurs(state, JobOf(index)); });
    Add("BM_LittleCms_Make/" + rest, benchmark::kMicrosecond,
        [=](benchmark::State& state) { MakeTheirs(state, JobOf(index), kBits); });
}

template <typename Sample>
void AddLibrary() {
    const std::string rest = "lab/bits:" + std::to_string(8 * sizeof(Sample));
    Add("BM_LibraryConverter_Convert/" + rest, benchmark::kMillisecond,
        [](benchmark::State& state) { ConvertByLibrary<Sample>(state, JobOf(0)); });
    Add("BM_CIccEngineS_Convert/" + rest, benchmark::kMillisecond,
        [](benchmark::State& state) { ConvertByEngine<Sample>(state, JobOf(0)); });
}

[[maybe_unused]] const bool kAdded = [] {
    for (std::int64_t index = 0; index < static_cast<std::int64_t>(std::size(kNames)); ++index) {
        AddDepth<std::uint8_t>(index);
        AddDepth<std::uint16_t>(index);
    }
    AddLibrary<std::uint8_t>();
    AddLibrary<std::uint16_t>();
    return true;
}();

}  // namespace
}  // namespace bench
