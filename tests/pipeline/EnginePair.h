// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "engine/CIccEngineS.h"
#include "support/Matchers.h"
#include "support/PixelRun.h"
#include "support/ReferencePipeline.h"
#include "support/ReferenceProfile.h"
#include "support/TempDir.h"

namespace hueweave::test {

inline ICC40::ICCFILE::ColorSpaceSignature Space(int value) {
    return static_cast<ICC40::ICCFILE::ColorSpaceSignature>(value);
}
inline ICC40::ICCFILE::Intent IntentOf(int value) { return static_cast<ICC40::ICCFILE::Intent>(value); }

/// An engine and its reference, driven side by side; after every step both must have the same result, state and tables.
class EnginePair {
public:
    using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

    /// Profiles by file name.
    explicit EnginePair(const std::map<std::string, Bytes>& profiles) : reference_(WriteAll(dir_, profiles)) {}

    /// Like all of these, returns the result.
    int SetProfile(const std::string& name, int intent, int input, int output, double lightness = 0, double chroma = 0,
                   double hue = 0) {
        const int result = engine_->SetProfile(Path(name).c_str(), IntentOf(intent), Space(input), Space(output),
                                               lightness, chroma, hue);
        return Same(result, reference_.SetProfile(Path(name), intent, input, output, lightness, chroma, hue));
    }
    int SetIntent(int intent, int input, int output) {
        // The adjustments passed here are ignored; any values would do.
        const int result = engine_->SetIntent(IntentOf(intent), Space(input), Space(output), 11.0, 22.0, 33.0);
        return Same(result, reference_.SetIntent(intent, input, output));
    }
    void Reset() {
        engine_->Reset();
        reference_.profileState = reference_.inputSpace = reference_.outputSpace = 65535;
        reference_.lightness = reference_.chroma = reference_.hue = 0;
        reference_.in = {};
        ExpectSame();
    }
    /// ConstructEngine or InputColorSpace2RGB.
    int Construct(int (Engine::*operation)(double, double, double), double lightness, double chroma, double hue) {
        const int result = ((*engine_).*operation)(lightness, chroma, hue);
        return Same(result, reference_.ConstructEngine(lightness, chroma, hue));
    }
    int AdjustLch(double lightness, double chroma, double hue) {
        const int result = engine_->Adjust_Lch(lightness, chroma, hue);
        return Same(result, reference_.AdjustLch(lightness, chroma, hue));
    }
    /// An empty curve is passed as null. The reference reads no more than the 4096 points that it has room for.
    int AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count) {
        const int result =
            engine_->Adjust_Output(red.empty() ? nullptr : red.data(), green.empty() ? nullptr : green.data(),
                                   blue.empty() ? nullptr : blue.data(), count);
        return Same(result, reference_.AdjustOutput(red, green, blue, std::min(count, 4096)));
    }
    /// Converts pixels of the current input encoding with both: in place for 8 bits, into another buffer for 16 bits.
    void Convert() const {
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

    /// The state and the tables; a stage that was never built is not compared.
    void ExpectSame() const {
        const auto& unit = engine_->Unit;
        EXPECT_EQ((std::array<int, 8>{unit.ProfileState, unit.Intent, unit.InputSpace, unit.OutputSpace,
                                      unit.BuildResult, unit.Lightness, unit.Chroma, unit.Hue}),
                  (std::array{reference_.profileState, reference_.intent, reference_.inputSpace, reference_.outputSpace,
                              reference_.buildResult, reference_.lightness, reference_.chroma, reference_.hue}));
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

    std::string Path(const std::string& name) const { return dir_.File(name); }
    Engine& Real() { return *engine_; }
    ReferenceEngine& Reference() { return reference_; }

private:
    static ReferenceEngine::Disk WriteAll(const TempDir& dir, const std::map<std::string, Bytes>& profiles) {
        ReferenceEngine::Disk disk;
        for (const auto& [name, profile] : profiles) {
            WriteFile(dir.File(name), profile);
            disk[dir.File(name)] = ReadTags(profile);
        }
        return disk;
    }
    int Same(int result, int expected) const {
        EXPECT_EQ(result, expected);
        ExpectSame();
        return result;
    }
    template <typename Word>
    static void ExpectWords(const char* name, const Word* words, std::span<const Word> expected) {
        if (expected.empty() || std::memcmp(words, expected.data(), expected.size_bytes()) == 0) return;
        EXPECT_THAT(std::span(words, expected.size()), EqualTo(expected)) << name;
    }

    TempDir dir_;
    std::unique_ptr<Engine> engine_ = std::make_unique<Engine>();
    ReferenceEngine reference_;
};

}  // namespace hueweave::test
