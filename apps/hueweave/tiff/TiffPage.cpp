// SPDX-License-Identifier: MIT
#include "tiff/TiffPage.h"

#include <tiffio.h>

#include <algorithm>

#include "system/Refusal.h"
#include "system/Signals.h"
#include "tiff/OtherPages.h"
#include "tiff/TagRules.h"

namespace hueweave::tool {
namespace {

/// A kind of extra sample that some programs write and readers accept.
constexpr std::uint64_t kOtherExtra = 999;
constexpr std::uint64_t kTileStep = 16;  ///< pixels

constexpr std::string_view kBilevel = "bilevel";
constexpr const char* kWholeNumbers =
    "write it with whole numbers of 16 bits, for example with convert in.tif -depth 16 out.tif";
constexpr const char* kDepth = "write it with 16 bits, for example with convert in.tif -depth 16 out.tif";

/// The colours of pixels that are not RGB but can be converted.
std::optional<colour::ColourModel> ModelOf(unsigned photometric) {
    switch (photometric) {
        case PHOTOMETRIC_PALETTE:
        case PHOTOMETRIC_YCBCR:
            return colour::ColourModel::Rgb;
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            return colour::ColourModel::Grey;
        case PHOTOMETRIC_SEPARATED:
            return colour::ColourModel::Cmyk;
        case PHOTOMETRIC_CIELAB:
            return colour::ColourModel::CieLab;
        case PHOTOMETRIC_ICCLAB:
            return colour::ColourModel::IccLab;
        default:
            return std::nullopt;
    }
}

/// Reads one directory, or refuses it.
class PageReader {
public:
    PageReader(const TiffStructure& structure, std::size_t directory, std::string label)
        : structure_(structure), directory_(structure.directories()[directory]) {
        page_.directory = directory;
        page_.label = std::move(label);
    }

    TiffPage Read() {
        ThrowIfInterrupted();
        const std::string fault = FaultOfTags(structure_, directory_);
        if (!fault.empty()) RefuseDamaged(fault);
        page_.photometric = Small(tag::Photometric, 0xffff);
        page_.compression = Small(tag::Compression, 1);
        if (page_.photometric == PHOTOMETRIC_MASK || (Small(tag::SubfileType, 0) & FILETYPE_MASK) != 0) {
            CheckMask();
            return Other(std::string(TiffPage::kMask));
        }
        if (!IsRgb()) return ReadOther(KindOfColours());
        ReadPixels();
        return std::move(page_);
    }

private:
    [[noreturn]] void Refuse(const std::string& reason, const std::string& remedy) const {
        const std::string where = page_.label.empty() ? "" : page_.label + " ";
        throw Refusal(Exit::Input, structure_.file().name(), where + reason, remedy);
    }
    [[noreturn]] void RefuseDamaged(const std::string& reason) const {
        Refuse(reason, "get a complete copy of the file");
    }
    std::uint64_t Number(std::uint16_t wanted, std::uint64_t fallback) const {
        return structure_.Number(directory_, wanted, fallback);
    }
    unsigned Small(std::uint16_t wanted, unsigned fallback) const {
        return static_cast<unsigned>(std::min<std::uint64_t>(Number(wanted, fallback), 0x7fffffff));
    }

    /// A mask is not decoded. Readers refuse the whole file if it has a mask without pixels.
    void CheckMask() {
        for (const auto which : {tag::Width, tag::Height}) {
            if (Number(which, 0) == 0) RefuseDamaged("is a mask without pixels");
        }
        for (const auto which : {tag::SamplesPerPixel, tag::BitsPerSample}) {
            if (Number(which, 1) == 0) RefuseDamaged("is a mask without pixels");
        }
    }

    bool IsRgb() const {
        const bool jpegColours = page_.photometric == PHOTOMETRIC_YCBCR && page_.compression == COMPRESSION_JPEG;
        return page_.photometric == PHOTOMETRIC_RGB || jpegColours;
    }

