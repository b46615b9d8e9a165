// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/profile/Spaces.h"

#include <algorithm>
#include <cmath>

namespace hueweave::colour {
namespace {

using namespace ICC40::ICCFILE;

constexpr Space kSpaces[] = {
    {"srgb", "sRGB", CssRGB_8, CssRGB_16, Tone::Srgb, "the web, screens, most viewers"},
    {"srgb-linear", "sRGB, linear light", CssRGB_Gamma100_8, CssRGB_Gamma100_16, Tone::Linear,
     "for compositing; wants 16 bits"},
    {"adobe-rgb", "AdobeRGB, gamma 2.2", CsAdobeRGB_Gamma180_16, CsAdobeRGB_Gamma180_16, Tone::Adobe,
     "prepress and photography; gamma 563/256"},
    {"adobe-rgb-g18", "AdobeRGB, gamma 1.8", CsAdobeRGB_Gamma180_8, CsAdobeRGB_Gamma180_16, Tone::Gamma18,
     "AdobeRGB primaries"},
    {"adobe-rgb-linear", "AdobeRGB, linear light", CsAdobeRGB_Gamma100_8, CsAdobeRGB_Gamma100_16, Tone::Linear,
     "AdobeRGB primaries; wants 16 bits"},
    {"apple-rgb-g18", "AppleRGB, gamma 1.8", CsAppleRGB_Gamma180_8, CsAppleRGB_Gamma180_16, Tone::Gamma18,
     "AppleRGB primaries"},
    {"apple-rgb-linear", "AppleRGB, linear light", CsAppleRGB_Gamma100_8, CsAppleRGB_Gamma100_16, Tone::Linear,
     "AppleRGB primaries; wants 16 bits"},
    {"colormatch-g18", "ColorMatchRGB, gamma 1.8", CsColorMatchRGB_Gamma180_8, CsColorMatchRGB_Gamma180_16,
     Tone::Gamma18, "ColorMatchRGB primaries"},
    {"colormatch-linear", "ColorMatchRGB, linear light", CsColorMatchRGB_Gamma100_8, CsColorMatchRGB_Gamma100_16,
     Tone::Linear, "ColorMatchRGB primaries; wants 16 bits"},
    {"kodak-photo", "sRGB primaries, Kodak photo curve", CsKodakPhoto_8, CsKodakPhoto_16, Tone::Kodak,
     "a look: deep shadows"},
    {"kodak-mix", "sRGB primaries, Kodak mixed curve", CsKodakMix_8, CsKodakMix_16, Tone::Kodak,
     "a look for pages of text and pictures; 256 steps in 16-bit files too"},
    {"kodak-text", "sRGB primaries, Kodak text curve", CsKodakText_8, CsKodakText_16, Tone::Kodak,
     "a look for pages of text: paper becomes white"},
};

constexpr NamedIntent kIntents[] = {{"perceptual", IntentPerceptual},
                                    {"relative", IntentRelativeColorimetric},
                                    {"saturation", IntentSaturation},
                                    {"absolute", IntentAbsoluteColorimetric}};

}  // namespace

const ICC40::ICC_UNIT::OutputSpace& Space::Built(unsigned bits) const {
    return *ICC40::ICC_UNIT::FindOutputSpace(bits == 8 ? code8 : code16);
}

std::span<const Space> Spaces() { return kSpaces; }

const Space* FindSpace(std::string_view name) {
    const auto* found = std::find_if(std::begin(kSpaces), std::end(kSpaces), [&](auto& s) { return s.name == name; });
    return found == std::end(kSpaces) ? nullptr : found;
}

std::span<const NamedIntent> Intents() { return kIntents; }

std::string_view IntentName(Intent intent) {
    for (const NamedIntent& named : kIntents) {
        if (named.intent == intent) return named.name;
    }
    return "perceptual";
}

std::uint16_t AdobeFromGamma18(std::uint16_t sample) {
    return static_cast<std::uint16_t>(
        std::lround(65535.0 * std::pow(sample / 65535.0, 1.0 / (kGamma18Power * kAdobeGamma))));
}

}  // namespace hueweave::colour
