// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "support/MiniTiff.h"
#include "support/ReferencePipeline.h"
#include "support/TempDir.h"

namespace hueweave::test {

inline constexpr int kLeast = std::numeric_limits<std::int32_t>::min();
inline constexpr int kMost = std::numeric_limits<std::int32_t>::max();

/// Three curves of bytes; an empty one is handed over as null.
struct ToneCurves {
    Bytes red, green, blue;
};

/// Curves of `points` points that have nothing in common and do not end in white.
inline ToneCurves SomeCurves(std::size_t points, std::uint32_t seed = 5) {
    ToneCurves curves;
    for (std::size_t i = 0; i < points; ++i) {
        curves.red.push_back(static_cast<unsigned char>(255 - i * seed));
        curves.green.push_back(static_cast<unsigned char>(i * 3 / 4 + seed));
        curves.blue.push_back(static_cast<unsigned char>(i * i / 200 + 2 * seed));
    }
    return curves;
}

/// Some of the three engines of the loaded library, given the same calls, beside the plain statement of what one
/// engine does. Every call must answer the output space that the reference then has.
class Twin {
public:
    using Profiles = std::map<std::string, ProfileBuilder>;
    Twin(const Library& library, const std::vector<std::string>& suffixes, const Profiles& profiles)
        : reference_(WriteAll(dir_, profiles)) {
        for (const std::string& suffix : suffixes) apis_.emplace_back(library, suffix);
    }

    std::string Path(const std::string& name) const { return dir_.File(name); }
    const ReferenceEngine& Reference() const { return reference_; }

    void SetProfile(const std::string& name, int intent, int input, int output) {
        reference_.SetProfile(Path(name), intent, input, output, 0.0, 0.0, 0.0);
        for (const auto& api : apis_) {
            EXPECT_EQ(api.SetProfile(Path(name).c_str(), nullptr, intent, input, output), reference_.outputSpace);
        }
    }
    void SetIntent(int intent, int input, int output) {
        reference_.SetIntent(intent, input == 65535 ? 0 : input, output);
        for (const auto& api : apis_) EXPECT_EQ(api.SetIntent(intent, input, output), reference_.outputSpace);
    }
    void Adjust(double lightness, double chroma, double hue, const ToneCurves& curves = {}, int count = 256) {
        reference_.AdjustLch(lightness, chroma, hue);
        reference_.AdjustOutput(curves.red, curves.green, curves.blue, count);
        for (const auto& api : apis_) {
            ToneCurves own = curves;
            const auto lent = [](Bytes& curve) { return curve.empty() ? nullptr : curve.data(); };
            EXPECT_EQ(api.Adjust(lightness, chroma, hue, lent(own.red), lent(own.green), lent(own.blue), count),
                      reference_.outputSpace);
            EXPECT_TRUE(own.red == curves.red && own.green == curves.green && own.blue == curves.blue);
        }
    }

    /// Pixels of the width of the present input encoding through all engines; returns what they came out as.
    Bytes Convert() const {
        const bool wide = reference_.inputSpace == 1;
        const Bytes pixels = Pixels(wide);
        const bool refused = reference_.outputSpace == 65535;
        const bool touched = !refused && reference_.Converts();
        const Bytes untouched(pixels.size(), 0xa5);
        const Bytes expected = touched ? reference_.Convert(pixels) : wide ? untouched : pixels;
        for (const auto& api : apis_) {
            Bytes source = pixels;
            Bytes dest = untouched;
            const auto count = static_cast<std::int32_t>(pixels.size() / (wide ? 6 : 3));
            EXPECT_EQ(api.Convert2(source.data(), dest.data(), count), refused ? -1 : 0);
            EXPECT_TRUE((wide ? dest : source) == expected);
            EXPECT_TRUE((wide ? source : dest) == (wide ? pixels : untouched));
        }
        return expected;
    }

