// SPDX-License-Identifier: MIT
// Addresses of pixels, and copies of rows and blocks.
#include <cmath>
#include <numeric>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

constexpr int kLeast = -2147483647 - 1;
constexpr int kMost = 2147483647;
constexpr unsigned char kMark = 252;
const Bytes kUntouched(512, 251);  ///< the content of a buffer before it is read into

struct Layout {
    int samples, bits;
};
std::ostream& operator<<(std::ostream& out, Layout layout) { return out << layout.samples << " x " << layout.bits; }
constexpr Layout kLayouts[] = {{1, 1},  {3, 1}, {4, 1}, {1, 8}, {3, 8},  {4, 8},  {1, 16},
                               {3, 16}, {1, 4}, {1, 2}, {3, 2}, {1, 12}, {1, 32}, {2, 24}};

/// A new image in which each byte has its index as value; `half` leaves it but half of its bytes.
class NumberedImage : public CTiff {
public:
    NumberedImage(int columns, int rows, Layout layout, bool half = false) {
        CreateNew(columns, rows, 72, layout.samples, layout.bits, 1);
        EXPECT_LT(ImageBytes(), 251U);
        if (half) imageBuf = GetTag(Sig(273))->Allocate(ImageBytes() / 2 + 1);
        Number();
    }
    void Number() { std::iota(imageBuf, imageBuf + End(), static_cast<unsigned char>(0)); }
    std::ptrdiff_t End() const { return static_cast<std::ptrdiff_t>(ImageBytes()); }
    std::ptrdiff_t RowAt(std::int64_t y) const { return std::clamp<std::ptrdiff_t>(y, 0, height - 1) * rowBytes; }
    /// The index of an address in the image, -1 for none.
    std::ptrdiff_t At(const unsigned char* address) const { return address == nullptr ? -1 : address - imageBuf; }
    /// The index of the one byte that a store changes, -1 for none; restores that byte.
    std::ptrdiff_t Set(void (CTiff::*store)(int, int, unsigned char), int x, int y) {
        (this->*store)(x, y, kMark);
        const test::Bytes image = Image(*this);
        EXPECT_LE(std::count(image.begin(), image.end(), kMark), 1) << "one byte only";
        const auto place = std::find(image.begin(), image.end(), kMark);
        Number();
        return place == image.end() ? -1 : place - image.begin();
    }
};

constexpr int kColumns = 9;
constexpr int kRows = 4;
constexpr int kSomeX[] = {kLeast, -20, -1, 0, 1, 5, 7, 8, 9, 20, kMost};
constexpr int kSomeY[] = {kLeast, -7, -1, 0, 1, 2, 3, 4, 9, kMost};

/// The byte with the first bit of a pixel, in rows of whole bytes.
std::ptrdiff_t PlaceOf(Layout layout, int x, int y) {
    const int pixelBits = layout.samples * layout.bits;
    return y * ((pixelBits * kColumns + 7) / 8) + static_cast<std::ptrdiff_t>(std::floor(pixelBits * x / 8.0));
}

/// Tests the checked forms of both kinds, at every place inside and outside of a whole image and of one that is shorter
/// than its geometry; `rowOf` maps the given row to the row in the image.
void ExpectClamped(unsigned char* (CTiff::*get)(int, int), void (CTiff::*set)(int, int, unsigned char),
                   int (*rowOf)(int)) {
    for (const Layout layout : kLayouts) {
        for (const bool half : {false, true}) {
            NumberedImage tiff(kColumns, kRows, layout, half);
            for (const int y : kSomeY) {
                for (const int x : kSomeX) {
                    SCOPED_TRACE(testing::Message() << layout << ": " << x << ", " << y);
                    const auto place = PlaceOf(layout, std::clamp(x, 0, kColumns - 1), rowOf(y));
                    const std::ptrdiff_t expected = place < tiff.End() ? place : -1;
                    ASSERT_EQ(tiff.At((tiff.*get)(x, y)), expected);
                    ASSERT_EQ(tiff.Set(set, x, y), expected);
                }
            }
        }
    }
}

