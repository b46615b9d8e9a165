// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "cli/RenderingWords.h"

#include <fmt/format.h>

#include <cmath>

#include "cli/Command.h"

namespace hueweave::tool {

void SettleRendering(const RenderingWords& words, Rendering& rendering) {
    rendering.space = FindSpace(words.space);
    if (rendering.space == nullptr) RefuseUsage("--to " + words.space + " is not a known space", "see hueweave spaces");
    bool known = false;
    for (const NamedIntent& named : Intents()) {
        if (named.name != words.intent) continue;
        rendering.intent = named.intent;
        known = true;
    }
    if (!known)
        RefuseUsage("--intent " + words.intent + " is not known", "use perceptual, relative, saturation or absolute");
    const auto check = [](const char* name, double value, double most) {
        if (!std::isfinite(value) || std::fabs(value) > most) {
            RefuseUsage(fmt::format("{} {} is out of range", name, value), fmt::format("use -{0} to {0}", most));
        }
    };
    check("--lightness", rendering.lightness, 100);
    check("--chroma", rendering.chroma, 100);
    check("--hue", rendering.hue, 360);
}

}  // namespace hueweave::tool
