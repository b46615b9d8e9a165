// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>

#include "colour/Transform.h"
#include "colour/base/RgbConverter.h"

namespace hueweave::colour {

/// A transform at one bit depth.
class ExactConverter : public RgbConverter {
public:
    ExactConverter(std::shared_ptr<const Transform> transform, unsigned bits)
        : transform_(std::move(transform)), bits_(bits) {}

    void Convert(unsigned char* rgb, std::size_t pixels) const override { transform_->Convert(rgb, bits_, pixels); }
    unsigned bits() const override { return bits_; }
    Range range() const override {
        const auto top = static_cast<std::uint16_t>(bits_ == 8 ? 255 : 65535);
        return {{0, 0, 0}, {top, top, top}};
    }

private:
    std::shared_ptr<const Transform> transform_;
    unsigned bits_;
};

}  // namespace hueweave::colour
