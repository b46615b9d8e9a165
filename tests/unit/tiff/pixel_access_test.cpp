// SPDX-License-Identifier: MIT
// Addresses of pixels, and copies of rows and blocks.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

constexpr int kLeast = -2147483647 - 1;
constexpr int kMost = 2147483647;
constexpr unsigned char kUntouched = 251;
constexpr unsigned char kMark = 252;

/// A new image in which each byte has its index as value.
class NumberedImage : public CTiff {
public:
    NumberedImage(int columns, int rows, int samplesAPixel, int bitsASample) {
        CreateNew(columns, rows, 72, samplesAPixel, bitsASample, 1);
        EXPECT_LT(ImageBytes(), 251U);
        Number();
    }
    void Number() {
        for (std::size_t i = 0; i < ImageBytes(); ++i) imageBuf[i] = static_cast<unsigned char>(i);
    }
    /// The index of an address in the image.
    std::ptrdiff_t At(const unsigned char* address) const { return address - imageBuf; }
    /// The index of the one byte that a store of `kMark` changed; restores that byte.
    std::ptrdiff_t Marked() {
        EXPECT_EQ(std::count(imageBuf, imageBuf + ImageBytes(), kMark), 1) << "one byte only";
        const std::ptrdiff_t place = std::find(imageBuf, imageBuf + ImageBytes(), kMark) - imageBuf;
        Number();
        return place;
    }
    std::ptrdiff_t Set(void (CTiff::*store)(int, int, unsigned char), int x, int y) {
        (this->*store)(x, y, kMark);
        return Marked();
    }
};

/// A buffer for pixels, aligned for 16-bit items.
class Buffer {
public:
    explicit Buffer(const Bytes& bytes = {}) {
        std::fill(std::begin(bytes_), std::end(bytes_), kUntouched);
        std::copy(bytes.begin(), bytes.end(), bytes_);
    }
    unsigned char* Narrow() { return bytes_; }
    unsigned short* Wide() { return reinterpret_cast<unsigned short*>(bytes_); }
    /// The first `n` bytes; all others must be untouched.
    Bytes Front(std::size_t n) const {
        EXPECT_TRUE(std::all_of(bytes_ + n, std::end(bytes_), [](unsigned char b) { return b == kUntouched; }))
            << "more than " << n << " bytes are written";
        return Bytes(bytes_, bytes_ + n);
    }

private:
    alignas(8) unsigned char bytes_[512];
};

// Addresses

struct Layout {
    int samples;
    int bits;
};
constexpr Layout kLayouts[] = {{1, 1},  {3, 1}, {4, 1}, {1, 8}, {3, 8},  {4, 8},  {1, 16},
                               {3, 16}, {1, 4}, {1, 2}, {3, 2}, {1, 12}, {1, 32}, {2, 24}};
constexpr int kColumns = 9;
constexpr int kRows = 4;
constexpr int kSomeX[] = {kLeast, -20, -1, 0, 1, 5, 7, 8, 9, 20, kMost};
constexpr int kSomeY[] = {kLeast, -7, -1, 0, 1, 2, 3, 4, 9, kMost};

/// The byte with the first bit of a pixel, in rows of whole bytes.
std::ptrdiff_t PlaceOf(Layout layout, int x, int y) {
    const int pixelBits = layout.samples * layout.bits;
    return y * ((pixelBits * kColumns + 7) / 8) + pixelBits * x / 8;
}

/// Tests the checked forms of both kinds, at every place inside and outside; `rowOf` maps the given row to the row in
/// the image.
void ExpectClamped(unsigned char* (CTiff::*get)(int, int), void (CTiff::*set)(int, int, unsigned char),
                   int (*rowOf)(int)) {
    for (const Layout layout : kLayouts) {
        NumberedImage tiff(kColumns, kRows, layout.samples, layout.bits);
        for (const int y : kSomeY) {
            for (const int x : kSomeX) {
                SCOPED_TRACE(testing::Message() << layout.samples << " x " << layout.bits << ": " << x << ", " << y);
                const auto place = PlaceOf(layout, std::clamp(x, 0, kColumns - 1), rowOf(y));
                ASSERT_EQ(tiff.At((tiff.*get)(x, y)), place);
                ASSERT_EQ(tiff.Set(set, x, y), place);
            }
        }
    }
}

