// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "colour/Rendering.h"
#include "system/FileAccess.h"

namespace ICC40::ICC_ENG_S4 {
class CIccEngineS;
}

namespace hueweave::tool {

/// Converts runs of pixels of one depth with an engine. Threads may share one.
class PixelConverter {
public:
    /// `profile` is one that the engine takes. `bits` is 8 or 16. Refuses what the engine refuses.
    PixelConverter(const Bytes& profile, const std::string& name, const Rendering& rendering, unsigned bits);
    ~PixelConverter();
    PixelConverter(PixelConverter&&) noexcept;

    /// Converts the first three samples of `pixels` pixels of `samples` samples each, in place and in the processor's
    /// byte order; the others stay. With `premultiplied` the fourth is an associated alpha: the colour is taken out of
    /// it before and multiplied with it afterwards.
    void Convert(unsigned char* data, std::size_t pixels, unsigned samples, bool premultiplied) const;
    /// How many of these interleaved RGB pixels have a sample at an end of what the engine reaches.
    std::uint64_t CountClipped(const unsigned char* rgb, std::size_t pixels) const;
    /// The profile that describes the result, empty if no profile can.
    Bytes OutputProfile() const;
    unsigned bits() const { return bits_; }

private:
    void ConvertRgb(unsigned char* rgb, std::size_t pixels) const;
    void MapWide(unsigned char* rgb, std::size_t pixels) const;

    Rendering rendering_;
    unsigned bits_;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine_;
    std::vector<std::uint16_t> map_;  ///< of the engine's samples, where they are not yet those of the space
    std::array<std::uint16_t, 3> low_{}, high_{};
};

}  // namespace hueweave::tool
