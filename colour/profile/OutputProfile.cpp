// SPDX-License-Identifier: MIT
#include "colour/profile/OutputProfile.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "color/RgbPrimaries.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {
namespace {

const ColorLch::Matrix& PrimariesOf(ColorLch::ColorSpace space) {
    switch (space) {
        case ColorLch::ColorSpace_AdobeRGB:
            return ColorLch::AdobeRGB_D50;
        case ColorLch::ColorSpace_AppleRGB:
            return ColorLch::AppleRGB_D50;
        case ColorLch::ColorSpace_ColorMatchRGB:
            return ColorLch::ColorMatchRGB_D50;
        default:
            return ColorLch::sRGB_D50;
    }
}

/// (a x + b)^g for x >= d, c x below.
const double* ParametersOf(Tone tone) {
    static constexpr double kSrgb[] = {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045};  // IEC 61966-2-1
    // ITU-R BT.2020, for 12 bits.
    static constexpr double kAlpha = 1.09929682680944, kBeta = 0.018053968510807;
    static constexpr double kRec2020[] = {1.0 / 0.45, 1.0 / kAlpha, (kAlpha - 1.0) / kAlpha, 1.0 / 4.5, 4.5 * kBeta};
    static constexpr double kProPhoto[] = {1.8, 1.0, 0.0, 1.0 / 16.0, 1.0 / 32.0};                    // ISO 22028-2
    static constexpr double kLStar[] = {3.0, 1.0 / 1.16, 0.16 / 1.16, 27.0 * 100.0 / 24389.0, 0.08};  // CIE 15
    switch (tone) {
        case Tone::Rec2020:
            return kRec2020;
        case Tone::ProPhoto:
            return kProPhoto;
        case Tone::LStar:
            return kLStar;
        default:
            return kSrgb;
    }
}

cmsToneCurve* CurveOf(LcmsWork& work, Tone tone) {
    switch (tone) {
        case Tone::Linear:
            return work.Gamma(1.0);
        case Tone::Gamma18:
            return work.Gamma(1.0 / kGamma18Power);
        case Tone::Adobe:
            return work.Gamma(kAdobeGamma);
        default:
            return work.Parametric(4, ParametersOf(tone));
    }
}

cmsToneCurve* CurveOf(LcmsWork& work, const std::vector<double>& decoding) {
    std::vector<cmsUInt16Number> table;
    table.reserve(decoding.size());
    for (const double value : decoding) table.push_back(static_cast<cmsUInt16Number>(std::lround(value * 65535.0)));
    return work.Table(table);
}

cmsCIExyY Point(const Chromaticity& chromaticity) { return {chromaticity.x, chromaticity.y, 1.0}; }

cmsCIExyY WhiteOf(const Space& space) {
    if (space.primaries != nullptr) return Point(space.primaries->white);
    const bool warm = space.Built(16).primaries == ColorLch::ColorSpace_ColorMatchRGB;
    return warm ? *cmsD50_xyY() : cmsCIExyY{0.3127, 0.3290, 1.0};
}

/// Green from red and blue, all rounded as tags represent them, so that the three add up to D50 exactly: rounded
/// independently, they would give white and neutral colours a cast of up to two 16-bit samples.
void BalanceToWhite(std::array<cmsCIEXYZ, 3>& colorants) {
    auto& [red, green, blue] = colorants;
    for (double cmsCIEXYZ::*const part : {&cmsCIEXYZ::X, &cmsCIEXYZ::Y, &cmsCIEXYZ::Z}) {
        const auto fixed = [&](const cmsCIEXYZ& xyz) { return std::round(xyz.*part * 65536.0); };
        green.*part = (fixed(*cmsD50_XYZ()) - fixed(red) - fixed(blue)) / 65536.0;
    }
}

std::array<cmsCIEXYZ, 3> ColorantsOf(LcmsWork& work, const Space& space, Colorants colorants) {
    if (colorants == Colorants::Computed && space.primaries != nullptr) {
        const Primaries& p = *space.primaries;
        auto computed = work.Colorants(Point(p.white), {Point(p.red), Point(p.green), Point(p.blue)});
        BalanceToWhite(computed);
        return computed;
    }
    const ColorLch::Matrix& m = PrimariesOf(space.Built(16).primaries);
    return {{{m[0], m[3], m[6]}, {m[1], m[4], m[7]}, {m[2], m[5], m[8]}}};
}

/// The colorants are adapted to D50; version 4 requires the matrix that did it. Its columns are the adapted unit
/// vectors.
void WriteAdaptation(LcmsWork& work, cmsHPROFILE profile, const cmsCIExyY& white) {
    cmsCIEXYZ source;
    cmsxyY2XYZ(&source, &white);
    constexpr cmsCIEXYZ kUnits[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    std::array<cmsCIEXYZ, 3> columns{};
    for (std::size_t c = 0; c < 3; ++c) cmsAdaptToIlluminant(&columns[c], &source, cmsD50_XYZ(), &kUnits[c]);
    const auto& [x, y, z] = columns;
    const cmsCIEXYZ adaptation[] = {{x.X, y.X, z.X}, {x.Y, y.Y, z.Y}, {x.Z, y.Z, z.Z}};
    work.Write(profile, cmsSigChromaticAdaptationTag, adaptation);
}

}  // namespace

std::optional<std::vector<double>> InvertTable(const std::uint32_t* table, std::uint32_t top, std::size_t entries) {
    if (!std::is_sorted(table, table + 65536) || table[0] >= table[65535]) return std::nullopt;
    std::vector<double> inverse(entries);
    for (std::size_t n = 0; n < entries; ++n) {
        const double sample = static_cast<double>(n) * top / static_cast<double>(entries - 1);
        // The middle of the range that gives this sample, or the position between two samples.
        const auto least = static_cast<std::uint32_t>(std::ceil(sample));
        const auto* above = std::lower_bound(table, table + 65536, least);
        if (above == table + 65536) {
            inverse[n] = 1.0;
        } else if (*above == least && sample == least) {
            const auto* end = std::upper_bound(above, table + 65536, least);
            inverse[n] = static_cast<double>((above - table) + (end - table) - 1) / 2.0 / 65535.0;
        } else {
            const auto* below = above == table ? above : above - 1;
            const double span = static_cast<double>(*above) - *below;
            const double part = span > 0 ? (sample - *below) / span : 0.0;
            inverse[n] = (static_cast<double>(below - table) + part) / 65535.0;
        }
    }
    inverse.front() = 0.0;  // black and white are always exactly 0 and 1
    inverse.back() = 1.0;
    return inverse;
}

Bytes MakeOutputProfile(const Space& space, Colorants colorants, const std::vector<std::vector<double>>& decoding,
                        const std::string& title, int version) {
    LcmsWork work;
    const cmsHPROFILE profile = work.NewProfile(version == 2 ? 2.4 : 4.3, cmsSigDisplayClass, cmsSigXYZData);
    cmsSetHeaderRenderingIntent(profile, INTENT_PERCEPTUAL);
    work.WriteText(profile, cmsSigProfileDescriptionTag, title);
    work.WriteText(profile, cmsSigCopyrightTag, "No copyright, use freely");
    work.Write(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());

    if (version != 2) WriteAdaptation(work, profile, WhiteOf(space));

    constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    const auto columns = ColorantsOf(work, space, colorants);
    for (std::size_t c = 0; c < 3; ++c) {
        work.Write(profile, kColorants[c], &columns[c]);
        if (c > 0 && decoding.empty()) {
            work.Link(profile, kCurves[c], kCurves[0]);
        } else {
            work.Write(profile, kCurves[c], decoding.empty() ? CurveOf(work, space.tone) : CurveOf(work, decoding[c]));
        }
    }
    return work.Save(profile);
}

}  // namespace hueweave::colour
