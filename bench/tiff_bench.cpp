// SPDX-License-Identifier: MIT
// Reading and writing a twelve-megapixel TIFF file in memory-backed storage, and the whole conversion. For comparison,
// the C library transfers the same bytes, which is the minimum cost.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "Peers.h"
#include "TiffPicture.h"
#include "base/FileHandle.h"

namespace bench {
namespace {

using Orvix_Tiff_STL2::CTiff;

/// A source file for each sample width, and the data needed by the engines.
class Files {
public:
    static Files& Get() {
        static Files files;
        return files;
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    ~Files() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    std::string Source(int bits) const { return folder_ + "/source-" + std::to_string(bits) + ".tif"; }
    std::string Dest() const { return folder_ + "/dest.tif"; }
    const Engine& EngineOf(int bits) const { return *engines_[bits == 16]; }

private:
    Files() {
        std::string pattern = "/dev/shm/hueweave-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no room in /dev/shm");
        folder_ = pattern;
        for (const int bits : {8, 16}) WritePhoto(Source(bits), kTwelveMegapixels, bits);
    }
    std::string folder_;
    ProfileFile profile_;
    std::unique_ptr<Engine> engines_[2] = {MakeEngine(profile_, 8), MakeEngine(profile_, 16)};
};

int Bits(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void Count(benchmark::State& state) {
    const auto pixels = static_cast<std::int64_t>(kTwelveMegapixels.Pixels());
    state.SetItemsProcessed(state.iterations() * pixels);
    state.SetBytesProcessed(state.iterations() * pixels * 3 * Bits(state) / 8);
}

void BM_CTiff_ReadFile(benchmark::State& state) {
    const std::string source = Files::Get().Source(Bits(state));
    for (auto _ : state) {
        CTiff image(source.c_str());
        benchmark::DoNotOptimize(image.imageBuf);
    }
    Count(state);
}

void BM_CTiff_SaveFile(benchmark::State& state) {
    CTiff image(Files::Get().Source(Bits(state)).c_str());
    const std::string dest = Files::Get().Dest();
    for (auto _ : state) image.SaveFile(dest.c_str());
    Count(state);
}

void BM_CIccEngineS_ConvertFile(benchmark::State& state) {
    const Files& files = Files::Get();
    const Engine& engine = files.EngineOf(Bits(state));
    const std::string source = files.Source(Bits(state)), dest = files.Dest();
    std::streambuf* const screen = std::cout.rdbuf(nullptr);  // suppresses three progress lines per file
    for (auto _ : state) engine.Conversion(source.c_str(), dest.c_str());
    std::cout.rdbuf(screen);
    std::cout.clear();
    Count(state);
}

/// Into newly allocated memory each time, like that of an image.
void BM_Libc_ReadFile(benchmark::State& state) {
    const std::string source = Files::Get().Source(Bits(state));
    const auto size = std::filesystem::file_size(source);
    for (auto _ : state) {
        const auto bytes = std::make_unique_for_overwrite<char[]>(size);
        const FileHandle file = OpenForReading(source.c_str());
        if (std::fread(bytes.get(), 1, size, file.get()) != size) return state.SkipWithError("short read");
        benchmark::DoNotOptimize(bytes.get());
    }
    Count(state);
}

void BM_Libc_WriteFile(benchmark::State& state) {
    const std::string dest = Files::Get().Dest();
    const auto size = std::filesystem::file_size(Files::Get().Source(Bits(state)));
    const std::string bytes(size, 'x');
    for (auto _ : state) {
        const FileHandle file(std::fopen(dest.c_str(), "wb"));
        if (std::fwrite(bytes.data(), 1, size, file.get()) != size) return state.SkipWithError("short write");
    }
    Count(state);
}

void Widths(benchmark::internal::Benchmark* bench) {
    bench->ArgName("bits")->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);
}
BENCHMARK(BM_CTiff_ReadFile)->Apply(Widths);
BENCHMARK(BM_CTiff_SaveFile)->Apply(Widths);
BENCHMARK(BM_CIccEngineS_ConvertFile)->Apply(Widths);
BENCHMARK(BM_Libc_ReadFile)->Apply(Widths);
BENCHMARK(BM_Libc_WriteFile)->Apply(Widths);

}  // namespace
}  // namespace bench
