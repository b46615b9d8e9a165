// SPDX-License-Identifier: MIT
#include "report/picture/PictureReader.h"

#include <algorithm>

#include "jpeg/JpegCodec.h"
#include "jpeg/JpegRewriter.h"
#include "picture/Format.h"
#include "png/ChunkRules.h"
#include "png/PngCodec.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/files/FileKind.h"

namespace hueweave::tool {
namespace {

[[noreturn]] void RefuseColours(const FileAccess& file) {
    throw Refusal(Exit::Input, file.name(), "holds no RGB pixels", "give an RGB picture");
}

/// Passes on decoded rows, a band at a time.
void ReadBands(const Raster& raster, RowSource& source, const std::function<void(std::uint32_t y, Bytes& row)>& take) {
    Bytes row(static_cast<std::size_t>(raster.RowBytes()));
    for (std::uint32_t y = 0; y < raster.height; ++y) {
        ThrowIfInterrupted();
        source.Read(row.data(), 1);
        take(y, row);
    }
}

class JpegPicture : public PictureReader {
public:
    explicit JpegPicture(const FileAccess& file) : structure_(file) {
        CheckConvertible(structure_);
        const JpegFrame& frame = structure_.frame();
        if (frame.components.size() != 3) RefuseColours(file);
        if (JpegCoderMemory(structure_, 3) > kMostBuffer) {
            throw Refusal(Exit::Input, file.name(), "is progressive and takes more than 256 MiB to decode",
                          "write it anew as a baseline JPEG");
        }
        raster_ = {frame.width, frame.height, 3, 8};
    }
    void Read(const TakePixels& take) override {
        JpegDecoder decoder(structure_);
        ReadBands(raster_, decoder, [&](std::uint32_t y, Bytes& row) { take(0, y, raster_.width, row.data()); });
        decoder.Finish();
    }

private:
    const JpegStructure structure_;
};

class PngPicture : public PictureReader {
public:
    explicit PngPicture(const FileAccess& file) : structure_(file) {
        CheckConvertible(structure_);
        if (structure_.header().IsGrey()) RefuseColours(file);
        coded_ = RasterOf(structure_.header());
        if (structure_.header().interlaced && coded_.RowBytes() > kMostBuffer / coded_.height) {
            throw Refusal(Exit::Input, file.name(), "is interlaced and takes more than 256 MiB to decode",
                          "write it anew without interlacing");
        }
        raster_ = coded_;
        if (!IsPalette()) return;
        raster_.samples = 3;
        const PngChunk* const palette = structure_.Find("PLTE");
        if (palette == nullptr) {
            throw Refusal(Exit::Input, file.name(), "lacks its palette", "get a whole copy of the file");
        }
        palette_ = structure_.Data(*palette);
    }

    void Read(const TakePixels& take) override {
        PngDecoder decoder(structure_);
        Bytes whole;
        if (structure_.header().interlaced) decoder.ReadAll(whole);
        RowsInMemory memory(coded_, whole);
        RowSource* const source = whole.empty() ? static_cast<RowSource*>(&decoder) : &memory;
        ReadBands(coded_, *source, [&](std::uint32_t y, Bytes& row) {
            if (IsPalette()) LookUp(row);
            take(0, y, raster_.width, IsPalette() ? colours_.data() : row.data());
        });
        decoder.Finish();
    }

private:
    bool IsPalette() const { return structure_.header().colours == PngHeader::Palette; }

    /// An index beyond the palette is black, as in other readers.
    void LookUp(const Bytes& indices) {
        colours_.assign(3 * indices.size(), 0);
        for (std::size_t x = 0; x < indices.size(); ++x) {
            const std::size_t entry = std::size_t{3} * indices[x];
            if (entry + 3 <= palette_.size()) std::copy_n(&palette_[entry], 3, &colours_[3 * x]);
        }
    }

    const PngStructure structure_;
    Raster coded_;
    Bytes palette_, colours_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenPngPicture(const FileAccess& file) { return std::make_unique<PngPicture>(file); }
std::unique_ptr<PictureReader> OpenJpegPicture(const FileAccess& file) { return std::make_unique<JpegPicture>(file); }

std::unique_ptr<PictureReader> PictureReader::Open(const FileAccess& file) {
    switch (FormatOf(file)) {
        case Format::Tiff:
            return OpenTiffPicture(file);
        case Format::Png:
            return OpenPngPicture(file);
        case Format::Jpeg:
            return OpenJpegPicture(file);
        default:
            throw Refusal(Exit::Input, file.name(), NotA("a TIFF, PNG or JPEG file", file), "give one of these");
    }
}

}  // namespace hueweave::tool
