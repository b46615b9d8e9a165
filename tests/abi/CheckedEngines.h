// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "support/Matchers.h"
#include "support/MiniProfile.h"
#include "support/MiniTiff.h"
#include "support/PixelRun.h"
#include "support/ReferencePipeline.h"
#include "support/TempDir.h"

namespace hueweave::test {

inline constexpr int kLeast = std::numeric_limits<std::int32_t>::min();
inline constexpr int kMost = std::numeric_limits<std::int32_t>::max();

/// Three byte curves; an empty one is passed as null.
struct ToneCurves {
    Bytes red, green, blue;
};

/// Three unrelated curves of `points` points that do not end in white.
inline ToneCurves SomeCurves(std::size_t points, std::uint32_t seed = 5) {
    ToneCurves curves;
    for (std::size_t i = 0; i < points; ++i) {
        curves.red.push_back(static_cast<unsigned char>(255 - i * seed));
        curves.green.push_back(static_cast<unsigned char>(i * 3 / 4 + seed));
        curves.blue.push_back(static_cast<unsigned char>(i * i / 200 + 2 * seed));
    }
    return curves;
}

inline Bytes SomePixels() {
    Bytes pixels;
    for (unsigned i = 0; i < 300; ++i) pixels.push_back(static_cast<unsigned char>(i * 97 + i / 7));
    return pixels;
}

/// Profiles under the names that the tests use: "plain.icc" has three plain tables and a white point, "curved.icc" one
/// curved table, "none.icc" no table, "bytes.icc" a table that no engine can use, and "black.icc" makes every pixel
/// black in a linear space.
inline std::map<std::string, ProfileBuilder> ExportProfiles() {
    LutShape perceptual{3, 3, 9, 17, 129, CurveKind::Power, CurveKind::Power};
    LutShape relative{3, 3, 5, 2, 17, CurveKind::Ramp, CurveKind::Falling, GridKind::Scanner, 2};
    LutShape saturation{3, 3, 17, 256, 4096, CurveKind::Power, CurveKind::Ramp, GridKind::Falling, 3};
    LutShape curved{3, 3, 9, 33, 65, CurveKind::Power, CurveKind::Power, GridKind::Scanner, 4};
    LutContents black = SmoothLut(2);
    for (std::size_t i = 0; i < black.grid.size(); ++i) black.grid[i] = i % 3 == 0 ? 0 : 32768;
    return {{"plain.icc", ProfileBuilder()
                              .Mft2("A2B0", MakeLut(perceptual))
                              .Mft2("A2B1", MakeLut(relative))
                              .Mft2("A2B2", MakeLut(saturation))
                              .Xyz("wtpt", 0xe800, 0xf000, 0xc800)},
            {"curved.icc", ProfileBuilder().MftAB("A2B1", Curved(MakeLut(curved), CurveLayout::Aligned))},
            {"none.icc", ProfileBuilder()},
            {"bytes.icc", ProfileBuilder().Raw("A2B0", Mft1())},
            {"black.icc", ProfileBuilder().Raw("A2B0", Mft2(black))}};
}

/// Some engines of the loaded library and a plain reference for one engine. All receive the same calls; each engine
/// must return, convert and print what the reference says.
class CheckedEngines {
public:
    explicit CheckedEngines(const Library& library,
                            const std::vector<std::string>& suffixes = {kSuffixes.begin(), kSuffixes.end()})
        : reference_(WriteAll(dir_)) {
        for (const std::string& suffix : suffixes) apis_.emplace_back(library, suffix);
    }

    std::string Path(const std::string& name) const { return dir_.File(name); }
    const std::vector<EngineApi>& Apis() const { return apis_; }