TEST(CTiffPixelAccess, ClampsTheCoordinatesOfThePlainForms) {
    ExpectClamped(&CTiff::GetXY, &CTiff::SetXY, [](int y) { return std::clamp(y, 0, kRows - 1); });
}

TEST(CTiffPixelAccess, CountsMirroredRowsFromTheBottomAndClampsAtTheOppositeEnd) {
    ExpectClamped(&CTiff::GetXY_M, &CTiff::SetXY_M, [](int y) {
        return y < 0 ? 0 : y > kRows - 1 ? kRows - 1 : kRows - 1 - y;
    });
}

TEST(CTiffPixelAccess, QuickFormsAreUnchecked) {
    // Still inside the image: columns past a row lie in the next one, those before it in the previous one.
    for (const Layout layout : kLayouts) {
        NumberedImage tiff(kColumns, kRows, layout);
        for (const int y : {0, 1, 2, 3}) {
            for (const int x : {0, 1, 7, kColumns - 1, kColumns + 7, -1, -2, -3, -7, -8, -9, -16}) {
                const std::ptrdiff_t place = PlaceOf(layout, x, y);
                if (place < 0 || place >= tiff.End()) continue;
                SCOPED_TRACE(testing::Message() << layout << ": " << x << ", " << y);
                ASSERT_EQ(tiff.At(tiff.GetXY_Q(x, y)), place);
                ASSERT_EQ(tiff.At(tiff.GetXY_MQ(x, kRows - 1 - y)), place);
                ASSERT_EQ(tiff.Set(&CTiff::SetXY_Q, x, y), place);
                ASSERT_EQ(tiff.Set(&CTiff::SetXY_MQ, x, y), place) << "not mirrored";
            }
        }
    }
    // Five rows of bytes, of which the geometry covers two.
    NumberedImage tiff(3, 5, {1, 8});
    tiff.height = 2;
    EXPECT_EQ(tiff.At(tiff.GetXY_Q(1, 4)), 13);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(1, -1)), 7);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(1, -3)), 13);
    EXPECT_EQ(tiff.Set(&CTiff::SetXY_MQ, 1, 4), 13);
}

TEST(CTiffPixelAccess, MultipliesColumnsInThirtyTwoBitsAndRowsByTheField) {
    NumberedImage tiff(4, 4, {1, 8});
    tiff.width = kMost;
    // 8 x 0x20000001 leaves 8 bits, 8 x 0x1fffffff leaves -8; of three samples 24 x 0x15555556 leaves 16.
    EXPECT_EQ(tiff.At(tiff.GetXY(0x20000001, 1)), 5);
    EXPECT_EQ(tiff.At(tiff.GetXY_M(0x20000001, 1)), 9);
    EXPECT_EQ(tiff.At(tiff.GetXY_Q(0x20000001, 1)), 5);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(0x20000001, 1)), 9);
    EXPECT_EQ(tiff.Set(&CTiff::SetXY, 0x20000001, 1), 5);
    EXPECT_EQ(tiff.At(tiff.GetXY(0x1fffffff, 1)), 3);
    EXPECT_EQ(tiff.At(tiff.GetXY_Q(0x1fffffff, 1)), 3);
    tiff.samples = 3;
    EXPECT_EQ(tiff.At(tiff.GetXY(0x15555556, 0)), 2);
    tiff.samples = 1;
    tiff.rowBytes = 3;
    EXPECT_EQ(tiff.At(tiff.GetXY(1, 2)), 7);
    Bytes row(4);
    EXPECT_EQ(tiff.GetRow(row.data(), 2, 0), 0);
    EXPECT_EQ(row, (Bytes{6, 7, 8, 0})) << "as many bytes as from one row to the next";
}

/// Bytes that are copied between an image and a buffer: where they begin in both, and how many.
struct Piece {
    std::ptrdiff_t inImage, inBuffer, bytes;
};
/// The part of a piece that lies before a place of the image.
Piece Before(std::ptrdiff_t end, const Piece& piece) {
    if (piece.inImage >= end || piece.bytes <= 0) return {0, 0, 0};
    return {piece.inImage, piece.inBuffer, std::min(piece.bytes, end - piece.inImage)};
}

