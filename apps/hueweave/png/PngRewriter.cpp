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

/// The level of zlib that wrote the image, as far as its data show it.
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

    /// A chunk of colours, or the header. Colours outside of a palette have 16 bits per sample, of which an image of 8
    /// bits uses the low ones.
    Bytes Converted(const PngChunk& chunk) const {
        Bytes data = structure_.Data(chunk);
        if (job_.converter == nullptr) return data;
        if (chunk.type == "IHDR") {
            data[8] = static_cast<unsigned char>(written_.depth);
            data[9] = static_cast<unsigned char>(written_.colours);
            return data;
        }
        if (chunk.type != "PLTE") return ConvertColour(ConversionOfPixels(), header_, data);
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

    Conversion ConversionOfPixels() const { return {raster_, *job_.converter}; }

    void WriteImage() {
        if (job_.converter == nullptr) return Copy(structure_.image());
        if (header_.colours == PngHeader::Palette) {
            // The indices, and twice their colours: to look them up, and to measure them.
            CheckMemory(PngCoderMemory(raster_.RowBytes()) + 7 * raster_.RowBytes(), raster_.RowBytes());
            ReadIndices();
            return Copy(structure_.image());
        }
        const Conversion conversion = ConversionOfPixels();
        const std::uint64_t kept = conversion.IsInPlace() ? 0 : conversion.to.RowBytes();
        CheckMemory(
            PngCoderMemory(std::max(conversion.from.RowBytes(), conversion.to.RowBytes())) + 2 * BandMemory(conversion),
            raster_.RowBytes() + kept);
        PngDecoder decoder(structure_);
        PngEncoder encoder(target_, at_, written_, structure_.file().name(), LevelOf(structure_));
        if (header_.interlaced) {
            Bytes pixels, converted;
            decoder.ReadAll(pixels);
            decoder.Finish();
            Bytes& written = conversion.IsInPlace() ? pixels : converted;
            written.resize(static_cast<std::size_t>(conversion.to.RowBytes() * conversion.to.height));
            RowsInMemory source(conversion.from, pixels), sink(conversion.to, written);
            ConvertPixelsOf(conversion, source, sink);
            encoder.WriteAll(written);
        } else {
            ConvertPixelsOf(conversion, decoder, encoder);
            decoder.Finish();
        }
        at_ = encoder.End();
    }

    void ConvertPixelsOf(const Conversion& conversion, RowSource& source, RowSink& sink) {
        const PngChunk* const transparent = structure_.Find("tRNS");
        const bool hasKey = header_.colours == PngHeader::Rgb || header_.colours == PngHeader::Grey;
        if (transparent == nullptr || !hasKey) return ConvertBands(conversion, source, sink, settings_, measured_);
        const ColourKey key(conversion, header_, structure_.Data(*transparent));
        const auto convert = [&](unsigned char* from, unsigned char* to, std::size_t pixels) {
            key.Convert(from, to, pixels);
        };
        ConvertBands(conversion, convert, source, sink, settings_, measured_);
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

    /// `rows` are the bytes of all buffers but those of a whole image, which has `rowBytes` bytes a row.
    void CheckMemory(std::uint64_t rows, std::uint64_t rowBytes) const {
        const std::string& name = structure_.file().name();
        if (rows > settings_.memory) {
            throw Refusal(Exit::Input, name, "has rows that do not fit in the memory allowed", "raise --max-memory");
        }
        if (!header_.interlaced || rowBytes <= (settings_.memory - rows) / header_.height) return;
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
    const PngHeader written_ =
        job_.converter != nullptr ? HeaderWritten(header_, job_.converter->targetChannels()) : header_;
    std::uint64_t at_ = 0;
};

}  // namespace

void RewritePng(const PngStructure& structure, const PngJob& job, const FileAccess& target,
                const WriteSettings& settings, Measured& measured) {
    Rewriter(structure, job, target, settings, measured).Write();
}

}  // namespace hueweave::tool
