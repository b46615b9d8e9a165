// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "TiffPage.h"

#include <tiffio.h>

#include <algorithm>

#include "Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostSegments = std::uint64_t{1} << 23;

/// Reads one directory, or refuses it.
class PageReader {
public:
    PageReader(const TiffStructure& structure, std::size_t directory, std::string label)
        : structure_(structure), directory_(structure.directories()[directory]) {
        page_.directory = directory;
        page_.label = std::move(label);
    }

    TiffPage Read() {
        page_.photometric = Small(tag::Photometric, 0xffff);
        page_.compression = Small(tag::Compression, 1);
        if (page_.photometric == PHOTOMETRIC_MASK || (Small(tag::SubfileType, 0) & FILETYPE_MASK) != 0) {
            page_.mask = true;
            return page_;
        }
        CheckColours();
        CheckSamples();
        CheckCoding();
        ReadGeometry();
        ReadSegments();
        return page_;
    }

private:
    [[noreturn]] void Refuse(const std::string& reason, const std::string& remedy) const {
        const std::string where = page_.label.empty() ? "" : page_.label + " ";
        throw Refusal(Exit::Input, structure_.file().name(), where + reason, remedy);
    }
    [[noreturn]] void RefuseDamaged(const std::string& reason) const { Refuse(reason, "get a whole copy of the file"); }
    std::uint64_t Number(std::uint16_t wanted, std::uint64_t fallback) const {
        return structure_.Number(directory_, wanted, fallback);
    }
    unsigned Small(std::uint16_t wanted, unsigned fallback) const {
        return static_cast<unsigned>(std::min<std::uint64_t>(Number(wanted, fallback), 0x7fffffff));
    }

    void CheckColours() {
        const bool jpegColours = page_.photometric == PHOTOMETRIC_YCBCR && page_.compression == COMPRESSION_JPEG;
        if (page_.photometric == PHOTOMETRIC_RGB || jpegColours) return;
        if (directory_.Find(tag::Photometric) == nullptr) RefuseDamaged("does not say what its colours are");
        Refuse("holds " + PhotometricName(page_.photometric) + " pixels, not RGB",
               page_.photometric == PHOTOMETRIC_PALETTE ? "turn it into RGB first, for example with pal2rgb"
                                                        : "give an RGB file");
    }

    void CheckSamples() {
        page_.samples = Small(tag::SamplesPerPixel, 1);
        if (page_.samples < 3 || page_.samples > 64) {
            Refuse("has " + std::to_string(page_.samples) + " samples a pixel", "give an RGB file");
        }
        std::vector<std::uint64_t> bits{1};
        if (const TiffEntry* entry = directory_.Find(tag::BitsPerSample)) bits = structure_.Numbers(*entry);
        const bool alike = !bits.empty() && std::all_of(bits.begin(), bits.end(), [&](auto b) { return b == bits[0]; });
        if (!alike) Refuse("has samples of several depths", "give a file of 8 or 16 bits a sample");
        std::vector<std::uint64_t> formats{SAMPLEFORMAT_UINT};
        if (const TiffEntry* entry = directory_.Find(tag::SampleFormat)) formats = structure_.Numbers(*entry);
        for (const std::uint64_t format : formats) {
            if (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID) continue;
            Refuse(format == SAMPLEFORMAT_IEEEFP ? "holds floating-point samples" : "holds samples that are not plain",
                   "give a file of whole numbers of 8 or 16 bits");
        }
        if (bits[0] != 8 && bits[0] != 16) {
            Refuse("has " + std::to_string(bits[0]) + " bits a sample", "give a file of 8 or 16 bits a sample");
        }
        page_.bits = static_cast<unsigned>(bits[0]);
        if (const TiffEntry* entry = directory_.Find(tag::ExtraSamples); entry != nullptr && page_.samples > 3) {
            const auto extra = structure_.Numbers(*entry);
            page_.premultiplied = !extra.empty() && extra[0] == EXTRASAMPLE_ASSOCALPHA;
        }
    }

    void CheckPredictor() const {
        const bool takesOne = page_.compression == COMPRESSION_LZW || page_.compression == COMPRESSION_ADOBE_DEFLATE ||
                              page_.compression == COMPRESSION_DEFLATE || page_.compression == COMPRESSION_LZMA ||
                              page_.compression == COMPRESSION_ZSTD;
        if (!takesOne || page_.predictor == PREDICTOR_NONE || page_.predictor == PREDICTOR_HORIZONTAL) return;
        Refuse("has predictor " + std::to_string(page_.predictor) + ", which whole numbers do not have",
               "write it anew with LZW or Deflate, for example with tiffcp -c zip");
    }

