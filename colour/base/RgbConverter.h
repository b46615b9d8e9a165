// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace hueweave::colour {

/// Converts RGB pixels of one bit depth. Threads may share it.
class RgbConverter {
public:
    virtual ~RgbConverter() = default;

    /// Converts interleaved RGB samples of `bits()` bits in place, in the processor's byte order.
    virtual void Convert(unsigned char* rgb, std::size_t pixels) const = 0;
    /// 8 or 16.
    virtual unsigned bits() const = 0;
    /// The ends of the range of each channel's samples: a sample there may have been clipped.
    struct Range {
        std::array<std::uint16_t, 3> low, high;
    };
    virtual Range range() const = 0;
};

}  // namespace hueweave::colour