TEST(PixelAccess, ClampsTheCoordinatesOfThePlainForms) {
    ExpectClamped(&CTiff::GetXY, &CTiff::SetXY, [](int y) { return std::clamp(y, 0, kRows - 1); });
}

TEST(PixelAccess, CountsMirroredRowsFromTheBottomButEndsAtTheFarEnd) {
    ExpectClamped(&CTiff::GetXY_M, &CTiff::SetXY_M, [](int y) {
        return y < 0 ? 0 : y > kRows - 1 ? kRows - 1 : kRows - 1 - y;
    });
}

TEST(PixelAccess, DoesNotCheckTheQuickForms) {
    // Still inside the image: columns past a row lie in the next one, those before it in the previous one.
    constexpr int kBeside[] = {0, 1, 7, kColumns - 1, kColumns + 7, -8, -16};
    for (const Layout layout : kLayouts) {
        NumberedImage tiff(kColumns, kRows, layout.samples, layout.bits);
        for (const int y : {0, 1, 2, 3}) {
            for (const int x : kBeside) {
                const std::ptrdiff_t place = PlaceOf(layout, x, y);
                if (place < 0 || place >= static_cast<std::ptrdiff_t>(tiff.ImageBytes())) continue;
                SCOPED_TRACE(testing::Message() << layout.samples << " x " << layout.bits << ": " << x << ", " << y);
                ASSERT_EQ(tiff.At(tiff.GetXY_Q(x, y)), place);
                ASSERT_EQ(tiff.At(tiff.GetXY_MQ(x, kRows - 1 - y)), place);
                ASSERT_EQ(tiff.Set(&CTiff::SetXY_Q, x, y), place);
                ASSERT_EQ(tiff.Set(&CTiff::SetXY_MQ, x, y), place) << "not mirrored";
            }
        }
    }
    // Five rows of bytes, of which the geometry covers two.
    NumberedImage tiff(3, 5, 1, 8);
    tiff.height = 2;
    EXPECT_EQ(tiff.At(tiff.GetXY_Q(1, 4)), 13);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(1, -1)), 7);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(1, -3)), 13);
    EXPECT_EQ(tiff.Set(&CTiff::SetXY_MQ, 1, 4), 13);
}

TEST(PixelAccess, FindsTheCornersThatWereWorkedOutByHand) {
    NumberedImage tiff(10, 6, 3, 8);
    EXPECT_EQ(tiff.At(tiff.GetXY(-5, -5)), 0);
    EXPECT_EQ(tiff.At(tiff.GetXY(19, 15)), 5 * 30 + 27);
    EXPECT_EQ(tiff.At(tiff.GetXY_M(0, 0)), 150);
    EXPECT_EQ(tiff.At(tiff.GetXY_M(0, 5)), 0);
    EXPECT_EQ(tiff.At(tiff.GetXY_M(0, -1)), 0);
    EXPECT_EQ(tiff.At(tiff.GetXY_M(0, 6)), 150);
    EXPECT_EQ(tiff.At(tiff.GetXY_MQ(0, 0)), 150);
    EXPECT_EQ(tiff.Set(&CTiff::SetXY_MQ, 0, 0), 0) << "counts rows from the top";
    NumberedImage bitmap(20, 2, 1, 1);
    for (int x = 8; x < 16; ++x) EXPECT_EQ(bitmap.At(bitmap.GetXY(x, 1)), 3 + 1) << "eight pixels share a byte";
    NumberedImage words(4, 1, 3, 16);
    EXPECT_EQ(words.At(words.GetXY(2, 0)), 12) << "the low byte of the first sample";
}

