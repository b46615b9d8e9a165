// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Damaged image data are refused as far as the damage can be detected; unusual but complete data are not.
#include <tiffio.h>

#include <algorithm>
#include <memory>
#include <tuple>

#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

struct Place {
    std::size_t offset, size;
};

/// The locations of the strips or tiles of the first page.
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

class DamageTest : public FileTest {
protected:
    Outcome ConvertLow() const { return Convert({"--max-memory", "32M", "--force"}); }
    void ExpectDamage(const std::string& bytes, const std::string& what) const {
        SCOPED_TRACE(what);
        WriteBytes(in_, bytes);
        const Outcome run = ConvertLow();
        EXPECT_THAT(run, Refuses(4, "in.tif: contains damaged image data ("));
        EXPECT_THAT(run.err, testing::HasSubstr("); get a whole copy of the file"));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    /// Damages a strip or tile of Deflate data in many ways.
    void ExpectEveryDamageIsRefused(const std::string& whole, const Place& place, std::size_t flips) {
        const auto spoil = [&](std::size_t at, int mask, const std::string& what) {
            std::string bytes = whole;
            bytes[place.offset + at] = static_cast<char>(bytes[place.offset + at] ^ mask);
            ExpectDamage(bytes, what + " at " + std::to_string(at));
        };
        // The last four bytes are the checksum; the bits before them may be unused.
        for (std::size_t i = 0; i < flips; ++i) spoil(i * (place.size - 6) / flips, 1 << i % 8, "a bit");
        spoil(place.size - 1, 1, "the checksum");
        spoil(place.size - 4, 128, "the checksum");
        for (const std::size_t percent : {25U, 50U, 75U, 99U}) {
            std::string bytes = whole;
            const std::size_t from = place.size * percent / 100;
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(place.offset + from), place.size - from, '\0');
            ExpectDamage(bytes, "zeros from " + std::to_string(percent) + " %");
        }
    }
    /// An image whose alpha is the image itself in grey.
    std::string WithAlpha(const std::string& scale) const {
        const std::string photo = Quoted(Input("photo-8.tif")) + scale, made = folder_ / "alpha.tif";
        Shell("convert-im6 " + photo + " \\( " + photo + " -colorspace Gray \\) -alpha off -compose CopyOpacity " +
              "-composite -compress none " + Quoted(made));
        return made;
    }
};

class DeflateTest : public DamageTest, public testing::WithParamInterface<Kind> {};

TEST_P(DeflateTest, EveryDamageIsRefused) {
    Make(GetParam().recipe, Input("photo-16.tif"));
    ASSERT_EQ(ConvertLow().status, 0);
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
    NameOfRow);

TEST_F(DamageTest, AStripThatIsReadByRows) {
    // 4.5 MB of pixels, more than is held at once with the least memory allowed.
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
    // Four planes: three colours and an alpha, which no conversion changes. The second time they are read by rows.
    for (const auto& [scale, rows, strips] : {std::tuple{"", "100", 3U}, std::tuple{" -scale 1200x900!", "900", 1U}}) {
        const std::string alpha = WithAlpha(scale);
        Make("tiffcp -p separate -s -c zip -r " + std::string(rows) + " $in $out", alpha);
        Shell("rm " + Quoted(alpha));
        const Picture before = ReadPictures(in_)[0];
        ASSERT_EQ(ConvertLow().status, 0);
        EXPECT_THAT(ReadPictures(out_)[0].values, EqualTo(ToSrgb(before).values));
        Shell("rm " + Quoted(out_));
        const std::vector<Place> places = PlacesIn(in_);
        ASSERT_EQ(places.size(), 4 * strips);
        ExpectEveryDamageIsRefused(FileBytes(in_), places.back(), 3);
    }
}

TEST_F(DamageTest, ARunOfPackBitsPastTheEndOfItsStrip) {
    // A run of 25 samples of value 77 in a strip of 24; then a run of 24.
    const auto file = [](int samples) {
        return OneStrip({static_cast<char>(257 - samples), 77},
                        {.width = 8, .height = 1, .compression = COMPRESSION_PACKBITS, .rows = 1});
    };
    ExpectDamage(file(25).bytes(), "a run too long");
    file(24).Save(in_);
    EXPECT_EQ(ConvertLow().status, 0);
}

TEST_F(DamageTest, ALastStripAsTallAsTheOthersIsNone) {
    // 12 rows of the last strip are unused.
    for (const char* scheme : {"none", "lzw", "lzw:2", "zip", "zip:2", "packbits", "jpeg"}) {
        for (const int bits : {8, 16}) {
            if (bits == 16 && std::string(scheme) == "jpeg") continue;  // JPEG is 8-bit only
            const std::string photo = Input("photo-" + std::to_string(bits) + ".tif");
            Make("tiffcp -B -s -r 112 -c " + std::string(scheme) + " $in $out; tiffset -s 257 212 $out", photo);
            ASSERT_THAT(ConvertLow(), Succeeds()) << scheme;
            // As decoded by libtiff from uncompressed data, because libtiff loses the end of Deflate data.
            Picture source = ReadPictures(std::string(scheme) == "jpeg" ? in_ : photo)[0];
            source.height = 212;
            source.values.resize(std::size_t{source.width} * 212 * 3);
            const Picture wanted = ToSrgb(source);
            EXPECT_THAT(ReadPictures(out_)[0].values, EqualTo(wanted.values)) << scheme << bits;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
