// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// Sample bytes of plane p, pixel i.
Bytes Sample(unsigned p, std::size_t i, std::size_t bytes) {
    const std::size_t value = 0x100 * (i + 1) + 16 * p + i;
    return bytes == 1 ? Bytes{static_cast<unsigned char>(value)}
                      : Bytes{static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8)};
}

Bytes Plane(unsigned p, std::size_t pixels, std::size_t bytes) {
    ByteWriter out;
    for (std::size_t i = 0; i < pixels; ++i) out.Append(Sample(p, i, bytes));
    return out.Done();
}

std::vector<Bytes> Planes(unsigned planes, std::size_t pixels, std::size_t bytes) {
    std::vector<Bytes> all;
    for (unsigned p = 0; p < planes; ++p) all.push_back(Plane(p, pixels, bytes));
    return all;
}

/// Pixels of `packed` samples of which the first `planes` are known and the others 0.
Bytes Pixels(unsigned planes, unsigned packed, std::size_t pixels, std::size_t bytes) {
    ByteWriter out;
    for (std::size_t i = 0; i < pixels; ++i) {
        for (unsigned p = 0; p < packed; ++p) out.Append(p < planes ? Sample(p, i, bytes) : Bytes(bytes, 0));
    }
    return out.Done();
}

struct PackRow {
    unsigned samples;
    unsigned bits;
    unsigned packed;  ///< planes that are taken
};
class PackTest : public testing::TestWithParam<PackRow> {};

TEST_P(PackTest, TurnsPlanesIntoPixels) {
    const auto [samples, bits, packed] = GetParam();
    const std::size_t bytes = bits / 8;
    TiffBuilder tiff = PlanarTiff(3, 2, samples, bits, 2, Planes(samples, 6, bytes));
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(Image(read), Pixels(samples, packed, 6, bytes));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 1);
    EXPECT_EQ(FieldsOf(read, 273).count, 1U);
    EXPECT_EQ(FieldsOf(read, 273).type, 4);
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, static_cast<std::uint32_t>(6 * bytes * samples)}));
    EXPECT_EQ(read.GetTagValue(Sig(278)), 2);
    EXPECT_EQ(read.GetTagValue(Sig(277)), static_cast<int>(samples)) << "untouched";
}

TEST_P(PackTest, TwoStripsAPlaneStayPlanar) {
    const auto [samples, bits, packed] = GetParam();
    const std::size_t bytes = bits / 8;
    std::vector<Bytes> strips;
    for (const Bytes& plane : Planes(samples, 6, bytes)) {
        strips.push_back(Part(plane, 0, 3 * bytes));
        strips.push_back(Part(plane, 3 * bytes, 3 * bytes));
    }
    Tiff read;
    ReadFrom(read, PlanarTiff(3, 2, samples, bits, 1, strips).Build());
    EXPECT_EQ(Image(read), Joined(Planes(samples, 6, bytes)));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 2);
    EXPECT_EQ(FieldsOf(read, 273).count, 1U);
    EXPECT_EQ(read.GetTagValue(Sig(278)), 2);
}

INSTANTIATE_TEST_SUITE_P(Every, PackTest,
                         testing::Values(PackRow{3, 8, 3}, PackRow{3, 16, 3}, PackRow{4, 8, 4}, PackRow{4, 16, 4},
                                         PackRow{5, 8, 4}, PackRow{5, 16, 4}, PackRow{2, 16, 4}, PackRow{1, 8, 4},
                                         PackRow{1, 16, 4}),
                         [](const auto& row) {
                             return std::to_string(row.param.samples) + "SamplesOf" + std::to_string(row.param.bits);
                         });

TEST(PackWidthTest, TwoSamplesOfEightBitsAreTakenAsSixteen) {
    // Their depths stand in the entry, which answers 0, and every depth but 8 is packed as 16 bits: the 12 bytes are
    // one plane of 6 samples.
    Tiff read;
    ReadFrom(read, PlanarTiff(3, 2, 2, 8, 2, {CountingBytes(6), CountingBytes(6, 7)}).Build());
    ByteWriter expected;
    for (unsigned i = 0; i < 6; ++i) expected.U8(2 * i + 1).U8(2 * i + 2).Fill(6);
    EXPECT_EQ(Image(read), expected.Done());
}

TEST(PackWidthTest, OtherDepthsArePackedAsSixteenBits) {
    for (const unsigned bits : {2U, 4U, 12U, 32U}) {
        Tiff read;
        ReadFrom(read, PlanarTiff(2, 1, 3, bits, 1, {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}).Build());
        EXPECT_EQ(Image(read), (Bytes{1, 2, 5, 6, 9, 10, 3, 4, 7, 8, 11, 12})) << bits;
    }
}