    /// An image of the width of the present input encoding through all engines, from file to file. A refusal makes
    /// no file and prints nothing.
    void ConvertFile() const {
        const bool wide = reference_.inputSpace == 1;
        const Bytes pixels = Pixels(wide);
        MiniTiff tiff{
            static_cast<std::uint32_t>(pixels.size() / (wide ? 60 : 30)), 10, 3, wide ? 16U : 8U, pixels, Bytes(40, 3)};
        WriteFile(Path("source.tif"), tiff.Build());
        const bool refused = reference_.outputSpace == 65535;
        const std::string log = refused ? ""
                                        : "Start Conversion(Start) : New ID\n"
                                          "Start Conversion(Pause) : End Conversion(count : 0)\n"
                                          "Start Conversion(Stop) :  End Conversion(count : 0)\n";
        tiff.icc.clear();
        if (reference_.Converts()) tiff.pixels = reference_.Convert(pixels);
        for (const auto& api : apis_) {
            testing::internal::CaptureStdout();
            const std::int32_t answer = api.ConvertFile(Path("source.tif").c_str(), Path("dest.tif").c_str());
            const std::string printed = testing::internal::GetCapturedStdout();
            EXPECT_EQ(answer, reference_.outputSpace);
            EXPECT_EQ(printed, log);
            EXPECT_EQ(std::filesystem::exists(Path("dest.tif")), !refused);
            if (refused) continue;
            EXPECT_TRUE(ReadFile(Path("dest.tif")) == tiff.Build());
            std::filesystem::remove(Path("dest.tif"));
        }
    }

    /// 600 pixels: a neutral ramp, the extremes, and any others.
    static Bytes Pixels(bool wide) {
        ByteWriter out;
        const auto add = [&](unsigned sample) { wide ? out.Little16(sample) : out.U8(sample >> 8); };
        for (unsigned v = 0; v < 256; ++v) {
            for (int c = 0; c < 3; ++c) add(257 * v);
        }
        for (unsigned corner = 0; corner < 8; ++corner) {
            for (int c = 0; c < 3; ++c) add((corner >> c & 1U) * 65535);
        }
        Lcg random(77);
        while (out.Size() < (wide ? 3600U : 1800U)) add(random.Sample());
        return out.Done();
    }

private:
    static ReferenceEngine::Disk WriteAll(const TempDir& dir, const Profiles& profiles) {
        ReferenceEngine::Disk disk;
        for (const auto& [name, profile] : profiles) {
            profile.Write(dir.File(name));
            disk[dir.File(name)] = profile.Tags();
        }
        return disk;
    }

    TempDir dir_;
    ReferenceEngine reference_;
    std::vector<EngineApi> apis_;
};

inline const std::vector<std::string> kAllThree = {kSuffixes[0], kSuffixes[1], kSuffixes[2]};

/// Profiles under the names that the tests use: "plain.icc" with three plain tables and a white point, "curved.icc"
/// with one curved table, "other.icc" with one plain table for intent 2 alone, "none.icc" without any.
inline Twin::Profiles TwinProfiles() {
    LutShape perceptual{3, 3, 9, 17, 129, CurveKind::Power, CurveKind::Power};
    LutShape relative{3, 3, 5, 2, 17, CurveKind::Ramp, CurveKind::Falling, GridKind::Scanner, 2};
    LutShape saturation{3, 3, 17, 256, 4096, CurveKind::Power, CurveKind::Ramp, GridKind::Falling, 3};
    LutShape curved{3, 3, 9, 33, 65, CurveKind::Power, CurveKind::Power, GridKind::Scanner, 4};
    return {{"plain.icc", ProfileBuilder()
                              .Mft2("A2B0", MakeLut(perceptual))
                              .Mft2("A2B1", MakeLut(relative))
                              .Mft2("A2B2", MakeLut(saturation))
                              .Xyz("wtpt", 0xe800, 0xf000, 0xc800)},
            {"curved.icc", ProfileBuilder().MftAB("A2B1", Curved(MakeLut(curved), CurveLayout::Aligned))},
            {"other.icc", ProfileBuilder().Mft2("A2B2", MakeLut({}))},
            {"none.icc", ProfileBuilder()}};
}

}  // namespace hueweave::test
