// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Image data that are not what was written are refused, as far as they tell of it; odd data that are whole are not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <memory>
#include <tuple>

#include "command/support/Command.h"
#include "command/support/Kind.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

struct Place {
    std::size_t offset, size;
};

/// Where the strips or tiles of the first page stand.
std::vector<Place> PlacesIn(const std::string& path) {
    TIFFSetWarningHandler(nullptr);
    const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(path.c_str(), "r"));
    if (file == nullptr) throw std::runtime_error("libtiff cannot open " + path);
    std::vector<Place> places;
    const std::uint32_t count = TIFFIsTiled(file.get()) != 0 ? TIFFNumberOfTiles(file.get())  //
                                                             : TIFFNumberOfStrips(file.get());
    for (std::uint32_t i = 0; i < count; ++i) {
        places.push_back({static_cast<std::size_t>(TIFFGetStrileOffset(file.get(), i)),
                          static_cast<std::size_t>(TIFFGetStrileByteCount(file.get(), i))});
    }
    return places;
}

class DamageTest : public testing::Test {
protected:
    void Make(const std::string& recipe, const std::string& photo = Input("photo-16.tif")) {
        Shell("in=" + Quoted(photo) + "; out=" + Quoted(in_) + "; " + recipe);
    }
    Outcome Convert() const {
        return Hueweave(
            {"convert", "--profile", Input("scanner.icc"), "--max-memory", "32M", in_, "-o", out_, "--force"});
    }
    void ExpectRefusal(const std::string& bytes, const std::string& what) {
        WriteBytes(in_, bytes);
        const Outcome run = Convert();
        EXPECT_EQ(run.status, 4) << what;
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_THAT(run.err, HasSubstr("in.tif: holds damaged image data (")) << what;
        EXPECT_THAT(run.err, HasSubstr("); get a whole copy of the file"));
        EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif"})) << what;
    }
    /// Damages a strip or tile of Deflate data in many ways.
    void ExpectEveryDamageIsRefused(const std::string& whole, const Place& place, std::size_t flips) {
        const auto spoil = [&](std::size_t at, int mask, const std::string& what) {
            std::string bytes = whole;
            bytes[place.offset + at] = static_cast<char>(bytes[place.offset + at] ^ mask);
            ExpectRefusal(bytes, what + " at " + std::to_string(at));
        };
        // The last four bytes are the checksum; the bits before them need not be of use.
        for (std::size_t i = 0; i < flips; ++i) spoil(i * (place.size - 6) / flips, 1 << i % 8, "a bit");
        spoil(place.size - 1, 1, "the checksum");
        spoil(place.size - 4, 128, "the checksum");
        for (const std::size_t percent : {25U, 50U, 75U, 99U}) {
            std::string bytes = whole;
            const std::size_t from = place.size * percent / 100;
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(place.offset + from), place.size - from, '\0');
            ExpectRefusal(bytes, "zeros from " + std::to_string(percent) + " %");
        }
    }
    /// A picture whose alpha is the picture itself in grey.
    std::string WithAlpha(const std::string& scale) const {
        const std::string photo = Quoted(Input("photo-8.tif")) + scale, made = folder_ / "alpha.tif";
        Shell("convert-im6 " + photo + " \\( " + photo + " -colorspace Gray \\) -alpha off -compose CopyOpacity " +
              "-composite -compress none " + Quoted(made));
        return made;
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

class DeflateTest : public DamageTest, public testing::WithParamInterface<Kind> {};

TEST_P(DeflateTest, EveryDamageIsRefused) {
    Make(GetParam().recipe);
    ASSERT_EQ(Convert().status, 0);
    Shell("rm " + Quoted(out_));
    const std::string whole = FileBytes(in_);
    const std::vector<Place> places = PlacesIn(in_);
    for (const std::size_t which : {std::size_t{0}, places.size() / 2, places.size() - 1}) {
        ExpectEveryDamageIsRefused(whole, places[which], 8);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Every, DeflateTest,
    testing::Values(Kind{"Strips", "tiffcp -s -c zip -r 16 $in $out"},
                    Kind{"StripsWithPredictor", "tiffcp -s -c zip:2 -r 16 $in $out"},
                    Kind{"OneStrip", "tiffcp -s -c zip:2 -r 238 $in $out"},
                    Kind{"Tiles", "tiffcp -t -w 64 -l 48 -c zip $in $out"},
                    Kind{"Planes",
                         "convert-im6 $in -interlace plane -define tiff:rows-per-strip=100 -compress zip $out"},
                    Kind{"TurnedBits", "tiffcp -f lsb2msb -s -c zip -r 16 $in $out"},
                    Kind{"BigEndianBigTiff", "tiffcp -8 -B -s -c zip:2 -r 16 $in $out"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DamageTest, AStripThatIsReadByRows) {
    // 4.5 MB of pixels, which are not held at once with the least memory allowed.
    const std::string large = folder_ / "large.tif";
    Shell("convert-im6 " + Quoted(Input("photo-16.tif")) + " -scale 1000x750! -compress none " + Quoted(large));
    for (const char* recipe : {"tiffcp -s -c zip:2 -r 750 $in $out", "tiffcp -f lsb2msb -s -c zip -r 740 $in $out"}) {
        Make(recipe, large);
        Shell("rm " + Quoted(large));
        const std::string whole = FileBytes(in_);
        ExpectEveryDamageIsRefused(whole, PlacesIn(in_)[0], 3);
        WriteBytes(in_, whole);
        Shell("mv " + Quoted(in_) + " " + Quoted(large));
    }
}

TEST_F(DamageTest, APlaneThatIsCopiedAsItIs) {
    // Four planes: three colours and an alpha, which no conversion touches. The second time they are read by rows.
    for (const auto& [scale, rows, strips] : {std::tuple{"", "100", 3U}, std::tuple{" -scale 1200x900!", "900", 1U}}) {
        const std::string alpha = WithAlpha(scale);
        Make("tiffcp -p separate -s -c zip -r " + std::string(rows) + " $in $out", alpha);
        Shell("rm " + Quoted(alpha));
        const Picture before = ReadPictures(in_)[0];
        ASSERT_EQ(Convert().status, 0);
        EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 8).values, ReadPictures(out_)[0].values);
        Shell("rm " + Quoted(out_));
        const std::vector<Place> places = PlacesIn(in_);
        ASSERT_EQ(places.size(), 4 * strips);
        ExpectEveryDamageIsRefused(FileBytes(in_), places.back(), 3);
    }
}

TEST_F(DamageTest, ARunOfPackBitsPastTheEndOfItsStrip) {
    const std::unique_ptr<TIFF, TiffCloser> made(TIFFOpen(in_.c_str(), "w"));
    TIFF* file = made.get();
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, 8);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
    unsigned char run[] = {257 - 25, 77};  // 25 times 77, where 24 samples are wanted
    ASSERT_EQ(TIFFWriteRawStrip(file, 0, run, 2), 2);
    ASSERT_NE(TIFFWriteDirectory(file), 0);
    TIFFFlush(file);
    std::string bytes = FileBytes(in_);
    ExpectRefusal(bytes, "a run too long");
    bytes[PlacesIn(in_)[0].offset]++;  // one sample less
    WriteBytes(in_, bytes);
    EXPECT_EQ(Convert().status, 0);
}

TEST_F(DamageTest, ALastStripAsTallAsTheOthersIsNone) {
    // 12 rows of the last strip are passed over.
    for (const char* scheme : {"none", "lzw", "lzw:2", "zip", "zip:2", "packbits", "jpeg"}) {
        for (const int bits : {8, 16}) {
            if (bits == 16 && std::string(scheme) == "jpeg") continue;  // which there is not
            const std::string photo = Input("photo-" + std::to_string(bits) + ".tif");
            Make("tiffcp -B -s -r 112 -c " + std::string(scheme) + " $in $out; tiffset -s 257 212 $out", photo);
            const Outcome run = Convert();
            ASSERT_EQ(run.status, 0) << scheme << run.err;
            // What libtiff decodes of plain data, since it loses the end of Deflate data.
            Picture source = ReadPictures(std::string(scheme) == "jpeg" ? in_ : photo)[0];
            source.height = 212;
            source.values.resize(std::size_t{source.width} * 212 * 3);
            const Picture wanted = ByEngine(source, Input("scanner.icc"), 0, bits == 8 ? 8 : 9);
            EXPECT_EQ(wanted.values, ReadPictures(out_)[0].values) << scheme << bits;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
