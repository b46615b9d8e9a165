// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Decoders see what is needed to decode and nothing else of the source: other tags cost no memory, and a source that
// somebody changes meanwhile is refused at the worst.
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "command/support/Command.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"
#include "system/Refusal.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/codec/WebpSize.h"

namespace {
std::atomic<int> openedToRead{0};
}  // namespace

/// Stands before libtiff's own and counts.
extern "C" TIFF* TIFFClientOpenExt(const char* name, const char* mode, thandle_t file, TIFFReadWriteProc read,
                                   TIFFReadWriteProc write, TIFFSeekProc seek, TIFFCloseProc close, TIFFSizeProc size,
                                   TIFFMapFileProc map, TIFFUnmapFileProc unmap, TIFFOpenOptions* options) {
    openedToRead += mode[0] == 'r';
    const auto next = reinterpret_cast<decltype(&TIFFClientOpenExt)>(dlsym(RTLD_NEXT, "TIFFClientOpenExt"));
    return next(name, mode, file, read, write, seek, close, size, map, unmap, options);
}

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::FileAccess;
using tool::PageSource;
using tool::Refusal;
using tool::TiffPage;

#ifdef __SANITIZE_ADDRESS__
constexpr long kDecoderKb = 1024 * 1024;  // the sanitizer's own memory counts
#else
constexpr long kDecoderKb = 96 * 1024;
#endif