    std::string KindOfColours() const {
        if (directory_.Find(tag::Photometric) == nullptr) return std::string(TiffPage::kUnstated);
        const bool grey = page_.photometric == PHOTOMETRIC_MINISWHITE || page_.photometric == PHOTOMETRIC_MINISBLACK;
        return grey && Number(tag::BitsPerSample, 1) == 1 ? std::string(kBilevel) : PhotometricName(page_.photometric);
    }

    TiffPage Other(std::string kind) {
        page_.other = std::move(kind);
        page_.stays = true;
        page_.segments.clear();
        for (const auto which : {tag::StripOffsets, tag::TileOffsets}) {
            const TiffEntry* offsets = isCounted_ ? nullptr : directory_.Find(which);
            if (offsets != nullptr) structure_.budget().AddSegments(offsets->count, 0);
        }
        return std::move(page_);
    }

    /// A page that is not RGB need not be converted, so it is not refused here.
    TiffPage ReadOther(std::string kind) {
        const std::optional<colour::ColourModel> model = ModelOf(page_.photometric);
        if (!model || kind == kBilevel) return Other(std::move(kind));
        try {
            page_.model = *model;
            page_.inverted = page_.photometric == PHOTOMETRIC_MINISWHITE;
            if (page_.photometric == PHOTOMETRIC_PALETTE) ReadPalette();
            if (page_.photometric == PHOTOMETRIC_YCBCR) ReadUnits();
            ReadPixels();
        } catch (const ReadFailure&) {
            throw;
        } catch (const Refusal& refusal) {
            page_.whyNot = Refusal(refusal).OfKind({kind, kind + " pixels, not RGB", true});
            return Other(std::move(kind));
        }
        page_.kind = std::move(kind);
        return std::move(page_);
    }

    void ReadPalette() {
        const unsigned bits = Small(tag::BitsPerSample, 1);
        const TiffEntry* map = directory_.Find(tag::ColourMap);
        if (map == nullptr || map->type != type::Short) RefuseDamaged("has palette pixels and no colour map");
        if (bits > 16 || map->count != std::uint64_t{3} << bits) {
            RefuseDamaged("has a colour map of " + std::to_string(map->count) + " values");
        }
        page_.palette = MakePalette(structure_.Numbers(*map));
    }

    /// Chroma that pixels share is not kept in planes: their sizes would differ.
    void ReadUnits() {
        const std::string fault = ReadChroma(structure_, directory_, page_.chroma);
        if (!fault.empty()) RefuseDamaged(fault);
        const bool isPlanar = Small(tag::Planar, PLANARCONFIG_CONTIG) != PLANARCONFIG_CONTIG;
        if (isPlanar && page_.chroma.UnitSamples() != 3) {
            Refuse("has planes of YCbCr of different sizes", "write it as RGB first, for example with convert");
        }
    }

    void ReadPixels() {
        CheckSamples();
        CheckCoding();
        ReadGeometry();
        ReadSegments();
    }

    unsigned BitsOfSamples() const {
        std::vector<std::uint64_t> bits{1};
        if (const TiffEntry* entry = directory_.Find(tag::BitsPerSample)) bits = structure_.Numbers(*entry);
        const bool alike = !bits.empty() && std::all_of(bits.begin(), bits.end(), [&](auto b) { return b == bits[0]; });
        if (!alike) Refuse("has samples of different depths", kDepth);
        return static_cast<unsigned>(std::min<std::uint64_t>(bits[0], 0x7fffffff));
    }

    void CheckFormats() const {
        std::vector<std::uint64_t> formats{SAMPLEFORMAT_UINT};
        if (const TiffEntry* entry = directory_.Find(tag::SampleFormat)) formats = structure_.Numbers(*entry);
        for (const std::uint64_t format : formats) {
            if (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID) continue;
            Refuse(format == SAMPLEFORMAT_IEEEFP ? "contains floating-point samples"
                                                 : "contains samples that are not unsigned integers",
                   kWholeNumbers);
        }
        // An older tag with the same purpose; 0 means undefined and 2 means integers.
        const std::uint64_t kind = Number(tag::DataType, 0);
        if (kind != 0 && kind != 2) Refuse("contains samples that are not unsigned integers", kWholeNumbers);
    }