TEST(PixelAccess, RoundsBitsBeforeARowDown) {
    struct Row {
        int bits;
        int x;
        int place;  ///< relative to the start of the row
    };
    for (const auto& [bits, x, place] : {Row{1, -1, -1}, Row{1, -7, -1}, Row{1, -8, -1}, Row{1, -9, -2}, Row{4, -1, -1},
                                         Row{4, -2, -1}, Row{4, -3, -2}, Row{8, -1, -1}, Row{16, -1, -2}}) {
        SCOPED_TRACE(testing::Message() << bits << " bits, column " << x);
        NumberedImage tiff(16, 4, 1, bits);
        const std::ptrdiff_t expected = 2 * tiff.rowBytes + place;
        EXPECT_EQ(tiff.At(tiff.GetXY_Q(x, 2)), expected);
        EXPECT_EQ(tiff.At(tiff.GetXY_MQ(x, 1)), expected);
        EXPECT_EQ(tiff.Set(&CTiff::SetXY_Q, x, 2), expected);
        EXPECT_EQ(tiff.Set(&CTiff::SetXY_MQ, x, 2), expected);
    }
}

TEST(PixelAccess, MultipliesColumnsInThirtyTwoBitsAndRowsByTheField) {
    NumberedImage tiff(4, 4, 1, 8);
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
    Buffer row;
    EXPECT_EQ(tiff.GetRow(row.Narrow(), 2, 0), 0);
    EXPECT_EQ(row.Front(3), CountingBytes(3, 6)) << "as many bytes as from one row to the next";
}

// Rows and blocks

TEST(PixelAccess, CopiesRowsFromTheirStartOn) {
    struct Row {
        int samples;
        int bits;
        int row;
        int count;
        std::size_t from;    ///< index in the image
        std::size_t length;  ///< bytes
    };
    for (const Row& c : {Row{3, 8, 0, 0, 0, 18},       // a whole row
                         Row{3, 8, 2, 4, 36, 12},      // four pixels
                         Row{3, 8, -1, 1, 0, 3},       // clamped to the first row
                         Row{3, 8, 104, 0, 54, 18},    // and to the last
                         Row{3, 8, 1, 10, 18, 30},     // on into the next row
                         Row{3, 8, 0, 1000, 0, 72},    // all bytes
                         Row{3, 8, 1, -1, 18, 0},      // none below zero
                         Row{3, 8, 1, kLeast, 18, 0},  //
                         Row{3, 16, 1, 2, 36, 12},     // six bytes a pixel
                         Row{4, 8, 2, 1, 48, 4},       //
                         Row{1, 1, 1, 7, 1, 0},        // seven bits are no byte
                         Row{1, 1, 1, 17, 1, 2},       // seventeen are two
                         Row{1, 12, 1, 3, 9, 4},       // 36 bits are four
                         Row{3, 2, 1, 4, 5, 3},        // 24 bits
                         Row{2, 24, 1, 5, 36, 30},     //
                         Row{3, 1, 1, 6, 3, 2}}) {     // a row has 18 bits in 3 bytes
        SCOPED_TRACE(testing::Message() << c.count << " of row " << c.row << ", " << c.samples << " x " << c.bits);
        NumberedImage tiff(6, 4, c.samples, c.bits);
        const Bytes row = CountingBytes(c.length, static_cast<unsigned>(c.from));
        Buffer narrow, wide;
        EXPECT_EQ(tiff.GetRow(narrow.Narrow(), c.row, c.count), c.count);
        EXPECT_EQ(narrow.Front(c.length), row);
        EXPECT_EQ(tiff.GetRow(wide.Wide(), c.row, c.count), c.count);
        EXPECT_EQ(wide.Front(c.length), row);
        Bytes expected = Image(tiff);
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(c.from), c.length, kMark);
        Buffer source(Bytes(512, kMark));
        EXPECT_EQ(tiff.PutRow(source.Narrow(), c.row, c.count), c.count);
        EXPECT_EQ(Image(tiff), expected);
        tiff.Number();
        EXPECT_EQ(tiff.PutRow(source.Wide(), c.row, c.count), c.count);
        EXPECT_EQ(Image(tiff), expected);
    }
}

