// SPDX-License-Identifier: MIT
#pragma once

namespace hueweave::colour {

/// What the samples of a pixel mean. Grey rises from black to white; CMYK is 0 without ink. Lab has 8 or 16 bits: L* 0
/// to 100 for the whole range of samples in `CieLab`, up to 0xff00 for 16 bits in `IccLab`; a* and b* are signed in
/// `CieLab` and offset by half the range in `IccLab`, in steps of 1 for 8 bits and of 1/256 for 16 bits.
enum class ColourModel { Rgb, Grey, Cmyk, CieLab, IccLab };

constexpr unsigned ChannelsOf(ColourModel model) {
    return model == ColourModel::Grey ? 1 : model == ColourModel::Cmyk ? 4 : 3;
}
constexpr bool IsLab(ColourModel model) { return model == ColourModel::CieLab || model == ColourModel::IccLab; }

}  // namespace hueweave::colour
