// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// No TIFF file of 1 MiB takes longer to convert than three times a sound one whose image is as large as a file of 1 MiB
// may announce at the most, 10 MiB; measured side by side in processor time.
#include <algorithm>
#include <limits>

#include "hostile/Hostile.h"
#include "hostile/time/Time.h"

namespace hueweave::test {
namespace {

constexpr std::uint32_t kMostStrips = 130000;  ///< whose places and sizes, 8 bytes a strip, fit in 1 MiB

/// The places of the strips: `first` and `second` in turns. All are `bytes` long.
struct Strips {
    const char* name;
    std::uint32_t count, bytes, first, second;
};
void PrintTo(const Strips& row, std::ostream* out) { *out << row.name; }

Bytes SlowImage(const Strips& strips) {
    constexpr std::uint32_t kEntries = 7, kData = 8 + 2 + 12 * kEntries + 4;
    const std::uint32_t offsets = kData + 6, sizes = offsets + 4 * strips.count;
    const std::uint32_t pixels = strips.count * strips.bytes / 3;
    ByteWriter out;
    const auto entry = [&](unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
        out.Little16(tag).Little16(type).Little32(count).Little32(value);
    };
    out.Text("II").Little16(42).Little32(8).Little16(kEntries);
    entry(256, 4, 1, std::max(1U, pixels / 1000));
    entry(257, 4, 1, 1000);
    entry(258, 3, 3, kData);
    entry(273, 4, strips.count, offsets);
    entry(277, 3, 1, 3);
    entry(278, 4, 1, 1);
    entry(279, 4, strips.count, sizes);
    out.Little32(0).Little16(8).Little16(8).Little16(8);
    for (std::uint32_t i = 0; i < strips.count; ++i) out.Little32(i % 2 == 0 ? strips.first : strips.second);
    for (std::uint32_t i = 0; i < strips.count; ++i) out.Little32(strips.bytes);
    out.Fill(kMiB - out.Size(), 0x63);
    return out.Done();
}

/// One strip with the same bytes as the slow images mostly have.
Bytes SoundImage() {
    constexpr std::uint32_t kRows = 1000, kColumns = 10 * kMiB / 3 / kRows;
    return MiniTiff{kColumns, kRows, 3, 8, Bytes(std::size_t{3} * kRows * kColumns, 0x63), {}}.Build();
}

class ImageTimeTest : public HostileTest, public testing::WithParamInterface<Strips> {
protected:
    /// Seconds of processor time that a conversion takes.
    static double Seconds(const std::string& source, const std::string& dest) {
        return ProcessorSeconds([&] { Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()); });
    }
};

TEST_P(ImageTimeTest, IsNoMoreThanThreeTimesThatOfASoundImage) {
    ASSERT_EQ(Bind(Good()), 8);
    const std::string soundPath = Put("sound.tif", SoundImage());
    const std::string slowPath = Put("slow.tif", SlowImage(GetParam()));
    const std::string dest = dir_.File("dest.tif");
    double sound = std::numeric_limits<double>::infinity(), slow = sound;
    testing::internal::CaptureStdout();
    // The shortest of some rounds each, taken in turns so that a busy machine slows both.
    for (int round = 0; round < 7; ++round) {
        sound = std::min(sound, Seconds(soundPath, dest));
        slow = std::min(slow, Seconds(slowPath, dest));
    }
    testing::internal::GetCapturedStdout();
    RecordProperty("times_a_sound_image", std::to_string(slow / sound));
    EXPECT_LE(slow, 3 * sound);
}

INSTANTIATE_TEST_SUITE_P(Images, ImageTimeTest,
                         testing::Values(Strips{"AsManyStripsFarApartAsFit", kMostStrips, 80, 200, kMiB - 4000},
                                         Strips{"AsManyStripsInOnePlaceAsFit", kMostStrips, 80, 200, 200},
                                         Strips{"AsManyEmptyStripsAsFit", kMostStrips, 0, 200, kMiB - 4000},
                                         Strips{"AsManyBytesByThemselvesAsFit", kMostStrips, 1, 200, kMiB - 4000},
                                         Strips{"AsManyStripsAtTheEndAsFit", kMostStrips, 80, kMiB - 8, kMiB},
                                         Strips{"AsManyStripsOutsideAsFit", kMostStrips, 80, 0x7fffffff, 0x70000000},
                                         Strips{"AsManyStripsWithoutAPlaceAsFit", kMostStrips, 80, 0xffffffff,
                                                0x80000000},
                                         Strips{"FewStripsOfAnyLength", 60, 170000, 200, kMiB - 4000}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace hueweave::test
