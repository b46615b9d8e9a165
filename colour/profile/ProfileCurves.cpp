// SPDX-License-Identifier: MIT
#include "colour/profile/ProfileCurves.h"

#include <lcms2_plugin.h>

#include <cmath>

#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {
namespace {

std::vector<double> Sample(const cmsToneCurve* curve) {
    std::vector<double> values(kSampledCurve);
    for (std::size_t i = 0; i < kSampledCurve; ++i) {
        const double at = static_cast<double>(i) / static_cast<double>(kSampledCurve - 1);
        const float value = cmsEvalToneCurveFloat(curve, static_cast<float>(at));
        values[i] = std::isfinite(value) ? static_cast<double>(value) : 0;
    }
    return values;
}

/// The curves of a stage; nothing for other stages, and for other numbers of channels.
SampledCurves CurvesOf(const cmsStage* stage) {
    SampledCurves sampled;
    if (cmsStageType(stage) != cmsSigCurveSetElemType || cmsStageInputChannels(stage) != 3) return sampled;
    const auto* data = static_cast<const _cmsStageToneCurvesData*>(cmsStageData(stage));
    for (std::size_t c = 0; c < 3; ++c) sampled[c] = Sample(data->TheCurves[c]);
    return sampled;
}

/// The first curves of a table are those of the device, the last ones those of the connection space.
void ReadTable(const cmsPipeline* pipeline, ProfileCurves& curves) {
    const cmsStage* last = nullptr;
    bool isFirst = true;
    for (const cmsStage* stage = cmsPipelineGetPtrToFirstStage(pipeline); stage != nullptr;
         stage = cmsStageNext(stage)) {
        if (cmsStageType(stage) == cmsSigCurveSetElemType) {
            if (isFirst) curves.device = CurvesOf(stage);
            last = isFirst ? nullptr : stage;
        }
        isFirst = isFirst && cmsStageType(stage) == cmsSigMatrixElemType;
    }
    if (last != nullptr) curves.connection = CurvesOf(last);
}

}  // namespace

ProfileCurves ReadProfileCurves(const Bytes& profile, int intent) {
    constexpr cmsTagSignature kTables[] = {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigAToB1Tag};
    constexpr cmsTagSignature kTones[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    LcmsWork work;
    const OpenProfile opened = OpenRgb(work, profile);
    ProfileCurves curves;
    curves.channels = cmsGetPCS(opened.handle) == cmsSigXYZData ? "XYZ" : "Lab";
    for (const cmsTagSignature tag : {kTables[intent], cmsSigAToB0Tag}) {
        if (cmsIsTag(opened.handle, tag) == 0) continue;
        const auto* pipeline = static_cast<const cmsPipeline*>(work.Read(opened.handle, tag));
        if (pipeline == nullptr) return curves;
        curves.tag = SignatureText(tag);
        ReadTable(pipeline, curves);
        return curves;
    }
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* tone = static_cast<const cmsToneCurve*>(work.Read(opened.handle, kTones[c]));
        if (tone == nullptr) return curves;
        curves.device[c] = Sample(tone);
    }
    curves.tag = "rTRC";
    return curves;
}

}  // namespace hueweave::colour
