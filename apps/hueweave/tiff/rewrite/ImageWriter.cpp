// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "tiff/rewrite/ImageWriter.h"

#include <algorithm>

#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/WorkUnits.h"
#include "tiff/Samples.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/codec/TiffDecoder.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBlock = std::uint64_t{512} << 10;  ///< bytes of a unit of plain image data
constexpr std::uint64_t kRowBlock = std::uint64_t{256} << 10;

}  // namespace

ImageWriter::ImageWriter(const TiffStructure& structure, const std::vector<TiffPage>& pages, std::size_t page,
                         const PixelConverter& converter, OutputLayout& layout, const FileAccess& target,
                         const WriteSettings& settings, Measured& measured)
    : structure_(structure),
      page_(pages[page]),
      index_(page),
      converter_(converter),
      layout_(layout),
      target_(target),
      settings_(settings),
      measured_(measured),
      places_(page_.segments) {}

unsigned ImageWriter::Planes() const {
    if (!page_.planar) return 1;
    if (page_.Lossy()) return page_.samples;  // the others change their compression
    return page_.premultiplied ? 4 : 3;
}

std::vector<Extent> ImageWriter::Write() {
    unsigned threads = settings_.threads;
    // Rows are never divided: twice what is converted where they are plain, four times with the buffers of a coder.
    const std::uint64_t row = page_.RowBytes() * (page_.planar ? Planes() + 1 : 1);
    const bool rowFits = row <= settings_.memory / (page_.Plain() ? 2 : 4);
    if (page_.Plain() && rowFits) {
        WritePlain();
        return places_;
    }
    while (threads > 1 && !FitsInMemory(threads)) --threads;
    if (!page_.Plain() && FitsInMemory(threads)) {
        WriteCoded(threads);
    } else if (rowFits && RowsFitInMemory()) {
        WriteRows();
    } else {
        const std::string what = page_.tiled ? "tiles" : rowFits ? "strips" : "rows";
        throw Refusal(Exit::Input, structure_.file().name(), "has " + what + " that do not fit in the memory allowed",
                      "raise --max-memory");
    }
    return places_;
}

bool ImageWriter::FitsInMemory(unsigned threads) const {
    std::uint64_t largest = 0;
    for (const Extent& segment : page_.segments) largest = std::max(largest, segment.size);
    // What alone does not fit needs no sum, which might be more than 64 bits hold.
    if (largest > settings_.memory || page_.RowsOf(0) > settings_.memory / page_.RowBytes()) return false;
    // Raw, decoded and encoded bytes, the buffer of libtiff, and the mixed pixels of planes.
    const std::uint64_t decoded = page_.DecodedBytes(0);
    const std::uint64_t pixels = 4 * decoded + (page_.planar ? 2 * Planes() * decoded : 0);
    const std::uint64_t need = largest + pixels + CoderMemory(page_);
    return need <= settings_.memory / threads;
}

/// By rows, a strip is decoded out of a file; but libtiff reads it whole where it has to turn its bits around.
bool ImageWriter::RowsFitInMemory() const {
    if (page_.tiled) return false;
    // Planes are decoded side by side, each by a coder of its own; one of these the process has room for anyway.
    if (page_.planar && CoderMemory(page_) > settings_.memory / (page_.samples - 1)) return false;
    if (page_.fillOrder == 1) return true;
    std::uint64_t largest = 0;
    for (const Extent& segment : page_.segments) largest = std::max(largest, segment.size);
    return largest * (page_.planar ? page_.samples : 1) <= settings_.memory / 2;
}

void ImageWriter::ConvertPixels(unsigned char* data, std::uint64_t pixels, unsigned samples) const {
    converter_.Convert(data, static_cast<std::size_t>(pixels), samples, page_.premultiplied);
}

