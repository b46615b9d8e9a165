// SPDX-License-Identifier: MIT
#include "colour/profile/Spaces.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "colour/base/EditDistance.h"

namespace hueweave::colour {
namespace {

using namespace ICC40::ICCFILE;

constexpr Chromaticity kD50{0.3457, 0.3585}, kD65{0.3127, 0.3290};
constexpr Primaries kSrgb{kD65, {0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}};                  // IEC 61966-2-1
constexpr Primaries kAdobeRgb{kD65, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}};              // Adobe RGB (1998)
constexpr Primaries kDisplayP3{kD65, {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}};       // SMPTE EG 432-1
constexpr Primaries kRec2020{kD65, {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}};         // ITU-R BT.2020
constexpr Primaries kProPhoto{kD50, {0.7347, 0.2653}, {0.1596, 0.8404}, {0.0366, 0.0001}};  // ISO 22028-2
constexpr Primaries kEciRgb{kD50, {0.67, 0.33}, {0.21, 0.71}, {0.14, 0.08}};                // ISO 22028-4

constexpr auto kNone = Space::kNoCode;

constexpr Space kSpaces[] = {
    {"srgb", "sRGB", CssRGB_8, CssRGB_16, &kSrgb, Tone::Srgb, "the web, screens, most viewers"},
    {"srgb-linear", "sRGB, linear light", CssRGB_Gamma100_8, CssRGB_Gamma100_16, nullptr, Tone::Linear,
     "for compositing; use 16 bits per sample"},
    {"display-p3", "Display P3", kNone, kNone, &kDisplayP3, Tone::Srgb, "screens of phones, tablets and notebooks"},
    {"rec2020", "Rec. 2020", kNone, kNone, &kRec2020, Tone::Rec2020, "television; use 16 bits per sample"},
    {"prophoto", "ProPhoto RGB", kNone, kNone, &kProPhoto, Tone::ProPhoto, "raw development; use 16 bits per sample"},
    {"eci-rgb-v2", "eciRGB v2", kNone, kNone, &kEciRgb, Tone::LStar, "prepress and archives; even steps of L*"},
    {"adobe-rgb", "AdobeRGB, gamma 2.2", CsAdobeRGB_Gamma180_16, CsAdobeRGB_Gamma180_16, &kAdobeRgb, Tone::Adobe,
     "prepress and photography; gamma 563/256"},
    {"adobe-rgb-g18", "AdobeRGB, gamma 1.8", CsAdobeRGB_Gamma180_8, CsAdobeRGB_Gamma180_16, nullptr, Tone::Gamma18,
     "AdobeRGB primaries"},
    {"adobe-rgb-linear", "AdobeRGB, linear light", CsAdobeRGB_Gamma100_8, CsAdobeRGB_Gamma100_16, nullptr, Tone::Linear,
     "AdobeRGB primaries; use 16 bits per sample"},
    {"apple-rgb-g18", "AppleRGB, gamma 1.8", CsAppleRGB_Gamma180_8, CsAppleRGB_Gamma180_16, nullptr, Tone::Gamma18,
     "AppleRGB primaries"},
    {"apple-rgb-linear", "AppleRGB, linear light", CsAppleRGB_Gamma100_8, CsAppleRGB_Gamma100_16, nullptr, Tone::Linear,
     "AppleRGB primaries; use 16 bits per sample"},
    {"colormatch-g18", "ColorMatchRGB, gamma 1.8", CsColorMatchRGB_Gamma180_8, CsColorMatchRGB_Gamma180_16, nullptr,
     Tone::Gamma18, "ColorMatchRGB primaries"},
    {"colormatch-linear", "ColorMatchRGB, linear light", CsColorMatchRGB_Gamma100_8, CsColorMatchRGB_Gamma100_16,
     nullptr, Tone::Linear, "ColorMatchRGB primaries; use 16 bits per sample"},
    {"kodak-photo", "sRGB primaries, Kodak photo curve", CsKodakPhoto_8, CsKodakPhoto_16, nullptr, Tone::Kodak,
     "a look: deep shadows"},
    {"kodak-mix", "sRGB primaries, Kodak mixed curve", CsKodakMix_8, CsKodakMix_16, nullptr, Tone::Kodak,
     "a look for pages of text and pictures; 256 steps in 16-bit files too"},
    {"kodak-text", "sRGB primaries, Kodak text curve", CsKodakText_8, CsKodakText_16, nullptr, Tone::Kodak,
     "a look for pages of text: paper becomes white"},
};

/// Names in use elsewhere, without their punctuation.
struct Alias {
    std::string_view plain;
    std::string_view name;
};
constexpr Alias kAliases[] = {
    {"adobergb1998", "adobe-rgb"}, {"srgbiec6196621", "srgb"}, {"p3", "display-p3"},        {"dcip3d65", "display-p3"},
    {"bt2020", "rec2020"},         {"itur2020", "rec2020"},    {"prophotorgb", "prophoto"}, {"rommrgb", "prophoto"},
    {"romm", "prophoto"},          {"ecirgb", "eci-rgb-v2"},
};

/// Only the letters and digits, in lower case.
std::string Plain(std::string_view word) {
    std::string plain;
    for (const char c : word) {
        const bool upper = c >= 'A' && c <= 'Z';
        if (upper) plain += static_cast<char>(c - 'A' + 'a');
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) plain += c;
    }
    return plain;
}

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
    std::string plain = Plain(name);
    for (const Alias& alias : kAliases) {
        if (alias.plain == plain) plain = Plain(alias.name);
    }
    const auto* found = std::find_if(std::begin(kSpaces), std::end(kSpaces),
                                     [&](const Space& space) { return Plain(space.name) == plain; });
    return found == std::end(kSpaces) ? nullptr : found;
}

std::string_view NearestSpace(std::string_view word) {
    constexpr std::size_t kLongest = 40, kFurthest = 3;
    if (word.size() > kLongest) return {};
    const std::string plain = Plain(word);
    const auto distance = [&](const Space& space) { return EditDistance(plain, Plain(space.name)); };
    const auto* nearest = std::min_element(std::begin(kSpaces), std::end(kSpaces),
                                           [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
    return distance(*nearest) <= kFurthest && distance(*nearest) < plain.size() ? nearest->name : std::string_view();
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
