// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Addresses where the arithmetic shows: negative columns, rows that the quick forms do not check, products of more than
// 32 bits, and depths that are neither a bit nor whole bytes.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

void Number(CTiff& tiff) {
    for (std::size_t i = 0; i < tiff.ImageBytes(); ++i) tiff.GetImageBuf()[i] = static_cast<unsigned char>(i);
}

/// Where the one byte lies that is 200 now.
std::ptrdiff_t Marked(CTiff& tiff) {
    std::ptrdiff_t place = -1;
    for (std::size_t i = 0; i < tiff.ImageBytes(); ++i) {
        if (tiff.GetImageBuf()[i] != 200) continue;
        EXPECT_EQ(place, -1);
        place = static_cast<std::ptrdiff_t>(i);
    }
    Number(tiff);
    return place;
}

struct LeftRow {
    int bits;
    int x;
    int bytes;  ///< from the row's start
};
class LeftOfTheRow : public testing::TestWithParam<LeftRow> {};

TEST_P(LeftOfTheRow, BitsAreRoundedDown) {
    const auto [bits, x, bytes] = GetParam();
    CTiff tiff;
    tiff.CreateNew(16, 4, 72, 1, bits, 1);
    Number(tiff);
    const unsigned char* image = tiff.GetImageBuf();
    const std::ptrdiff_t expected = 2 * tiff.rowBytes + bytes;
    EXPECT_EQ(tiff.GetXY_Q(x, 2) - image, expected);
    EXPECT_EQ(tiff.GetXY_MQ(x, 1) - image, expected);
    tiff.SetXY_Q(x, 2, 200);
    EXPECT_EQ(Marked(tiff), expected);
    tiff.SetXY_MQ(x, 2, 200);
    EXPECT_EQ(Marked(tiff), expected);
}

INSTANTIATE_TEST_SUITE_P(Some, LeftOfTheRow,
                         testing::Values(LeftRow{1, -1, -1}, LeftRow{1, -7, -1}, LeftRow{1, -8, -1}, LeftRow{1, -9, -2},
                                         LeftRow{4, -1, -1}, LeftRow{4, -2, -1}, LeftRow{4, -3, -2}, LeftRow{8, -1, -1},
                                         LeftRow{16, -1, -2}));

TEST(QuickRows, AreNotChecked) {
    // Five rows of bytes, of which the geometry knows two.
    CTiff tiff;
    tiff.CreateNew(3, 5, 72, 1, 8, 1);
    Number(tiff);
    tiff.height = 2;
    const unsigned char* image = tiff.GetImageBuf();
    EXPECT_EQ(tiff.GetXY_Q(1, 3), image + 10);
    EXPECT_EQ(tiff.GetXY_Q(1, 4), image + 13);
    EXPECT_EQ(tiff.GetXY_MQ(1, -1), image + 7);
    EXPECT_EQ(tiff.GetXY_MQ(1, -3), image + 13);
    tiff.SetXY_Q(1, 4, 200);
    EXPECT_EQ(Marked(tiff), 13);
    tiff.SetXY_MQ(1, 4, 200);
    EXPECT_EQ(Marked(tiff), 13);
    EXPECT_EQ(tiff.GetXY(1, 4), image + 4) << "where the others stop";
    EXPECT_EQ(tiff.GetXY_M(1, -3), image + 1);
}

TEST(ColumnOffsets, AreProductsOfThirtyTwoBits) {
    CTiff tiff;
    tiff.CreateNew(4, 4, 72, 1, 8, 1);
    Number(tiff);
    tiff.width = 0x7fffffff;
    unsigned char* image = tiff.GetImageBuf();
    // 8 x 0x20000001 leaves 8 bits; of three samples 24 x 0x15555556 leaves 16.
    EXPECT_EQ(tiff.GetXY(0x20000001, 1), image + 5);
    EXPECT_EQ(tiff.GetXY_M(0x20000001, 1), image + 9);
    EXPECT_EQ(tiff.GetXY_Q(0x20000001, 1), image + 5);
    EXPECT_EQ(tiff.GetXY_MQ(0x20000001, 1), image + 9);
    tiff.SetXY(0x20000001, 1, 200);
    EXPECT_EQ(Marked(tiff), 5);
    tiff.samples = 3;
    EXPECT_EQ(tiff.GetXY(0x15555556, 0), image + 2);
    // 8 x 0x1fffffff leaves -8 bits.
    tiff.samples = 1;
    EXPECT_EQ(tiff.GetXY(0x1fffffff, 1), image + 3);
    EXPECT_EQ(tiff.GetXY_Q(0x1fffffff, 1), image + 3);
}