TEST(PixelAccess, CopiesBlocksPieceByPiece) {
    struct Row {
        int samples;
        int bits;
        int x, y, w, h;
        std::vector<std::size_t> from;  ///< start of each copied piece in the image
        std::size_t length;             ///< bytes a piece
    };
    for (const Row& c : {Row{3, 8, 0, 0, 6, 4, {0, 18, 36, 54}, 18},  // the whole image
                         Row{3, 8, 2, 1, 3, 2, {24, 42}, 9},          //
                         Row{3, 8, 5, 0, 1, 4, {15, 33, 51, 69}, 3},  // last column
                         Row{3, 8, 2, -2, 1, 3, {6, 6, 6}, 3},        // rows above repeat the first
                         Row{3, 8, 2, 3, 1, 3, {60, 60, 60}, 3},      // rows below repeat the last
                         Row{3, 8, 2, kMost - 1, 1, 4, {60, 60, 60, 60}, 3}, Row{3, 8, 1, 1, 2, 0, {}, 6},  // no rows
                         Row{3, 8, 1, 1, 2, -3, {}, 6},                                                     //
                         Row{3, 8, 1, 1, 0, 2, {18, 36}, 0},    // no columns
                         Row{3, 8, 1, 1, -1, 2, {}, 0},         //
                         Row{3, 8, 1, 1, kLeast, 2, {}, 0},     //
                         Row{4, 8, 1, 2, 2, 2, {52, 76}, 8},    //
                         Row{3, 16, 2, 1, 3, 2, {48, 84}, 18},  //
                         Row{4, 16, 5, 3, 1, 2, {184, 184}, 8}}) {
        SCOPED_TRACE(testing::Message() << c.w << " x " << c.h << " at " << c.x << ", " << c.y << " of " << c.samples
                                        << " x " << c.bits);
        NumberedImage tiff(6, 4, c.samples, c.bits);
        Buffer block;
        EXPECT_EQ(c.bits == 8 ? tiff.GetRowColumn(block.Narrow(), c.x, c.y, c.w, c.h)
                              : tiff.GetRowColumn(block.Wide(), c.x, c.y, c.w, c.h),
                  0);
        ByteWriter pieces;
        for (const std::size_t from : c.from) pieces.Append(CountingBytes(c.length, static_cast<unsigned>(from)));
        EXPECT_EQ(block.Front(pieces.Size()), pieces.Done());
        Bytes expected = Image(tiff);
        unsigned char value = 100;  // continues the values of the source
        for (const std::size_t from : c.from) {
            for (std::size_t i = 0; i < c.length; ++i) expected.at(from + i) = value++;
        }
        Buffer source(CountingBytes(256, 100));
        EXPECT_EQ(tiff.SetRowColumn(source.Narrow(), c.x, c.y, c.w, c.h), 0);
        EXPECT_EQ(Image(tiff), expected);
        tiff.Number();
        EXPECT_EQ(tiff.SetRowColumn(source.Wide(), c.x, c.y, c.w, c.h), 0);
        EXPECT_EQ(Image(tiff), expected) << "through the other signature";
    }
}

TEST(PixelAccess, CopiesBlocksOfEightAndSixteenBitsOnly) {
    for (const int bits : {1, 2, 4, 7, 9, 12, 32}) {
        NumberedImage tiff(6, 4, 1, bits);
        const Bytes before = Image(tiff);
        Buffer buf;
        for (const int rows : {2, 0, -1}) {  // whatever the number of rows
            EXPECT_EQ(tiff.GetRowColumn(buf.Narrow(), 0, 0, 2, rows), -1) << bits;
            EXPECT_EQ(tiff.GetRowColumn(buf.Wide(), 0, 0, 2, rows), -1);
            EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 0, 0, 2, rows), -1);
            EXPECT_EQ(tiff.SetRowColumn(buf.Wide(), 0, 0, 2, rows), -1);
        }
        buf.Front(0);
        EXPECT_EQ(Image(tiff), before);
    }
}

