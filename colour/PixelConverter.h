// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "colour/base/RgbConverter.h"

namespace hueweave::colour {

/// Converts pixels with further samples beside RGB. Threads may share it.
class PixelConverter {
public:
    explicit PixelConverter(std::unique_ptr<const RgbConverter> rgb) : rgb_(std::move(rgb)) {}

    /// Converts the first three samples of `pixels` pixels with `samples` samples each, in place and in the processor's
    /// byte order; other samples do not change. With `premultiplied`, the fourth sample is an associated alpha: the
    /// colour is divided by it before the conversion and multiplied by it afterwards.
    void Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const;
    /// How many of these interleaved RGB pixels have a sample at an end of the converter's range.
    std::uint64_t CountClipped(const unsigned char* rgb, std::size_t pixels) const;
    unsigned bits() const { return rgb_->bits(); }

private:
    std::unique_ptr<const RgbConverter> rgb_;
};

}  // namespace hueweave::colour
