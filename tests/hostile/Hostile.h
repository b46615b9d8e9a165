// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>

#include "hueweave/hueweave.h"
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
inline LutContents ShortLut() { return StraightLut(2, LabGrid(2), 3, 5); }

inline Bytes TextBlock(const char* type, std::string_view text) {
    return ByteWriter().Text(type).Big32(0).Text(text).Done();
}

/// One tag of every kind that the reader distinguishes; the table is last.
inline TagList EveryKindOfTag() {
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

/// The first engine's output for some 8-bit pixels; empty if it refuses, and then they stay.
inline Bytes ConvertedPixels(const Bytes& pixels = SamplePixels()) {
    Bytes converted = pixels;
    const std::int32_t status =
        Orvix_Icc_Convert2(converted.data(), converted.data(), static_cast<int>(pixels.size() / 3));
    if (status == 0) return converted;
    EXPECT_EQ(status, -1);
    EXPECT_EQ(converted, pixels);
    return {};
}
/// What that conversion does: "untouched", "changed" or "refused".
inline std::string EffectOfConversion() {
    const Bytes pixels = ConvertedPixels();
    return pixels.empty() ? "refused" : pixels == SamplePixels() ? "untouched" : "changed";
}

/// The image that the first engine writes: converted pixels, and no profile.
inline MiniTiff Converted(MiniTiff image) {
    image.pixels = ConvertedPixels(image.pixels);
    image.icc.clear();
    return image;
}

/// Calls `check` with a file without its last bytes, for every number of these, until a test fails.
template <typename Check>
void CutAtEveryByte(const Bytes& file, const Check& check) {
    for (std::size_t size = 0; size <= file.size() && !testing::Test::HasFailure(); ++size) {
        check(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)), std::to_string(size) + " bytes");
    }
}

/// The same with every bit of the bytes at `from` up to `to` flipped.
template <typename Check>
void FlipEveryBit(const Bytes& file, std::size_t from, std::size_t to, const Check& check) {
    for (std::size_t bit = from * 8; bit < to * 8 && !testing::Test::HasFailure(); ++bit) {
        Bytes bad = file;
        bad[bit / 8] = static_cast<unsigned char>(bad[bit / 8] ^ 1U << bit % 8);
        check(bad, "bit " + std::to_string(bit % 8) + " of byte " + std::to_string(bit / 8));
    }
}

/// A profile of `bytes` bytes with one block that all of `names` share, which starts with `head`. Their entries
/// announce all of it, or `size` bytes.
inline Bytes SharedBlock(std::size_t bytes, const std::vector<std::string>& names, const Bytes& head,
                         std::size_t size = 0) {
    ByteWriter out;
    const std::size_t start = 132 + 12 * names.size();
    out.Fill(128).Big32(static_cast<std::uint32_t>(names.size()));
    for (const std::string& name : names) {
        out.Text(name).Big32(static_cast<std::uint32_t>(start));
        out.Big32(static_cast<std::uint32_t>(size == 0 ? bytes - start : size));
    }
    return out.Append(head).Fill(bytes - out.Size()).Done();
}

/// The same with as many entries as fit, for a curved table of eleven curves without entries and a grid.
inline Bytes ManySmallTables(std::size_t bytes, const std::string& name) {
    ByteWriter block;
    block.Text("mAB ").Big32(0).U8(16).U8(16).Big16(0);
    for (int part = 0; part < 5; ++part) block.Big32(32);
    return SharedBlock(bytes, std::vector((bytes - 132 - block.Size()) / 12, name), block.Done(), block.Size());
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
    /// Calls `prepare`, then `call` while `fault(k)` lives, then `check`, for k = 1, 2, ... until there was no fault to
    /// make; no call may leave a descriptor open. `printed_` is what the call printed. Returns the number of faults.
    template <typename Fault>
    std::uint64_t Sweep(const Fault& fault, const std::function<void()>& prepare, const std::function<void()>& call,
                        const std::function<void()>& check) {
        for (std::uint64_t k = 1; k < 5000; ++k) {
            SCOPED_TRACE("fault " + std::to_string(k));
            prepare();
            testing::internal::CaptureStdout();
            const std::ptrdiff_t descriptors = OpenFiles();
            auto made = fault(k);
            call();
            made.Stop();
            const bool failed = made.Failed();
            EXPECT_EQ(OpenFiles(), descriptors);
            printed_ = testing::internal::GetCapturedStdout();
            check();
            if (HasFailure() || !failed) return k - 1;
        }
        ADD_FAILURE() << "the call never goes through";
        return 0;
    }

    std::string printed_;
    TempDir dir_;
};

}  // namespace hueweave::test
