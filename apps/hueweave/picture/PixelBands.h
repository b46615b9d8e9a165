// SPDX-License-Identifier: MIT
// Images that are decoded and encoded from top to bottom.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "colour/PixelConverter.h"
#include "picture/Writing.h"

namespace hueweave::tool {

/// The shape of an image with interleaved samples; those of 16 bits are in the processor's byte order.
struct Raster {
    std::uint32_t width = 0, height = 0;
    unsigned samples = 3, bits = 8;
    bool operator==(const Raster&) const = default;
    std::uint64_t PixelBytes() const { return std::uint64_t{samples} * (bits / 8); }
    std::uint64_t RowBytes() const { return width * PixelBytes(); }
    std::uint64_t Pixels() const { return std::uint64_t{width} * height; }
};

/// An image before and after its pixels are converted, which may change the number of samples.
struct Conversion {
    /// `from` becomes an image with the colours of the converter's target.
    Conversion(const Raster& before, const colour::PixelConverter& by);
    /// Whether converted pixels take the place of those that were read.
    bool IsInPlace() const { return converter.IsInPlace(); }
    /// Converts pixels; `dest` is `source` in place.
    void Convert(unsigned char* source, unsigned char* dest, std::size_t pixels) const;

    Raster from, to;
    const colour::PixelConverter& converter;
};

/// Gives the rows of an image, from the first to the last.
class RowSource {
public:
    virtual ~RowSource() = default;
    virtual void Read(unsigned char* rows, std::uint32_t count) = 0;
};

/// Takes the rows of an image, from the first to the last.
class RowSink {
public:
    virtual ~RowSink() = default;
    virtual void Write(unsigned char* rows, std::uint32_t count) = 0;
};

/// An image in memory, as rows that are read and replaced.
class RowsInMemory : public RowSource, public RowSink {
public:
    RowsInMemory(const Raster& raster, Bytes& pixels) : raster_(raster), pixels_(pixels) {}
    void Read(unsigned char* rows, std::uint32_t count) override;
    void Write(unsigned char* rows, std::uint32_t count) override;

private:
    const Raster& raster_;
    Bytes& pixels_;
    std::size_t read_ = 0, written_ = 0;  ///< bytes
};

/// Converts pixels; `dest` is `source` in place.
using ConvertPixels = std::function<void(unsigned char* source, unsigned char* dest, std::size_t pixels)>;

/// Adds converted pixels to the measurements. `samples` per pixel, of which the first ones are the colour.
void MeasurePixels(const colour::PixelConverter& converter, unsigned samples, const unsigned char* data,
                   std::size_t pixels, const WriteSettings& settings, Measured& measured);

/// Bytes of the buffers that `ConvertBands` needs for one thread.
std::uint64_t BandMemory(const Conversion& conversion);

/// Converts an image, a few rows at a time. With several threads, rows are decoded, converted and encoded at the same
/// time. Reading and writing are in order, each by one thread at a time. The converter of `conversion` is that behind
/// `convert`.
void ConvertBands(const Conversion& conversion, const ConvertPixels& convert, RowSource& source, RowSink& sink,
                  const WriteSettings& settings, Measured& measured);
/// The same without anything but the converter.
void ConvertBands(const Conversion& conversion, RowSource& source, RowSink& sink, const WriteSettings& settings,
                  Measured& measured);

}  // namespace hueweave::tool
