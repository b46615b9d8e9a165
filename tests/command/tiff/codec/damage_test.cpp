// SPDX-License-Identifier: MIT
// Damaged image data are refused as far as the damage can be detected; unusual but complete data are not.
#include <algorithm>

#include "command/support/FileTest.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

class DamageTest : public FileTest {
protected:
    Outcome ConvertLow() const { return Convert({"--max-memory", "32M", "--force"}); }
    void ExpectDamage(const std::string& bytes, const std::string& what) const {
        SCOPED_TRACE(what);
        WriteBytes(in_, bytes);
        EXPECT_THAT(ConvertLow(), AllOf(Refuses(4, "in.tif: contains damaged image data ("),
                                        Says(4, "); get a complete copy of the file")));
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    /// Damages a strip or tile of Deflate data in many ways.
    void ExpectEveryDamageIsRefused(const std::string& whole, const tool::Extent& place) {
        const auto spoil = [&](std::size_t at, int mask, const std::string& what) {
            std::string bytes = whole;
            bytes[place.offset + at] = static_cast<char>(bytes[place.offset + at] ^ mask);
            ExpectDamage(bytes, what + " at " + std::to_string(at));
        };
        // The last four bytes are the checksum; the bits before them may be unused.
        for (std::size_t i = 0; i < 8; ++i) spoil(i * (place.size - 6) / 8, 1 << i, "a bit");
        spoil(place.size - 1, 1, "the checksum");
        spoil(place.size - 4, 128, "the checksum");
        for (const std::size_t percent : {25U, 50U, 75U, 99U}) {
            std::string bytes = whole;
            const std::size_t from = place.size * percent / 100;
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(place.offset + from), place.size - from, '\0');
            ExpectDamage(bytes, "zeros from " + std::to_string(percent) + " %");
        }
    }
};

/// A file of Deflate data, and which of its strips or tiles are damaged.
struct DeflateFile {
    const char* name;
    std::string recipe;  ///< a shell line from $in to $out
    std::size_t count;   ///< of its strips or tiles
    std::vector<std::size_t> damaged;
    const char* photo = "photo-16.tif";
};
void PrintTo(const DeflateFile& row, std::ostream* out) { *out << row.name; }

class DeflateTest : public DamageTest, public testing::WithParamInterface<DeflateFile> {};

TEST_P(DeflateTest, EveryDamageIsRefused) {
    Make(GetParam().recipe, Input(GetParam().photo));
    ASSERT_THAT(ConvertLow(), Succeeds());
    ExpectSrgb(out_, in_);
    Shell("rm " + Quoted(out_));
    const std::string whole = FileBytes(in_);
    const std::vector<tool::Extent> places = ReadPages(OpenedTiff(in_).structure)[0].segments;
    ASSERT_EQ(places.size(), GetParam().count);
    for (const std::size_t which : GetParam().damaged) ExpectEveryDamageIsRefused(whole, places[which]);
}

const std::string kCopied = "-compress none $out.tif; tiffcp -s ", kRemoved = " $out.tif $out; rm $out.tif";
// More than 4 MB of pixels in a strip, which is more than is held at once with the least memory allowed.
const std::string kLarge = "convert-im6 $in -scale 1000x750! " + kCopied;
// The last of four planes is an alpha, the photograph in grey, which no conversion changes.
const std::string kAlpha = "convert-im6 $in \\( $in -colorspace Gray \\) -alpha off -compose CopyOpacity -composite ";
const std::string kPlanes = kCopied + "-p separate -c zip -r ";
const DeflateFile kDeflateFiles[] = {
    {"Strips", "tiffcp -s -c zip -r 16 $in $out", 15, {0, 7, 14}},
    {"StripsWithPredictor", "tiffcp -s -c zip:2 -r 16 $in $out", 15, {0, 7, 14}},
    {"OneStrip", "tiffcp -s -c zip:2 -r 238 $in $out", 1, {0}},
    {"Tiles", "tiffcp -t -w 64 -l 48 -c zip $in $out", 20, {0, 10, 19}},
    {"Planes", "convert-im6 $in -interlace plane -define tiff:rows-per-strip=100 -compress zip $out", 9, {0, 4, 8}},
    {"TurnedBits", "tiffcp -f lsb2msb -s -c zip -r 16 $in $out", 15, {0, 7, 14}},
    {"BigEndianBigTiff", "tiffcp -8 -B -s -c zip:2 -r 16 $in $out", 15, {0, 7, 14}},
    {"StripThatIsReadByRows", kLarge + "-c zip:2 -r 750" + kRemoved, 1, {0}},
    {"TurnedStripThatIsReadByRows", kLarge + "-f lsb2msb -c zip -r 740" + kRemoved, 2, {0}},
    {"PlaneThatIsCopied", kAlpha + kPlanes + "100" + kRemoved, 12, {11}, "photo-8.tif"},
    {"PlaneThatIsCopiedByRows", kAlpha + "-scale 1200x900! " + kPlanes + "900" + kRemoved, 4, {3}, "photo-8.tif"},
};
INSTANTIATE_TEST_SUITE_P(Every, DeflateTest, testing::ValuesIn(kDeflateFiles), NameOfRow);

TEST_F(DamageTest, AFullLastStripIsNotDamage) {
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
