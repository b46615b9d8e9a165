// SPDX-License-Identifier: MIT
#include "Conversion.h"

#include <lcms2.h>

#include <filesystem>
#include <utility>

#include "batch/file/FileJob.h"
#include "colour/DeviceTransform.h"
#include "colour/profile/Target.h"
#include "jpeg/JpegStructure.h"
#include "png/PngStructure.h"
#include "support/ProfileBuilder.h"
#include "tiff/TiffPage.h"

namespace hueweave::fuzz {

using namespace tool;

namespace {

DeviceProfile Given(Bytes data) { return TakeProfile("given.icc", std::move(data), true); }

DeviceProfile GreyProfile() {
    const auto gamma = colour::MakeTargetProfile(*colour::FindSpace("adobe-rgb"), {}, 4);
    return Given(colour::MakeGreyProfile(*gamma, 4).value());
}

DeviceProfile CmykProfile() {
    return Given(test::ProfileBuilder()
                     .HeaderWord(12, cmsSigOutputClass)
                     .HeaderWord(16, cmsSigCmykData)
                     .HeaderWord(20, cmsSigLabData)
                     .Mft2("A2B0", test::MakeLut({.inputs = 4, .points = 5}, 4))
                     .Build());
}

}  // namespace

Choice Choice::Of(unsigned steering) {
    constexpr std::optional<Format> kFormats[] = {std::nullopt, Format::Tiff, Format::Png, Format::Jpeg};
    return {.way = static_cast<Way>(steering >> 4U & 3U),
            .format = kFormats[steering >> 6U & 3U],
            .noTag = (steering & 3U) == 3,
            .threads = (steering & 4U) != 0 ? 2U : 1U};
}

Conversion::Setting::Setting(DeviceProfile given, const ConvertOptions& asked)
    : profile(std::move(given)), options(asked), target(MakeTarget(options)), cache(options, target) {
    for (const unsigned bits : {8U, 16U}) cache.Get(profile, bits);
}

Conversion::Conversion(const std::string& extension) : source_(folder_ / ("in" + extension)), output_(folder_ / "out") {
    ConvertOptions options;
    options.rendering.space = colour::FindSpace("srgb");
    options.source = SourceRule::Given;  // an embedded profile that cannot be used refuses the file otherwise
    options.quiet = true;
    const auto set = [&](Way way, DeviceProfile given) {
        settings_[static_cast<std::size_t>(way)] = std::make_unique<Setting>(std::move(given), options);
    };
    set(Way::Exact, PlainProfile());
    set(Way::Grey, GreyProfile());
    set(Way::Cmyk, CmykProfile());
    options.greyToRgb = true;
    set(Way::GreyToRgb, GreyProfile());
    options.greyToRgb = false;
    options.precision = Precision::Library;
    options.acceptError = 100;  // the result is compared with an engine, whatever its colours are
    set(Way::Library, PlainProfile());
}

const std::string& Conversion::PutSource(const Bytes& file) const {
    folder_.Clear();
    test::WriteFile(source_, file);
    return source_;
}

std::optional<Refusal> Conversion::Run(const Choice& choice, const Bytes& file) {
    PutSource(file);
    const std::ptrdiff_t descriptors = OpenFiles();
    Setting& setting = *settings_[static_cast<std::size_t>(choice.way)];
    setting.options.noTag = choice.noTag;
    setting.options.inPlace = choice.inPlace;
    setting.options.dryRun = choice.dryRun;
    setting.options.format = choice.format;
    setting.options.json = choice.measures;  // the line itself is printed nowhere
    InputList list;
    const Item item{source_, choice.inPlace ? source_ : output_, "out", {}};
    list.single = true;
    const auto refusal = RefusalOf([&] {
        Report report(true, false);
        MadeFolders folders(false);
        SweptFolders swept;
        Session session{setting.options, list,  report,  setting.target, setting.cache,
                        folders,         swept, nullptr, setting.profile};
        ConvertFile({session, item, choice.threads});
    });
    // An image can be of other colours than the profile, or embed another one than for its colours.
    const bool maybeProfile = choice.way != Way::Library && refusal && refusal->status() == Exit::Profile;
    const bool isOfFile = !refusal || maybeProfile || refusal->status() == Exit::Input;
    if (!isOfFile) std::fprintf(stderr, "%s\n", refusal->what());
    Require(isOfFile, "it is the file that is refused");
    const bool isWritten = !refusal && !choice.dryRun, isApart = isWritten && !choice.inPlace;
    Require(std::filesystem::exists(output_) == isApart, "there is an output unless it is refused");
    Require(folder_.Names().size() == (isApart ? 2U : 1U), "nothing but the output is left");
    if (isWritten && choice.inPlace) {
        std::filesystem::rename(source_, output_);
        test::WriteFile(source_, file);
    }
    Require(test::ReadFile(source_) == file, "the source is as it was");
    Require(OpenFiles() == descriptors, "every file is closed");
    if (!isWritten || !choice.format) return refusal;
    MustSucceed(
        [&] {
            const FileAccess output = FileAccess::OpenInput(output_);
            Require(FormatOf(output) == choice.format, "the output has the format that was asked for");
            if (choice.format == Format::Png) (void)PngStructure(output);
            if (choice.format == Format::Jpeg) (void)JpegStructure(output);
            if (choice.format == Format::Tiff) (void)ReadPages(TiffStructure(output));
        },
        "the output has a sound structure");
    return refusal;
}

}  // namespace hueweave::fuzz
