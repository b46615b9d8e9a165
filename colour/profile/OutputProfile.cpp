// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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

cmsToneCurve* CurveOf(LcmsWork& work, Tone tone) {
    switch (tone) {
        case Tone::Linear:
            return work.Gamma(1.0);
        case Tone::Gamma18:
            return work.Gamma(1.0 / kGamma18Power);
        case Tone::Adobe:
            return work.Gamma(kAdobeGamma);
        default:
            break;
    }
    // IEC 61966-2-1: (a x + b)^g for x >= d, c x below.
    const double parameters[] = {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045};
    return work.Parametric(4, parameters);
}

cmsToneCurve* CurveOf(LcmsWork& work, const std::vector<double>& decoding) {
    std::vector<cmsUInt16Number> table;
    table.reserve(decoding.size());
    for (const double value : decoding) table.push_back(static_cast<cmsUInt16Number>(std::lround(value * 65535.0)));
    return work.Table(table);
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
    inverse.front() = 0.0;  // black and white are the ends, whatever ranges give them
    inverse.back() = 1.0;
    return inverse;
}

Bytes MakeOutputProfile(const Space& space, const std::vector<std::vector<double>>& decoding,
                        const std::string& title) {
    LcmsWork work;
    const cmsHPROFILE profile = work.NewProfile(4.3, cmsSigDisplayClass, cmsSigXYZData);
    cmsSetHeaderRenderingIntent(profile, INTENT_PERCEPTUAL);
    work.WriteText(profile, cmsSigProfileDescriptionTag, title);
    work.WriteText(profile, cmsSigCopyrightTag, "No copyright, use freely");
    work.Write(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());

    // The matrix is already adapted to D50; version 4 requires a tag for the original white. The columns of the tag are
    // the adapted unit vectors.
    const cmsCIExyY d65{0.3127, 0.3290, 1.0};
    cmsCIEXYZ source = *cmsD50_XYZ();
    const ColorLch::ColorSpace primaries = space.Built(16).primaries;
    if (primaries != ColorLch::ColorSpace_ColorMatchRGB) cmsxyY2XYZ(&source, &d65);
    constexpr cmsCIEXYZ kUnits[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    std::array<cmsCIEXYZ, 3> columns{};
    for (std::size_t c = 0; c < 3; ++c) cmsAdaptToIlluminant(&columns[c], &source, cmsD50_XYZ(), &kUnits[c]);
    const auto& [x, y, z] = columns;
    const cmsCIEXYZ adaptation[] = {{x.X, y.X, z.X}, {x.Y, y.Y, z.Y}, {x.Z, y.Z, z.Z}};
    work.Write(profile, cmsSigChromaticAdaptationTag, adaptation);

    const ColorLch::Matrix& m = PrimariesOf(primaries);
    constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (std::size_t c = 0; c < 3; ++c) {
        const cmsCIEXYZ colorant{m[c], m[c + 3], m[c + 6]};
        work.Write(profile, kColorants[c], &colorant);
        if (c > 0 && decoding.empty()) {
            work.Link(profile, kCurves[c], kCurves[0]);
        } else {
            work.Write(profile, kCurves[c], decoding.empty() ? CurveOf(work, space.tone) : CurveOf(work, decoding[c]));
        }
    }
    return work.Save(profile);
}

}  // namespace hueweave::colour