TEST(RowStarts, AreTheFieldsTimesTheRow) {
    CTiff tiff;
    tiff.CreateNew(4, 4, 72, 1, 8, 1);
    Number(tiff);
    tiff.rowBytes = 3;
    EXPECT_EQ(tiff.GetXY(1, 2), tiff.GetImageBuf() + 7);
    Bytes row(4, 200);
    EXPECT_EQ(tiff.GetRow(row.data(), 2, 0), 0);
    EXPECT_EQ(row, (Bytes{6, 7, 8, 200})) << "as many bytes as from one row to the next";
}

struct DepthRow {
    int samples;
    int bits;
    int rowBytes;                      ///< of five pixels
    std::vector<int> places;           ///< of their first bytes
    std::vector<std::size_t> lengths;  ///< bytes of 1, 2, ... pixels
};
void PrintTo(const DepthRow& row, std::ostream* out) { *out << row.samples << " samples of " << row.bits; }
class OddDepths : public testing::TestWithParam<DepthRow> {};

TEST_P(OddDepths, HaveAddressesAndRowsAsWell) {
    const DepthRow& depth = GetParam();
    CTiff tiff;
    tiff.CreateNew(5, 3, 72, depth.samples, depth.bits, 1);
    ASSERT_LT(tiff.ImageBytes(), 200U);
    Number(tiff);
    EXPECT_EQ(tiff.rowBytes, depth.rowBytes);
    const unsigned char* start = tiff.GetImageBuf() + depth.rowBytes;
    for (int x = 0; x < 5; ++x) {
        const int place = depth.places[static_cast<std::size_t>(x)];
        EXPECT_EQ(tiff.GetXY(x, 1), start + place) << x;
        EXPECT_EQ(tiff.GetXY_M(x, 1), start + place) << x;
        EXPECT_EQ(tiff.GetXY_Q(x, 1), start + place) << x;
        EXPECT_EQ(tiff.GetXY_MQ(x, 1), start + place) << x;
        tiff.SetXY(x, 1, 200);
        EXPECT_EQ(Marked(tiff), depth.rowBytes + place) << x;
        tiff.SetXY_M(x, 1, 200);
        EXPECT_EQ(Marked(tiff), depth.rowBytes + place) << x;
    }
    for (int count = 1; count <= 5; ++count) {
        const std::size_t length = depth.lengths[static_cast<std::size_t>(count - 1)];
        alignas(2) unsigned char row[128];
        std::fill(std::begin(row), std::end(row), static_cast<unsigned char>(250));
        EXPECT_EQ(tiff.GetRow(row, 1, count), count);
        Bytes expected = CountingBytes(length, static_cast<unsigned>(depth.rowBytes));
        expected.resize(128, 250);
        EXPECT_EQ(Bytes(std::begin(row), std::end(row)), expected) << count;
        std::fill(std::begin(row), std::end(row), static_cast<unsigned char>(200));
        EXPECT_EQ(tiff.PutRow(reinterpret_cast<unsigned short*>(row), 1, count), count);
        EXPECT_EQ(std::count(tiff.GetImageBuf(), tiff.GetImageBuf() + tiff.ImageBytes(), 200),
                  static_cast<std::ptrdiff_t>(length));
        Number(tiff);
    }
}

INSTANTIATE_TEST_SUITE_P(Some, OddDepths,
                         testing::Values(DepthRow{1, 2, 2, {0, 0, 0, 0, 1}, {0, 0, 0, 1, 1}},
                                         DepthRow{3, 2, 4, {0, 0, 1, 2, 3}, {0, 1, 2, 3, 3}},
                                         DepthRow{1, 12, 8, {0, 1, 3, 4, 6}, {1, 3, 4, 6, 7}},
                                         DepthRow{1, 32, 20, {0, 4, 8, 12, 16}, {4, 8, 12, 16, 20}},
                                         DepthRow{2, 24, 30, {0, 6, 12, 18, 24}, {6, 12, 18, 24, 30}}),
                         [](const auto& row) {
                             return std::to_string(row.param.samples) + "SamplesOf" + std::to_string(row.param.bits);
                         });

TEST(BlockDepths, AreLookedAtBeforeTheNumberOfRows) {
    for (const int bits : {1, 4, 12, 32}) {
        CTiff tiff;
        tiff.CreateNew(5, 3, 72, 1, bits, 1);
        unsigned char narrow[64] = {};
        unsigned short wide[64] = {};
        for (const int rows : {0, -1}) {
            EXPECT_EQ(tiff.SetRowColumn(narrow, 0, 0, 2, rows), -1);
            EXPECT_EQ(tiff.SetRowColumn(wide, 0, 0, 2, rows), -1);
            EXPECT_EQ(tiff.GetRowColumn(narrow, 0, 0, 2, rows), -1);
            EXPECT_EQ(tiff.GetRowColumn(wide, 0, 0, 2, rows), -1);
        }
    }
}

}  // namespace
}  // namespace hueweave::test
