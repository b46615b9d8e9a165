// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "colour/Rendering.h"

namespace hueweave::tool {

/// Space and intent as words of the command line.
struct RenderingWords {
    std::string space = "srgb", intent = "perceptual";
};

/// Understands the words and checks the offsets. Refuses with `Exit::Usage`.
void SettleRendering(const RenderingWords& words, Rendering& rendering);

}  // namespace hueweave::tool
