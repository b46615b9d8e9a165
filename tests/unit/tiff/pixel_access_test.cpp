// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

constexpr int kWidth = 11;
constexpr int kHeight = 5;
const std::vector<int> kColumns{-2147483647 - 1, -20, -1, 0, 1, 5, 7, 8, 10, 11, 20, 2147483647};
const std::vector<int> kRows{-2147483647 - 1, -7, -1, 0, 1, 2, 4, 5, 9, 2147483647};

struct Layout {
    int samples;
    int bits;
};

class PixelAddressTest : public testing::TestWithParam<Layout> {
protected:
    void SetUp() override {
        tiff_.CreateNew(kWidth, kHeight, 72, GetParam().samples, GetParam().bits, 1);
        ASSERT_NE(tiff_.GetImageBuf(), nullptr);
        rowBytes_ = (GetParam().samples * GetParam().bits * kWidth + 7) / 8;
    }
    std::ptrdiff_t Offset(int x, int y) const {
        return std::ptrdiff_t{y} * rowBytes_ + (GetParam().bits * GetParam().samples * x >> 3);
    }
    /// Where an address lies in the image.
    std::ptrdiff_t At(const unsigned char* address) const { return address - tiff_.GetImageBuf(); }
    /// The one byte that a store changes, as its place.
    template <typename Store>
    std::ptrdiff_t Changed(Store store) {
        std::fill_n(tiff_.GetImageBuf(), tiff_.ImageBytes(), static_cast<unsigned char>(0x55));
        store(tiff_);
        std::ptrdiff_t place = -1;
        for (std::size_t i = 0; i < tiff_.ImageBytes(); ++i) {
            if (tiff_.GetImageBuf()[i] == 0x55) continue;
            EXPECT_EQ(tiff_.GetImageBuf()[i], 0xa9);
            EXPECT_EQ(place, -1) << "one byte only";
            place = static_cast<std::ptrdiff_t>(i);
        }
        return place;
    }
    CTiff tiff_;
    int rowBytes_ = 0;
};

TEST_P(PixelAddressTest, PlainFormsClampBoth) {
    for (const int y : kRows) {
        for (const int x : kColumns) {
            const std::ptrdiff_t expected = Offset(std::clamp(x, 0, kWidth - 1), std::clamp(y, 0, kHeight - 1));
            ASSERT_EQ(At(tiff_.GetXY(x, y)), expected) << x << ", " << y;
            ASSERT_EQ(Changed([&](CTiff& tiff) { tiff.SetXY(x, y, 0xa9); }), expected) << x << ", " << y;
        }
    }
}

TEST_P(PixelAddressTest, MirroredFormsCountFromTheBottomButEndAtTheFarEnd) {
    for (const int y : kRows) {
        const int row = y < 0 ? 0 : y > kHeight - 1 ? kHeight - 1 : kHeight - 1 - y;
        for (const int x : kColumns) {
            const std::ptrdiff_t expected = Offset(std::clamp(x, 0, kWidth - 1), row);
            ASSERT_EQ(At(tiff_.GetXY_M(x, y)), expected) << x << ", " << y;
            ASSERT_EQ(Changed([&](CTiff& tiff) { tiff.SetXY_M(x, y, 0xa9); }), expected) << x << ", " << y;
        }
    }
}

TEST_P(PixelAddressTest, QuickFormsAgreeInsideTheImage) {
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            ASSERT_EQ(At(tiff_.GetXY_Q(x, y)), Offset(x, y));
            ASSERT_EQ(At(tiff_.GetXY_MQ(x, y)), Offset(x, kHeight - 1 - y));
            ASSERT_EQ(Changed([&](CTiff& tiff) { tiff.SetXY_Q(x, y, 0xa9); }), Offset(x, y));
            ASSERT_EQ(Changed([&](CTiff& tiff) { tiff.SetXY_MQ(x, y, 0xa9); }), Offset(x, y)) << "not mirrored";
        }
    }
}

TEST_P(PixelAddressTest, QuickFormsDoNotCheckTheirRange) {
    // Still inside the image: columns beyond a row lie in the next, those before it in the one before.
    EXPECT_EQ(At(tiff_.GetXY_Q(kWidth + 8, 1)), Offset(kWidth + 8, 1));
    EXPECT_EQ(At(tiff_.GetXY_Q(-8, 2)), Offset(-8, 2));
    EXPECT_EQ(At(tiff_.GetXY_MQ(kWidth + 8, 2)), Offset(kWidth + 8, 2));
    EXPECT_EQ(Changed([](CTiff& tiff) { tiff.SetXY_Q(kWidth + 8, 1, 0xa9); }), Offset(kWidth + 8, 1));
    EXPECT_EQ(Changed([](CTiff& tiff) { tiff.SetXY_MQ(-8, 2, 0xa9); }), Offset(-8, 2));
}

