// SPDX-License-Identifier: MIT
#include "picture/PixelBands.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "system/WorkUnits.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBand = std::uint64_t{256} << 10;  ///< bytes of a band of rows

std::uint32_t RowsOfBand(const Raster& raster) {
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kBand / raster.RowBytes(), 1, raster.height));
}

/// Hashes contain 16-bit samples with the low byte first.
void LowByteFirst(Bytes& line, unsigned bits) {
    if (bits == 8 || std::endian::native == std::endian::little) return;
    for (std::size_t at = 0; at + 1 < line.size(); at += 2) std::swap(line[at], line[at + 1]);
}

}  // namespace

void RowsInMemory::Read(unsigned char* rows, std::uint32_t count) {
    const auto size = static_cast<std::size_t>(count * raster_.RowBytes());
    std::copy_n(pixels_.data() + read_, size, rows);
    read_ += size;
}

void RowsInMemory::Write(unsigned char* rows, std::uint32_t count) {
    const auto size = static_cast<std::size_t>(count * raster_.RowBytes());
    std::copy_n(rows, size, pixels_.data() + written_);
    written_ += size;
}

void MeasurePixels(const colour::PixelConverter& converter, unsigned samples, const unsigned char* data,
                   std::size_t pixels, const WriteSettings& settings, Measured& measured) {
    measured.pixels += pixels;
    if (settings.progress) settings.progress(pixels);
    if (!settings.measure) return;
    const std::size_t width = converter.bits() / 8;
    Bytes line(pixels * 3 * width);
    for (std::size_t p = 0; p < pixels; ++p) {
        std::copy_n(data + p * samples * width, 3 * width, line.data() + p * 3 * width);
    }
    measured.clipped += converter.CountClipped(line.data(), pixels);
    LowByteFirst(line, converter.bits());
    measured.hash.Add(line.data(), line.size());
}

std::uint64_t BandMemory(const Raster& raster) {
    return 2 * RowsOfBand(raster) * raster.RowBytes();  // the pixels, and their colours when they are measured
}

void ConvertBands(const Raster& raster, const colour::PixelConverter& converter, const ConvertPixels& convert,
                  RowSource& source, RowSink& sink, const WriteSettings& settings, Measured& measured) {
    const std::uint32_t rows = RowsOfBand(raster);
    WorkUnits bands((raster.height - 1) / rows + 1);
    const std::uint64_t most = std::max<std::uint64_t>(1, settings.memory / BandMemory(raster));
    const auto threads = static_cast<unsigned>(std::min<std::uint64_t>(settings.threads, most));
    bands.Run(threads, [&]() -> WorkUnits::Work {
        Bytes band(static_cast<std::size_t>(rows * raster.RowBytes()));
        return [&, band = std::move(band)](std::uint64_t number) mutable {
            const auto first = static_cast<std::uint32_t>(number * rows);
            const std::uint32_t count = std::min(rows, raster.height - first);
            const std::size_t pixels = std::size_t{count} * raster.width;
            // The two parts of a unit are independent of each other: one orders the reading, the other the writing.
            bands.InOrder(WorkUnits::Placing, number, [&] { source.Read(band.data(), count); });
            convert(band.data(), pixels);
            bands.InOrder(WorkUnits::Measuring, number, [&] {
                MeasurePixels(converter, raster.samples, band.data(), pixels, settings, measured);
                sink.Write(band.data(), count);
            });
        };
    });
}

}  // namespace hueweave::tool