class DecoderTest : public testing::Test {
protected:
    void Make(const std::string& recipe) {
        Shell("photo8=" + Quoted(Input("photo-8.tif")) + "; photo=" + Quoted(Input("photo-16.tif")) +
              "; out=" + Quoted(in_) + "; " + recipe);
    }
    Outcome Convert(std::vector<std::string> more = {}) const {
        std::vector<std::string> words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "-q"};
        words.insert(words.end(), more.begin(), more.end());
        return Hueweave(words);
    }
    void ExpectRefusal(const std::string& reason) {
        const Outcome run = Convert();
        EXPECT_EQ(run.status, 4);
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_THAT(run.err, HasSubstr(reason));
        EXPECT_FALSE(Exists(out_));
    }
    struct Size {
        std::uint32_t width, height;
        unsigned samples;
    };
    /// One strip, or one a plane where there are more than three; each holds `data`.
    void Write(unsigned compression, Size size, std::vector<unsigned char> data) const {
        const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(in_.c_str(), "wl"));
        ASSERT_NE(file, nullptr);
        TIFFSetField(file.get(), TIFFTAG_IMAGEWIDTH, size.width);
        TIFFSetField(file.get(), TIFFTAG_IMAGELENGTH, size.height);
        TIFFSetField(file.get(), TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(file.get(), TIFFTAG_SAMPLESPERPIXEL, size.samples);
        TIFFSetField(file.get(), TIFFTAG_COMPRESSION, compression);
        TIFFSetField(file.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(file.get(), TIFFTAG_ROWSPERSTRIP, size.height);
        const bool planes = size.samples > 3;
        TIFFSetField(file.get(), TIFFTAG_PLANARCONFIG, planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        const std::uint16_t extra[] = {EXTRASAMPLE_UNSPECIFIED};
        if (planes) TIFFSetField(file.get(), TIFFTAG_EXTRASAMPLES, 1, extra);
        for (std::uint32_t strip = 0; strip < (planes ? size.samples : 1); ++strip) {
            ASSERT_GT(TIFFWriteEncodedStrip(file.get(), strip, data.data(), static_cast<tmsize_t>(data.size())), 0);
        }
    }
    /// Puts a number of `size` bytes into a little-endian file.
    void Patch(std::size_t at, std::uint64_t value, std::size_t size) {
        std::string bytes = FileBytes(in_);
        for (std::size_t i = 0; i < size; ++i) bytes.at(at + i) = static_cast<char>(value >> 8 * i);
        WriteBytes(in_, bytes);
    }
    /// Where the entry of a tag and a type stands in a little-endian file.
    std::size_t EntryAt(unsigned tag, unsigned type) const {
        const char wanted[] = {static_cast<char>(tag), static_cast<char>(tag >> 8), static_cast<char>(type), 0};
        const std::size_t at = FileBytes(in_).find(std::string(wanted, 4));
        EXPECT_NE(at, std::string::npos);
        return at;
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(DecoderTest, WebpDataOfAnotherSizeAreRefused) {
    const std::vector<unsigned char> pixels(3 * 16 * 16, 0x55);
    Write(COMPRESSION_WEBP, {16, 16, 3}, pixels);
    ASSERT_EQ(Convert().status, 0);
    std::filesystem::remove(out_);
    const std::size_t width = EntryAt(256, 3) + 8;
    for (const unsigned other : {8U, 17U, 32U}) {
        Patch(width, other, 2);
        ExpectRefusal("its WebP data are of another size");
    }
}

TEST_F(DecoderTest, AWindowOfZstandardThatNobodyCanHoldIsAFaultOfTheFile) {
    Write(COMPRESSION_ZSTD, {16, 16, 3}, std::vector<unsigned char>(3 * 16 * 16, 0x55));
    constexpr std::size_t kFrame = 8, kDescriptor = kFrame + 4, kWindow = kDescriptor + 1;
    ASSERT_EQ(FileBytes(in_).substr(kFrame, 5), std::string("\x28\xb5\x2f\xfd\0", 5)) << "a frame with a window";
    Patch(kWindow, 30 << 3, 1);  // 2^40 bytes
    ExpectRefusal("holds damaged image data (");
}

TEST_F(DecoderTest, PackBitsRunsAcrossRowsWantMemoryForTheStrip) {
    // 281,250 runs of 128 bytes; a row of 12,000 bytes ends within one.
    std::string runs;
    for (int i = 0; i < 281250; ++i) runs.append("\x81\x00", 2);
    TiffMaker file;
    const std::uint64_t at = file.Put(runs);
    TiffMaker::Shape shape{4000, 3000, {at}, {runs.size()}};
    shape.compression = COMPRESSION_PACKBITS;
    shape.rows = 3000;
    file.Page(TiffMaker::Rgb(shape));
    file.Save(in_);
    EXPECT_EQ(Convert({"--max-memory", "1G"}).status, 0);
    std::filesystem::remove(out_);
    const Outcome run = Convert({"--max-memory", "32M"});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.err, HasSubstr("do not fit in the memory allowed; raise --max-memory"));
}

TEST_F(DecoderTest, CodersOfSeveralPlanesCountAsMemory) {
    // Strips that are decoded by rows, with a coder a plane of some 16 MiB each.
    Write(COMPRESSION_ZSTD, {4000, 4000, 4}, std::vector<unsigned char>(std::size_t{4000} * 4000));
    ExpectRefusal("has strips that do not fit in the memory allowed");
}

TEST_F(DecoderTest, LayersOf300MebibytesTakeNoMemory) {
    Make("tiffcp -L -s -c zip -r 16 $photo $out && tiffset -s 315 'twelve bytes' $out");
    // The text becomes the layers, which are a hole at the end of the file. The output copies no holes.
    const std::size_t at = EntryAt(315, 2);
    const std::uint64_t size = std::filesystem::file_size(in_), layers = std::uint64_t{300} << 20;
    Patch(at, 37724, 2);
    Patch(at + 2, 7, 2);
    Patch(at + 4, layers, 4);
    Patch(at + 8, size, 4);
    std::filesystem::resize_file(in_, size + layers);
    for (const char* threads : {"1", "4"}) {
        const Outcome run = Convert({"-j", threads, "--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_LT(run.peakKb, kDecoderKb) << threads << " threads";
        EXPECT_EQ(ReadPictures(out_)[0].values,
                  ByEngine(ReadPictures(Input("photo-16.tif"))[0], Input("scanner.icc"), 0, 9).values);
    }
}

TEST_F(DecoderTest, TheShapeIsThatOfOurReadingWhateverTheFileSaysLater) {
    for (const char* recipe :
         {"tiffcp -L -s -c lzw -r 16 $photo $out", "tiffcp -L -t -w 64 -l 48 -c packbits $photo $out"}) {
        Make(recipe);
        const FileAccess file = FileAccess::OpenInput(in_);
        const tool::TiffStructure structure(file);
        const TiffPage page = tool::ReadPages(structure)[0];
        std::vector<tool::Bytes> before, after;
        const auto decode = [&](std::vector<tool::Bytes>& all) {
            const PageSource source(structure, page);
            tool::TiffDecoder decoder(source);
            for (std::size_t s = 0; s < page.segments.size(); ++s) decoder.ReadSegment(s, all.emplace_back());
        };
        decode(before);
        // The same file with a far larger width, as another program may write it meanwhile.
        const std::string bytes = FileBytes(in_);
        const std::size_t width = bytes.find(std::string("\0\1\3\0", 4));
        ASSERT_NE(width, std::string::npos);
        const int writer = ::open(in_.c_str(), O_WRONLY);
        ASSERT_EQ(pwrite(writer, "\xff\x7f", 2, static_cast<off_t>(width + 8)), 2);
        close(writer);
        const tool::TiffStructure later(file);
        ASSERT_EQ(later.Number(later.directories()[0], tool::tag::Width, 0), 0x7fffU);
        decode(after);
        EXPECT_EQ(before, after) << recipe;
        EXPECT_EQ(before[0].size(), page.DecodedBytes(0));
    }
}

TEST_F(DecoderTest, AShapeThatLibtiffCannotHoldIsRefused) {
    Make("tiffcp -L -t -w 64 -l 48 -c lzw $photo $out");
    const FileAccess file = FileAccess::OpenInput(in_);
    const tool::TiffStructure structure(file);
    TiffPage page = tool::ReadPages(structure)[0];
    page.across = page.down = 1;
    page.segments.resize(1);
    // 6 bytes times 2^31 - 1 columns times 2^31 - 1 rows are more than 64 bits hold.
    page.segmentWidth = page.segmentHeight = 0x7fffffff;
    const PageSource source(structure, page);
    EXPECT_THROW(tool::TiffDecoder{source}, Refusal);
}

TEST_F(DecoderTest, AShapeThatLibtiffSeesInAnotherWayIsRefused) {
    // Of 12 bits a sample, libtiff packs two into three bytes.
    for (const char* recipe :
         {"tiffcp -L -t -w 64 -l 48 -c lzw $photo $out", "tiffcp -L -s -c lzw -r 16 $photo $out"}) {
        Make(recipe);
        const FileAccess file = FileAccess::OpenInput(in_);
        const tool::TiffStructure structure(file);
        TiffPage page = tool::ReadPages(structure)[0];
        EXPECT_NO_THROW(tool::TiffDecoder{PageSource(structure, page)});
        page.bits = 12;
        EXPECT_THROW(tool::TiffDecoder{PageSource(structure, page)}, Refusal) << recipe;
    }
}

TEST_F(DecoderTest, YCbCrPixelsTellHowTheyAreSubsampled) {
    Make("tiffcp -L -s -c jpeg:90 -r 16 $photo8 $out && tiffset -s 530 2 2 $out");
    ASSERT_EQ(Convert().status, 0);
    std::filesystem::remove(out_);
    Patch(EntryAt(530, 3) + 4, 1, 4);
    ExpectRefusal("does not tell how its colours are subsampled");
}

TEST_F(DecoderTest, ARunOfPackBitsPastTheEndOfItsRowIsRefusedByRowsToo) {
    const std::string row = '\x0b' + std::string(12, 'x'), longer = '\x0f' + std::string(16, 'x');
    for (const bool beyond : {false, true}) {
        TiffMaker tiff;
        TiffMaker::Shape shape;
        const std::string packed = row + row + (beyond ? longer : row) + row;
        shape.compression = COMPRESSION_PACKBITS;
        shape.offsets = {tiff.Put(packed)};
        shape.counts = {packed.size()};
        tiff.Page(TiffMaker::Rgb(shape));
        tiff.Save(in_);
        const FileAccess file = FileAccess::OpenInput(in_);
        const tool::TiffStructure structure(file);
        const TiffPage page = tool::ReadPages(structure)[0];
        const PageSource source(structure, page);
        tool::RowDecoder decoder(source, 0, folder_.path(), "out");
        int read = 0;
        try {
            for (unsigned char pixels[12]; read < 4; ++read) decoder.ReadRow(pixels);
        } catch (const Refusal&) {
            EXPECT_TRUE(beyond);
        }
        EXPECT_EQ(read, beyond ? 2 : 4);
    }
}

TEST(WebpSizeTest, StandsInTheHeadOfEachKind) {
    const auto size = [](const std::string& chunk) {
        const std::string head = std::string("RIFF\0\0\0\0WEBP", 12) + chunk;
        return tool::WebpSize(tool::Bytes(head.begin(), head.end()));
    };
    const auto same = tool::PixelSize{16, 8};
    EXPECT_EQ(size(std::string("VP8 \0\0\0\0\0\0\0\x9d\1\x2a\x10\x40\x08\xc0", 18)), same);
    EXPECT_EQ(size(std::string("VP8L\0\0\0\0\x2f\x0f\xc0\1\0\0\0\0\0\0", 18)), same);
    EXPECT_EQ(size(std::string("VP8X\0\0\0\0\0\0\0\0\x0f\0\0\7\0\0", 18)), same);
    EXPECT_EQ(size(std::string("VP8Y\0\0\0\0\0\0\0\0\x0f\0\0\7\0\0", 18)), std::nullopt);
    for (std::size_t length = 0; length < 14; ++length)
        EXPECT_EQ(size("VP8X" + std::string(length, '\0')), std::nullopt);
    EXPECT_EQ(tool::WebpSize({'R', 'I', 'F', 'F'}), std::nullopt);
}

TEST(WebpSizeTest, OtherContainersHaveNone) {
    for (const std::string container : {"RIFFxxxxWAVE", "RIFXxxxxWEBP", "RIFXxxxxWAVE"}) {
        const std::string head = container + std::string("VP8X\0\0\0\0\0\0\0\0\x0f\0\0\7\0\0", 18);
        EXPECT_EQ(tool::WebpSize(tool::Bytes(head.begin(), head.end())), std::nullopt) << container;
    }
}

TEST_F(DecoderTest, AStripOfRowsIsDecodedByOneHandleAPage) {
    Make("tiffcp -L -s -c lzw -r 16 $photo $out");
    const Picture wanted = ReadPictures(in_)[0];
    const FileAccess file = FileAccess::OpenInput(in_);
    const tool::TiffStructure structure(file);
    const TiffPage page = tool::ReadPages(structure)[0];
    ASSERT_EQ(page.segments.size(), 15U);  // 238 rows
    const PageSource source(structure, page);
    const int before = openedToRead;
    tool::RowDecoder decoder(source, 0, folder_.path(), "out");
    std::vector<std::uint16_t> row(std::size_t{page.width} * 3), all;
    for (std::uint32_t y = 0; y < page.height; ++y) {
        decoder.ReadRow(reinterpret_cast<unsigned char*>(row.data()));
        all.insert(all.end(), row.begin(), row.end());
    }
    EXPECT_EQ(all, wanted.values);
    EXPECT_EQ(openedToRead - before, 1);
    EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif"}));
}

TEST_F(DecoderTest, ASourceThatIsCutMeanwhileIsRefused) {
    // 6 MB of noise in one strip: too large to be held whole with the least memory, read by rows. It does not shrink.
    const std::string whole = folder_ / "whole.tif";
    Shell("convert-im6 -size 1000x1000 xc:gray -seed 1 +noise Random -type TrueColor -depth 16 -compress none " +
          Quoted(in_) + " && tiffcp -s -c lzw -r 1000 " + Quoted(in_) + " " + Quoted(whole));
    int refused = 0;
    for (int delay = 0; delay < 400 && refused < 12; delay += 4) {
        std::filesystem::copy_file(whole, in_, std::filesystem::copy_options::overwrite_existing);
        const auto cut = [&](pid_t) {
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            std::filesystem::resize_file(in_, 100000);
        };
        const Outcome run = RunProgram({{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), "--max-memory",
                                         "32M", in_, "-o", out_, "-q"},
                                        "",
                                        {},
                                        {},
                                        cut});
        EXPECT_EQ(run.signal, 0) << "cut after " << delay << " ms";
        refused += run.status == 4;
        EXPECT_EQ(Exists(out_), run.status == 0) << run.err;
        std::filesystem::remove(out_);
        if (run.status == 0) break;  // it was done before
    }
    EXPECT_GT(refused, 2);
}

TEST_F(DecoderTest, YCbCrPixelsInPlanesAreRefused) {
    Make(
        "convert-im6 $photo8 -interlace plane -compress none $out.raw.tif && "
        "tiffcp -p separate -s -c jpeg:r:90 -r 16 $out.raw.tif $out && rm $out.raw.tif");
    ASSERT_EQ(Convert().status, 0);
    std::filesystem::remove(out_);
    Shell("tiffset -s 262 6 " + Quoted(in_));
    ExpectRefusal("holds YCbCr pixels in planes of their own");
}

TEST_F(DecoderTest, JpegTablesBeyondAnyUseAreRefused) {
    Make("tiffcp -L -s -c jpeg:90 -r 16 $photo8 $out");
    const std::size_t at = EntryAt(347, 7);
    const std::uint64_t size = std::filesystem::file_size(in_);
    std::filesystem::resize_file(in_, size + 65537);
    Patch(at + 4, 65537, 4);
    Patch(at + 8, size, 4);
    ExpectRefusal("has JPEG tables that are too large");
}

TEST_F(DecoderTest, DeflateDataThatEndOtherwiseAreRefusedWithTheReason) {
    const std::string sound = DeflatedZeros(48);
    std::string otherSum = sound;
    otherSum.back() = static_cast<char>(otherSum.back() ^ 1);
    const std::pair<std::string, std::string> kinds[] = {
        {sound, ""},
        {sound.substr(0, sound.size() - 1), "its Deflate data break off"},
        {DeflatedZeros(47), "its Deflate data end too early"},
        {otherSum, "incorrect data check"}};  // zlib's words
    for (const auto& [packed, reason] : kinds) {
        TiffMaker tiff;
        TiffMaker::Shape shape;
        shape.compression = COMPRESSION_ADOBE_DEFLATE;
        shape.offsets = {tiff.Put(packed)};
        shape.counts = {packed.size()};
        tiff.Page(TiffMaker::Rgb(shape));
        tiff.Save(in_);
        const FileAccess file = FileAccess::OpenInput(in_);
        const tool::TiffStructure structure(file);
        const TiffPage page = tool::ReadPages(structure)[0];
        const PageSource source(structure, page);
        const auto reasonOf = [](const std::function<void()>& read) -> std::string {
            try {
                read();
            } catch (const Refusal& refusal) {
                return refusal.reason();
            }
            return "";
        };
        const std::string wanted = reason.empty() ? "" : "holds damaged image data (" + reason + ")";
        EXPECT_EQ(reasonOf([&] {
                      tool::Bytes pixels;
                      tool::TiffDecoder(source).ReadSegment(0, pixels);
                  }),
                  wanted);
        EXPECT_EQ(reasonOf([&] {
                      tool::RowDecoder decoder(source, 0, folder_.path(), "out");
                      for (unsigned char pixels[12], row = 0; row < 4; ++row) decoder.ReadRow(pixels);
                  }),
                  wanted);
    }
}

TEST_F(DecoderTest, DeflateDataMayGoBeyondThePictureByItsOwnSizeAndAMebibyte) {
    // A row is 24,000 bytes. Of a picture of one row there may be 24,000 + 1,048,576 more: 44 rows and a bit.
    for (const auto& [rows, status] : {std::pair{45, 0}, std::pair{46, 4}, std::pair{3000, 4}}) {
        Make("convert-im6 -size 4000x" + std::to_string(rows) +
             " xc:red -type TrueColor -depth 16 -compress none tiff:$out.raw && tiffcp -s -c zip -r 3000 $out.raw $out "
             "&& "
             "tiffset -s 257 1 $out && tiffset -s 278 1 $out");
        if (status == 0) {
            EXPECT_EQ(Convert().status, 0) << rows;
            std::filesystem::remove(out_);
        } else {
            ExpectRefusal("its Deflate data go on far beyond the picture");
        }
    }
}

}  // namespace
}  // namespace hueweave::test