INSTANTIATE_TEST_SUITE_P(Every, PixelAddressTest,
                         testing::Values(Layout{1, 1}, Layout{3, 1}, Layout{4, 1}, Layout{1, 8}, Layout{3, 8},
                                         Layout{4, 8}, Layout{1, 16}, Layout{3, 16}, Layout{4, 16}, Layout{1, 4}),
                         [](const auto& row) {
                             return std::to_string(row.param.samples) + "SamplesOf" + std::to_string(row.param.bits);
                         });

TEST(PixelTest, CornersByHand) {
    CTiff tiff;
    tiff.CreateNew(10, 6, 72, 3, 8, 1);
    unsigned char* image = tiff.GetImageBuf();
    EXPECT_EQ(tiff.GetXY(-5, -5), tiff.GetXY(0, 0));
    EXPECT_EQ(tiff.GetXY(0, 0), image);
    EXPECT_EQ(tiff.GetXY(19, 15), image + 5 * 30 + 27);
    EXPECT_EQ(tiff.GetXY_M(0, 0), image + 150);
    EXPECT_EQ(tiff.GetXY_M(0, -1), image);
    EXPECT_EQ(tiff.GetXY_M(0, 6), image + 150);
    EXPECT_EQ(tiff.GetXY_M(0, 5), image);
    EXPECT_EQ(tiff.GetXY_MQ(0, 0), image + 150);
    tiff.SetXY_MQ(0, 0, 7);
    EXPECT_EQ(image[0], 7);
    EXPECT_EQ(image[150], 0);
}

TEST(PixelTest, EightBitmapPixelsShareAByte) {
    CTiff tiff;
    tiff.CreateNew(20, 2, 72, 1, 1, 1);
    for (int x = 8; x < 16; ++x) EXPECT_EQ(tiff.GetXY(x, 1), tiff.GetImageBuf() + 3 + 1);
    tiff.SetXY(12, 1, 0xf1);
    EXPECT_EQ(Image(tiff), (Bytes{0, 0, 0, 0, 0xf1, 0})) << "eight pixels at once";
}

TEST(PixelTest, SixteenBitPixelsBeginWithTheLowByteOfTheFirstSample) {
    CTiff tiff;
    tiff.CreateNew(4, 1, 72, 3, 16, 1);
    EXPECT_EQ(tiff.GetXY(2, 0), tiff.GetImageBuf() + 12);
    tiff.SetXY(2, 0, 0x7f);
    EXPECT_EQ(tiff.GetImageBuf()[12], 0x7f);
    EXPECT_EQ(tiff.GetImageBuf()[13], 0);
}

/// Objects without an image to point into.
class NoImageTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        if (GetParam() == 1) tiff_.CreateNew(4, 4, 72, 3, 8, 0);
        if (GetParam() == 2) tiff_.CreateNew(0, 4, 72, 3, 8, 1);
        if (GetParam() == 3) tiff_.CreateNew(4, 0, 72, 3, 8, 1);
        if (GetParam() == 4) tiff_.CreateNew(4, 4, 72, 0, 8, 1);
    }
    CTiff tiff_;
};

TEST_P(NoImageTest, CheckedFormsPointNowhere) {
    for (const int y : kRows) {
        for (const int x : kColumns) {
            ASSERT_EQ(tiff_.GetXY(x, y), nullptr);
            ASSERT_EQ(tiff_.GetXY_M(x, y), nullptr);
            tiff_.SetXY(x, y, 1);
            tiff_.SetXY_M(x, y, 1);
        }
    }
}

TEST_P(NoImageTest, RowsAndBlocksCopyNothing) {
    Bytes buf(64, 9);
    EXPECT_EQ(tiff_.GetRow(buf.data(), 0, 0), 0);
    EXPECT_EQ(tiff_.GetRow(buf.data(), 1, 2), 2);
    EXPECT_EQ(tiff_.PutRow(buf.data(), 1, 2), 2);
    const int expected = GetParam() == 0 ? -1 : 0;  // no depth at all, or eight
    EXPECT_EQ(tiff_.GetRowColumn(buf.data(), 0, 0, 2, 2), expected);
    EXPECT_EQ(tiff_.SetRowColumn(buf.data(), 0, 0, 2, 2), expected);
    EXPECT_EQ(buf, Bytes(64, 9));
}

