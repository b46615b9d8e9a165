// SPDX-License-Identifier: MIT
// Every pixel loop that this processor can run, compared with the one that converts pixel by pixel, and the indices
// that they use in the output tables.
#include "engine/kernels/Kernels.h"

#include <cmath>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::Kernel;
using ICC40::ICC_ENG_S4::kPlainKernel;

constexpr int kSpaces[] = {8,  9,  10, 11, 12, 13, 20, 21, 22, 23, 24, 25,
                           26, 27, 28, 29, 30, 31, 34, 35, 36, 37, 38, 39};
constexpr std::size_t kPixelsASpace = 240000;  // for each space and width: 11.5 million in all

/// Converts `pixels` pixels from `source` to `dest` with the tables of an engine, by its input encoding.
void RunKernel(const Kernel& kernel, const CIccEngineS& engine, const unsigned char* source, unsigned char* dest,
               std::int64_t pixels) {
    const ICC40::ICC_ENG_S4::Stages stages{{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
                                           &engine.Lut3D[0][0],
                                           {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
    (engine.Unit.InputSpace == 1 ? kernel.words : kernel.bytes)(stages, source, dest, pixels);
}

Bytes Converted(const Kernel& kernel, const CIccEngineS& engine, const Bytes& pixels) {
    Bytes result(pixels.size(), 0xa5);
    RunKernel(kernel, engine, pixels.data(), result.data(),
              static_cast<std::int64_t>(pixels.size() / PixelBytes(engine.Unit.InputSpace == 1)));
    return result;
}

/// A third random, a third like a photograph (slow changes and noise), a third of values at and next to the grid points
/// and the ends of the range.
Bytes Picture(bool wide, std::uint32_t seed) {
    Lcg random(seed);
    Bytes bytes;
    const auto add = [&](double value) {
        const auto sample = static_cast<unsigned>(value < 0 ? 0 : value > 65535 ? 65535 : value);
        bytes.push_back(static_cast<unsigned char>(wide ? sample & 0xffU : sample >> 8));
        if (wide) bytes.push_back(static_cast<unsigned char>(sample >> 8));
    };
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        for (int c = 0; c < 3; ++c) add(random.Sample());
    }
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        const double x = static_cast<double>(p % 400), y = static_cast<double>(p) / 400;
        for (int c = 0; c < 3; ++c) {
            add(33000 + 30000 * std::sin(x / 57 + c) * std::cos(y / 41 - c) + random.Below(900) - 450.0);
        }
    }
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        for (int c = 0; c < 3; ++c) add(4096.0 * random.Below(17) + random.Below(3) - 1.0);
    }
    return bytes;
}

TEST(Kernels, StartWithThePlainOne) {
    const auto kernels = ICC40::ICC_ENG_S4::Kernels();
    ASSERT_FALSE(kernels.empty());
    EXPECT_EQ(kernels.front(), &kPlainKernel);
#if defined(__x86_64__)
    ASSERT_GE(kernels.size(), 2U);
    EXPECT_STREQ(kernels[1]->name, "sse2");
    EXPECT_EQ(kernels.size() == 3, __builtin_cpu_supports("avx2") != 0);
#endif
}

/// Output space and width of the samples.
class KernelConversion : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(KernelConversion, MatchesThePlainKernel) {
    const auto [space, wide] = GetParam();
    LutShape shape;
    shape.points = space % 2 == 0 ? 33 : 9;
    shape.grid = space % 3 == 0 ? GridKind::Random : GridKind::Scanner;
    const Bytes profile = ProfileBuilder().Mft2("A2B0", MakeLut(shape)).Build();
    const auto engine = std::make_unique<CIccEngineS>();
    engine->SetProfile(profile, IntentOf(0), Space(wide ? 1 : 0), Space(space), 0, 0, 0);
    ASSERT_EQ(engine->Unit.OutputSpace, Space(space));

