// SPDX-License-Identifier: MIT
// Converts colours from any RGB profile to any other RGB profile, as exactly as Little CMS in floating point and
// several times as fast.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "colour/base/Bytes.h"
#include "colour/base/Poll.h"
#include "colour/base/TransformOptions.h"

namespace hueweave::colour {

/// How a transform converts pixels.
enum class Way {
    Copy,         ///< the profiles describe the same colours: samples are not changed
    Matrix,       ///< curves, a matrix, curves
    Table,        ///< every grey sample is looked up
    Direct,       ///< the profiles' own curves and CLUTs, in single precision
    PixelByPixel  ///< Little CMS itself, slow, where no other way is exact enough
};
/// "copy", "matrix", "table", "direct" or "pixel by pixel".
std::string_view WayName(Way way);

/// The error of a transform, measured when it is created: CIEDE2000 between its 16-bit samples and those of Little CMS
/// in floating point, computed through the target profile. All zero for `Way::Copy`.
struct TransformError {
    std::size_t colours = 0;  ///< number of colours compared
    double mean = 0;
    double p999 = 0;  ///< not exceeded by 99.9 % of the colours
    double largest = 0;
};

/// A transform from one RGB profile to another. It is immutable, so threads may share it, and keeps no reference to the
/// profiles.
class Transform {
public:
    /// `source` and `target` are the contents of ICC profiles. Throws `ProfileError` if one of them cannot be used, and
    /// `std::bad_alloc`. `poll` is called repeatedly while the transform is created, and may throw.
    Transform(
        const Bytes& source, const Bytes& target, const TransformOptions& options, const Poll& poll = [] {});
    ~Transform();
    Transform(Transform&&) noexcept;
    Transform& operator=(Transform&&) noexcept;

    /// Converts `pixels` interleaved pixels of `samples` samples, at least three, in native byte order. The first three
    /// are RGB; the others are copied. `dest` must be `source` or not overlap it. Results are rounded to the nearest
    /// sample.
    void Convert(const std::uint8_t* source, std::uint8_t* dest, std::size_t pixels, unsigned samples = 3) const;
    void Convert(const std::uint16_t* source, std::uint16_t* dest, std::size_t pixels, unsigned samples = 3) const;
    /// Converts in place samples of 8 or 16 bits at any address.
    void Convert(unsigned char* data, unsigned bits, std::size_t pixels, unsigned samples = 3) const;
    /// The same from one place to another, and for samples of 32 bits: these are in floating point, and nothing is
    /// rounded. They are clamped to 0 to 1 before and after the conversion, also where it is a copy; NaN is 0.
    void Convert(const unsigned char* source, unsigned char* dest, unsigned bits, std::size_t pixels,
                 unsigned samples) const;

    Way way() const;
    /// Why no way faster than `Way::PixelByPixel` is used; empty for the other ways.
    const std::string& reason() const;
    const TransformError& error() const;

private:
    struct Parts;
    std::unique_ptr<const Parts> parts_;
};

/// Whether two RGB profiles describe the same colours for an intent, so that a transform between them is a copy. Throws
/// as the constructor of `Transform` does.
bool DescribeSameColours(const Bytes& source, const Bytes& target, RenderingIntent intent);

}  // namespace hueweave::colour
