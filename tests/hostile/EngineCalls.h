// SPDX-License-Identifier: MIT
#pragma once

#include "hostile/Hostile.h"

namespace hueweave::test {

/// The five functions of one engine.
struct EngineCalls {
    decltype(&Orvix_Icc_SetProfile) SetProfile;
    decltype(&Orvix_Icc_SetIntent) SetIntent;
    decltype(&Orvix_Icc_Adjust) Adjust;
    decltype(&Orvix_Icc_Convert2) Convert2;
    decltype(&Orvix_Icc_ConvertFile) ConvertFile;
};
inline constexpr EngineCalls kEngines[] = {
    {Orvix_Icc_SetProfile, Orvix_Icc_SetIntent, Orvix_Icc_Adjust, Orvix_Icc_Convert2, Orvix_Icc_ConvertFile},
    {Orvix_Icc_SetProfile_2nd, Orvix_Icc_SetIntent_2nd, Orvix_Icc_Adjust_2nd, Orvix_Icc_Convert2_2nd,
     Orvix_Icc_ConvertFile_2nd},
    {Orvix_Icc_SetProfile_3rd, Orvix_Icc_SetIntent_3rd, Orvix_Icc_Adjust_3rd, Orvix_Icc_Convert2_3rd,
     Orvix_Icc_ConvertFile_3rd}};

/// Exercises all functions of one engine.
class EveryCall : public HostileTest {
protected:
    /// All results concatenated; `own` is a file for this engine alone.
    Bytes Everything(const EngineCalls& engine, const std::string& own) const {
        Bytes results;
        const auto note = [&](std::int32_t status, const Bytes& pixels) {
            results.push_back(static_cast<unsigned char>(status));
            results.insert(results.end(), pixels.begin(), pixels.end());
        };
        Bytes pixels = SamplePixels();
        Bytes curve(256);
        for (std::size_t i = 0; i < curve.size(); ++i) curve[i] = static_cast<unsigned char>(255 - i);
        note(engine.SetProfile(path_.c_str(), nullptr, 0, 0, 8), {});
        note(engine.Convert2(pixels.data(), nullptr, 100), pixels);
        note(engine.SetIntent(1, 0, 10), {});
        note(engine.Adjust(4, 3, 2, curve.data(), curve.data(), curve.data(), 256), {});
        note(engine.Convert2(pixels.data(), nullptr, 100), pixels);
        note(engine.ConvertFile(source_.c_str(), own.c_str()), {});
        note(0, ReadFile(own));
        note(engine.SetProfile(dir_.File("absent").c_str(), nullptr, 0, 0, 8), {});
        note(func1(), {});
        return results;
    }

    const MiniLut lut_ = SmoothLut(9);  // gets resampled
    const std::string path_ =
        Put("both.icc", MiniProfile({{"A2B0", Mft2(lut_)}, {"A2B1", MftAB(lut_)}, {"wtpt", XyzBlock(1, 2, 3)}}));
    const std::string source_ = Put("source.tif", MiniTiff{10, 10, 3, 8, SamplePixels(), Bytes(50, 1)}.Build());
};

}  // namespace hueweave::test