    bool TakesBits(unsigned bits) const {
        if (bits == 8 || (bits == 16 && !page_.chroma)) return true;
        if (page_.palette.bits != 0) return bits == 1 || bits == 2 || bits == 4;
        return page_.kind.empty() && page_.photometric == PHOTOMETRIC_RGB && (bits == 10 || bits == 12 || bits == 14);
    }

    void CheckSamples() {
        const unsigned colours = page_.chroma ? 3 : page_.ColourSamples();
        page_.samples = Small(tag::SamplesPerPixel, 1);
        if (page_.samples < colours || page_.samples > 64) {
            Refuse("has " + std::to_string(page_.samples) + " samples per pixel", "give an RGB file");
        }
        const bool isPlainModel = page_.model == colour::ColourModel::Rgb || page_.model == colour::ColourModel::Grey;
        const bool takesExtra = isPlainModel && !page_.chroma;
        if (!takesExtra && page_.samples != colours) {
            Refuse("has " + std::to_string(page_.samples) + " samples per pixel, not " + std::to_string(colours),
                   "leave its extra samples out, for example with convert in.tif -alpha off out.tif");
        }
        if (page_.model == colour::ColourModel::Cmyk && Number(tag::InkSet, INKSET_CMYK) != INKSET_CMYK) {
            Refuse("has other inks than CMYK", "rewrite it as RGB");
        }
        if (page_.chroma) page_.samples = page_.chroma.UnitSamples();
        page_.bits = BitsOfSamples();
        CheckFormats();
        if (!TakesBits(page_.bits)) {
            Refuse("has " + std::to_string(page_.bits) + " bits per sample", kDepth);
        }
        const TiffEntry* entry = directory_.Find(tag::ExtraSamples);
        if (entry == nullptr) return;
        const auto extra = structure_.Numbers(*entry);
        for (const std::uint64_t sample : extra) {
            if (sample > EXTRASAMPLE_UNASSALPHA && sample != kOtherExtra) {
                RefuseDamaged("has an extra sample of an unknown kind (" + std::to_string(sample) + ")");
            }
        }
        page_.premultiplied = page_.samples > colours && !extra.empty() && extra[0] == EXTRASAMPLE_ASSOCALPHA;
        if (page_.premultiplied && page_.palette.bits != 0) {
            Refuse("has palette pixels with an associated alpha", "rewrite it as RGB, for example with convert");
        }
    }

    void ReadPredictor() {
        page_.predictor = Small(tag::Predictor, 1);
        const bool takesOne = page_.compression == COMPRESSION_LZW || page_.compression == COMPRESSION_ADOBE_DEFLATE ||
                              page_.compression == COMPRESSION_DEFLATE || page_.compression == COMPRESSION_LZMA ||
                              page_.compression == COMPRESSION_ZSTD;
        if (!takesOne) page_.predictor = PREDICTOR_NONE;  // the tag has no meaning here and does not change
        const bool isWhole = page_.bits == 8 || page_.bits == 16;
        if (page_.chroma && page_.chroma.UnitSamples() != 3 && page_.predictor != PREDICTOR_NONE) {
            Refuse("has a predictor, which data units of YCbCr do not have", "rewrite it without one");
        }
        if (page_.predictor == PREDICTOR_NONE || (page_.predictor == PREDICTOR_HORIZONTAL && isWhole)) return;
        if (page_.predictor == PREDICTOR_HORIZONTAL) {
            RefuseDamaged("has predictor 2, which samples of " + std::to_string(page_.bits) + " bits do not have");
        }
        Refuse("has predictor " + std::to_string(page_.predictor) + ", which whole numbers do not have",
               "rewrite it with LZW or Deflate, for example with tiffcp -c zip");
    }

