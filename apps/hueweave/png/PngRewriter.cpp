// SPDX-License-Identifier: MIT
#include "png/PngRewriter.h"

#include <algorithm>
#include <cstring>

#include "picture/PixelBands.h"
#include "png/ChunkRules.h"
#include "png/ColourKey.h"
#include "png/PngCodec.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

/// The level of zlib that wrote the image, as far as its data tell.
int LevelOf(const PngStructure& structure) {
    constexpr int kDefault = 6;
    constexpr int kLevels[] = {1, 4, kDefault, 9};  // by the two highest bits of the second byte
    const Extent image = structure.image();
    if (image.size < 14) return kDefault;
    unsigned char head[10];
    structure.file().Read(image.offset, head, sizeof head);
    const bool isShort = std::all_of(head, head + 4, [](unsigned char c) { return c == 0; });  // holds no second byte
    return isShort ? kDefault : kLevels[head[9] >> 6];
}

class Rewriter {
public:
    Rewriter(const PngStructure& structure, const PngJob& job, const FileAccess& target, const WriteSettings& settings,
             Measured& measured)
        : structure_(structure),
          header_(structure.header()),
          job_(job),
          target_(target),
          settings_(settings),
          measured_(measured) {}

    void Write() {
        Put({std::begin(kPngSignature), std::end(kPngSignature)});
        for (const PngChunk& chunk : structure_.chunks()) {
            switch (FateOf(chunk, header_, job_.converter != nullptr)) {
                case ChunkFate::Keep:
                    Copy(chunk.place);
                    break;
                case ChunkFate::Image:
                    WriteImage();
                    break;
                case ChunkFate::Convert:
                    Put(MakeChunk(chunk.type, Converted(chunk)));
                    break;
                default:
                    break;
            }
            // The profile has to come before the palette and the image.
            if (chunk.type == "IHDR" && job_.icc != nullptr) Put(MakeProfileChunk(*job_.icc));
        }
        Copy(structure_.trailer());
        target_.Resize(at_);
    }

private:
    void Put(const Bytes& bytes) {
        target_.Write(at_, bytes);
        at_ += bytes.size();
    }
    void Copy(Extent place) {
        CopyRange(structure_.file(), place, target_, at_);
        at_ += place.size;
    }

    /// A chunk of colours. Those outside of a palette have 16 bits a sample, of which an image of 8 bits uses the low
    /// ones.
    Bytes Converted(const PngChunk& chunk) const {
        Bytes data = structure_.Data(chunk);
        if (job_.converter == nullptr) return data;
        if (chunk.type != "PLTE") return ConvertColour(*job_.converter, data);
        if (job_.converter->bits() == 8) {
            job_.converter->Convert(data.data(), data.size() / 3, 3, false);
            return data;
        }
        // The suggested palette of an image of 16 bits.
        for (std::size_t at = 0; at < data.size(); at += 3) {
            std::uint16_t rgb[3];
            for (std::size_t c = 0; c < 3; ++c) rgb[c] = static_cast<std::uint16_t>(data[at + c] * 257);
            job_.converter->Convert(reinterpret_cast<unsigned char*>(rgb), 1, 3, false);
            for (std::size_t c = 0; c < 3; ++c) data[at + c] = static_cast<unsigned char>((rgb[c] + 128U) / 257U);
        }
        return data;
    }

    void WriteImage() {
        if (job_.converter == nullptr) return Copy(structure_.image());
        CheckMemory();
        if (header_.colours == PngHeader::Palette) {
            ReadIndices();
            return Copy(structure_.image());
        }
        PngDecoder decoder(structure_);
        PngEncoder encoder(target_, at_, structure_, LevelOf(structure_));
        if (header_.interlaced) {
            Bytes pixels;
            decoder.ReadAll(pixels);
            decoder.Finish();
            RowsInMemory source(raster_, pixels), sink(raster_, pixels);
            ConvertPixelsOf(source, sink);
            encoder.WriteAll(pixels);
        } else {
            ConvertPixelsOf(decoder, encoder);
            decoder.Finish();
        }
        at_ = encoder.End();
    }

    void ConvertPixelsOf(RowSource& source, RowSink& sink) {
        const colour::PixelConverter& converter = *job_.converter;
        const PngChunk* const transparent = structure_.Find("tRNS");
        if (header_.colours == PngHeader::Rgb && transparent != nullptr) {
            const ColourKey key(converter, structure_.Data(*transparent));
            const auto convert = [&](unsigned char* data, std::size_t pixels) { key.Convert(data, pixels); };
            return ConvertBands(raster_, converter, convert, source, sink, settings_, measured_);
        }
        const auto convert = [&](unsigned char* data, std::size_t pixels) {
            converter.Convert(data, pixels, raster_.samples, false);
        };
        ConvertBands(raster_, converter, convert, source, sink, settings_, measured_);
    }

    /// Decodes the indices of a palette, which do not change, to find damage and to measure their colours.
    void ReadIndices() {
        const PngChunk& chunk = *structure_.Find("PLTE");
        Bytes palette = Converted(chunk);
        palette.resize(768);  // an index without an entry is black
        PngDecoder decoder(structure_);
        Bytes row(static_cast<std::size_t>(raster_.RowBytes())), all, colours(3 * row.size());
        if (header_.interlaced) decoder.ReadAll(all);
        RowsInMemory stored(raster_, all);
        RowSource* source = &decoder;
        if (header_.interlaced) source = &stored;
        for (std::uint32_t y = 0; y < header_.height; ++y) {
            source->Read(row.data(), 1);
            for (std::size_t x = 0; x < row.size(); ++x)
                std::memcpy(&colours[3 * x], &palette[3 * std::size_t{row[x]}], 3);
            MeasurePixels(*job_.converter, 3, colours.data(), row.size(), settings_, measured_);
        }
        decoder.Finish();
    }

    void CheckMemory() const {
        const std::uint64_t rows = PngCoderMemory(raster_) + 2 * BandMemory(raster_);
        const std::string& name = structure_.file().name();
        if (rows > settings_.memory) {
            throw Refusal(Exit::Input, name, "has rows that do not fit in the memory allowed", "raise --max-memory");
        }
        if (!header_.interlaced || raster_.RowBytes() <= (settings_.memory - rows) / header_.height) return;
        throw Refusal(Exit::Input, name, "is interlaced and does not fit in the memory allowed as a whole",
                      "raise --max-memory");
    }

    const PngStructure& structure_;
    const PngHeader& header_;
    const PngJob& job_;
    const FileAccess& target_;
    const WriteSettings& settings_;
    Measured& measured_;
    const Raster raster_ = RasterOf(header_);
    std::uint64_t at_ = 0;
};

}  // namespace

void RewritePng(const PngStructure& structure, const PngJob& job, const FileAccess& target,
                const WriteSettings& settings, Measured& measured) {
    Rewriter(structure, job, target, settings, measured).Write();
}

}  // namespace hueweave::tool
