// SPDX-License-Identifier: MIT
#include "picture/PixelBands.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "system/WorkUnits.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBand = std::uint64_t{256} << 10;  ///< bytes of a band of rows

std::uint32_t RowsOfBand(const Conversion& conversion) {
    const std::uint64_t row = std::max(conversion.from.RowBytes(), conversion.to.RowBytes());
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kBand / row, 1, conversion.from.height));
}

/// Hashes contain 16-bit samples with the low byte first.
void LowByteFirst(Bytes& line, unsigned bits) {
    if (bits == 8 || std::endian::native == std::endian::little) return;
    for (std::size_t at = 0; at + 1 < line.size(); at += 2) std::swap(line[at], line[at + 1]);
}

}  // namespace

Conversion::Conversion(const Raster& before, const colour::PixelConverter& by)
    : from(before), to(before), converter(by) {
    to.samples = before.samples - by.sourceChannels() + by.targetChannels();
}

void Conversion::Convert(unsigned char* source, unsigned char* dest, std::size_t pixels) const {
    if (IsInPlace()) {
        converter.Convert(dest, pixels, to.samples, false);
    } else {
        converter.Convert(source, dest, pixels, from.samples, false);
    }
}

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
    const std::size_t colours = converter.targetChannels() * width;
    Bytes line(pixels * colours);
    for (std::size_t p = 0; p < pixels; ++p) {
        std::copy_n(data + p * samples * width, colours, line.data() + p * colours);
    }
    measured.clipped += converter.CountClipped(line.data(), pixels);
    LowByteFirst(line, converter.bits());
    measured.hash.Add(line.data(), line.size());
}

std::uint64_t BandMemory(const Conversion& conversion) {
    // The pixels, before and after unless in place, and their colours when they are measured.
    const std::uint64_t written = conversion.to.RowBytes() * (conversion.IsInPlace() ? 1 : 2);
    return RowsOfBand(conversion) * (conversion.from.RowBytes() + written);
}

void ConvertBands(const Conversion& conversion, const ConvertPixels& convert, RowSource& source, RowSink& sink,
                  const WriteSettings& settings, Measured& measured) {
    const Raster &from = conversion.from, &to = conversion.to;
    const std::uint32_t rows = RowsOfBand(conversion);
    WorkUnits bands((from.height - 1) / rows + 1);
    const std::uint64_t most = std::max<std::uint64_t>(1, settings.memory / BandMemory(conversion));
    const auto threads = static_cast<unsigned>(std::min<std::uint64_t>(settings.threads, most));
    bands.Run(threads, [&]() -> WorkUnits::Work {
        Bytes band(static_cast<std::size_t>(rows * from.RowBytes()));
        Bytes written(conversion.IsInPlace() ? 0 : static_cast<std::size_t>(rows * to.RowBytes()));
        return [&, band = std::move(band), written = std::move(written)](std::uint64_t number) mutable {
            const auto first = static_cast<std::uint32_t>(number * rows);
            const std::uint32_t count = std::min(rows, from.height - first);
            const std::size_t pixels = std::size_t{count} * from.width;
            unsigned char* const result = written.empty() ? band.data() : written.data();
            // The two parts of a unit are independent of each other: one orders the reading, the other the writing.
            bands.InOrder(WorkUnits::Placing, number, [&] { source.Read(band.data(), count); });
            convert(band.data(), result, pixels);
            bands.InOrder(WorkUnits::Measuring, number, [&] {
                MeasurePixels(conversion.converter, to.samples, result, pixels, settings, measured);
                sink.Write(result, count);
            });
        };
    });
}

void ConvertBands(const Conversion& conversion, RowSource& source, RowSink& sink, const WriteSettings& settings,
                  Measured& measured) {
    const auto convert = [&](unsigned char* from, unsigned char* to, std::size_t pixels) {
        conversion.Convert(from, to, pixels);
    };
    ConvertBands(conversion, convert, source, sink, settings, measured);
}

}  // namespace hueweave::tool
