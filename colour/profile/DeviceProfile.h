// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "colour/base/Bytes.h"
#include "colour/base/ColourModel.h"

namespace hueweave::colour {

/// A valid profile of a device.
struct DeviceDescription {
    ColourModel model;  ///< RGB, grey or CMYK
    std::string text;   ///< may be empty
};
/// Throws a ProfileError for data that are not a profile, and for profiles of another class or of other colours; unless
/// `anyModel`, also for grey and CMYK.
DeviceDescription CheckDeviceProfile(const Bytes& data, bool anyModel = false);
/// Throws a ProfileError for a valid profile that does not define a conversion to its device, and so cannot be a
/// target.
void CheckTargetProfile(const Bytes& data);

}  // namespace hueweave::colour
