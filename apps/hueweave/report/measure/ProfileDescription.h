// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "system/FileAccess.h"
#include "system/Json.h"

namespace hueweave::tool {

/// The output of `inspect` for a profile: its header, its tags with the shape of tables, and the intents that the
/// library supports. `name` is that of the profile, or of the picture that embeds it. Refuses data that are not a
/// profile.
nlohmann::ordered_json DescribeProfile(const std::string& name, const Bytes& bytes, bool embedded);

}  // namespace hueweave::tool