INSTANTIATE_TEST_SUITE_P(Every, NoImageTest, testing::Range(0, 5));

TEST(NoImageTest, QuickFormsOfANullImageAreNull) {
    CTiff tiff;
    EXPECT_EQ(tiff.GetXY_Q(1, 1), nullptr);
    EXPECT_EQ(tiff.GetXY_MQ(1, 1), nullptr);
    tiff.SetXY_Q(1, 1, 1);
    tiff.SetXY_MQ(1, 1, 1);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    tiff.CreateNew(4, 4, 72, 3, 8, 0);
    EXPECT_EQ(tiff.GetXY_Q(1, 1), nullptr) << "where there is a geometry, too";
    EXPECT_EQ(tiff.GetXY_MQ(1, 1), nullptr);
    tiff.SetXY_Q(1, 1, 1);
    tiff.SetXY_MQ(1, 1, 1);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
}

/// A geometry that does not fit the image, as a broken file or a caller may set it.
TEST(ShortImageTest, CheckedFormsPointNowhereInAGeometryThatCannotBe) {
    CTiff tiff;
    tiff.CreateNew(4, 4, 72, 3, 8, 1);
    ASSERT_EQ(tiff.ImageBytes(), 48U);
    const auto expectNothing = [&](int x, int y) {
        EXPECT_EQ(tiff.GetXY(x, y), nullptr) << x << ", " << y;
        EXPECT_EQ(tiff.GetXY_M(x, 3 - y), nullptr) << x << ", " << y;
        tiff.SetXY(x, y, 1);
        Bytes row(48, 200);
        EXPECT_EQ(tiff.PutRow(row.data(), y, 1), 1);
        EXPECT_EQ(tiff.GetRow(row.data(), y, 1), 1);
        EXPECT_EQ(row, Bytes(48, 200));
        EXPECT_EQ(Image(tiff), Bytes(48, 0)) << x << ", " << y;
    };
    tiff.rowBytes = -12;  // the product of three sizes, when it wraps
    for (const int y : {1, 2, 3}) expectNothing(0, y);
    EXPECT_EQ(tiff.GetXY(0, 0), tiff.GetImageBuf());
    tiff.rowBytes = 12;
    tiff.width = 0;
    for (const int y : {0, 1, 2, 3}) expectNothing(1, y);
    tiff.width = 4;
    tiff.height = 0;
    for (const int y : {0, 1, 2, 3}) expectNothing(0, y);
}

TEST(ShortImageTest, CheckedFormsStayInside) {
    // The file says 4 x 4 x 3, its image has 20 bytes: row 1 ends within pixel 2.
    TiffBuilder file;
    file.Shape(4, 4, 3, 8).Long(278, 4).StripOffsets().StripByteCounts().Strip(CountingBytes(20));
    const TempDir dir;
    WriteFile(dir.File("a.tif"), file.Build());
    CTiff tiff;
    tiff.ReadFile(dir.File("a.tif").c_str());
    ASSERT_EQ(tiff.ImageBytes(), 20U);
    EXPECT_EQ(tiff.GetXY(2, 1), tiff.GetImageBuf() + 18);
    EXPECT_EQ(tiff.GetXY(3, 1), nullptr);
    EXPECT_EQ(tiff.GetXY(0, 2), nullptr);
    EXPECT_EQ(tiff.GetXY_M(0, 0), nullptr);
    EXPECT_EQ(tiff.GetXY_M(0, 3), tiff.GetImageBuf());
    tiff.SetXY(3, 3, 99);
    tiff.SetXY_M(0, 0, 99);
    EXPECT_EQ(Image(tiff), CountingBytes(20));
    Bytes buf(12, 200);
    EXPECT_EQ(tiff.GetRow(buf.data(), 1, 0), 0);
    EXPECT_EQ(buf, Joined({CountingBytes(8, 13), Bytes(4, 200)})) << "what lies inside";
    EXPECT_EQ(tiff.GetRow(buf.data(), 3, 2), 2);
    EXPECT_EQ(buf, Joined({CountingBytes(8, 13), Bytes(4, 200)}));
    EXPECT_EQ(tiff.PutRow(Bytes(12, 77).data(), 1, 0), 0);
    EXPECT_EQ(Image(tiff), Joined({CountingBytes(12), Bytes(8, 77)}));
    EXPECT_EQ(tiff.PutRow(Bytes(12, 66).data(), 2, 0), 0);
    EXPECT_EQ(Image(tiff), Joined({CountingBytes(12), Bytes(8, 77)}));
}

}  // namespace
}  // namespace hueweave::test
