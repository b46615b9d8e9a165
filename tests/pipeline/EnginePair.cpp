// SPDX-License-Identifier: MIT
#include "pipeline/EnginePair.h"

#include <array>
#include <cstring>
#include <span>

#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

template <typename Word>
void ExpectWords(const char* name, const Word* words, std::span<const Word> expected) {
    if (expected.empty() || std::memcmp(words, expected.data(), expected.size_bytes()) == 0) return;
    EXPECT_THAT(std::span(words, expected.size()), EqualTo(expected)) << name;
}

}  // namespace

EnginePair::EnginePair(const std::map<std::string, ProfileBuilder>& profiles)
    : engine_(std::make_unique<CIccEngineS>()), reference_(WriteAll(dir_, profiles)) {}

ReferenceEngine::Disk EnginePair::WriteAll(const TempDir& dir, const std::map<std::string, ProfileBuilder>& profiles) {
    ReferenceEngine::Disk disk;
    for (const auto& [name, profile] : profiles) {
        profile.Write(dir.File(name));
        disk[dir.File(name)] = profile.Tags();
    }
    return disk;
}

void EnginePair::ExpectSame(int result, int expected) {
    EXPECT_EQ(result, expected);
    const auto& unit = engine_->Unit;
    EXPECT_EQ((std::array<int, 8>{unit.ProfileState, unit.Intent, unit.InputSpace, unit.OutputSpace, unit.BuildResult,
                                  unit.Lightness, unit.Chroma, unit.Hue}),
              (std::array{reference_.profileState, reference_.intent, reference_.inputSpace, reference_.outputSpace,
                          reference_.buildResult, reference_.lightness, reference_.chroma, reference_.hue}));
    ExpectSameTables();
}

/// Compares entry by entry. A stage that was never built is not compared.
void EnginePair::ExpectSameTables() {
    ASSERT_EQ(engine_->InEntries, static_cast<int>(reference_.in[0].size()));
    const std::uint32_t* const in[] = {engine_->Lut1DInR.get(), engine_->Lut1DInG.get(), engine_->Lut1DInB.get()};
    const std::uint32_t* const out[] = {engine_->Lut1DOutR, engine_->Lut1DOutG, engine_->Lut1DOutB};
    for (std::size_t c = 0; c < 3; ++c) {
        ASSERT_EQ(in[c] == nullptr, reference_.in[c].empty());
        ExpectWords("an input table", in[c], std::span<const std::uint32_t>(reference_.in[c]));
        ExpectWords("an output table", out[c], std::span<const std::uint32_t>(reference_.out[c]));
    }
    static_assert(sizeof(ReferenceCell) == 6 * 3 * 4 * sizeof(std::int32_t));
    const auto* const cells = reinterpret_cast<const std::int32_t*>(reference_.cells.data());
    ExpectWords("the grid", &engine_->Lut3D[0][0][0][0], std::span(cells, reference_.cells.size() * 72));
}

void EnginePair::SetProfile(const std::string& name, int intent, int input, int output, double lightness, double chroma,
                            double hue) {
    const std::string path = dir_.File(name);
    const int result =
        engine_->SetProfile(path.c_str(), static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                            static_cast<ColorSpaceSignature>(output), lightness, chroma, hue);
    ExpectSame(result, reference_.SetProfile(path, intent, input, output, lightness, chroma, hue));
}

void EnginePair::SetIntent(int intent, int input, int output) {
    // The adjustments passed here are ignored; any values would do.
    const int result = engine_->SetIntent(static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                                          static_cast<ColorSpaceSignature>(output), 11.0, 22.0, 33.0);
    ExpectSame(result, reference_.SetIntent(intent, input, output));
}

void EnginePair::ConstructEngine(double lightness, double chroma, double hue) {
    const int result = engine_->ConstructEngine(lightness, chroma, hue);
    ExpectSame(result, reference_.ConstructEngine(lightness, chroma, hue));
}

void EnginePair::AdjustLch(double lightness, double chroma, double hue) {
    const int result = engine_->Adjust_Lch(lightness, chroma, hue);
    ExpectSame(result, reference_.AdjustLch(lightness, chroma, hue));
}

void EnginePair::AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count) {
    const int result = engine_->Adjust_Output(red.data(), green.data(), blue.data(), count);
    ExpectSame(result, reference_.AdjustOutput(red, green, blue, count));
}

void EnginePair::Convert() {
    const bool wide = reference_.inputSpace == 1;
    const Bytes pixels = PixelRun(reference_.inputSpace), untouched(pixels.size(), 0xa5);
    Bytes source = pixels, dest = untouched;
    const auto count = static_cast<int>(pixels.size() / (wide ? 6 : 3));
    EXPECT_EQ(engine_->Conversion(source.data(), dest.data(), count), 0);
    const Bytes expected = reference_.CanConvert() ? reference_.Convert(pixels) : wide ? untouched : pixels;
    EXPECT_THAT(wide ? dest : source, EqualsBytes(expected));
    // 8-bit runs leave the destination unchanged, 16-bit runs the source.
    EXPECT_THAT(wide ? source : dest, EqualsBytes(wide ? pixels : untouched));
}

}  // namespace hueweave::test