    const Bytes pixels = Picture(wide, static_cast<std::uint32_t>(space));
    const Bytes expected = Converted(kPlainKernel, *engine, pixels);
    ASSERT_NE(expected, Bytes(pixels.size(), 0xa5));
    for (const Kernel* kernel : ICC40::ICC_ENG_S4::Kernels()) {
        EXPECT_THAT(Converted(*kernel, *engine, pixels), EqualsBytes(expected)) << kernel->name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, KernelConversion, testing::Combine(testing::ValuesIn(kSpaces), testing::Bool()));

/// Each pixel loop of each width.
class KernelRuns : public testing::TestWithParam<std::tuple<const Kernel*, bool>> {
protected:
    const Kernel& kernel_ = *std::get<0>(GetParam());
    const bool wide_ = std::get<1>(GetParam());
    const std::unique_ptr<CIccEngineS> engine_ = MakeHandEngine(wide_);
};

TEST_P(KernelRuns, WriteOnlyTheirPixelsAtEveryLengthAndAddress) {
    for (std::size_t length = 0; length <= 200; ++length) {
        for (std::size_t shift = 0; shift < 4; ++shift) {
            // The source ends where its vector ends, so that a sanitizer detects a read past it.
            Bytes source(shift + length * PixelBytes(wide_));
            Lcg random(static_cast<std::uint32_t>(length * 4 + shift));
            for (auto& byte : source) byte = static_cast<unsigned char>(random.Next());
            Bytes dest(source.size() + 16, 0x5a), expected = dest;
            const auto count = static_cast<std::int64_t>(length);
            RunKernel(kPlainKernel, *engine_, source.data() + shift, expected.data() + shift, count);
            RunKernel(kernel_, *engine_, source.data() + shift, dest.data() + shift, count);
            ASSERT_EQ(dest, expected) << length << " pixels at " << shift;
        }
    }
}

TEST_P(KernelRuns, WorkInPlaceAndIgnoreRunsWithoutPixels) {
    Bytes bytes = SomePixels(1000, wide_);
    const Bytes expected = ReferenceRun(*engine_, bytes);
    for (const std::int64_t count : {1000, 0, -1, INT32_MIN}) {
        RunKernel(kernel_, *engine_, bytes.data(), bytes.data(), count);
        EXPECT_THAT(bytes, EqualsBytes(expected)) << count;
    }
}

const auto kKernels = ICC40::ICC_ENG_S4::Kernels();
INSTANTIATE_TEST_SUITE_P(Every, KernelRuns,
                         testing::Combine(testing::ValuesIn(kKernels.begin(), kKernels.end()), testing::Bool()),
                         [](const auto& row) {
                             return std::get<0>(row.param)->name +
                                    std::string(std::get<1>(row.param) ? "Words" : "Bytes");
                         });

// Every index that the pixel loops use lies inside the output table: it is between the corner values of the cell,
// whatever the corners and the fractions are.

/// Every fraction on every axis, with each of the others at 0, equal, one less, or at the top.
std::vector<std::uint16_t> EveryFraction() {
    std::vector<std::uint16_t> samples;
    const auto sample = [](int fraction) { return static_cast<std::uint16_t>(fraction < 0 ? 0 : fraction); };
    for (int f = 0; f < 4096; ++f) {
        for (const int second : {0, f, f - 1, 4095}) {
            for (const int third : {0, f, f - 1, 4095}) {
                const std::uint16_t a = sample(f), b = sample(second), c = sample(third);
                samples.insert(samples.end(), {a, b, c, b, a, c, b, c, a});
            }
        }
    }
    return samples;
}

/// 85 cells whose corners are `low` or `high`: corner number 4 red + 2 green + blue of a channel is `high` if that bit
/// of (3 times the cell's number, plus the channel) is set.
std::vector<ReferenceCell> CellsBetween(int low, int high) {
    // Every second cell on each axis, so that no two share a corner.
    const auto place = [](unsigned n) { return std::array{n / 64 * 2, n / 8 % 8 * 2, n % 8 * 2}; };
    std::vector<ReferenceNode> nodes(std::size_t{17} * 17 * 17);
    for (unsigned n = 0; n < 85; ++n) {
        const auto [i, j, k] = place(n);
        for (unsigned corner = 0; corner < 8; ++corner) {
            ReferenceNode& node = nodes[((i + corner / 4) * 17 + j + corner / 2 % 2) * 17 + k + corner % 2];
            for (unsigned channel = 0; channel < 3; ++channel) {
                node[channel] = (3 * n + channel) >> corner & 1U ? high : low;
            }
        }
    }
    const std::vector<ReferenceCell> all = CellStage(nodes);
    std::vector<ReferenceCell> cells;
    for (unsigned n = 0; n < 85; ++n) {
        const auto [i, j, k] = place(n);
        cells.push_back(all[i * 256 + j * 16 + k]);
    }
    return cells;
}

class KernelInterpolation : public testing::TestWithParam<const Kernel*> {};

TEST_P(KernelInterpolation, StaysBetweenTheCornersOfTheCell) {
    std::vector<std::uint32_t> input(65536);
    for (std::uint32_t i = 0; i < 4096; ++i) input[i] = i;  // the first cell, with the sample as the fraction
    const std::vector<std::uint16_t> samples = EveryFraction(), inside(samples.size(), 1);
    std::vector<std::uint16_t> result(samples.size());
    // Corners at both ends of the grid's range, and close together within it.
    for (const auto& [low, high] : {std::pair{0, 65280}, {0, 65535}, {255, 256}, {30000, 30001}}) {
        // Entries are 1 for the indices from `low` to `high`, and 0 for all others and for 65536 indices on either
        // side.
        std::vector<std::uint32_t> output(std::size_t{3} << 16);
        std::fill(output.begin() + 65536 + low, output.begin() + 65536 + high + 1, 1U);
        for (const ReferenceCell& cell : CellsBetween(low, high)) {
            std::int32_t records[6][3][4];
            std::memcpy(records, cell.data(), sizeof records);
            const std::uint32_t* const in = input.data();
            const std::uint32_t* const out = output.data() + 65536;
            GetParam()->words(
                {{in, in, in}, records, {out, out, out}}, reinterpret_cast<const unsigned char*>(samples.data()),
                reinterpret_cast<unsigned char*>(result.data()), static_cast<std::int64_t>(samples.size() / 3));
            if (result == inside) continue;  // faster than the matcher, which reports the position
            ASSERT_THAT(result, EqualTo(inside)) << low << " and " << high;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, KernelInterpolation, testing::ValuesIn(kKernels.begin(), kKernels.end()),
                         [](const auto& row) { return std::string(row.param->name); });

}  // namespace
}  // namespace hueweave::test
