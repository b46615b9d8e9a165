// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace hueweave::colour {

/// Converts pixels of one bit depth to pixels with as many or another number of channels. Threads may share it.
class DeviceConverter {
public:
    virtual ~DeviceConverter() = default;

    /// Interleaved samples of `bits()` bits in the processor's byte order. The buffers do not overlap.
    virtual void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels) const = 0;
    /// 8 or 16.
    virtual unsigned bits() const = 0;
    virtual unsigned sourceChannels() const = 0;
    virtual unsigned targetChannels() const = 0;
};

}  // namespace hueweave::colour
