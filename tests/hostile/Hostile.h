// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hueweave/hueweave.h"
#include "support/ByteWriter.h"
#include "support/MiniProfile.h"
#include "support/MiniTiff.h"
#include "support/TempDir.h"

namespace hueweave::test {

inline const std::string kProgress =
    "Start Conversion(Start) : New ID\n"
    "Start Conversion(Pause) : End Conversion(count : 0)\n"
    "Start Conversion(Stop) :  End Conversion(count : 0)\n";
inline const std::string kNoEntries = "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n";

/// The result of a conversion without a bound profile.
inline constexpr std::int32_t kNone = 65535;

/// A small table that every sample profile has; it has few output entries, so that files stay short.
inline MiniLut ShortLut() {
    const Curve in = RampCurve(3);
    const Curve out = RampCurve(5);
    return {{in, in, in}, 2, LabGrid(2), {out, out, out}};
}

inline Bytes TextBlock(const char* type, std::string_view text) {
    return ByteWriter().Text(type).Big32(0).Text(text).Done();
}

/// One tag of every kind that the reader distinguishes; the table is last.
inline MiniTags EveryKindOfTag() {
    const Bytes curve = ByteWriter().Text("curv").Big32(0).Big32(3).Big16(1).Big16(2).Big16(3).Done();
    const Bytes para = ByteWriter().Text("para").Big32(0).Big16(3).Big16(0).Fill(20, 7).Done();
    return {{"desc", TextBlock("desc", "hostile")},
            {"cprt", TextBlock("text", "nobody")},
            {"wtpt", XyzBlock(0xf6d6, 0x10000, 0xd32d)},
            {"chad", ByteWriter().Text("sf32").Big32(0).Fill(36, 1).Done()},
            {"rTRC", curve},
            {"gTRC", para},
            {"A2B0", Mft2(ShortLut())}};
}

/// 8-bit samples of varied values, whole pixels.
inline Bytes SamplePixels(std::size_t bytes = 300) {
    Bytes pixels;
    for (std::size_t i = 0; i < bytes; ++i) pixels.push_back(static_cast<unsigned char>(i * 97 + i / 7));
    return pixels;
}

/// The effect of a conversion on its pixels.
enum class Effect {
    Untouched,  ///< returned 0
    Changed,    ///< returned 0
    Refused,    ///< returned -1
};
inline void PrintTo(Effect effect, std::ostream* out) {
    *out << (effect == Effect::Untouched ? "untouched" : effect == Effect::Changed ? "changed" : "refused");
}

/// The first engine's conversion of some 8-bit pixels.
inline Effect EffectOfConversion() {
    Bytes pixels = SamplePixels();
    const std::int32_t status = Orvix_Icc_Convert2(pixels.data(), nullptr, static_cast<int>(pixels.size() / 3));
    if (status != 0) {
        EXPECT_EQ(status, -1);
        EXPECT_EQ(pixels, SamplePixels());
        return Effect::Refused;
    }
    return pixels == SamplePixels() ? Effect::Untouched : Effect::Changed;
}

/// The first engine's output for some pixels; empty if it refuses.
inline Bytes ConvertedPixels(Bytes pixels = SamplePixels()) {
    const std::int32_t status = Orvix_Icc_Convert2(pixels.data(), pixels.data(), static_cast<int>(pixels.size() / 3));
    return status == 0 ? pixels : Bytes();
}

/// The image that the first engine writes: converted pixels, and no profile.
inline MiniTiff Converted(MiniTiff image) {
    image.pixels = ConvertedPixels(image.pixels);
    image.icc.clear();
    return image;
}

/// A profile of `bytes` bytes with as many entries as fit, which share one curved table of eleven curves without
/// entries and a grid.
inline Bytes ManySmallTables(std::size_t bytes, std::string_view name) {
    ByteWriter block;
    block.Text("mAB ").Big32(0).U8(16).U8(16).Big16(0);
    for (int part = 0; part < 5; ++part) block.Big32(32);
    const std::size_t entries = (bytes - 132 - block.Size()) / 12;
    const auto start = static_cast<std::uint32_t>(132 + 12 * entries);
    ByteWriter out;
    out.Fill(128).Big32(static_cast<std::uint32_t>(entries));
    for (std::size_t i = 0; i < entries; ++i) out.Text(name).Big32(start).Big32(32);
    return out.Append(block.Done()).Fill(bytes - out.Size()).Done();
}

/// A test with a folder for its files, and the first engine reset before and after it.
class HostileTest : public testing::Test {
protected:
    HostileTest() { Empty(); }
    ~HostileTest() override { Empty(); }

    /// Removes the old file and writes a new one: truncating and rewriting a file makes some file systems wait for the
    /// disk.
    std::string Put(const std::string& name, const Bytes& bytes) const {
        std::filesystem::remove(dir_.File(name));
        WriteFile(dir_.File(name), bytes);
        return dir_.File(name);
    }
    std::string Good() const { return Put("good.icc", MiniProfile({{"A2B0", Mft2(SmoothLut(3))}})); }
    static void Empty() { Orvix_Icc_SetProfile(nullptr, nullptr, 0, 0, 8); }
    static std::int32_t Bind(const std::string& path, std::int32_t intent = 0, std::int32_t input = 0,
                             std::int32_t output = 8) {
        return Orvix_Icc_SetProfile(path.c_str(), nullptr, intent, input, output);
    }
    /// The output of a call on the standard output stream.
    template <typename Call>
    static std::string Printed(const Call& call) {
        std::ostringstream text;
        std::streambuf* const before = std::cout.rdbuf(text.rdbuf());
        call();
        std::cout.rdbuf(before);
        return text.str();
    }

    TempDir dir_;
};

}  // namespace hueweave::test