void ImageWriter::Measure(const unsigned char* data, unsigned samples, std::uint64_t segment, std::uint32_t row,
                          std::uint32_t rows) {
    const std::uint64_t left = segment % page_.across * page_.segmentWidth;
    const std::uint64_t top = segment % page_.InPlane() / page_.across * page_.segmentHeight + row;
    const std::uint64_t columns = std::min<std::uint64_t>(page_.segmentWidth, page_.width - left);
    if (top >= page_.height) return;
    rows = static_cast<std::uint32_t>(std::min<std::uint64_t>(rows, page_.height - top));
    measured_.pixels += columns * rows;
    if (settings_.progress) settings_.progress(columns * rows);
    if (!settings_.measure) return;
    const unsigned width = page_.bits / 8;
    Bytes line(static_cast<std::size_t>(columns * 3 * width));
    for (std::uint32_t r = 0; r < rows; ++r) {
        const unsigned char* from = data + std::uint64_t{r} * page_.segmentWidth * samples * width;
        for (std::uint64_t x = 0; x < columns; ++x) {
            std::copy_n(from + x * samples * width, 3 * width, line.data() + x * 3 * width);
        }
        measured_.clipped += converter_.CountClipped(line.data(), static_cast<std::size_t>(columns));
        ToNative(line.data(), line.size() / width, width, false);
        measured_.hash.Add(line.data(), line.size());
    }
}

std::vector<ImageWriter::PlainUnit> ImageWriter::PlainUnits() const {
    std::vector<PlainUnit> units;
    const std::uint64_t rowBytes = page_.RowBytes();
    for (std::uint64_t s = 0; s < page_.InPlane(); ++s) {
        const std::uint32_t rows = page_.RowsOf(s);
        // Strips of a few rows that stand in a row are taken together.
        if (!page_.planar && !page_.tiled && !units.empty() && units.back().row == 0) {
            PlainUnit& last = units.back();
            const std::uint64_t bytes = (std::uint64_t{last.rows} + rows) * rowBytes;
            const std::uint64_t end = last.segment + last.segments - 1;
            const auto follows = [&](const std::vector<Extent>& places) {
                return places[end].offset + page_.DecodedBytes(end) == places[s].offset;
            };
            const bool whole = last.segments > 1 || last.rows == page_.RowsOf(last.segment);
            if (whole && bytes <= kBlock && follows(page_.segments) && follows(places_)) {
                ++last.segments;
                last.rows += rows;
                continue;
            }
        }
        const auto step = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kBlock / rowBytes, 1, rows));
        for (std::uint32_t row = 0; row < rows; row += std::min(step, rows - row)) {
            units.push_back({s, 1, row, std::min(step, rows - row)});
        }
    }
    return units;
}

void ImageWriter::WritePlain() {
    for (unsigned plane = 0; plane < (page_.planar ? 3 : 1); ++plane) {
        for (std::uint64_t s = 0; s < page_.InPlane(); ++s) {
            const std::uint64_t segment = plane * page_.InPlane() + s;
            places_[segment].offset = layout_.PlaceAgain(index_, segment);
        }
    }
    const std::vector<PlainUnit> list = PlainUnits();
    WorkUnits units(list.size());
    const std::uint64_t need = std::max(kBlock, page_.RowBytes()) * (page_.planar ? Planes() + 1 : 1);
    const auto most = static_cast<unsigned>(std::clamp<std::uint64_t>(settings_.memory / need, 1, settings_.threads));
    units.Run(most, [&]() -> WorkUnits::Work {
        return [&, data = Bytes(), mixed = Bytes()](std::uint64_t number) mutable {
            ConvertPlain(list[number], number, units, data, mixed);
        };
    });
}

