// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

#include "hueweave/transform.h"

namespace hueweave::python {

inline constexpr std::size_t kMostAxes = 32;  ///< of an array of NumPy

/// One axis of an array of pixels.
struct Axis {
    std::size_t count;        ///< pixels, or groups of them
    std::ptrdiff_t from, to;  ///< bytes from one to the next in the source and in the destination
};

/// Pixels in two arrays of the same shape, at any strides. An axis with all the pixels of the next one, without gaps in
/// either array, is joined with it, so that ordinary arrays have a single axis.
class PixelMap {
public:
    /// `channels` samples of `sampleBytes` in each pixel; `fromSample` and `toSample` are bytes from one sample of a
    /// pixel to the next.
    PixelMap(const void* from, void* to, std::size_t sampleBytes, std::size_t channels, std::ptrdiff_t fromSample,
             std::ptrdiff_t toSample);
    /// Adds an axis; the outermost comes first.
    void Add(const Axis& axis);

    std::size_t pixels() const { return pixels_; }
    /// Converts everything with up to `threads` threads; a small array is converted by the calling one alone. Returns
    /// an `hw_status`. Throws `std::bad_alloc`.
    int Convert(const hw_transform* transform, std::size_t threads) const;

private:
    /// Converts the pixels `begin` to `end` in the order of the axes.
    int ConvertRange(const hw_transform* transform, std::size_t begin, std::size_t end) const;
    int ConvertByCopies(const hw_transform* transform, std::size_t begin, std::size_t end) const;
    /// Calls `visit(from, to, count)` for each run of pixels along the innermost axis.
    template <typename Visit>
    int ForEachRun(std::size_t begin, std::size_t end, const Visit& visit) const;
    bool HasLongRuns() const;
    std::ptrdiff_t PixelBytes() const { return static_cast<std::ptrdiff_t>(sampleBytes_ * channels_); }

    const unsigned char* from_;
    unsigned char* to_;
    std::size_t sampleBytes_, channels_;
    std::ptrdiff_t fromSample_, toSample_;
    std::size_t pixels_ = 1;
    std::size_t axes_ = 0;
    std::array<Axis, kMostAxes> axis_;
};

}  // namespace hueweave::python
