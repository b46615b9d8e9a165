// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

struct Geometry {
    int width;
    int height;
    int samples;
    int bits;
    int rowBytes;
    int resolution;
    bool operator==(const Geometry&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Geometry& g) {
    return out << g.width << " x " << g.height << " x " << g.samples << " x " << g.bits << ", row " << g.rowBytes
               << ", resolution " << g.resolution;
}
Geometry GeometryOf(const CTiff& tiff) {
    return {tiff.width, tiff.height, tiff.samples, tiff.bits, tiff.rowBytes, tiff.resolution};
}

class CTiffReadTest : public testing::Test {
protected:
    /// Reads and returns what is printed; the result must be 0.
    std::string Read(CTiff& tiff, const Bytes& file) {
        WriteFile(path_, file);
        return Printed([&] { EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0); });
    }
    TempDir dir_;
    std::string path_ = dir_.File("in.tif");
};

TEST_F(CTiffReadTest, StartsWithNothing) {
    const CTiff tiff;
    EXPECT_EQ(GeometryOf(tiff), Geometry{});
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.writeIfdOffset, 8);
}

TEST_F(CTiffReadTest, TakesGeometryAndImage) {
    CTiff tiff;
    EXPECT_EQ(Read(tiff, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Build()), "");
    EXPECT_EQ(GeometryOf(tiff), (Geometry{5, 3, 3, 8, 15, 300}));
    EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
    EXPECT_EQ(tiff.ImageBytes(), 45U);
}

TEST_F(CTiffReadTest, AbsentTagsCountAsZero) {
    CTiff tiff;
    EXPECT_EQ(Read(tiff, TiffBuilder().Long(256, 9).Build()), "");
    EXPECT_EQ(GeometryOf(tiff), (Geometry{9, 0, 0, 0, 0, 0}));
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), 0U);
}

TEST_F(CTiffReadTest, ConstructorReads) {
    WriteFile(path_, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Build());
    const CTiff tiff(path_.c_str());
    EXPECT_EQ(GeometryOf(tiff), (Geometry{5, 3, 3, 8, 15, 300}));
    EXPECT_EQ(tiff.writeIfdOffset, 8);
}

struct RowBytesRow {
    unsigned width;
    unsigned samples;
    unsigned bits;
    int rowBytes;
};
class RowBytesTest : public testing::TestWithParam<RowBytesRow> {};

TEST_P(RowBytesTest, RoundsTheWholeRowUpOnce) {
    const auto [width, samples, bits, rowBytes] = GetParam();
    const TempDir dir;
    WriteFile(dir.File("a.tif"), ChunkyTiff(width, 1, samples, bits, Bytes(64, 1)).Build());
    CTiff tiff;
    tiff.ReadFile(dir.File("a.tif").c_str());
    EXPECT_EQ(tiff.rowBytes, rowBytes);
}

INSTANTIATE_TEST_SUITE_P(Some, RowBytesTest,
                         testing::Values(RowBytesRow{0, 3, 8, 0}, RowBytesRow{8, 1, 1, 1}, RowBytesRow{9, 1, 1, 2},
                                         RowBytesRow{9, 3, 1, 4}, RowBytesRow{1, 1, 1, 1}, RowBytesRow{3, 1, 4, 2},
                                         RowBytesRow{7, 3, 8, 21}, RowBytesRow{7, 3, 16, 42}, RowBytesRow{7, 4, 8, 28},
                                         // Two depths in the entry answer 0.
                                         RowBytesRow{7, 2, 8, 0}));

TEST_F(CTiffReadTest, MissingFileIsOneLine) {
    CTiff tiff;
    const std::string missing = dir_.File("no such.tif");
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(missing.c_str()), 0); }), "*** " + missing + " Open Error. ***\n");
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(Printed([&] { const CTiff made(missing.c_str()); }), "*** " + missing + " Open Error. ***\n");
}

TEST_F(CTiffReadTest, EmptyNameIsAMissingFile) {
    CTiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(""), 0); }), "***  Open Error. ***\n");
}

TEST_F(CTiffReadTest, NullNameIsOneLine) {
    CTiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(nullptr), 0); }),
              "***  *** Tiff::ReadFile() --> FileName is NULL. ***  Open Error. ***\n");
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
}

TEST_F(CTiffReadTest, MissingFileKeepsTheGeometryButNoImage) {
    CTiff tiff;
    Read(tiff, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Build());
    Printed([&] { tiff.ReadFile(dir_.File("none").c_str()); });
    EXPECT_EQ(GeometryOf(tiff), (Geometry{5, 3, 3, 8, 15, 300}));
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
}