TEST(PixelAccess, ClampsTheColumnsOfABlockThatIsWritten) {
    NumberedImage tiff(6, 4, 3, 8);
    Bytes expected = Image(tiff);
    Buffer buf(CountingBytes(16, 100));
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 9, 1, 1, 1), 0);
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), -4, 2, 1, 1), 0);
    for (std::size_t i = 0; i < 6; ++i) expected[33 + i] = static_cast<unsigned char>(100 + i % 3);
    EXPECT_EQ(Image(tiff), expected);
    NumberedImage grey(6, 4, 1, 8);
    EXPECT_EQ(grey.SetRowColumn(buf.Narrow(), 4, 0, 4, 1), 0);
    EXPECT_EQ(Part(Image(grey), 3, 6), (Bytes{3, 100, 101, 102, 103, 8})) << "on into the next row";
    EXPECT_EQ(grey.SetRowColumn(buf.Narrow(), 4, 3, 4, 1), 0);
    EXPECT_EQ(Part(Image(grey), 21, 3), (Bytes{21, 100, 101})) << "the rest has no place";
}

TEST(PixelAccess, ReadsOfABlockWhatItsRowsHave) {
    for (const int x : {kLeast, -3, -1, 4, 5, 6, 50, kMost}) {
        NumberedImage tiff(6, 4, 3, 8);
        Buffer buf;
        EXPECT_EQ(tiff.GetRowColumn(buf.Narrow(), x, 2, 4, 1), 0);
        const std::size_t held = x == 4 ? 6 : x == 5 ? 3 : 0;  // two pixels, or one
        EXPECT_EQ(buf.Front(held), CountingBytes(held, 36 + 3 * static_cast<unsigned>(x))) << x;
    }
}

TEST(PixelAccess, CountsTheColumnsOfABlockInItemsOfTheBuffer) {
    // The start is x times samples in items of the buffer's type; the length is in bytes of the image's depth.
    NumberedImage wide(6, 2, 1, 16);
    Buffer buf;
    EXPECT_EQ(wide.GetRowColumn(buf.Narrow(), 2, 1, 1, 1), 0);
    EXPECT_EQ(buf.Front(2), CountingBytes(2, 12 + 2));
    NumberedImage narrow(6, 2, 1, 8);
    Buffer other;
    EXPECT_EQ(narrow.GetRowColumn(other.Wide(), 2, 1, 2, 1), 0);
    EXPECT_EQ(other.Front(2), CountingBytes(2, 6 + 4));
}

// Images that are shorter than their geometry

TEST(PixelAccess, PointsNowhereWithoutAnImage) {
    for (const auto& [width, height, samples, allocate] :
         {std::tuple{-1, 0, 0, 0}, {4, 4, 3, 0}, {0, 4, 3, 1}, {4, 0, 3, 1}, {4, 4, 0, 1}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << " x " << samples);
        CTiff tiff;
        if (width >= 0) tiff.CreateNew(width, height, 72, samples, 8, allocate);
        for (const int y : kSomeY) {
            for (const int x : kSomeX) {
                ASSERT_EQ(tiff.GetXY(x, y), nullptr);
                ASSERT_EQ(tiff.GetXY_M(x, y), nullptr);
                tiff.SetXY(x, y, 1);
                tiff.SetXY_M(x, y, 1);
            }
        }
        Buffer buf;
        EXPECT_EQ(tiff.GetRow(buf.Narrow(), 0, 0), 0);
        EXPECT_EQ(tiff.GetRow(buf.Narrow(), 1, 2), 2);
        EXPECT_EQ(tiff.PutRow(buf.Narrow(), 1, 2), 2);
        const int expected = width < 0 ? -1 : 0;  // no depth, or a depth of eight
        EXPECT_EQ(tiff.GetRowColumn(buf.Narrow(), 0, 0, 2, 2), expected);
        EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 0, 0, 2, 2), expected);
        buf.Front(0);
        if (tiff.GetImageBuf() != nullptr) continue;
        EXPECT_EQ(tiff.GetXY_Q(1, 1), nullptr);
        EXPECT_EQ(tiff.GetXY_MQ(1, 1), nullptr);
        tiff.SetXY_Q(1, 1, 1);
        tiff.SetXY_MQ(1, 1, 1);
    }
}