    std::string RemedyForCoding() const {
        if (page_.compression == COMPRESSION_OJPEG) {
            return "write it as RGB first, for example with tiff2rgba -n in.tif out.tif";
        }
        const bool isKnown = TIFFIsCODECConfigured(static_cast<std::uint16_t>(page_.compression)) != 0;
        return isKnown ? "rewrite it with LZW or Deflate, for example with tiffcp -c zip"
                       : "rewrite it with LZW or Deflate, with the program that made it";
    }

    void CheckCoding() {
        page_.fillOrder = Small(tag::FillOrder, FILLORDER_MSB2LSB);
        if (page_.fillOrder != FILLORDER_MSB2LSB && page_.fillOrder != FILLORDER_LSB2MSB) {
            RefuseDamaged("has an unknown bit order");
        }
        const unsigned planar = Small(tag::Planar, PLANARCONFIG_CONTIG);
        if (planar != PLANARCONFIG_CONTIG && planar != PLANARCONFIG_SEPARATE)
            RefuseDamaged("has an unknown planar configuration");
        page_.planar = planar == PLANARCONFIG_SEPARATE && page_.samples > 1;
        ReadPredictor();
        switch (page_.compression) {
            case COMPRESSION_OJPEG:
                if (page_.chroma && !page_.planar && TIFFIsCODECConfigured(COMPRESSION_OJPEG) != 0) return;
                break;
            case COMPRESSION_NONE:
            case COMPRESSION_LZW:
            case COMPRESSION_PACKBITS:
            case COMPRESSION_ADOBE_DEFLATE:
            case COMPRESSION_DEFLATE:
            case COMPRESSION_LZMA:
            case COMPRESSION_ZSTD:
            case COMPRESSION_JPEG:
            case COMPRESSION_WEBP:
                if (page_.chroma && page_.compression == COMPRESSION_WEBP) break;
                if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(page_.compression)) != 0) return;
                break;
            default:
                break;
        }
        Refuse("is compressed with " + CompressionName(page_.compression) + ", which is not supported",
               RemedyForCoding());
    }

