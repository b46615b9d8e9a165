// SPDX-License-Identifier: MIT
#include "colour/library/Bake.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <vector>

#include "base/ByteOrder.h"
#include "colour/base/ProfileError.h"
#include "colour/library/CompareLibrary.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {
namespace {

constexpr std::ptrdiff_t kCreator = 80;  ///< in the header: the signature of the program that created it
constexpr unsigned char kBakedBy[4] = {'h', 'w', 'v', 'b'};

constexpr unsigned kPoints = kBakedPoints;
constexpr std::size_t kEntries = 4096;  ///< of an input curve; the engine's maximum
using Curve = std::vector<double>;      ///< rising from 0 to 1
using Curves = std::array<Curve, 3>;

/// Relative luminance of a lightness L*.
double Luminance(double lightness) {
    const double f = (lightness + 16.0) / 116.0;
    return lightness > 8.0 ? f * f * f : lightness / 903.2963;
}

/// The curve, forced to rise from 0 to 1; empty if it does not rise.
Curve Normalised(Curve curve) {
    for (std::size_t i = 1; i < curve.size(); ++i) curve[i] = std::max(curve[i], curve[i - 1]);
    const double low = curve.front(), span = curve.back() - low;
    if (span < 0.05) return {};
    for (double& value : curve) value = (value - low) / span;
    return curve;
}

/// Light as a function of each channel: the curves of a matrix profile, or the neutral ramp of a table.
Curves LightCurves(LcmsWork& work, cmsHPROFILE profile, cmsHTRANSFORM toLab) {
    Curves curves;
    if (cmsIsMatrixShaper(profile) && !cmsIsTag(profile, cmsSigAToB0Tag)) {
        constexpr cmsTagSignature kTags[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
        for (std::size_t c = 0; c < 3; ++c) {
            const auto* tone = static_cast<const cmsToneCurve*>(work.Read(profile, kTags[c]));
            if (tone == nullptr) return {};
            for (std::size_t i = 0; i < kEntries; ++i) {
                curves[c].push_back(cmsEvalToneCurveFloat(tone, static_cast<float>(i) / (kEntries - 1)));
            }
            curves[c] = Normalised(curves[c]);
        }
        return curves;
    }
    for (std::size_t i = 0; i < kEntries; ++i) {
        const double v = static_cast<double>(i) / (kEntries - 1);
        const double rgb[3] = {v, v, v};
        cmsCIELab lab;
        cmsDoTransform(toLab, rgb, &lab, 1);
        curves[0].push_back(Luminance(lab.L));
    }
    curves[0] = Normalised(curves[0]);
    curves[1] = curves[2] = curves[0];
    return curves;
}

/// The position, 0 to 1, where a rising curve reaches `value`.
double Inverse(const Curve& curve, double value) {
    const auto above = std::lower_bound(curve.begin(), curve.end(), value);
    if (above == curve.begin()) return 0.0;
    if (above == curve.end()) return 1.0;
    const double low = above[-1], high = *above;
    const double place =
        static_cast<double>(above - curve.begin() - 1) + (high > low ? (value - low) / (high - low) : 0);
    return place / (kEntries - 1);
}

void Put16(Bytes& out, unsigned value) {
    out.resize(out.size() + 2);
    StoreBig16(&out[out.size() - 2], static_cast<std::uint16_t>(value));
}
void Put32(Bytes& out, std::uint32_t value) {
    out.resize(out.size() + 4);
    StoreBig32(&out[out.size() - 4], value);
}
unsigned Quantise(double value, double top) { return static_cast<unsigned>(std::lround(std::clamp(value, 0.0, top))); }

/// A block of type "mft2". The grid is written directly, so that no optimisation of Little CMS changes it.
Bytes TableBlock(const Curves& curves, cmsHTRANSFORM toLab, const Poll& poll) {
    Bytes out{'m', 'f', 't', '2', 0, 0, 0, 0, 3, 3, kPoints, 0};
    for (unsigned i = 0; i < 9; ++i) Put32(out, i % 4 == 0 ? 0x10000 : 0);
    Put16(out, kEntries);
    Put16(out, 2);
    for (const Curve& curve : curves) {
        for (const double value : curve) Put16(out, Quantise(value * 65535.0, 65535.0));
    }
    std::array<std::array<double, kPoints>, 3> axis;
    for (std::size_t c = 0; c < 3; ++c) {
        for (unsigned n = 0; n < kPoints; ++n) axis[c][n] = Inverse(curves[c], n / (kPoints - 1.0));
    }
    for (unsigned i = 0; i < kPoints; ++i) {
        poll();
        for (unsigned j = 0; j < kPoints; ++j) {
            for (unsigned k = 0; k < kPoints; ++k) {
                const double rgb[3] = {axis[0][i], axis[1][j], axis[2][k]};
                cmsCIELab lab;
                cmsDoTransform(toLab, rgb, &lab, 1);
                Put16(out, Quantise(lab.L * 652.8, 65280.0));
                Put16(out, Quantise(lab.a * 256.0 + 32768.0, 65535.0));
                Put16(out, Quantise(lab.b * 256.0 + 32768.0, 65535.0));
            }
        }
    }
    for (int c = 0; c < 3; ++c) Put16(out, 0), Put16(out, 65535);
    return out;
}

/// The complete profile: header and texts by Little CMS, then the three tables.
Bytes Assemble(LcmsWork& from, cmsHPROFILE original, const std::array<Bytes, 3>& tables) {
    LcmsWork work;
    const cmsHPROFILE profile = work.NewProfile(2.4, cmsSigInputClass, cmsSigLabData);
    cmsSetHeaderRenderingIntent(profile, cmsGetHeaderRenderingIntent(original));
    work.WriteText(profile, cmsSigProfileDescriptionTag, from.Text(original, cmsInfoDescription));
    const std::string copyright = from.Text(original, cmsInfoCopyright);
    work.WriteText(profile, cmsSigCopyrightTag, copyright.empty() ? "Unknown" : copyright);
    const auto* white = static_cast<const cmsCIEXYZ*>(from.Read(original, cmsSigMediaWhitePointTag));
    const bool paper = white != nullptr && !IsOldScreen(original);
    work.Write(profile, cmsSigMediaWhitePointTag, paper ? white : cmsD50_XYZ());
    constexpr cmsTagSignature kTables[] = {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag};
    for (std::size_t i = 0; i < 3; ++i) work.WriteRaw(profile, kTables[i], tables[i]);
    return work.Save(profile);
}

struct Spacing {
    const char* name;
    double power;  ///< exponent of light; 0 for equal steps of device samples
};
/// The engine interpolates linear light between nodes. For an additive device, equal steps of light are exact; for a
/// table with curvature in the shadows, smaller steps there are better.
constexpr Spacing kSpacings[] = {{"linear light", 1.0},
                                 {"light to the power 2/3", 2.0 / 3.0},
                                 {"light to the power 1/2", 0.5},
                                 {"device samples", 0.0}};

}  // namespace

bool IsBaked(const Bytes& profile) {
    return profile.size() >= 128 && std::equal(std::begin(kBakedBy), std::end(kBakedBy), profile.begin() + kCreator);
}

BakedProfile BakeProfile(const Bytes& data, const Poll& poll) {
    LcmsWork work;
    const cmsHPROFILE original = work.Open(data);
    std::array<cmsHTRANSFORM, 3> toLab{};
    for (int intent = 0; original != nullptr && intent < 3; ++intent) {
        toLab[static_cast<std::size_t>(intent)] = work.DeviceToLab(original, intent);
    }
    for (const cmsHTRANSFORM transform : toLab) {
        if (transform == nullptr) throw ProfileError("does not define the colours of its device");
    }
    const Curves light = LightCurves(work, original, toLab[1]);
    const bool rises = std::none_of(light.begin(), light.end(), [](const Curve& curve) { return curve.empty(); });

    Rendering rendering;
    rendering.intent = ICC40::ICCFILE::IntentRelativeColorimetric;
    rendering.space = FindSpace("adobe-rgb");
    const std::vector<DeviceColour> probes = GridColours(10);
    BakedProfile best;
    Curves chosen;
    for (const Spacing& spacing : kSpacings) {
        if (!rises && spacing.power != 0.0) continue;
        Curves curves;
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < kEntries; ++i) {
                curves[c].push_back(spacing.power != 0.0 ? std::pow(light[c][i], spacing.power)
                                                         : static_cast<double>(i) / (kEntries - 1));
            }
        }
        const Bytes table = TableBlock(curves, toLab[1], poll);
        const Bytes trial = Assemble(work, original, {table, table, table});
        const Comparison result = CompareLibrary(trial, data, rendering, 16, probes, poll);
        if (best.spacing.empty() || result.mean < best.mean) {
            best.spacing = spacing.name;
            best.mean = result.mean;
            best.p95 = result.p95;
            chosen = curves;
        }
    }
    std::array<Bytes, 3> tables;
    for (std::size_t i = 0; i < 3; ++i) tables[i] = TableBlock(chosen, toLab[i], poll);
    best.data = Assemble(work, original, tables);
    std::copy(std::begin(kBakedBy), std::end(kBakedBy), best.data.begin() + kCreator);
    return best;
}

}  // namespace hueweave::colour