/// Checks a read and a write in both forms, for a narrow buffer and for a wide one, from which different pieces may be
/// read.
template <typename Get, typename Put>
void ExpectCopies(NumberedImage& tiff, const std::array<std::vector<Piece>, 2>& read, const std::vector<Piece>& written,
                  int result, Get get, Put put) {
    for (const bool wide : {false, true}) {
        Bytes buffer = kUntouched, source = CountingBytes(512, 100), block = buffer, image = Image(tiff);
        for (const auto& [from, to, bytes] : read[wide]) std::copy_n(image.begin() + from, bytes, block.begin() + to);
        for (const auto& [to, from, bytes] : written) std::copy_n(source.begin() + from, bytes, image.begin() + to);
        const auto words = [](Bytes& bytes) { return reinterpret_cast<unsigned short*>(bytes.data()); };
        ASSERT_EQ(wide ? get(words(buffer)) : get(buffer.data()), result);
        ASSERT_EQ(buffer, block);
        ASSERT_EQ(wide ? put(words(source)) : put(source.data()), result);
        ASSERT_EQ(Image(tiff), image);
        tiff.Number();
    }
}

TEST(CTiffPixelAccess, CopiesRowsFromTheirStartOn) {
    for (const Layout layout : kLayouts) {
        for (const bool half : {false, true}) {
            NumberedImage tiff(6, 4, layout, half);
            for (const int row : {kLeast, -1, 0, 1, 2, 3, 104, kMost}) {
                for (const int count : {0, 1, 2, 3, 4, 5, 6, 7, 10, 17, 1000, -1, kLeast}) {
                    SCOPED_TRACE(testing::Message()
                                 << count << " of row " << row << " of " << tiff.End() << " bytes, " << layout);
                    const std::int64_t bits = std::int64_t{layout.samples} * layout.bits * count;
                    const Piece piece{tiff.RowAt(row), 0, count == 0 ? tiff.rowBytes : bits / 8};
                    const std::vector<Piece> pieces{Before(tiff.End(), piece)};
                    ExpectCopies(
                        tiff, {pieces, pieces}, pieces, count, [&](auto* to) { return tiff.GetRow(to, row, count); },
                        [&](auto* from) { return tiff.PutRow(from, row, count); });
                    if (testing::Test::HasFailure()) return;
                }
            }
        }
    }
}

/// Checks the copies of one block.
void ExpectBlock(NumberedImage& tiff, int x, int y, int w, int h) {
    const std::int64_t pixel = tiff.samples * tiff.bits / 8, length = pixel * w;
    const bool possible = tiff.bits == 8 || tiff.bits == 16;
    // What is read begins as many items of the buffer's type into a row as the columns before have samples, and ends
    // with the row. What is written begins at a column of the image and goes on in the next row.
    std::vector<Piece> bytes, words, written;
    for (int i = 0; i < h && possible; ++i) {
        const std::ptrdiff_t row = tiff.RowAt(std::int64_t{y} + i), end = std::min(row + tiff.rowBytes, tiff.End());
        const std::int64_t start = std::int64_t{x} * tiff.samples;
        if (start >= 0) bytes.push_back(Before(end, {row + start, i * length, length}));
        if (start >= 0) words.push_back(Before(end, {row + 2 * start, i * length, length}));
        written.push_back(Before(tiff.End(), {row + std::clamp(x, 0, 5) * pixel, i * length, length}));
    }
    ExpectCopies(
        tiff, {bytes, words}, written, possible ? 0 : -1, [&](auto* to) { return tiff.GetRowColumn(to, x, y, w, h); },
        [&](auto* from) { return tiff.SetRowColumn(from, x, y, w, h); });
}