    void CheckCoding() {
        page_.fillOrder = Small(tag::FillOrder, 1);
        page_.predictor = Small(tag::Predictor, 1);
        const unsigned planar = Small(tag::Planar, PLANARCONFIG_CONTIG);
        if (planar != PLANARCONFIG_CONTIG && planar != PLANARCONFIG_SEPARATE) RefuseDamaged("has samples in no order");
        page_.planar = planar == PLANARCONFIG_SEPARATE;
        CheckPredictor();
        switch (page_.compression) {
            case COMPRESSION_NONE:
            case COMPRESSION_LZW:
            case COMPRESSION_PACKBITS:
            case COMPRESSION_ADOBE_DEFLATE:
            case COMPRESSION_DEFLATE:
            case COMPRESSION_LZMA:
            case COMPRESSION_ZSTD:
            case COMPRESSION_JPEG:
            case COMPRESSION_WEBP:
                if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(page_.compression)) != 0) return;
                [[fallthrough]];
            default:
                Refuse("is compressed with " + CompressionName(page_.compression) + ", which is not supported",
                       "write it anew with LZW or Deflate, for example with tiffcp -c zip");
        }
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
        page_.segmentWidth = static_cast<std::uint32_t>(across);
        page_.segmentHeight = static_cast<std::uint32_t>(down);
        page_.across = (width + across - 1) / across;
        page_.down = (height + down - 1) / down;
        if (page_.InPlane() > kMostSegments / page_.samples) RefuseDamaged("has too many strips or tiles");
    }

    void ReadSegments() {
        const TiffEntry* offsets = directory_.Find(page_.tiled ? tag::TileOffsets : tag::StripOffsets);
        const TiffEntry* counts = directory_.Find(page_.tiled ? tag::TileByteCounts : tag::StripByteCounts);
        if (offsets == nullptr) RefuseDamaged("has no image data");
        const std::uint64_t count = page_.InPlane() * (page_.planar ? page_.samples : 1);
        const std::vector<std::uint64_t> at = structure_.Numbers(*offsets);
        std::vector<std::uint64_t> sizes;
        if (counts != nullptr) sizes = structure_.Numbers(*counts);
        if (counts == nullptr && page_.Plain()) {
            for (std::uint64_t i = 0; i < count; ++i) sizes.push_back(page_.DecodedBytes(i));
        }
        if (at.size() < count || sizes.size() < count) RefuseDamaged("lacks some of its strips or tiles");
        for (std::uint64_t i = 0; i < count; ++i) {
            const Extent segment{at[i], sizes[i]};
            const bool outside =
                segment.offset > structure_.fileSize() || segment.size > structure_.fileSize() - segment.offset;
            if (segment.offset == 0 || segment.size == 0) RefuseDamaged("has an empty strip or tile");
            if (outside || (page_.Plain() && segment.size < page_.DecodedBytes(i))) {
                RefuseDamaged("is cut: image data lie past the end of the file");
            }
            page_.segments.push_back(segment);
        }
    }

    const TiffStructure& structure_;
    const TiffDirectory& directory_;
    TiffPage page_;
};

}  // namespace

std::uint32_t TiffPage::RowsOf(std::uint64_t segment) const {
    if (tiled) return segmentHeight;
    const std::uint64_t row = segment % InPlane() * segmentHeight;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(segmentHeight, height - row));
}

bool TiffPage::Lossy() const { return compression == COMPRESSION_JPEG || compression == COMPRESSION_WEBP; }

std::vector<TiffPage> ReadPages(const TiffStructure& structure) {
    std::vector<TiffPage> pages;
    const std::size_t count = structure.directories().size();
    for (std::size_t i = 0; i < count; ++i) {
        pages.push_back(PageReader(structure, i, count == 1 ? "" : "page " + std::to_string(i + 1)).Read());
    }
    if (std::all_of(pages.begin(), pages.end(), [](const TiffPage& page) { return page.mask; })) {
        throw Refusal(Exit::Input, structure.file().name(), "holds nothing but transparency masks", "give an RGB file");
    }
    return pages;
}

std::string CompressionName(unsigned compression) {
    switch (compression) {
        case COMPRESSION_NONE:
            return "none";
        case COMPRESSION_LZW:
            return "LZW";
        case COMPRESSION_PACKBITS:
            return "PackBits";
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
            return "Deflate";
        case COMPRESSION_LZMA:
            return "LZMA";
        case COMPRESSION_ZSTD:
            return "Zstandard";
        case COMPRESSION_JPEG:
            return "JPEG";
        case COMPRESSION_OJPEG:
            return "old-style JPEG";
        case COMPRESSION_WEBP:
            return "WebP";
        default:
            return "scheme " + std::to_string(compression);
    }
}

std::string PhotometricName(unsigned photometric) {
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            return "grey";
        case PHOTOMETRIC_RGB:
            return "RGB";
        case PHOTOMETRIC_PALETTE:
            return "palette";
        case PHOTOMETRIC_MASK:
            return "mask";
        case PHOTOMETRIC_SEPARATED:
            return "CMYK";
        case PHOTOMETRIC_YCBCR:
            return "YCbCr";
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            return "Lab";
        case PHOTOMETRIC_CFA:
            return "camera sensor";
        default:
            return "unknown (" + std::to_string(photometric) + ")";
    }
}

}  // namespace hueweave::tool
