// SPDX-License-Identifier: MIT
#include "TableProfile.h"

#include <stdexcept>

namespace bench {
namespace {

constexpr cmsUInt32Number kPoints = 33;
constexpr cmsUInt32Number kPlain = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;

cmsInt32Number Sample(const cmsUInt16Number* in, cmsUInt16Number* out, void* transform) {
    cmsDoTransform(transform, in, out, 1);
    return TRUE;
}

/// Curves of the given power and a grid: `transform` is what has to be done to the values that these curves give.
void WriteTable(cmsHPROFILE profile, cmsTagSignature tag, cmsHTRANSFORM transform, double power) {
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, power);
    std::vector<cmsUInt16Number> values(1024);
    for (std::size_t n = 0; n < values.size(); ++n) {
        values[n] = cmsEvalToneCurve16(curve, static_cast<cmsUInt16Number>(n * 65535 / (values.size() - 1)));
    }
    cmsFreeToneCurve(curve);
    cmsToneCurve* const table =
        cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(values.size()), values.data());
    cmsToneCurve* const curves[3] = {table, table, table};
    cmsStage* const grid = cmsStageAllocCLut16bit(nullptr, kPoints, 3, 3, nullptr);
    cmsStageSampleCLut16bit(grid, Sample, transform, 0);
    cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, 3, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, curves));
    cmsPipelineInsertStage(pipeline, cmsAT_END, grid);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsFreeToneCurve(table);
    const bool written = cmsWriteTag(profile, tag, pipeline) != 0;
    cmsPipelineFree(pipeline);
    if (!written) throw std::runtime_error("Little CMS does not write the table");
}

/// AdobeRGB with `power`.
cmsHPROFILE Space(double power) {
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.21, 0.71, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, power);
    cmsToneCurve* const curves[3] = {curve, curve, curve};
    const cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    return profile;
}

}  // namespace

std::vector<std::uint8_t> Saved(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<std::uint8_t> data(size);
    if (!cmsSaveProfileToMem(profile, data.data(), &size)) throw std::runtime_error("Little CMS does not save");
    return data;
}

std::vector<std::uint8_t> TableProfile(cmsColorSpaceSignature connection) {
    const bool isLab = connection == cmsSigLabData;
    const cmsUInt32Number type = isLab ? TYPE_LabV2_16 : TYPE_XYZ_16;
    // To CIELAB the axes are evenly divided for a gamma of 1.8, which is near to lightness; to XYZ in light.
    const double power = isLab ? 1.0 : 1.8;
    const cmsHPROFILE axes = Space(isLab ? 1.8 : 1.0), device = Space(1.8);
    const cmsHPROFILE space = isLab ? cmsCreateLab2Profile(nullptr) : cmsCreateXYZProfile();
    const cmsHTRANSFORM out = cmsCreateTransform(axes, TYPE_RGB_16, space, type, INTENT_RELATIVE_COLORIMETRIC, kPlain);
    const cmsHTRANSFORM back =
        cmsCreateTransform(space, type, device, TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC, kPlain);
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.4);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigRgbData);
    cmsSetPCS(profile, connection);
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    WriteTable(profile, cmsSigAToB0Tag, out, power);
    WriteTable(profile, cmsSigBToA0Tag, back, 1.0);
    const auto data = Saved(profile);
    for (const cmsHTRANSFORM transform : {out, back}) cmsDeleteTransform(transform);
    for (const cmsHPROFILE one : {axes, device, space, profile}) cmsCloseProfile(one);
    return data;
}

}  // namespace bench
