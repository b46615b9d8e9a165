// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/DeviceProfiles.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct TransformCloser {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;
using Transform = std::unique_ptr<void, TransformCloser>;

/// The device in doubles: RGB of 0 to 1 to XYZ under D50.
void DeviceXyz(const double* rgb, double* xyz) {
    constexpr double kMatrix[3][3] = {{0.1431, 0.4361, 0.3851}, {0.0606, 0.2225, 0.7169}, {0.7141, 0.0139, 0.0971}};
    for (int r = 0; r < 3; ++r) {
        xyz[r] = 0;
        for (int c = 0; c < 3; ++c) xyz[r] += kMatrix[r][c] * std::pow(std::clamp(rgb[c], 0.0, 1.0), 1.8);
    }
}

int SampleLab(const cmsUInt16Number* in, cmsUInt16Number* out, void* cargo) {
    const double rgb[3] = {in[0] / 65535.0, in[1] / 65535.0, in[2] / 65535.0};
    double xyz[3];
    DeviceXyz(rgb, xyz);
    const cmsCIEXYZ point{xyz[0], xyz[1], xyz[2]};
    cmsCIELab lab;
    cmsXYZ2Lab(nullptr, &lab, &point);
    if (*static_cast<bool*>(cargo)) {
        cmsFloat2LabEncodedV2(out, &lab);
    } else {
        cmsFloat2LabEncoded(out, &lab);
    }
    return 1;
}

int SampleXyz(const cmsUInt16Number* in, cmsUInt16Number* out, void*) {
    const double rgb[3] = {in[0] / 65535.0, in[1] / 65535.0, in[2] / 65535.0};
    double xyz[3];
    DeviceXyz(rgb, xyz);
    for (int c = 0; c < 3; ++c) out[c] = static_cast<cmsUInt16Number>(std::lround(xyz[c] * 32768.0));
    return 1;
}

cmsStage* Curves(double gamma, bool parametric) {
    cmsToneCurve* curve = nullptr;
    if (parametric) {
        curve = cmsBuildParametricToneCurve(nullptr, 1, &gamma);
    } else {
        cmsUInt16Number table[256];
        for (int i = 0; i < 256; ++i)
            table[i] = static_cast<cmsUInt16Number>(std::lround(65535 * std::pow(i / 255.0, gamma)));
        curve = cmsBuildTabulatedToneCurve16(nullptr, 256, table);
    }
    cmsToneCurve* all[3] = {curve, curve, curve};
    cmsStage* stage = cmsStageAllocToneCurves(nullptr, 3, all);
    cmsFreeToneCurve(curve);
    return stage;
}

/// A grid over RGB^1/g, so that a few points do.
cmsStage* Grid(unsigned points, cmsSAMPLER16 sampler, bool legacy) {
    cmsStage* grid = cmsStageAllocCLut16bit(nullptr, points, 3, 3, nullptr);
    cmsStageSampleCLut16bit(grid, sampler, &legacy, 0);
    return grid;
}

Profile Blank(double version, cmsColorSpaceSignature colours, cmsColorSpaceSignature connection,
              cmsProfileClassSignature kind) {
    Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), version);
    cmsSetColorSpace(profile.get(), colours);
    cmsSetPCS(profile.get(), connection);
    cmsSetDeviceClass(profile.get(), kind);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsMLU* text = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(text, "en", "US", "test device");
    cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text);
    cmsMLUfree(text);
    return profile;
}

void Save(const Profile& profile, const std::string& path) {
    if (!cmsSaveProfileToFile(profile.get(), path.c_str())) throw std::runtime_error("Little CMS cannot write " + path);
}

}  // namespace

