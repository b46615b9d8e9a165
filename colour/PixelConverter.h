// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "colour/base/DeviceConverter.h"
#include "colour/base/RgbConverter.h"

namespace hueweave::colour {

/// Converts pixels with further samples beside the colours. Threads may share it.
class PixelConverter {
public:
    explicit PixelConverter(std::unique_ptr<const RgbConverter> rgb) : rgb_(std::move(rgb)) {}
    explicit PixelConverter(std::unique_ptr<const DeviceConverter> device) : device_(std::move(device)) {}

    /// Converts the first three samples of `pixels` pixels with `samples` samples each, in place and in the processor's
    /// byte order; other samples do not change. With `premultiplied`, the fourth sample is an associated alpha: the
    /// colour is divided by it before the conversion and multiplied by it afterwards.
    void Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const;
    /// The same for a converter of a device with another number of channels, or of another kind, than RGB: from
    /// `source` to `dest`, whose pixels have the channels of the target. The sample after the colours may be an
    /// associated alpha.
    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels, unsigned samples,
                 bool premultiplied) const;
    /// Whether pixels are converted in place, from RGB to RGB.
    bool IsInPlace() const { return rgb_ != nullptr; }
    /// How many of these interleaved pixels, without other samples than colours, have a sample at an end of the
    /// converter's range.
    std::uint64_t CountClipped(const unsigned char* colours, std::size_t pixels) const;
    unsigned bits() const { return rgb_ != nullptr ? rgb_->bits() : device_->bits(); }
    unsigned sourceChannels() const { return rgb_ != nullptr ? 3 : device_->sourceChannels(); }
    unsigned targetChannels() const { return rgb_ != nullptr ? 3 : device_->targetChannels(); }

private:
    std::unique_ptr<const RgbConverter> rgb_;        ///< null if there is a converter of a device
    std::unique_ptr<const DeviceConverter> device_;  ///< null for RGB
};

}  // namespace hueweave::colour
