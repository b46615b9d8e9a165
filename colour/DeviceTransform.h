// SPDX-License-Identifier: MIT
// Colours of a grey or CMYK device, or of CIELAB, in the space of an RGB or grey profile, by Little CMS in floating
// point.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "colour/Transform.h"
#include "colour/base/ColourModel.h"
#include "colour/base/DeviceConverter.h"

namespace hueweave::colour {

/// A transform at one bit depth. Grey samples are looked up in a table of all their values; other pixels are converted
/// one by one, except those that were converted recently.
class DeviceTransform : public DeviceConverter {
public:
    /// `source` is a profile for `model`, or is empty for CIELAB. `target` is an RGB or grey profile. Throws as the
    /// constructor of `Transform` does.
    DeviceTransform(
        ColourModel model, const Bytes& source, const Bytes& target, const TransformOptions& options, unsigned bits,
        const Poll& poll = [] {});
    ~DeviceTransform() override;

    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels) const override;
    unsigned bits() const override { return bits_; }
    unsigned sourceChannels() const override { return ChannelsOf(model_); }
    unsigned targetChannels() const override { return targetChannels_; }
    /// `Copy` if no grey sample changes, otherwise `Table` or `PixelByPixel`.
    Way way() const { return way_; }

private:
    template <typename Sample>
    void ConvertAs(const unsigned char* source, unsigned char* dest, std::size_t pixels) const;
    void FillTable(const Poll& poll);

    struct Parts;
    ColourModel model_;
    unsigned bits_, targetChannels_ = 3;
    Way way_ = Way::PixelByPixel;
    std::unique_ptr<const Parts> parts_;
    std::vector<std::uint16_t> table_;  ///< by grey sample: the samples of the target; empty for other models
};

/// A profile of grey with the tone curve of a matrix profile. Nothing if that has no single curve. `version` is that of
/// the ICC, 2 or 4; 0 for that of the profile.
std::optional<Bytes> MakeGreyProfile(const Bytes& profile, int version);

}  // namespace hueweave::colour
