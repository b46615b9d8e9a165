// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/DeviceProfiles.h"

#include <stdexcept>

#include "command/support/Picture.h"
#include "support/ByteWriter.h"

namespace hueweave::test {
namespace {

Triple LightOf(const cmsUInt16Number* rgb) {
    const auto light = [](cmsUInt16Number sample) { return std::pow(sample / 65535.0, 1.8); };
    return {light(rgb[0]), light(rgb[1]), light(rgb[2])};
}

int SampleLab(const cmsUInt16Number* in, cmsUInt16Number* out, void* legacy) {
    const cmsCIELab lab = LabOf(kDevice, LightOf(in));
    (*static_cast<bool*>(legacy) ? cmsFloat2LabEncodedV2 : cmsFloat2LabEncoded)(out, &lab);
    return 1;
}

int SampleXyz(const cmsUInt16Number* in, cmsUInt16Number* out, void*) {
    const Triple light = LightOf(in);
    for (std::size_t c = 0; c < 3; ++c) {
        const double sum = kDevice[0][c] * light[0] + kDevice[1][c] * light[1] + kDevice[2][c] * light[2];
        out[c] = static_cast<cmsUInt16Number>(std::lround(sum * 32768.0));
    }
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

/// A grid over RGB^1/g, so that a few grid points are enough.
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

/// Light that falls with every ink, so that no two inks are alike.
int InkToLab(const cmsUInt16Number* in, cmsUInt16Number* out, void*) {
    const auto light = [&](double c, double m, double y) {
        return (1 - c * in[0] / 65535) * (1 - m * in[1] / 65535) * (1 - y * in[2] / 65535) * (1 - in[3] / 72000.0);
    };
    const cmsCIEXYZ xyz{0.9642 * light(0.7, 0.5, 0.1), light(0.6, 0.7, 0.1), 0.8249 * light(0.3, 0.5, 0.9)};
    cmsCIELab lab;
    cmsXYZ2Lab(nullptr, &lab, &xyz);
    cmsFloat2LabEncodedV2(out, &lab);
    return 1;
}

}  // namespace

Profile OpenProfile(const std::string& path) { return ProfileOf(FileBytes(path)); }

Profile ProfileOf(const std::string& bytes) {
    Profile profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    if (!profile) throw std::runtime_error("Little CMS cannot read a profile");
    return profile;
}

void WriteDeviceProfile(const std::string& path, Form form) {
    const bool four =
        form == Form::MabCurves || form == Form::MabMatrix || form == Form::Mab8Bit || form == Form::Matrix4;
    const bool xyz = form == Form::Mft2Xyz || form == Form::MabMatrix || form == Form::Matrix4;
    const Profile profile =
        Blank(four ? 4.3 : 2.4, cmsSigRgbData, xyz ? cmsSigXYZData : cmsSigLabData, cmsSigInputClass);
    if (form == Form::Matrix4) {
        const double gamma = 1.8;
        cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 1, &gamma);
        constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
        constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
        for (std::size_t c = 0; c < 3; ++c) {
            const cmsCIEXYZ column{kDevice[c][0], kDevice[c][1], kDevice[c][2]};
            cmsWriteTag(profile.get(), kColorants[c], &column);
            cmsWriteTag(profile.get(), kCurves[c], curve);
        }
        cmsFreeToneCurve(curve);
        return Save(profile, path);
    }
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 3, 3);
    const auto add = [&](cmsStage* stage) { cmsPipelineInsertStage(lut, cmsAT_END, stage); };
    if (form == Form::MabMatrix) {
        // XYZ is encoded so that 1 + 32767/32768 is full scale.
        double m[9];
        for (std::size_t i = 0; i < 9; ++i) m[i] = kDevice[i % 3][i / 3] * 32768.0 / 65535.0;
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
    const Profile profile = Blank(2.4, cmsSigCmykData, cmsSigLabData, cmsSigOutputClass);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 4, 3);
    cmsStage* grid = cmsStageAllocCLut16bit(nullptr, 9, 4, 3, nullptr);
    cmsStageSampleCLut16bit(grid, InkToLab, nullptr, 0);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
    cmsPipelineInsertStage(lut, cmsAT_END, grid);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsWriteTag(profile.get(), cmsSigAToB0Tag, lut);
    cmsPipelineFree(lut);
    Save(profile, path);
}

void WriteEmptyProfile(const std::string& path) {
    Save(Blank(2.4, cmsSigRgbData, cmsSigLabData, cmsSigInputClass), path);
}

std::string PaddedProfile(std::size_t more, int mark) {
    std::string profile = FileBytes(Input("scanner.icc")) + std::string(more, '\0');
    profile[35] = static_cast<char>(mark);
    for (std::size_t i = 0; i < 4; ++i) profile[i] = static_cast<char>(profile.size() >> (24 - 8 * i));
    return profile;
}

std::vector<judge::Rgb> PixelsOf(const Picture& picture, std::size_t step) {
    std::vector<judge::Rgb> pixels;
    const double top = picture.bits == 8 ? 255.0 : 65535.0;
    for (std::size_t i = 0; i + 2 < picture.values.size(); i += 3 * step) {
        const std::uint16_t* const rgb = &picture.values[i];
        pixels.push_back({rgb[0] / top, rgb[1] / top, rgb[2] / top});
    }
    return pixels;
}

double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted) {
    const Picture before = ReadPictures(source)[0], after = ReadPictures(converted)[0];
    const auto truth =
        judge::Truth::WithoutCompensation(ReadFile(profile), Bytes(after.icc.begin(), after.icc.end()), intent);
    return truth.Compare(PixelsOf(before, 7), PixelsOf(after, 7)).mean;
}

}  // namespace hueweave::test