TEST(PixelAccess, PointsNowhereInAGeometryThatCannotBe) {
    NumberedImage tiff(4, 4, 3, 8);
    const Bytes before = Image(tiff);
    struct Row {
        int width, height, rowBytes;
        int x, y;
    };
    // A negative number of bytes per row, where the product of three sizes wraps.
    for (const auto& [width, height, rowBytes, x, y] :
         {Row{4, 4, -12, 0, 1}, Row{4, 4, -12, 0, 3}, Row{0, 4, 12, 1, 0}, Row{0, 4, 12, 1, 3}, Row{4, 0, 12, 0, 0},
          Row{4, 0, 12, 0, 3}}) {
        SCOPED_TRACE(testing::Message() << x << ", " << y << " of " << width << " x " << height);
        tiff.width = width;
        tiff.height = height;
        tiff.rowBytes = rowBytes;
        EXPECT_EQ(tiff.GetXY(x, y), nullptr);
        EXPECT_EQ(tiff.GetXY_M(x, 3 - y), nullptr);
        tiff.SetXY(x, y, 1);
        Buffer row;
        EXPECT_EQ(tiff.PutRow(row.Narrow(), y, 1), 1);
        EXPECT_EQ(tiff.GetRow(row.Narrow(), y, 1), 1);
        row.Front(0);
        EXPECT_EQ(Image(tiff), before);
    }
}

TEST(PixelAccess, StaysInsideAShortImage) {
    // 4 x 4 x 3 with 20 bytes: row 1 ends within pixel 2.
    const TempDir dir;
    WriteFile(dir.File("in.tif"), ChunkyTiff(4, 4, 3, 8, CountingBytes(20)).Build());
    CTiff tiff(dir.File("in.tif").c_str());
    ASSERT_EQ(tiff.ImageBytes(), 20U);
    EXPECT_EQ(tiff.GetXY(2, 1), tiff.GetImageBuf() + 18);
    EXPECT_EQ(tiff.GetXY(3, 1), nullptr);
    EXPECT_EQ(tiff.GetXY(0, 2), nullptr);
    EXPECT_EQ(tiff.GetXY_M(0, 0), nullptr);
    EXPECT_EQ(tiff.GetXY_M(0, 3), tiff.GetImageBuf());
    tiff.SetXY(3, 3, 99);
    tiff.SetXY_M(0, 0, 99);
    EXPECT_EQ(Image(tiff), CountingBytes(20));
    Buffer row;
    EXPECT_EQ(tiff.GetRow(row.Narrow(), 1, 0), 0);
    EXPECT_EQ(tiff.GetRow(row.Narrow(), 3, 2), 2);
    EXPECT_EQ(row.Front(8), CountingBytes(8, 13)) << "what lies inside";
    EXPECT_EQ(tiff.PutRow(Bytes(12, 77).data(), 1, 0), 0);
    EXPECT_EQ(tiff.PutRow(Bytes(12, 66).data(), 2, 0), 0);
    EXPECT_EQ(Image(tiff), Joined({CountingBytes(12), Bytes(8, 77)}));
}

}  // namespace
}  // namespace hueweave::test
