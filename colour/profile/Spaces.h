// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "iccfile/IccTypes.h"
#include "units/OutputSpaces.h"

namespace hueweave::colour {

/// The tone curve of a space.
enum class Tone { Srgb, Linear, Gamma18, Adobe, Kodak, Rec2020, ProPhoto, LStar };

/// CIE 1931 chromaticities.
struct Chromaticity {
    double x, y;
};
struct Primaries {
    Chromaticity white, red, green, blue;
};

/// An output colour space of the command.
struct Space {
    std::string_view name;                              ///< for --to
    std::string_view title;                             ///< in the profile of the output
    ICC40::ICCFILE::ColorSpaceSignature code8, code16;  ///< the engine's, for 8-bit and 16-bit files
    const Primaries* primaries;                         ///< null for the engine's, which are rounded
    Tone tone;
    std::string_view note;  ///< for `hueweave spaces`

    /// Whether the engine supports the space, so that it is available with the library's precision.
    bool IsEngines() const { return code8 != kNoCode; }
    static constexpr auto kNoCode = ICC40::ICCFILE::CsNone;
    /// What the engine builds for files with that number of bits: primaries and sample width.
    const ICC40::ICC_UNIT::OutputSpace& Built(unsigned bits) const;
    /// AdobeRGB as commonly used has no code of its own: a table converts the space with gamma 1.8 to it.
    bool ByTable() const { return tone == Tone::Adobe; }
};

std::span<const Space> Spaces();
/// By its name or an alias such as "AdobeRGB1998", without regard to case. Null for an unknown name.
const Space* FindSpace(std::string_view name);
/// The name most similar to `word`, for a suggestion; empty if none is similar.
std::string_view NearestSpace(std::string_view word);

/// Intents by name: perceptual, relative, saturation, absolute.
struct NamedIntent {
    std::string_view name;
    ICC40::ICCFILE::Intent intent;
};
std::span<const NamedIntent> Intents();
std::string_view IntentName(ICC40::ICCFILE::Intent intent);

/// Exponent of AdobeRGB's tone curve: 2 + 51/256.
inline constexpr double kAdobeGamma = 2.19921875;
/// Exponent with which the spaces of gamma 1.8 are encoded.
inline constexpr double kGamma18Power = 0.5556;

/// The 16-bit AdobeRGB sample for a 16-bit sample of the gamma 1.8 space.
std::uint16_t AdobeFromGamma18(std::uint16_t sample);

}  // namespace hueweave::colour