TEST(CTiffPixelAccess, CopiesBlocksRowByRowOfEightAndSixteenBitsOnly) {
    constexpr Layout kDepths[] = {{1, 8}, {3, 8}, {4, 8}, {1, 16}, {3, 16}, {4, 16}, {1, 1},
                                  {1, 2}, {1, 4}, {1, 7}, {1, 9},  {1, 12}, {1, 32}};
    constexpr int kSizes[][2] = {{6, 4}, {3, 2},  {1, 1}, {1, 4},  {2, 3},     {4, 1},
                                 {2, 0}, {2, -3}, {0, 2}, {-1, 2}, {kLeast, 2}};
    for (const Layout layout : kDepths) {
        for (const bool half : {false, true}) {
            NumberedImage tiff(6, 4, layout, half);
            for (const int x : {-400, -3, -1, 0, 1, 2, 3, 4, 5, 6, 9, 50}) {
                for (const int y : {-2, 0, 1, 2, 3, kMost - 1}) {
                    for (const auto& [w, h] : kSizes) {
                        SCOPED_TRACE(testing::Message() << w << " x " << h << " at " << x << ", " << y << " of "
                                                        << tiff.End() << " bytes, " << layout);
                        ExpectBlock(tiff, x, y, w, h);
                        if (testing::Test::HasFailure()) return;
                    }
                }
            }
            if (layout.samples != 3) continue;
            for (const int x : {kLeast, kMost}) ExpectBlock(tiff, x, 2, 4, 1);
        }
    }
}

/// Checks that no checked operation finds a pixel there; `block` is the answer for blocks.
void ExpectNowhere(CTiff& tiff, int x, int y, int block) {
    SCOPED_TRACE(testing::Message() << x << ", " << y << " of " << tiff.width << " x " << tiff.height);
    EXPECT_EQ(tiff.GetXY(x, y), nullptr);
    EXPECT_EQ(tiff.GetXY_M(x, y), nullptr);
    tiff.SetXY(x, y, 1);
    tiff.SetXY_M(x, y, 1);
    Bytes buf = kUntouched;
    EXPECT_EQ(tiff.GetRow(buf.data(), y, 0), 0);
    EXPECT_EQ(tiff.GetRow(buf.data(), y, 2), 2);
    EXPECT_EQ(tiff.PutRow(buf.data(), y, 2), 2);
    EXPECT_EQ(tiff.GetRowColumn(buf.data(), x, y, 2, 2), block);
    EXPECT_EQ(tiff.SetRowColumn(buf.data(), x, y, 2, 2), block);
    EXPECT_EQ(buf, kUntouched);
}

TEST(CTiffPixelAccess, ReturnsNullWithoutAnImage) {
    for (const auto& [width, height, samples, allocate] :
         {std::tuple{-1, 0, 0, 0}, {4, 4, 3, 0}, {0, 4, 3, 1}, {4, 0, 3, 1}, {4, 4, 0, 1}}) {
        CTiff tiff;
        if (width >= 0) tiff.CreateNew(width, height, 72, samples, 8, allocate);
        for (const int y : kSomeY) {
            for (const int x : kSomeX) ExpectNowhere(tiff, x, y, width < 0 ? -1 : 0);  // no depth, or a depth of eight
        }
        if (tiff.GetImageBuf() != nullptr) continue;
        EXPECT_EQ(tiff.GetXY_Q(1, 1), nullptr);
        EXPECT_EQ(tiff.GetXY_MQ(1, 1), nullptr);
        tiff.SetXY_Q(1, 1, 1);
        tiff.SetXY_MQ(1, 1, 1);
    }
}

TEST(CTiffPixelAccess, ReturnsNullForAnInvalidGeometry) {
    // A negative number of bytes per row, where the product of three sizes wraps; no columns, and no rows.
    for (const auto& [width, height, rowBytes] : {std::tuple{4, 4, -12}, {0, 4, 12}, {4, 0, 12}}) {
        NumberedImage tiff(4, 4, {3, 8});
        const Bytes before = Image(tiff);
        tiff.width = width;
        tiff.height = height;
        tiff.rowBytes = rowBytes;
        for (const int y : {1, 2}) {
            for (const int x : {0, 1}) ExpectNowhere(tiff, x, y, 0);
        }
        EXPECT_EQ(Image(tiff), before);
    }
}

}  // namespace
}  // namespace hueweave::test
