// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "colour/base/Bytes.h"

namespace hueweave::colour {

/// The description of an RGB device profile; may be empty. Throws a ProfileError for data that are not a profile, and
/// for profiles of another class or colour space.
std::string CheckDeviceProfile(const Bytes& data);
/// Throws a ProfileError for a valid profile that does not define a conversion to its device, and so cannot be a
/// target.
void CheckTargetProfile(const Bytes& data);

}  // namespace hueweave::colour
