// SPDX-License-Identifier: MIT
#include "Conversion.h"

#include <lcms2.h>

#include <cstdio>
#include <filesystem>
#include <utility>

#include "batch/file/FileJob.h"
#include "colour/DeviceTransform.h"
#include "colour/profile/Target.h"
#include "jpeg/JpegStructure.h"
#include "png/PngStructure.h"
#include "tiff/TiffPage.h"

namespace hueweave::fuzz {

using namespace tool;

namespace {

DeviceProfile Given(Bytes data) { return TakeProfile("given.icc", std::move(data), true); }

DeviceProfile GreyProfile() {
    const auto gamma = colour::MakeTargetProfile(*colour::FindSpace("adobe-rgb"), {}, 4);
    return Given(colour::MakeGreyProfile(*gamma, 4).value());
}

/// Ink that absorbs its share of red, green or blue, and black that absorbs all.
cmsInt32Number InkToLab(const cmsUInt16Number ink[], cmsUInt16Number lab[], void*) {
    const double light = 1 - ink[3] / 65535.0;
    lab[0] = static_cast<cmsUInt16Number>(65280 * light * (1 - (ink[0] + ink[1] + ink[2]) / 3.0 / 65535));
    lab[1] = static_cast<cmsUInt16Number>(32768 + (ink[1] - ink[0]) / 4 * light);
    lab[2] = static_cast<cmsUInt16Number>(32768 + (ink[2] - ink[0]) / 4 * light);
    return 1;
}

DeviceProfile CmykProfile() {
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.4);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 4, 3);
    cmsStage* grid = cmsStageAllocCLut16bit(nullptr, 5, 4, 3, nullptr);
    cmsStageSampleCLut16bit(grid, InkToLab, nullptr, 0);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
    cmsPipelineInsertStage(lut, cmsAT_END, grid);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsWriteTag(profile, cmsSigAToB0Tag, lut);
    cmsPipelineFree(lut);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes data(size);
    cmsSaveProfileToMem(profile, data.data(), &size);
    cmsCloseProfile(profile);
    return Given(std::move(data));
}

/// Requires that the command can read what it wrote.
void RequireSound(const std::string& path, Format format) {
    const FileAccess file = FileAccess::OpenInput(path);
    Require(FormatOf(file) == format, "the output has the format that was asked for");
    const auto refusal = RefusalOf([&] {
        if (format == Format::Png) (void)PngStructure(file);
        if (format == Format::Jpeg) (void)JpegStructure(file);
        if (format != Format::Tiff) return;
        const TiffStructure structure(file);
        (void)ReadPages(structure);
    });
    if (refusal) std::fprintf(stderr, "%s\n", refusal->what());
    Require(!refusal, "the output has a sound structure");
}

}  // namespace

std::optional<Format> Conversion::FormatOf(unsigned steering) {
    constexpr Format kFormats[] = {Format::Unknown, Format::Tiff, Format::Png, Format::Jpeg};
    const Format format = kFormats[steering >> 6U & 3U];
    return format == Format::Unknown ? std::nullopt : std::optional(format);
}

Conversion::Setting::Setting(DeviceProfile given, const ConvertOptions& asked)
    : profile(std::move(given)), options(asked), target(MakeTarget(options)), cache(options, target) {
    for (const unsigned bits : {8U, 16U}) cache.Get(profile, bits);
}

Conversion::Conversion(const std::string& extension)
    : profile_(PlainProfile()), source_(folder_ / ("in" + extension)), output_(folder_ / "out") {
    ConvertOptions options;
    options.rendering.space = colour::FindSpace("srgb");
    options.source = SourceRule::Given;
    options.quiet = true;
    options.json = true;  // measures the pixels; the line itself is printed nowhere
    settings_[1] = std::make_unique<Setting>(GreyProfile(), options);
    settings_[3] = std::make_unique<Setting>(CmykProfile(), options);
    options.greyToRgb = true;
    settings_[2] = std::make_unique<Setting>(GreyProfile(), options);
    options.greyToRgb = false;
    options.precision = Precision::Library;
    options.acceptError = 100;  // the result is compared with an engine, whatever its colours are
    settings_[0] = std::make_unique<Setting>(profile_, options);
}

const std::string& Conversion::PutSource(const Bytes& file) const {
    folder_.Clear();
    test::WriteFile(source_, file);
    return source_;
}

bool Conversion::Run(unsigned steering, const Bytes& file, bool dryRun) {
    PutSource(file);
    const std::ptrdiff_t descriptors = OpenFiles();
    Setting& setting = *settings_[steering >> 4U & 3U];
    setting.options.noTag = (steering & 3U) == 3;
    setting.options.dryRun = dryRun;
    setting.options.format = FormatOf(steering);
    InputList list;
    const Item item{source_, output_, "out", {}};
    list.single = true;
    const auto refusal = RefusalOf([&] {
        Report report(true, false);
        MadeFolders folders(false);
        SweptFolders swept;
        Session session{setting.options, list,  report,  setting.target, setting.cache,
                        folders,         swept, nullptr, setting.profile};
        ConvertFile({session, item, (steering & 4U) != 0 ? 2U : 1U});
    });
    // Of a grey or CMYK run, an RGB file embeds no profile, or another one than for its colours.
    const bool maybeProfile = IsOfDevice(steering) && refusal && refusal->status() == Exit::Profile;
    if (refusal && !maybeProfile && refusal->status() != Exit::Input) std::fprintf(stderr, "%s\n", refusal->what());
    Require(!refusal || maybeProfile || refusal->status() == Exit::Input, "it is the file that is refused");
    Require(std::filesystem::exists(output_) == (!refusal && !dryRun), "there is an output unless it is refused");
    Require(folder_.Names().size() == (refusal || dryRun ? 1U : 2U), "nothing but the output is left");
    Require(test::ReadFile(source_) == file, "the source is as it was");
    Require(OpenFiles() == descriptors, "every file is closed");
    const bool isWritten = !refusal && !dryRun;
    if (isWritten && setting.options.format) RequireSound(output_, *setting.options.format);
    return isWritten;
}

Bytes Conversion::Output() const { return test::ReadFile(output_); }

}  // namespace hueweave::fuzz