void ImageWriter::ConvertPlain(const PlainUnit& unit, std::uint64_t number, WorkUnits& units, Bytes& data,
                               Bytes& mixed) {
    const unsigned width = page_.bits / 8;
    const bool big = structure_.form().bigEndian;
    const std::uint64_t skipped = unit.row * page_.RowBytes();
    const std::uint64_t pixels = std::uint64_t{unit.rows} * page_.segmentWidth;
    const unsigned planes = Planes();
    const unsigned samples = page_.planar ? planes : page_.samples;
    data.resize(static_cast<std::size_t>(pixels * samples * width));
    const auto placeOf = [&](const std::vector<Extent>& places, unsigned plane) {
        return places[plane * page_.InPlane() + unit.segment].offset + skipped;
    };
    if (page_.planar) mixed.resize(static_cast<std::size_t>(pixels * width));
    for (unsigned plane = 0; plane < planes; ++plane) {
        Bytes& target = page_.planar ? mixed : data;
        structure_.file().Read(placeOf(page_.segments, plane), target.data(), target.size());
        if (page_.planar) PlaneIntoPixels(mixed.data(), data.data(), pixels, plane, samples, width);
    }
    ToNative(data.data(), data.size() / width, width, big);
    ConvertPixels(data.data(), pixels, samples);
    units.InOrder(WorkUnits::Measuring, number,
                  [&] { Measure(data.data(), samples, unit.segment, unit.row, unit.rows); });
    ToNative(data.data(), data.size() / width, width, big);
    for (unsigned plane = 0; plane < std::min(planes, 3U); ++plane) {
        if (page_.planar) PlaneFromPixels(mixed.data(), data.data(), pixels, plane, samples, width);
        target_.Write(placeOf(places_, plane), page_.planar ? mixed : data);
    }
}

void ImageWriter::WriteCoded(unsigned threads) {
    const unsigned width = page_.bits / 8;
    const unsigned planes = Planes();
    WorkUnits units(page_.InPlane());
    const auto work = [&](TiffDecoder& decoder, TiffEncoder& encoder, Bytes& data, Bytes& mixed, std::uint64_t unit) {
        const std::uint64_t pixels = std::uint64_t{page_.RowsOf(unit)} * page_.segmentWidth;
        const unsigned samples = page_.planar ? planes : page_.samples;
        if (page_.planar) mixed.resize(static_cast<std::size_t>(pixels * samples * width));
        for (unsigned plane = 0; plane < planes; ++plane) {
            decoder.ReadSegment(plane * page_.InPlane() + unit, data);
            if (page_.planar) PlaneIntoPixels(data.data(), mixed.data(), pixels, plane, samples, width);
        }
        // Further planes are copied as they are, but no damage is passed on.
        for (unsigned plane = planes; page_.planar && plane < page_.samples; ++plane) {
            decoder.ReadSegment(plane * page_.InPlane() + unit, data);
        }
        Bytes& whole = page_.planar ? mixed : data;
        ConvertPixels(whole.data(), pixels, samples);
        const unsigned written = page_.planar && !page_.Lossy() ? 3 : planes;
        // Measured before the encoder, which spoils what it is given.
        units.InOrder(WorkUnits::Measuring, unit, [&] { Measure(whole.data(), samples, unit, 0, page_.RowsOf(unit)); });
        std::vector<Bytes> encoded;
        for (unsigned plane = 0; plane < written; ++plane) {
            if (page_.planar) {
                data.resize(static_cast<std::size_t>(pixels * width));
                PlaneFromPixels(data.data(), mixed.data(), pixels, plane, samples, width);
            }
            encoded.push_back(encoder.Encode(data.data(), data.size()));
        }
        units.InOrder(WorkUnits::Placing, unit, [&] {
            for (unsigned plane = 0; plane < written; ++plane) {
                const std::uint64_t segment = plane * page_.InPlane() + unit;
                places_[segment] = {layout_.Place(encoded[plane].size()), encoded[plane].size()};
            }
        });
        for (unsigned plane = 0; plane < written; ++plane) {
            target_.Write(places_[plane * page_.InPlane() + unit].offset, encoded[plane]);
        }
    };
    const PageSource source(structure_, page_);
    units.Run(threads, [&]() -> WorkUnits::Work {
        auto decoder = std::make_shared<TiffDecoder>(source);
        auto encoder = std::make_shared<TiffEncoder>(target_, page_, source.bigEndian());
        return [&work, decoder, encoder, data = Bytes(), mixed = Bytes()](std::uint64_t unit) mutable {
            work(*decoder, *encoder, data, mixed, unit);
        };
    });
}