TEST_F(CTiffReadTest, RefusedHeaderPrintsNothingAndClearsAll) {
    TiffBuilder sound = ChunkyTiff(5, 3, 3, 8, CountingBytes(45));
    TiffBuilder refused = sound;
    TiffBuilder large;
    for (unsigned i = 0; i < 30; ++i) large.Long(1000 + i, i);
    for (const Bytes& file : {refused.Head({0x4d, 0x4d, 0x00, 0x2a}).Build(), large.Build(), Bytes()}) {
        CTiff tiff;
        Read(tiff, sound.Build());
        EXPECT_EQ(Read(tiff, file), "");
        EXPECT_EQ(GeometryOf(tiff), Geometry{});
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    }
}

TEST_F(CTiffReadTest, ClosesTheFileEveryTime) {
    const auto open = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = open();
    CTiff tiff;
    Read(tiff, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Build());
    Read(tiff, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).Head({1, 2, 3, 4}).Build());
    Read(tiff, TiffBuilder().EntryCount(99).Build());
    EXPECT_EQ(open(), before);
}

/// A reader on which an error comes out of the tags.
template <typename Error>
class Failing : public CTiff {
public:
    explicit Failing(Error error) : error_(error) {}
    std::unique_ptr<TiffTag> CreateTag(unsigned, unsigned, unsigned, std::FILE*) override { throw error_; }

private:
    Error error_;
};

TEST_F(CTiffReadTest, AnyThrownStringIsTheLine) {
    Failing<const char*> tiff("words of its own");
    EXPECT_EQ(Read(tiff, TiffBuilder().Long(256, 9).Build()), "*** words of its own Open Error. ***\n");
}

TEST_F(CTiffReadTest, AnyOtherExceptionIsUnknown) {
    Failing<std::runtime_error> error(std::runtime_error("hidden"));
    EXPECT_EQ(Read(error, TiffBuilder().Long(256, 9).Build()), "*** CTiff::ReadFile() --> unknown Error. ***\n");
    Failing<int> number(7);
    EXPECT_EQ(Read(number, TiffBuilder().Long(256, 9).Build()), "*** CTiff::ReadFile() --> unknown Error. ***\n");
}

TEST_F(CTiffReadTest, NullStringFailsTheStandardOutput) {
    Failing<const char*> tiff(nullptr);
    WriteFile(path_, TiffBuilder().Long(256, 9).Build());
    bool failed = false;
    EXPECT_EQ(Printed([&] {
                  EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0);
                  failed = !std::cout;
                  std::cout.clear();
              }),
              "*** ");
    EXPECT_TRUE(failed);
}

TEST_F(CTiffReadTest, ResolutionIsTheQuotient) {
    for (const auto& [numerator, denominator, expected] :
         {std::tuple{7200U, 100U, 72}, {301U, 2U, 150}, {5U, 0U, 0}, {0xffffffffU, 1U, -1}}) {
        CTiff tiff;
        Read(tiff, TiffBuilder().Rational(282, numerator, denominator).Build());
        EXPECT_EQ(tiff.resolution, expected);
    }
    CTiff inEntry;
    Read(inEntry, TiffBuilder().Short(282, 72).Build());
    EXPECT_EQ(inEntry.resolution, 0);
}

TEST_F(CTiffReadTest, PackedPlanesAreTheImage) {
    CTiff tiff;
    Read(tiff, PlanarTiff(2, 1, 3, 8, 1, {{1, 2}, {3, 4}, {5, 6}}).Build());
    ASSERT_EQ(tiff.ImageBytes(), 6U);
    EXPECT_EQ(Bytes(tiff.imageBuf, tiff.imageBuf + 6), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST_F(CTiffReadTest, EveryCutOfASoundFileIsRead) {
    TiffBuilder tiff = ChunkyTiff(3, 2, 3, 8, CountingBytes(18));
    const Bytes whole = tiff.Undefined(34675, CountingBytes(33)).Exif(CountingBytes(50)).Build();
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        CTiff read;
        ASSERT_EQ(Read(read, Part(whole, 0, size)), "") << size;
        for (int y = -1; y <= 2; ++y) {
            for (int x = -1; x <= 3; ++x) {
                if (const unsigned char* at = read.GetXY(x, y)) {
                    ASSERT_GE(at, read.imageBuf);
                    ASSERT_LT(at, read.imageBuf + read.ImageBytes());
                }
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test
