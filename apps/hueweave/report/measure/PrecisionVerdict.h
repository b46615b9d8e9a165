// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/inputs/ConvertOptions.h"
#include "batch/session/ProfileFile.h"
#include "batch/session/Target.h"
#include "colour/Transform.h"
#include "colour/judge/Compare.h"
#include "colour/library/EngineProfile.h"
#include "system/Json.h"

namespace hueweave::tool {

/// What is compared with Little CMS.
struct PrecisionQuestion {
    colour::Rendering rendering;
    std::string targetFile;
    unsigned bits = 16;
};

struct PrecisionVerdict {
    Target target;
    colour::EngineProfile engine;  ///< for the library
    std::string way;               ///< of the exact precision
    std::shared_ptr<const colour::Transform> transform;
    colour::Comparison exact;
    std::optional<colour::Comparison> library;  ///< empty if the library does not support the target
};

/// Functions that get every colour that is compared; may be empty.
struct EachCompared {
    colour::EachColour exact, library;
};

/// Compares both precisions with Little CMS in floating point. Refuses a profile that cannot be used.
PrecisionVerdict ComparePrecisions(const PrecisionQuestion& question, const DeviceProfile& profile,
                                   const std::vector<colour::DeviceColour>& colours, const EachCompared& each = {});

/// The JSON output of `verify` for this verdict.
nlohmann::ordered_json DescribeVerdict(const PrecisionQuestion& question, const DeviceProfile& profile,
                                       const PrecisionVerdict& verdict);

}  // namespace hueweave::tool