/// What a plane of rows is decoded with, encoded with, and kept in until the length of a strip is known.
struct ImageWriter::RowPlane {
    std::unique_ptr<RowDecoder> decoder;
    std::unique_ptr<TiffEncoder> encoder;  ///< null for a plane that is not written
    FileAccess scratch;
    std::uint64_t size = 0;
};

void ImageWriter::WriteRows() {
    const PageSource source(structure_, page_);
    const std::string folder = settings_.scratch.empty() ? FolderOf(target_.name()) : settings_.scratch;
    const unsigned written = page_.planar && !page_.Lossy() ? 3 : Planes();
    std::vector<RowPlane> all(page_.planar ? page_.samples : 1);
    for (unsigned p = 0; p < all.size(); ++p) {
        all[p].decoder = std::make_unique<RowDecoder>(source, p, folder, target_.name());
        if (p >= written) continue;
        all[p].encoder = std::make_unique<TiffEncoder>(target_, page_, source.bigEndian());
        all[p].scratch = FileAccess::Scratch(folder, target_.name());
    }
    for (std::uint64_t strip = 0; strip < page_.InPlane(); ++strip) WriteStripByRows(strip, all);
}

void ImageWriter::WriteStripByRows(std::uint64_t strip, std::vector<RowPlane>& all) {
    const unsigned width = page_.bits / 8;
    const unsigned planes = Planes();
    const unsigned written = page_.planar && !page_.Lossy() ? 3 : planes;
    const unsigned samples = page_.planar ? planes : page_.samples;
    for (RowPlane& plane : all) {
        plane.size = 0;
        if (plane.encoder == nullptr) continue;
        plane.encoder->BeginRows([&plane](const unsigned char* data, std::size_t size) {
            plane.scratch.Write(plane.size, data, size);
            plane.size += size;
        });
    }
    const std::uint32_t rows = page_.RowsOf(strip);
    const std::uint64_t rowBytes = page_.RowBytes();
    const std::uint64_t pixelRow = std::uint64_t{page_.segmentWidth} * samples * width;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no page is without width
    const auto step = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kRowBlock / pixelRow, 1, rows));
    Bytes data(static_cast<std::size_t>(pixelRow * step)), line(static_cast<std::size_t>(rowBytes));
    for (std::uint32_t row = 0; row < rows; row += step) {
        ThrowIfInterrupted();
        const std::uint32_t count = std::min(step, rows - row);
        for (std::uint32_t r = 0; r < count; ++r) {
            unsigned char* pixels = data.data() + r * pixelRow;
            for (unsigned p = 0; p < all.size(); ++p) {  // also those that are copied as they are, for damage
                all[p].decoder->ReadRow(page_.planar ? line.data() : pixels);
                if (page_.planar && p < planes) {
                    PlaneIntoPixels(line.data(), pixels, page_.segmentWidth, p, samples, width);
                }
            }
        }
        ConvertPixels(data.data(), std::uint64_t{count} * page_.segmentWidth, samples);
        Measure(data.data(), samples, strip, row, count);
        for (std::uint32_t r = 0; r < count; ++r) {
            unsigned char* pixels = data.data() + r * pixelRow;
            for (unsigned p = 0; p < written; ++p) {
                if (page_.planar) PlaneFromPixels(line.data(), pixels, page_.segmentWidth, p, samples, width);
                all[p].encoder->Row(row + r, page_.planar ? line.data() : pixels);
            }
        }
    }
    for (unsigned p = 0; p < written; ++p) {
        all[p].encoder->EndRows();
        const std::uint64_t offset = layout_.Place(all[p].size);
        CopyRange(all[p].scratch, {0, all[p].size}, target_, offset);
        places_[p * page_.InPlane() + strip] = {offset, all[p].size};
    }
}

}  // namespace hueweave::tool
