// SPDX-License-Identifier: MIT
// Sample files truncated at every byte, and with every bit of the header and directory flipped; and images whose size
// does not match their bytes. The suite unit_tiff covers the effect of each broken field.
#include "hostile/TiffRun.h"

namespace hueweave::test {
namespace {

/// Four rows of four pixels in each layout that an image can have, with a profile and Exif data.
std::map<std::string, Bytes> Samples() {
    TiffBuilder rich = ChunkyTiff(4, 4, 3, 8, CountingBytes(48));
    rich.Undefined(34675, CountingBytes(20, 9)).Exif(CountingBytes(44, 60));
    TiffBuilder strips;
    strips.Shape(4, 4, 3, 8).Strip(CountingBytes(24)).Strip(CountingBytes(24, 25));
    strips.StripOffsets().Long(278, 2).StripByteCounts(3);
    const TiffBuilder planar =
        PlanarTiff(4, 4, 3, 8, 4, {CountingBytes(16), CountingBytes(16, 17), CountingBytes(16, 33)});
    return {{"Chunky", rich.Build()},
            {"Strips", strips.Build()},
            {"Planes", planar.Build()},
            {"Bitmap", PlanarTiff(16, 4, 3, 1, 4, {CountingBytes(24)}).Build()},
            {"Grey", ChunkyTiff(4, 4, 1, 8, CountingBytes(16)).Build()},
            {"Wide", ChunkyTiff(4, 2, 3, 16, CountingBytes(48)).Build()}};
}

using TiffSweepTest = TiffRun;

TEST_F(TiffSweepTest, CutAtEveryByte) {
    for (const auto& [name, file] : Samples()) {
        SCOPED_TRACE(name);
        CutAtEveryByte(file, [&](const Bytes& cut, const std::string& what) { Check(cut, what); });
    }
}

TEST_F(TiffSweepTest, EveryBitOfHeaderAndDirectory) {
    for (const auto& [name, file] : Samples()) {
        SCOPED_TRACE(name);
        const std::size_t entries = file[8];
        FlipEveryBit(file, 0, 14 + 12 * entries, [&](const Bytes& bad, const std::string& what) { Check(bad, what); });
    }
}

struct Size {
    std::uint32_t width, height;
    int pixels;  ///< how many of the image's five pixels are converted
};
void PrintTo(const Size& size, std::ostream* out) { *out << size.width << " x " << size.height; }

class WrongSizeTest : public TiffRun, public testing::WithParamInterface<Size> {};

/// Width and height are untrusted: their product is computed as a signed 64-bit number and limited to the size of the
/// image data.
TEST_P(WrongSizeTest, ConvertsNoPixelOutsideTheImage) {
    const auto& [width, height, pixels] = GetParam();
    MiniTiff tiff{width, height, 3, 8, CountingBytes(17), {}};
    const std::string source = Put("source.tif", tiff.Build());
    EXPECT_EQ(Convert(source, dest_), kProgress);
    const Bytes converted = ConvertedPixels(CountingBytes(static_cast<std::size_t>(3 * pixels)));
    std::copy(converted.begin(), converted.end(), tiff.pixels.begin());
    EXPECT_EQ(ReadFile(dest_), tiff.Build());
}

INSTANTIATE_TEST_SUITE_P(Every, WrongSizeTest,
                         testing::Values(Size{0, 0, 0}, Size{0, 0xffffffff, 0}, Size{5, 1, 5}, Size{6, 1, 5},
                                         Size{65536, 65536, 5}, Size{65535, 65537, 5}, Size{0x7fffffff, 0x7fffffff, 5},
                                         Size{0xffffffff, 0xffffffff, 1}, Size{0x80000000, 0x80000000, 5},
                                         Size{0xffffffff, 1, 0}, Size{0x80000000, 2, 0}, Size{0x80000004, 4, 0},
                                         Size{0xffff0000, 0xffff, 0}, Size{0xfffffffe, 0x7fffffff, 0}));

}  // namespace
}  // namespace hueweave::test
