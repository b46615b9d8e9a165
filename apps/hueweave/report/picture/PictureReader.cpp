// SPDX-License-Identifier: MIT
#include "report/picture/PictureReader.h"

#include <algorithm>

#include "jpeg/JpegCodec.h"
#include "jpeg/JpegRewriter.h"
#include "picture/Exif.h"
#include "picture/Format.h"
#include "png/ChunkRules.h"
#include "png/PngCodec.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/files/FileKind.h"

namespace hueweave::tool {
namespace {

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
    JpegPicture(const FileAccess& file, std::uint64_t memory) : structure_(file) {
        CheckConvertible(structure_);
        const JpegFrame& frame = structure_.frame();
        const std::size_t components = frame.components.size();
        if (components != 3) RefuseKind(file, components == 1 ? "grey" : "CMYK");
        raster_ = {frame.width, frame.height, 3, 8};
        if (JpegCoderMemory(structure_, 3) + raster_.RowBytes() > memory) {
            const bool isWhole = frame.IsProgressive() || structure_.scans() > 1;
            RefuseMemory(file, isWhole ? "several scans" : "rows");
        }
        for (const JpegSegment& segment : structure_.segments()) {
            if (segment.marker != jpeg_marker::kApp1 || !structure_.Begins(segment, kExifStart)) continue;
            const Bytes data = structure_.Data(segment);
            NoteOrientation(ReadExif(std::span(data).subspan(kExifStart.size())).orientation);
        }
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
    PngPicture(const FileAccess& file, std::uint64_t memory) : structure_(file) {
        CheckConvertible(structure_);
        const PngHeader& header = structure_.header();
        if (header.IsGrey()) RefuseKind(file, "grey");
        coded_ = RasterOf(header);
        // Of rows, there are the one that is decoded and, for a palette, its colours.
        const std::uint64_t row = coded_.RowBytes(), rows = PngCoderMemory(row) + (IsPalette() ? 4 : 1) * row;
        if (rows > memory) RefuseMemory(file, "rows");
        if (header.interlaced && row > (memory - rows) / header.height) RefuseMemory(file, "interlaced rows");
        if (header.colours == PngHeader::RgbAlpha || structure_.Find("tRNS") != nullptr) {
            notes_.emplace_back("Transparency is not shown: every pixel has its stored colour.");
        }
        if (const PngChunk* const exif = structure_.Find("eXIf")) {
            NoteOrientation(ReadExif(structure_.Data(*exif)).orientation);
        }
        raster_ = coded_;
        if (!IsPalette()) return;
        raster_.samples = 3;
        const PngChunk* const palette = structure_.Find("PLTE");
        if (palette == nullptr) {
            throw Refusal(Exit::Input, file.name(), "lacks its palette", "get a complete copy of the file");
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

void RefuseKind(const FileAccess& file, std::string_view kind) {
    const std::string pixels = std::string(kind) + " pixels, not RGB";
    throw Refusal(Exit::Input, file.name(), "holds " + pixels, "give an RGB picture")
        .OfKind({std::string(kind), pixels, true});
}

void RefuseMemory(const FileAccess& file, std::string_view what) {
    throw Refusal(Exit::Input, file.name(), "has " + std::string(what) + " that do not fit in the memory allowed",
                  "raise --max-memory");
}

void PictureReader::NoteOrientation(std::uint64_t orientation) {
    if (orientation > 1) notes_.emplace_back("The picture is shown as it is stored, not turned upright.");
}

std::unique_ptr<PictureReader> OpenPngPicture(const FileAccess& file, std::uint64_t memory) {
    return std::make_unique<PngPicture>(file, memory);
}
std::unique_ptr<PictureReader> OpenJpegPicture(const FileAccess& file, std::uint64_t memory) {
    return std::make_unique<JpegPicture>(file, memory);
}

std::unique_ptr<PictureReader> PictureReader::Open(const FileAccess& file, std::uint64_t memory) {
    switch (FormatOf(file)) {
        case Format::Tiff:
            return OpenTiffPicture(file, memory);
        case Format::Png:
            return OpenPngPicture(file, memory);
        case Format::Jpeg:
            return OpenJpegPicture(file, memory);
        default:
            throw Refusal(Exit::Input, file.name(), NotA("a TIFF, PNG or JPEG file", file), "give one of these");
    }
}

}  // namespace hueweave::tool