TEST(PackWidthTest, FirstDepthDecidesForAll) {
    TiffBuilder tiff;
    tiff.Long(256, 2).Long(257, 1).Shorts(258, {8, 16, 16}).Short(277, 3).Long(278, 1);
    tiff.StripOffsets().StripByteCounts().Short(284, 2).Strip({1, 2}).Strip({3, 4}).Strip({5, 6});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST(PackWidthTest, PlanarValueAboveTwoIsPlanarToo) {
    TiffBuilder tiff;
    tiff.Shape(2, 1, 3, 8).Long(278, 1).StripOffsets().StripByteCounts().Short(284, 3);
    Tiff read;
    ReadFrom(read, tiff.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}).Build());
    EXPECT_EQ(Image(read), (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 1);
}

/// A list with an image of `planes` and, for `samples` above 0, a tag 277.
void Fill(Tiff& tiff, const Bytes& planes, unsigned samples) {
    auto* strip = new TiffTag(Sig(273), Type(4), 1, 5, nullptr);
    std::copy(planes.begin(), planes.end(), strip->Allocate(planes.size()));
    tiff.SetTag(strip);
    if (samples > 0) tiff.AddTags(Word(3, 277), 1, samples, nullptr);
}

class PackAloneTest : public testing::TestWithParam<unsigned> {};

TEST_P(PackAloneTest, ThreeForThreeElseFour) {
    const unsigned packed = GetParam() == 3 ? 3 : 4;
    Tiff narrow;
    Fill(narrow, Joined(Planes(8, 6, 1)), GetParam());
    EXPECT_EQ(narrow.Pack<unsigned char>(3, 2), 0);
    EXPECT_EQ(Image(narrow), Pixels(8, packed, 6, 1));
    EXPECT_EQ(FieldsOf(narrow, 273), (Fields{273, 4, 1, 5})) << "no tag value changes";
    Tiff wide;
    Fill(wide, Joined(Planes(8, 6, 2)), GetParam());
    EXPECT_EQ(wide.Pack<unsigned short>(2, 3), 0);
    EXPECT_EQ(Image(wide), Pixels(8, packed, 6, 2));
}

// 0: no tag 277.
INSTANTIATE_TEST_SUITE_P(Every, PackAloneTest, testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 259, 65539));

TEST(PackLimitTest, MissingPlanesAreZero) {
    Tiff tiff;
    Fill(tiff, {1, 2, 3, 4, 5}, 3);
    tiff.Pack<unsigned char>(2, 2);
    EXPECT_EQ(Image(tiff), (Bytes{1, 5, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0}));
}

TEST(PackLimitTest, HalfASampleIsZeroFilled) {
    Tiff tiff;
    Fill(tiff, {1, 2, 3}, 3);
    tiff.Pack<unsigned short>(1, 1);
    EXPECT_EQ(Image(tiff), (Bytes{1, 2, 3, 0, 0, 0}));
}

TEST(PackLimitTest, NoPixelsGiveAnEmptyImage) {
    for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -1}, {-2, -2}}) {
        Tiff tiff;
        Fill(tiff, CountingBytes(20), 3);
        EXPECT_EQ(tiff.Pack<unsigned char>(width, height), 0);
        EXPECT_EQ(Image(tiff), Bytes()) << width << " x " << height;
    }
}

TEST(PackLimitTest, TargetIsBoundedByTwiceTheBufferAndEightMiB) {
    // 3 planes x 2 bytes: 8 MiB + 2 x 20 bytes hold 1,398,108 pixels.
    const int most = ((8 << 20) + 40) / 6;
    Tiff fits;
    Fill(fits, CountingBytes(20), 3);
    fits.Pack<unsigned short>(most, 1);
    EXPECT_EQ(fits.GetTag(Sig(273))->dataSize, static_cast<std::size_t>(most) * 6);
    // The bytes of the last one are 720,866 in 64 bits.
    for (const auto& [width, height] :
         {std::pair{most + 1, 1}, {65536, 65536}, {0x7fffffff, 0x7fffffff}, {2147450883, 1431677609}}) {
        Tiff dropped;
        Fill(dropped, CountingBytes(20), 3);
        EXPECT_EQ(dropped.Pack<unsigned short>(width, height), 0);
        EXPECT_EQ(dropped.GetTag(Sig(273))->GetData(), nullptr) << width << " x " << height;
    }
}

TEST(PackLimitTest, ListWithoutImageStaysAsItIs) {
    Tiff tiff;
    EXPECT_EQ(tiff.Pack<unsigned char>(2, 2), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

}  // namespace
}  // namespace hueweave::test