    void ReadGeometry() {
        const std::uint64_t width = Number(tag::Width, 0), height = Number(tag::Height, 0);
        if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff) RefuseDamaged("has no size");
        page_.width = static_cast<std::uint32_t>(width);
        page_.height = static_cast<std::uint32_t>(height);
        page_.tiled = directory_.Find(tag::TileWidth) != nullptr || directory_.Find(tag::TileHeight) != nullptr ||
                      directory_.Find(tag::TileOffsets) != nullptr;
        std::uint64_t across = width, down = std::min(height, Number(tag::RowsPerStrip, height));
        if (page_.tiled) across = Number(tag::TileWidth, 0), down = Number(tag::TileHeight, 0);
        if (across == 0 || down == 0 || across > 0x7fffffff || down > 0x7fffffff) {
            RefuseDamaged("has strips or tiles without a size");
        }
        // The encoders of libtiff support no others.
        if (page_.tiled && !page_.Plain() && (across % kTileStep != 0 || down % kTileStep != 0)) {
            Refuse("has encoded tiles whose sides are not multiples of 16",
                   "rewrite it with others, for example with tiffcp -t -w 512 -l 512");
        }
        if (page_.tiled && page_.compression == COMPRESSION_OJPEG)
            Refuse("has tiles of old-style JPEG", RemedyForCoding());
        page_.segmentWidth = static_cast<std::uint32_t>(across);
        page_.segmentHeight = static_cast<std::uint32_t>(down);
        page_.across = (width + across - 1) / across;
        page_.down = (height + down - 1) / down;
        if (page_.chroma) CountUnits();
        page_.written = FormWritten(page_);
        // A row has less than 2^39 bytes. What is read and what is written both count.
        const std::uint64_t rowBytes = std::max(page_.RowBytes(), page_.written.RowBytes());
        if (rowBytes > limit::kSegmentBytes / down) RefuseDamaged("has strips or tiles of an impossible size");
        structure_.budget().AddSegments(page_.Segments(), rowBytes * down);
        isCounted_ = true;
        if (Number(tag::Depth, 1) != 1 || Number(tag::TileDepth, 1) != 1) {
            Refuse("contains an image with several depth layers", "give a file of flat pictures");
        }
    }

    /// From here on, the page is one of data units. Each strip or tile begins with a new one.
    void CountUnits() {
        Chroma& chroma = page_.chroma;
        chroma.width = page_.width, chroma.height = page_.height;
        chroma.segmentWidth = page_.segmentWidth, chroma.segmentHeight = page_.segmentHeight;
        const auto units = [](std::uint32_t pixels, unsigned factor) { return (pixels + factor - 1) / factor; };
        page_.width = units(page_.width, chroma.across);
        page_.segmentWidth = units(page_.segmentWidth, chroma.across);
        page_.segmentHeight = units(page_.segmentHeight, chroma.down);
        const auto above = static_cast<std::uint32_t>(page_.down - 1);
        page_.height = above * page_.segmentHeight + units(chroma.height - above * chroma.segmentHeight, chroma.down);
    }

    void ReadSegments() {
        if (page_.tiled && directory_.Find(tag::StripOffsets) == nullptr) {
            page_.offsetsTag = tag::TileOffsets;
            page_.sizesTag = tag::TileByteCounts;
        }
        const TiffEntry* offsets = directory_.Find(page_.offsetsTag);
        const TiffEntry* counts = directory_.Find(page_.sizesTag);
        if (offsets == nullptr) RefuseDamaged("has no image data");
        const std::uint64_t count = page_.Segments();
        const std::vector<std::uint64_t> at = structure_.Numbers(*offsets, count);
        std::vector<std::uint64_t> sizes;
        if (counts != nullptr) sizes = structure_.Numbers(*counts, count);
        if (counts == nullptr && page_.Plain()) {
            for (std::uint64_t i = 0; i < count; ++i) sizes.push_back(page_.DecodedBytes(i));
        }
        if (at.size() < count || sizes.size() < count) RefuseDamaged("lacks some of its strips or tiles");
        page_.segments.reserve(static_cast<std::size_t>(count));
        for (std::uint64_t i = 0; i < count; ++i) {
            const Extent segment{at[i], sizes[i]};
            const bool outside =
                segment.offset > structure_.fileSize() || segment.size > structure_.fileSize() - segment.offset;
            if (segment.offset == 0 || segment.size == 0) RefuseDamaged("has an empty strip or tile");
            if (outside || (page_.Plain() && segment.size < page_.DecodedBytes(i))) {
                RefuseDamaged("is truncated: image data lie past the end of the file");
            }
            page_.segments.push_back(segment);
            // For uncompressed data, only the bytes of the pixels are read.
            if (!page_.Plain()) structure_.budget().AddEncoded(segment.size);
        }
    }

    const TiffStructure& structure_;
    const TiffDirectory& directory_;
    TiffPage page_;
    bool isCounted_ = false;  ///< the budget includes the strips or tiles
};

}  // namespace

TiffPage ReadPage(const TiffStructure& structure, std::size_t directory) {
    const bool one = structure.directories().size() == 1;
    return PageReader(structure, directory, one ? "" : "page " + std::to_string(directory + 1)).Read();
}

std::uint64_t TiffPage::LargestSegment() const {
    std::uint64_t largest = 0;
    for (const Extent& segment : segments) largest = std::max(largest, segment.size);
    return largest;
}

std::vector<TiffPage> ReadPages(const TiffStructure& structure) {
    std::vector<TiffPage> pages;
    for (std::size_t i = 0; i < structure.directories().size(); ++i) pages.push_back(ReadPage(structure, i));
    for (TiffPage& page : pages)
        page.slack = limit::kImageMore / std::max<std::uint64_t>(1, structure.budget().segments());
    if (std::none_of(pages.begin(), pages.end(), [](const TiffPage& page) { return page.IsConvertible(); })) {
        RefuseOthers(structure.file().name(), pages);
    }
    return pages;
}

}  // namespace hueweave::tool