    /// Like SetIntent and Adjust, returns the result that all engines share.
    int SetProfile(const std::string& name, int intent, int input, int output, const char* second = nullptr) {
        reference_.SetProfile(Path(name), intent, input, output, 0.0, 0.0, 0.0);
        return Answer(
            [&](const EngineApi& api) { return api.SetProfile(Path(name).c_str(), second, intent, input, output); });
    }
    int SetIntent(int intent, int input, int output) {
        reference_.SetIntent(intent, input == 65535 ? 0 : input, output);
        return Answer([&](const EngineApi& api) { return api.SetIntent(intent, input, output); });
    }
    int Adjust(double lightness, double chroma, double hue, const ToneCurves& curves = {}, int count = 256) {
        reference_.AdjustLch(lightness, chroma, hue);
        reference_.AdjustOutput(curves.red, curves.green, curves.blue, count);
        return Answer([&](const EngineApi& api) {
            ToneCurves own = curves;
            const auto lent = [](Bytes& curve) { return curve.empty() ? nullptr : curve.data(); };
            const int answer =
                api.Adjust(lightness, chroma, hue, lent(own.red), lent(own.green), lent(own.blue), count);
            EXPECT_THAT(own.red, EqualTo(curves.red));
            EXPECT_THAT(own.green, EqualTo(curves.green));
            EXPECT_THAT(own.blue, EqualTo(curves.blue));
            return answer;
        });
    }

    /// Converts pixels of the current input encoding's width through all engines; returns the result.
    Bytes Convert() const {
        const bool wide = reference_.inputSpace == 1;
        const Bytes pixels = PixelRun(reference_.inputSpace), untouched(pixels.size(), 0xa5);
        const auto count = static_cast<std::int32_t>(pixels.size() / (wide ? 6 : 3));
        Bytes expected = wide ? untouched : pixels;
        if (!Refuses() && reference_.CanConvert()) expected = reference_.Convert(pixels);
        for (const auto& api : apis_) {
            Bytes source = pixels, dest = untouched;
            EXPECT_EQ(api.Convert2(source.data(), dest.data(), count), Refuses() ? -1 : 0);
            EXPECT_THAT(wide ? dest : source, EqualsBytes(expected));
            EXPECT_THAT(wide ? source : dest, EqualsBytes(wide ? pixels : untouched));
        }
        return expected;
    }

    /// Converts an image file of the current input encoding's width through all engines. A refused conversion writes no
    /// file and prints nothing.
    void ConvertFile() const {
        const bool wide = reference_.inputSpace == 1;
        const Bytes pixels = PixelRun(reference_.inputSpace);
        const auto width = static_cast<std::uint32_t>(pixels.size() / (wide ? 6 : 3));
        MiniTiff tiff{width, 1, 3, wide ? 16U : 8U, pixels, Bytes(40, 3)};
        WriteFile(Path("source.tif"), tiff.Build());
        tiff.icc.clear();
        if (reference_.CanConvert()) tiff.pixels = reference_.Convert(pixels);
        for (const auto& api : apis_) {
            testing::internal::CaptureStdout();
            const std::int32_t answer = api.ConvertFile(Path("source.tif").c_str(), Path("dest.tif").c_str());
            EXPECT_EQ(testing::internal::GetCapturedStdout(), Refuses() ? "" : kConversionLog);
            EXPECT_EQ(answer, reference_.outputSpace);
            EXPECT_EQ(std::filesystem::exists(Path("dest.tif")), !Refuses());
            if (Refuses()) continue;
            EXPECT_THAT(ReadFile(Path("dest.tif")), EqualsBytes(tiff.Build()));
            std::filesystem::remove(Path("dest.tif"));
        }
    }

private:
    bool Refuses() const { return reference_.outputSpace == 65535; }

    template <class Call>
    int Answer(const Call& call) const {
        for (const auto& api : apis_) EXPECT_EQ(call(api), reference_.outputSpace);
        return reference_.outputSpace;
    }

    static ReferenceEngine::Disk WriteAll(const TempDir& dir) {
        ReferenceEngine::Disk disk;
        for (const auto& [name, profile] : ExportProfiles()) {
            profile.Write(dir.File(name));
            disk[dir.File(name)] = profile.Tags();
        }
        return disk;
    }

    TempDir dir_;
    ReferenceEngine reference_;
    std::vector<EngineApi> apis_;
};

/// A freshly loaded library and its three engines.
class ExportTest : public testing::Test {
protected:
    Library library_;
    CheckedEngines engines_{library_};
};

}  // namespace hueweave::test