void WriteDeviceProfile(const std::string& path, Form form) {
    const bool four =
        form == Form::MabCurves || form == Form::MabMatrix || form == Form::Mab8Bit || form == Form::Matrix4;
    const bool xyz = form == Form::Mft2Xyz || form == Form::MabMatrix || form == Form::Matrix4;
    const Profile profile =
        Blank(four ? 4.3 : 2.4, cmsSigRgbData, xyz ? cmsSigXYZData : cmsSigLabData, cmsSigInputClass);
    if (form == Form::Matrix4) {
        const double gamma = 1.8;
        cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 1, &gamma);
        const cmsCIEXYZ columns[3] = {{0.1431, 0.0606, 0.7141}, {0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}};
        constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
        constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
        for (int c = 0; c < 3; ++c) {
            cmsWriteTag(profile.get(), kColorants[c], &columns[c]);
            cmsWriteTag(profile.get(), kCurves[c], curve);
        }
        cmsFreeToneCurve(curve);
        return Save(profile, path);
    }
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 3, 3);
    const auto add = [&](cmsStage* stage) { cmsPipelineInsertStage(lut, cmsAT_END, stage); };
    if (form == Form::MabMatrix) {
        // XYZ is encoded so that 1 + 32767/32768 is full scale.
        const double scale = 32768.0 / 65535.0;
        double m[9] = {0.1431, 0.4361, 0.3851, 0.0606, 0.2225, 0.7169, 0.7141, 0.0139, 0.0971};
        for (double& value : m) value *= scale;
        add(Curves(1.8, true));
        add(cmsStageAllocMatrix(nullptr, 3, 3, m, nullptr));
        add(Curves(1.0, true));
    } else {
        add(Curves(1.0, form == Form::MabCurves));
        add(Grid(form == Form::Mft2OddGrid ? 21 : 33, xyz ? SampleXyz : SampleLab, !four));
        add(Curves(1.0, form == Form::MabCurves));
    }
    cmsPipelineSetSaveAs8bitsFlag(lut, form == Form::Mft1 || form == Form::Mab8Bit);
    cmsWriteTag(profile.get(), cmsSigAToB0Tag, lut);
    cmsPipelineFree(lut);
    Save(profile, path);
}

void WriteGreyProfile(const std::string& path) {
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    const Profile profile(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    Save(profile, path);
}

void WriteAbstractProfile(const std::string& path) {
    Save(Profile(cmsCreateBCHSWabstractProfile(9, 1, 1, 0, 0, 5000, 5000)), path);
}

void WriteLinkProfile(const std::string& path) {
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 1.2);
    cmsToneCurve* all[3] = {curve, curve, curve};
    const Profile profile(cmsCreateLinearizationDeviceLink(cmsSigRgbData, all));
    cmsFreeToneCurve(curve);
    Save(profile, path);
}

void WriteCmykProfile(const std::string& path) {
    Save(Blank(2.4, cmsSigCmykData, cmsSigLabData, cmsSigOutputClass), path);
}

void WriteEmptyProfile(const std::string& path) {
    Save(Blank(2.4, cmsSigRgbData, cmsSigLabData, cmsSigInputClass), path);
}

double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted) {
    const Picture before = ReadPictures(source)[0], after = ReadPictures(converted)[0];
    const Profile device(cmsOpenProfileFromFile(profile.c_str(), "r"));
    const Profile output(cmsOpenProfileFromMem(after.icc.data(), static_cast<cmsUInt32Number>(after.icc.size())));
    const Profile lab(cmsCreateLab2Profile(nullptr));
    if (!device || !output) throw std::runtime_error("no profile");
    constexpr cmsUInt32Number kFlags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    const Transform toLab(cmsCreateTransform(device.get(), TYPE_RGB_DBL, lab.get(), TYPE_Lab_DBL,
                                             static_cast<cmsUInt32Number>(intent), kFlags));
    const Transform toSpace(cmsCreateTransform(lab.get(), TYPE_Lab_DBL, output.get(), TYPE_RGB_DBL, 1, kFlags));
    const Transform spaceLab(cmsCreateTransform(output.get(), TYPE_RGB_DBL, lab.get(), TYPE_Lab_DBL, 1, kFlags));
    if (!toLab || !toSpace || !spaceLab) throw std::runtime_error("no transform");
    double sum = 0;
    std::size_t count = 0;
    const double top = before.bits == 8 ? 255.0 : 65535.0;
    for (std::size_t i = 0; i + 2 < before.values.size(); i += 3 * 7, ++count) {
        double rgb[3], mine[3];
        for (std::size_t c = 0; c < 3; ++c) rgb[c] = before.values[i + c] / top, mine[c] = after.values[i + c] / top;
        cmsCIELab wanted, reached;
        cmsDoTransform(toLab.get(), rgb, &wanted, 1);
        cmsDoTransform(toSpace.get(), &wanted, rgb, 1);
        for (double& value : rgb) value = std::clamp(value, 0.0, 1.0);
        cmsDoTransform(spaceLab.get(), rgb, &wanted, 1);
        cmsDoTransform(spaceLab.get(), mine, &reached, 1);
        sum += cmsCIE2000DeltaE(&wanted, &reached, 1, 1, 1);
    }
    return sum / static_cast<double>(count);
}

}  // namespace hueweave::test
