// SPDX-License-Identifier: MIT
#include "colour/exact/SameColours.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "colour/profile/Connection.h"

namespace hueweave::colour {
namespace {

/// Tolerance for colorants, a few steps of their encoding: programs round intermediate results, and adapt to whites
/// that differ as much.
constexpr double kColorantStep = 4.0 / 65536.0;
/// Tolerance for curves: tabulated ones are rounded to 1 / 65535 of linear light, and one profile may have a formula
/// instead.
constexpr double kCurveStep = 1.5 / 65535.0;
/// A divisor of 65535: Little CMS rounds the input of a table to 1 / 65535 too, which must not add to the difference.
constexpr int kCurveSamples = 65535 / 17;

constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};

constexpr cmsTagSignature kTables[] = {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigBToA0Tag, cmsSigBToA1Tag,
                                       cmsSigBToA2Tag, cmsSigDToB0Tag, cmsSigDToB1Tag, cmsSigDToB2Tag, cmsSigDToB3Tag,
                                       cmsSigBToD0Tag, cmsSigBToD1Tag, cmsSigBToD2Tag, cmsSigBToD3Tag};

bool IsMatrixAlone(cmsHPROFILE profile) {
    return cmsIsMatrixShaper(profile) &&
           std::none_of(std::begin(kTables), std::end(kTables), [&](auto tag) { return cmsIsTag(profile, tag); });
}

bool IsNear(const cmsCIEXYZ& a, const cmsCIEXYZ& b) {
    return std::abs(a.X - b.X) <= kColorantStep && std::abs(a.Y - b.Y) <= kColorantStep &&
           std::abs(a.Z - b.Z) <= kColorantStep;
}

bool IsNear(const cmsToneCurve* a, const cmsToneCurve* b) {
    for (int n = 0; n <= kCurveSamples; ++n) {
        const float x = static_cast<float>(n) / kCurveSamples;
        if (!(std::abs(cmsEvalToneCurveFloat(a, x) - cmsEvalToneCurveFloat(b, x)) <= kCurveStep)) return false;
    }
    return true;
}

}  // namespace

bool HaveSameColours(LcmsWork& work, const OpenProfile& source, const OpenProfile& target, RenderingIntent intent) {
    if (source.data == target.data) return true;
    if (!IsMatrixAlone(source.handle) || !IsMatrixAlone(target.handle)) return false;
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* from = static_cast<const cmsCIEXYZ*>(work.Read(source.handle, kColorants[c]));
        const auto* to = static_cast<const cmsCIEXYZ*>(work.Read(target.handle, kColorants[c]));
        if (from == nullptr || to == nullptr || !IsNear(*from, *to)) return false;
        const auto* fromCurve = static_cast<const cmsToneCurve*>(work.Read(source.handle, kCurves[c]));
        const auto* toCurve = static_cast<const cmsToneCurve*>(work.Read(target.handle, kCurves[c]));
        if (fromCurve == nullptr || toCurve == nullptr || !IsNear(fromCurve, toCurve)) return false;
    }
    if (intent != RenderingIntent::AbsoluteColorimetric) return true;
    TransformOptions options;
    options.intent = intent;
    const Connection whites = Connect(work, source.handle, target.handle, options);
    return std::all_of(whites.scale.begin(), whites.scale.end(),
                       [](double scale) { return std::abs(scale - 1.0) <= kColorantStep; });
}

}  // namespace hueweave::colour
