// SPDX-License-Identifier: MIT
// PNG and JPEG files, whose rows are converted as they are decoded.
#include <algorithm>
#include <cstring>

#include "create/SourcePicture.h"
#include "jpeg/JpegCodec.h"
#include "png/PngCodec.h"
#include "system/BigEndian.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

[[noreturn]] void RefuseMemory(const std::string& name, const char* what) {
    throw Refusal(Exit::Input, name, what, "raise --max-memory");
}

/// Turns pixels of a PNG file as they are decoded into colours, with an alpha channel if some are transparent.
class PngExpander : public RowSource {
public:
    PngExpander(const PngStructure& structure, RowSource& source)
        : header_(structure.header()), from_(RasterOf(header_)), to_(ExpandedRaster(structure)), source_(source) {
        const PngChunk* const transparent = structure.Find("tRNS");
        if (transparent != nullptr) transparent_ = structure.Data(*transparent);
        if (header_.colours != PngHeader::Palette) return;
        palette_ = structure.Data(*structure.Find("PLTE"));
        palette_.resize(768);           // an index without an entry is black
        transparent_.resize(256, 255);  // and one without an alpha is opaque
    }

    static Raster ExpandedRaster(const PngStructure& structure) {
        Raster raster = RasterOf(structure.header());
        const bool isPalette = structure.header().colours == PngHeader::Palette;
        const bool hasAlpha = raster.samples % 2 == 0;
        if (isPalette) raster.samples = 3;
        if (!hasAlpha && structure.Find("tRNS") != nullptr) ++raster.samples;
        return raster;
    }

    void Read(unsigned char* rows, std::uint32_t count) override {
        if (from_ == to_) return source_.Read(rows, count);
        row_.resize(static_cast<std::size_t>(from_.RowBytes()));
        for (std::uint32_t r = 0; r < count; ++r) {
            source_.Read(row_.data(), 1);
            unsigned char* const to = rows + r * to_.RowBytes();
            palette_.empty() ? AddAlpha(to) : LookUp(to);
        }
    }

private:
    void LookUp(unsigned char* to) const {
        for (const unsigned char index : row_) {
            to = std::copy_n(&palette_[std::size_t{3} * index], 3, to);
            if (to_.samples == 4) *to++ = transparent_[index];
        }
    }
    /// The chunk has samples of 16 bits, big-endian, of which an image of 8 bits uses the low ones.
    void AddAlpha(unsigned char* to) const {
        const std::size_t width = from_.bits / 8, size = from_.samples * width;
        Bytes key;
        for (std::size_t c = 0; c < from_.samples && transparent_.size() == std::size_t{2} * from_.samples; ++c) {
            const std::uint16_t sample = Big16(&transparent_[2 * c]);
            std::uint16_t native = sample;
            if (header_.depth < 8) {
                const unsigned top = (1U << header_.depth) - 1;
                native = static_cast<std::uint16_t>((sample & top) * 255U / top);
            }
            const auto* const bytes = reinterpret_cast<const unsigned char*>(&native);
            if (width == 2) {
                key.insert(key.end(), bytes, bytes + 2);
            } else {
                key.push_back(static_cast<unsigned char>(native));
            }
        }
        for (std::size_t x = 0; x < from_.width; ++x) {
            const unsigned char* const from = row_.data() + x * size;
            const bool isTransparent = key.size() == size && std::memcmp(from, key.data(), size) == 0;
            to = std::fill_n(std::copy_n(from, size, to), width, static_cast<unsigned char>(isTransparent ? 0 : 255));
        }
    }

    const PngHeader header_;
    const Raster from_, to_;
    RowSource& source_;
    Bytes palette_, transparent_, row_;
};

class PngPicture : public SourcePicture {
public:
    explicit PngPicture(const PngStructure& structure) : structure_(structure) {}
    Raster raster() const override { return PngExpander::ExpandedRaster(structure_); }
    Metadata metadata() const override { return MetadataOf(structure_); }

    void Convert(const colour::PixelConverter& converter, NewFile& file, const FileAccess&,
                 const WriteSettings& settings, Measured& measured) const override {
        const Conversion conversion(raster(), converter);
        const PngHeader& header = structure_.header();
        const Raster stored = RasterOf(header);
        const std::uint64_t rows = PngCoderMemory(stored.RowBytes()) + 2 * BandMemory(conversion);
        const std::string& name = structure_.file().name();
        if (rows > settings.memory) RefuseMemory(name, "has rows that do not fit in the memory allowed");
        if (header.interlaced && stored.RowBytes() > (settings.memory - rows) / header.height) {
            RefuseMemory(name, "is interlaced and does not fit in the memory allowed as a whole");
        }
        PngDecoder decoder(structure_);
        Bytes all;
        if (header.interlaced) decoder.ReadAll(all);
        RowsInMemory kept(stored, all);
        RowSource* source = &decoder;
        if (header.interlaced) source = &kept;
        PngExpander expander(structure_, *source);
        ConvertBands(conversion, expander, file, settings, measured);
        decoder.Finish();
    }

private:
    const PngStructure& structure_;
};

class JpegPicture : public SourcePicture {
public:
    explicit JpegPicture(const JpegStructure& structure) : structure_(structure) {}
    Raster raster() const override {
        const JpegFrame& frame = structure_.frame();
        return {frame.width, frame.height, static_cast<unsigned>(frame.components.size()), 8};
    }
    Metadata metadata() const override { return MetadataOf(structure_); }

    void Convert(const colour::PixelConverter& converter, NewFile& file, const FileAccess&,
                 const WriteSettings& settings, Measured& measured) const override {
        const Conversion conversion(raster(), converter);
        if (JpegCoderMemory(structure_, conversion.to.samples) + 2 * BandMemory(conversion) > settings.memory) {
            RefuseMemory(structure_.file().name(),
                         "is progressive, or has rows that are too long, and does not fit in the memory allowed");
        }
        JpegDecoder decoder(structure_);
        ConvertBands(conversion, decoder, file, settings, measured);
        decoder.Finish();
    }

private:
    const JpegStructure& structure_;
};

}  // namespace

std::unique_ptr<const SourcePicture> PictureOf(const PngStructure& structure) {
    return std::make_unique<const PngPicture>(structure);
}

std::unique_ptr<const SourcePicture> PictureOf(const JpegStructure& structure) {
    return std::make_unique<const JpegPicture>(structure);
}

}  // namespace hueweave::tool
