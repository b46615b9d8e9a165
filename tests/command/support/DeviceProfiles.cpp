// SPDX-License-Identifier: MIT
#include "command/support/DeviceProfiles.h"

#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

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

Profile ProfileOf(const std::string& bytes) { return judge::Open({bytes.begin(), bytes.end()}); }

void WriteDeviceProfile(const std::string& path, Form form) {
    const Bytes curve = ParaBlock(0, {1.8});
    if (form == Form::Matrix4) return WriteFile(path, MatrixProfile(kSwappedSrgb, {curve, curve, curve}, 4));
    TableDevice device{.plain = true};
    device.version = form >= Form::MabCurves ? 4.3 : 2.4;
    device.xyz = form == Form::Mft2Xyz || form == Form::MabMatrix;
    device.bytes = form == Form::Mft1 || form == Form::Mab8Bit;
    device.noGrid = form == Form::MabMatrix;
    device.points = form == Form::Mft2OddGrid ? 21 : 33;
    WriteFile(path, TableProfile(device));
}

void WriteGreyProfile(const std::string& path) {
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    const Profile profile(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    WriteFile(path, Saved(profile));
}

void WriteLinkProfile(const std::string& path) {
    ProfileBuilder link;
    link.HeaderWord(12, cmsSigLinkClass).HeaderWord(20, cmsSigRgbData).Mft2("A2B0", MakeLut({})).Write(path);
}

void WriteCmykProfile(const std::string& path) {
    const Profile profile = BlankProfile(2.4, cmsSigCmykData, cmsSigLabData, cmsSigOutputClass);
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 4, 3);
    cmsStage* grid = cmsStageAllocCLut16bit(nullptr, 9, 4, 3, nullptr);
    cmsStageSampleCLut16bit(grid, InkToLab, nullptr, 0);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
    cmsPipelineInsertStage(lut, cmsAT_END, grid);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsWriteTag(profile.get(), cmsSigAToB0Tag, lut);
    cmsPipelineFree(lut);
    WriteFile(path, Saved(profile));
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
        pixels.push_back({picture.values[i] / top, picture.values[i + 1] / top, picture.values[i + 2] / top});
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
