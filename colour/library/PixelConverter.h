// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/library/Rendering.h"

namespace ICC40::ICC_ENG_S4 {
class CIccEngineS;
}

namespace hueweave::colour {

/// Converts pixels of one bit depth with an engine. Threads may share it.
class PixelConverter {
public:
    /// `profile` must be supported by the engine. `bits` is 8 or 16. Throws a ProfileError for a profile that the
    /// engine refuses.
    PixelConverter(const Bytes& profile, const Rendering& rendering, unsigned bits);
    ~PixelConverter();
    PixelConverter(PixelConverter&&) noexcept;

    /// Converts the first three samples of `pixels` pixels with `samples` samples each, in place and in the processor's
    /// byte order; other samples do not change. With `premultiplied`, the fourth sample is an associated alpha: the
    /// colour is divided by it before the conversion and multiplied by it afterwards.
    void Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const;
    /// How many of these interleaved RGB pixels have a sample at an end of the range that the engine can produce.
    std::uint64_t CountClipped(const unsigned char* rgb, std::size_t pixels) const;
    /// The profile of the result; empty if no profile can describe it.
    Bytes OutputProfile() const;
    unsigned bits() const { return bits_; }

private:
    void ConvertRgb(unsigned char* rgb, std::size_t pixels) const;
    void MapWide(unsigned char* rgb, std::size_t pixels) const;

    Rendering rendering_;
    unsigned bits_;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine_;
    std::vector<std::uint16_t> map_;  ///< maps the engine's samples to those of the space, if they differ
    std::array<std::uint16_t, 3> low_{}, high_{};
};

}  // namespace hueweave::colour
