// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "colour/base/Bytes.h"
#include "colour/base/Poll.h"
#include "iccfile/IccTypes.h"

namespace hueweave::colour {

/// Why the engine would refuse or misread this profile for this intent; nothing if it can use it directly.
std::optional<std::string> WhyBake(const Bytes& profile, ICC40::ICCFILE::Intent intent);

/// The profile for the engine: the given one, or one baked from it.
struct EngineProfile {
    Bytes data;
    std::string bakedBecause;  ///< empty if the given one is used
};
/// Throws a ProfileError for a profile that cannot be baked.
EngineProfile PrepareProfile(const Bytes& profile, ICC40::ICCFILE::Intent intent, const Poll& poll);

}  // namespace hueweave::colour
