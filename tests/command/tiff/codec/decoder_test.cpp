// SPDX-License-Identifier: MIT
// Decoders read only what decoding needs: other tags cost no memory, and a source that another program changes during
// the run is refused at worst.
#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "command/support/FileTest.h"
#include "command/support/Limits.h"
#include "command/support/OpenedTiff.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "support/Matchers.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/codec/WebpSize.h"

namespace {
std::atomic<int> openedToRead{0};
}  // namespace

/// Replaces libtiff's function and counts the calls.
extern "C" TIFF* TIFFClientOpenExt(const char* name, const char* mode, thandle_t file, TIFFReadWriteProc read,
                                   TIFFReadWriteProc write, TIFFSeekProc seek, TIFFCloseProc close, TIFFSizeProc size,
                                   TIFFMapFileProc map, TIFFUnmapFileProc unmap, TIFFOpenOptions* options) {
    openedToRead += mode[0] == 'r';
    const auto next = reinterpret_cast<decltype(&TIFFClientOpenExt)>(dlsym(RTLD_NEXT, "TIFFClientOpenExt"));
    return next(name, mode, file, read, write, seek, close, size, map, unmap, options);
}

namespace hueweave::test {
namespace {

using tool::PageSource;
using tool::Refusal;
using tool::TiffDecoder;
using tool::TiffPage;

/// The first page of a file, for decoders.
struct OpenedPage : OpenedTiff {
    explicit OpenedPage(const std::string& path) : OpenedTiff(path) {}
    TiffPage page = ReadPages(structure)[0];
    PageSource source{structure, page};
};

constexpr const char* kLzwStrips = "tiffcp -L -s -c lzw -r 16 $in $out";

class DecoderTest : public FileTest {
protected:
    void Make16(const std::string& recipe) const { Make(recipe, Input("photo-16.tif")); }
    /// A grey image of 16 x 16 pixels in one strip with this compression scheme.
    void MakeGrey(const std::string& scheme) const {
        Make(
            "convert-im6 -size 16x16 xc:gray -type TrueColor -depth 8 -compress none $out.tif; tiffcp -L -s -r 16 -c " +
            scheme + " $out.tif $out; rm $out.tif");
    }
    /// Writes a number of `size` bytes into a little-endian file.
    void Patch(std::size_t at, std::uint64_t value, std::size_t size) const {
        WriteBytes(in_, FileBytes(in_).replace(at, size, Little({value}, size)));
    }
    /// The offset of the entry with a tag and a type in a little-endian file.
    std::size_t EntryAt(unsigned tag, unsigned type) const {
        const std::size_t at = FileBytes(in_).find(Little({tag, type}, 2));
        EXPECT_NE(at, std::string::npos);
        return at;
    }
    /// Makes the value of an entry `bytes` zeros, a hole at the end of the file.
    void MoveToAHole(std::size_t entry, std::uint64_t bytes) const {
        const std::uint64_t size = fs::file_size(in_);
        Patch(entry + 4, bytes, 4);
        Patch(entry + 8, size, 4);
        fs::resize_file(in_, size + bytes);
    }
    tool::RowDecoder Rows(const PageSource& source) const { return {source, 0, folder_.path(), "out"}; }
};

TEST_F(DecoderTest, DataUnlikeTheirDirectoryAreRefused) {
    const auto refused = [&](const std::string& reason, const std::function<void()>& spoil) {
        ASSERT_THAT(Convert({"--force"}), Succeeds()) << reason;
        fs::remove(out_);
        spoil();
        ExpectRefusal(reason);
    };
    for (const unsigned width : {8U, 17U, 32U}) {
        MakeGrey("webp");
        refused("its WebP data have a different size", [&] { Patch(EntryAt(256, 3) + 8, width, 2); });
    }
    // A window that no machine can hold is a fault of the file.
    MakeGrey("zstd");
    ASSERT_EQ(FileBytes(in_).substr(8, 5), std::string("\x28\xb5\x2f\xfd\0", 5)) << "a frame with a window";
    refused("contains damaged image data (", [&] { Patch(13, 30 << 3, 1); });  // 2^40 bytes
    Make("tiffcp -L -s -c jpeg:90 -r 16 $in $out && tiffset -s 530 2 2 $out");
    refused("does not state its chroma subsampling", [&] { Patch(EntryAt(530, 3) + 4, 1, 4); });
    Make("tiffcp -L -s -c jpeg:90 -r 16 $in $out");
    refused("has JPEG tables that are too large", [&] { MoveToAHole(EntryAt(347, 7), 65537); });
    Make(
        "convert-im6 $in -interlace plane -compress none $out.tif; "
        "tiffcp -p separate -s -c jpeg:r:90 -r 16 $out.tif $out; rm $out.tif");
    refused("contains planar YCbCr pixels", [&] { Shell("tiffset -s 262 6 " + Quoted(in_)); });
}

TEST_F(DecoderTest, PackBitsRunsAcrossRowsNeedMemoryForTheStrip) {
    // 281,250 runs of 128 bytes; a row of 12,000 bytes ends inside a run.
    std::string runs;
    for (int i = 0; i < 281250; ++i) runs.append("\x81\x00", 2);
    OneStrip(runs, {.width = 4000, .height = 3000, .compression = COMPRESSION_PACKBITS, .rows = 3000}).Save(in_);
    EXPECT_THAT(Convert({"--max-memory", "1G"}), Succeeds());
    fs::remove(out_);
    ExpectRefusal("do not fit in the memory allowed; raise --max-memory", {"--max-memory", "32M"});
}

TEST_F(DecoderTest, CodersOfSeveralPlanesCountAsMemory) {
    // Strips that are decoded by rows, with one coder of some 16 MiB for each plane.
    TiffMaker tiff;
    const std::uint64_t data = tiff.Put("data that nobody decodes");
    const std::vector<std::uint64_t> offsets(4, data), counts(4, 24);
    tiff.Page(
        And(TiffMaker::Rgb({4000, 4000, offsets, counts, COMPRESSION_ZSTD, 4, 2, 4000}), TiffMaker::Short(338, 0)));
    tiff.Save(in_);
    ExpectRefusal("has strips that do not fit in the memory allowed");
}

TEST_F(DecoderTest, LayersOf300MebibytesTakeNoMemory) {
    Make16("tiffcp -L -s -c zip -r 16 $in $out && tiffset -s 315 'twelve bytes' $out");
    // The text becomes the layers. In the output the holes are not copied.
    const std::size_t at = EntryAt(315, 2);
    Patch(at, 37724, 2);
    Patch(at + 2, 7, 2);
    MoveToAHole(at, std::uint64_t{300} << 20);
    for (const char* threads : {"1", "4"}) {
        const Outcome run = Convert({"-j", threads, "--force"});
        ASSERT_THAT(run, Succeeds());
        EXPECT_LT(run.peakKb, MemoryKb(96L * 1024)) << threads << " threads";
        ExpectSrgb(out_, Input("photo-16.tif"));
    }
}

TEST_F(DecoderTest, TheShapeIsKeptEvenIfTheFileChangesLater) {
    for (const char* recipe : {kLzwStrips, "tiffcp -L -t -w 64 -l 48 -c packbits $in $out"}) {
        Make16(recipe);
        const OpenedPage opened(in_);
        const TiffPage& page = opened.page;
        const auto decoded = [&] {
            const PageSource source(opened.structure, page);
            TiffDecoder decoder(source);
            std::vector<tool::Bytes> all(page.segments.size());
            for (std::size_t s = 0; s < all.size(); ++s) decoder.ReadSegment(s, all[s]);
            return all;
        };
        const std::vector<tool::Bytes> before = decoded();
        // The same file with a much greater width, as if another program changed it during the run.
        Patch(EntryAt(256, 3) + 8, 0x7fff, 2);
        const tool::TiffStructure later(opened.file);
        ASSERT_EQ(later.Number(later.directories()[0], tool::tag::Width, 0), 0x7fffU);
        EXPECT_EQ(before, decoded()) << recipe;
        EXPECT_EQ(before[0].size(), page.DecodedBytes(0));
    }
}

TEST_F(DecoderTest, AShapeThatLibtiffCannotHoldOrReadsDifferentlyIsRefused) {
    for (const char* recipe : {"tiffcp -L -t -w 64 -l 48 -c lzw $in $out", kLzwStrips}) {
        Make16(recipe);
        OpenedPage opened(in_);
        TiffPage& page = opened.page;
        EXPECT_NO_THROW(TiffDecoder{PageSource(opened.structure, page)});
        page.photometric = PHOTOMETRIC_YCBCR;  // libtiff takes such pixels for subsampled ones
        EXPECT_THROW(TiffDecoder{PageSource(opened.structure, page)}, Refusal) << recipe;
        if (recipe == kLzwStrips) continue;
        page.photometric = PHOTOMETRIC_RGB;
        page.across = page.down = 1;
        page.segments.resize(1);
        // 6 bytes times 2^31 - 1 columns times 2^31 - 1 rows exceed 64 bits.
        page.segmentWidth = page.segmentHeight = 0x7fffffff;
        EXPECT_THROW(TiffDecoder{PageSource(opened.structure, page)}, Refusal);
    }
}

TEST_F(DecoderTest, AStripOfRowsIsDecodedByOneHandleAPage) {
    Make16(kLzwStrips);
    const Picture wanted = ReadPictures(in_)[0];
    const OpenedPage opened(in_);
    const TiffPage& page = opened.page;
    ASSERT_EQ(page.segments.size(), 15U);  // 238 rows
    const int before = openedToRead;
    tool::RowDecoder decoder = Rows(opened.source);
    std::vector<std::uint16_t> row(std::size_t{page.width} * 3), all;
    for (std::uint32_t y = 0; y < page.height; ++y) {
        decoder.ReadRow(reinterpret_cast<unsigned char*>(row.data()));
        all.insert(all.end(), row.begin(), row.end());
    }
    EXPECT_THAT(all, EqualTo(wanted.values));
    EXPECT_EQ(openedToRead - before, 1);
    EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
}

TEST_F(DecoderTest, ASourceThatIsCutMeanwhileIsRefused) {
    // 6 MB of noise in one strip, which does not compress: too large to be held whole with the least memory, so read by
    // rows.
    const std::string whole = folder_ / "whole.tif";
    Shell("convert-im6 -size 1000x1000 xc:gray -seed 1 +noise Random -type TrueColor -depth 16 -compress none " +
          Quoted(in_) + " && tiffcp -s -c lzw -r 1000 " + Quoted(in_) + " " + Quoted(whole));
    int refused = 0;
    for (int delay = 0; delay < 400 && refused < 12; delay += 4) {
        fs::copy_file(whole, in_, fs::copy_options::overwrite_existing);
        const auto cut = [&](pid_t) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            fs::resize_file(in_, 100000);
        };
        const Outcome run = Convert({"--max-memory", "32M", "-q"}, {.meanwhile = cut});
        EXPECT_EQ(run.signal, 0) << "cut after " << delay << " ms";
        refused += run.status == 4;
        EXPECT_EQ(Exists(out_), run.status == 0) << run.err;
        fs::remove(out_);
        if (run.status == 0) break;  // it finished before the signal
    }
    EXPECT_GT(refused, 2);
}

TEST_F(DecoderTest, DataThatEndUnexpectedlyAreRefusedWithTheReason) {
    const std::string sound = Deflated(std::string(48, '\0')), run = '\x0b' + std::string(12, 'x');
    std::string otherSum = sound;
    otherSum.back() = static_cast<char>(otherSum.back() ^ 1);
    constexpr unsigned kDeflate = COMPRESSION_ADOBE_DEFLATE, kRuns = COMPRESSION_PACKBITS;
    struct Row {
        unsigned compression;
        std::string data;
        int rows;  ///< that are decoded
        testing::Matcher<std::string> whole, byRows;
    };
    const std::string truncated = "contains damaged image data (its Deflate data are truncated)";
    const std::string early = "contains damaged image data (its Deflate data end too early)";
    const std::string sum = "contains damaged image data (incorrect data check)";  // zlib's message
    const auto damaged = testing::StartsWith("contains damaged image data (");
    const auto across =
        testing::StartsWith("has PackBits data that run across rows or are damaged, in strips that do ");
    for (const auto& [compression, data, rows, whole, byRows] :
         {Row{kDeflate, sound, 4, "", ""}, Row{kDeflate, sound.substr(0, sound.size() - 1), 3, truncated, truncated},
          Row{kDeflate, Deflated(std::string(47, '\0')), 3, early, early}, Row{kDeflate, otherSum, 3, sum, sum},
          Row{kRuns, run + run + run + run, 4, "", ""},
          // A run past the end of its row; and one past the end of the strip.
          Row{kRuns, run + run + '\x0f' + std::string(16, 'x') + run, 2, damaged, across},
          Row{kRuns, run + run + run + '\x0c' + std::string(13, 'x'), 3, damaged, across}}) {
        SCOPED_TRACE(testing::PrintToString(data));
        OneStrip(data, {.compression = compression}).Save(in_);
        const OpenedPage opened(in_);
        tool::Bytes pixels;
        EXPECT_THAT(ReasonOf([&] { TiffDecoder(opened.source).ReadSegment(0, pixels); }), whole);
        int read = 0;
        EXPECT_THAT(ReasonOf([&] {
                        tool::RowDecoder decoder = Rows(opened.source);
                        for (unsigned char row[12]; read < 4; ++read) decoder.ReadRow(row);
                    }),
                    byRows);
        EXPECT_EQ(read, rows);
    }
}

TEST(WebpSizeTest, IsReadFromTheHeaderOfEachKind) {
    const auto size = [](const std::string& head) { return tool::WebpSize({head.begin(), head.end()}); };
    const std::string webp("RIFF\0\0\0\0WEBP", 12), extended("VP8X\0\0\0\0\0\0\0\0\x0f\0\0\7\0\0", 18);
    const tool::PixelSize same{16, 8};
    EXPECT_EQ(size(webp + std::string("VP8 \0\0\0\0\0\0\0\x9d\1\x2a\x10\x40\x08\xc0", 18)), same);
    EXPECT_EQ(size(webp + std::string("VP8L\0\0\0\0\x2f\x0f\xc0\1\0\0\0\0\0\0", 18)), same);
    EXPECT_EQ(size(webp + extended), same);
    EXPECT_EQ(size(webp + "VP8Y" + extended.substr(4)), std::nullopt);
    for (std::size_t length = 0; length < 14; ++length) {
        EXPECT_EQ(size(webp + "VP8X" + std::string(length, '\0')), std::nullopt);
    }
    EXPECT_EQ(size("RIFF"), std::nullopt);
    for (const std::string container : {"RIFFxxxxWAVE", "RIFXxxxxWEBP", "RIFXxxxxWAVE"}) {
        EXPECT_EQ(size(container + extended), std::nullopt) << container;
    }
}

}  // namespace
}  // namespace hueweave::test
