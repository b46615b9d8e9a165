// SPDX-License-Identifier: MIT
// The pixel loop: every kernel supported by this machine, Little CMS and memcpy on the same pixels. From one buffer to
// another, one thread; items are pixels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "Peers.h"
#include "Pictures.h"

namespace bench {
namespace {

using ICC40::ICC_ENG_S4::Kernel;

/// Short calls use this many pixels of the photo, which stay in the cache, to measure calls instead of memory.
constexpr int kRunPixels = 1 << 16;

/// The images with one sample width, each created on first use, and space for the result.
template <typename Sample>
class Set {
public:
    std::vector<Sample>& Picture(const std::string& name) {
        std::vector<Sample>& picture = pictures_[name];
        if (picture.empty()) picture = Make(name);
        return picture;
    }
    std::vector<Sample> dest = std::vector<Sample>(3 * kTwelveMegapixels.Pixels());

private:
    static std::vector<Sample> Make(const std::string& name) {
        const std::size_t pixels = kTwelveMegapixels.Pixels();
        Samples16 words = name == "photo"    ? MakePhoto(kTwelveMegapixels)
                          : name == "random" ? MakeRandom(pixels)
                                             : MakeConstant(pixels);
        if constexpr (sizeof(Sample) == 1) return ToBytes(words);
        if constexpr (sizeof(Sample) == 2) return words;
    }
    std::map<std::string, std::vector<Sample>> pictures_;
};

struct Bench {
    ProfileFile profile;
    std::unique_ptr<Engine> engines[2] = {MakeEngine(profile, 8), MakeEngine(profile, 16)};
    LittleCms plainCms[2] = {{profile, 8, cmsFLAGS_NOCACHE}, {profile, 16, cmsFLAGS_NOCACHE}};
    LittleCms cachingCms[2] = {{profile, 8, 0}, {profile, 16, 0}};
    Set<std::uint8_t> bytes;
    Set<std::uint16_t> words;

    template <typename Sample>
    Set<Sample>& Of() {
        if constexpr (sizeof(Sample) == 1) return bytes;
        if constexpr (sizeof(Sample) == 2) return words;
    }
};

/// Created when the first benchmark runs, so that listing the benchmarks is fast.
Bench& Get() {
    static Bench bench;
    return bench;
}

template <typename Sample>
constexpr int kBits = 8 * sizeof(Sample);
template <typename Sample>
constexpr int kWidth = sizeof(Sample) == 2;  ///< index of an engine or transform

template <typename Sample>
unsigned char* Raw(std::vector<Sample>& samples) {
    return reinterpret_cast<unsigned char*>(samples.data());
}

void Count(benchmark::State& state, std::int64_t pixels) { state.SetItemsProcessed(state.iterations() * pixels); }

/// Applies `convert(source, dest, pixels)` to a whole image.
template <typename Sample, typename Convert>
void WholePicture(benchmark::State& state, const std::string& picture, const Convert& convert) {
    Set<Sample>& set = Get().Of<Sample>();
    std::vector<Sample>& source = set.Picture(picture);
    const auto pixels = static_cast<std::int64_t>(source.size() / 3);
    for (auto _ : state) {
        convert(Raw(source), Raw(set.dest), pixels);
        benchmark::ClobberMemory();
    }
    Count(state, pixels);
}

/// Applies it to pieces of `run` pixels of the photo or, with `inPlace`, of a copy in the result buffer. Remaining
/// pixels that do not fill a piece are left out.
template <typename Sample, typename Convert>
void Runs(benchmark::State& state, std::int64_t run, bool inPlace, const Convert& convert) {
    constexpr std::int64_t kPixel = 3 * sizeof(Sample);
    Set<Sample>& set = Get().Of<Sample>();
    // From the middle, where the photo has edges.
    unsigned char* const photo =
        Raw(set.Picture("photo")) + kPixel * static_cast<std::int64_t>(kTwelveMegapixels.Pixels() / 2);
    unsigned char* const dest = Raw(set.dest);
    unsigned char* const source = inPlace ? dest : photo;
    const std::int64_t calls = kRunPixels / run;
    for (auto _ : state) {
        if (inPlace) std::memcpy(dest, photo, kPixel * kRunPixels);  // negligible compared with the conversion
        for (std::int64_t i = 0; i < calls; ++i) convert(source + i * run * kPixel, dest + i * run * kPixel, run);
        benchmark::ClobberMemory();
    }
    Count(state, calls * run);
}

template <typename Sample>
auto WithKernel(const Kernel& kernel) {
    const auto stages = StagesOf(*Get().engines[kWidth<Sample>]);
    const auto loop = sizeof(Sample) == 1 ? kernel.bytes : kernel.words;
    return [=](const unsigned char* source, unsigned char* dest, std::int64_t pixels) {
        loop(stages, source, dest, pixels);
    };
}

template <typename Sample>
auto WithCms(const LittleCms (&transforms)[2]) {
    const LittleCms* const cms = &transforms[kWidth<Sample>];
    return [=](const unsigned char* source, unsigned char* dest, std::int64_t pixels) {
        cms->Transform(source, dest, static_cast<std::size_t>(pixels));
    };
}

/// The member that callers use.
template <typename Sample>
auto WithEngine() {
    const Engine* const engine = Get().engines[kWidth<Sample>].get();
    return [=](unsigned char* source, unsigned char* dest, std::int64_t pixels) {
        engine->Conversion(source, dest, static_cast<int>(pixels));
    };
}

template <typename Body>
void Add(const std::string& name, int bits, const std::string& what, Body body) {
    const std::string full = "BM_" + name + "/bits:" + std::to_string(bits) + "/" + what;
    benchmark::RegisterBenchmark(full.c_str(), body)->Unit(benchmark::kMillisecond);
}

template <typename Sample>
void AddPictures() {
    for (const std::string picture : {"photo", "random", "constant"}) {
        for (const Kernel* kernel : ICC40::ICC_ENG_S4::Kernels()) {
            Add(std::string("Kernel_Convert/") + kernel->name, kBits<Sample>, picture,
                [=](benchmark::State& state) { WholePicture<Sample>(state, picture, WithKernel<Sample>(*kernel)); });
        }
        Add("LittleCms_Transform/nocache", kBits<Sample>, picture,
            [=](benchmark::State& state) { WholePicture<Sample>(state, picture, WithCms<Sample>(Get().plainCms)); });
        Add("LittleCms_Transform/default", kBits<Sample>, picture,
            [=](benchmark::State& state) { WholePicture<Sample>(state, picture, WithCms<Sample>(Get().cachingCms)); });
    }
    Add("Libc_Memcpy", kBits<Sample>, "photo", [](benchmark::State& state) {
        WholePicture<Sample>(state, "photo", [](const void* source, void* dest, std::int64_t pixels) {
            std::memcpy(dest, source, 3 * sizeof(Sample) * static_cast<std::size_t>(pixels));
        });
    });
}

template <typename Sample>
void AddRuns() {
    for (const int run : {1, 7, 255, 4096}) {
        const std::string what = "run:" + std::to_string(run);
        for (const Kernel* kernel : ICC40::ICC_ENG_S4::Kernels()) {
            Add(std::string("Kernel_Convert/") + kernel->name, kBits<Sample>, what,
                [=](benchmark::State& state) { Runs<Sample>(state, run, false, WithKernel<Sample>(*kernel)); });
        }
        Add("CIccEngineS_Conversion", kBits<Sample>, what,
            [=](benchmark::State& state) { Runs<Sample>(state, run, sizeof(Sample) == 1, WithEngine<Sample>()); });
        Add("LittleCms_Transform/nocache", kBits<Sample>, what,
            [=](benchmark::State& state) { Runs<Sample>(state, run, false, WithCms<Sample>(Get().plainCms)); });
    }
}

[[maybe_unused]] const bool kAdded = [] {
    AddPictures<std::uint8_t>();
    AddPictures<std::uint16_t>();
    AddRuns<std::uint8_t>();
    AddRuns<std::uint16_t>();
    return true;
}();

}  // namespace
}  // namespace bench
