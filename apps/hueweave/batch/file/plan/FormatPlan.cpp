// SPDX-License-Identifier: MIT
#include "batch/file/plan/FormatPlan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "batch/file/notes/MetadataNotes.h"
#include "batch/file/plan/JpegPlan.h"
#include "batch/file/plan/PageProfiles.h"
#include "batch/file/plan/PngPlan.h"
#include "batch/file/plan/ProfileChoice.h"
#include "create/SourcePicture.h"
#include "jpeg/JpegRewriter.h"
#include "png/ChunkRules.h"

namespace hueweave::tool {
namespace {

using colour::ColourModel;

/// For RGB pixels in the colours of the output already.
class KeptRgb : public colour::RgbConverter {
public:
    explicit KeptRgb(unsigned bits) : bits_(bits) {}
    void Convert(unsigned char*, std::size_t) const override {}
    unsigned bits() const override { return bits_; }
    Range range() const override {
        const auto top = static_cast<std::uint16_t>(bits_ == 8 ? 255 : 65535);
        return {{0, 0, 0}, {top, top, top}};
    }

private:
    unsigned bits_;
};

/// The same for grey ones.
class KeptGrey : public colour::DeviceConverter {
public:
    explicit KeptGrey(unsigned bits) : bits_(bits) {}
    void Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels) const override {
        std::memcpy(dest, source, pixels * (bits_ / 8));
    }
    unsigned bits() const override { return bits_; }
    unsigned sourceChannels() const override { return 1; }
    unsigned targetChannels() const override { return 1; }

private:
    unsigned bits_;
};

colour::PixelConverter KeepColours(ColourModel model, unsigned bits) {
    if (model == ColourModel::Grey) return colour::PixelConverter(std::make_unique<const KeptGrey>(bits));
    return colour::PixelConverter(std::make_unique<const KeptRgb>(bits));
}

/// A source file with one image, and what is asked of its pixels.
struct OpenPicture {
    std::unique_ptr<const PngStructure> png;
    std::unique_ptr<const JpegStructure> jpeg;
    std::unique_ptr<const TiffStructure> tiff;
    std::vector<TiffPage> pages;
    std::unique_ptr<PageProfiles> profiles;

    std::unique_ptr<const SourcePicture> picture;  ///< borrows from the others
    ProfileChoice::Embedded embedded;
    ColourModel model = ColourModel::Rgb;
    std::string kind;      ///< of pixels that are not RGB, such as "grey" and "palette"; empty for RGB
    unsigned bits = 8;     ///< a sample, as stored
    std::size_t left = 0;  ///< reduced copies that are left out
};

void OpenPng(const SourceFile& source, OpenPicture& open) {
    open.png = std::make_unique<const PngStructure>(source.file);
    CheckConvertible(*open.png);
    open.picture = PictureOf(*open.png);
    open.embedded = [png = open.png.get()] { return EmbeddedIn(*png); };
    const PngHeader& header = open.png->header();
    open.bits = header.depth;
    if (header.colours == PngHeader::Palette) open.kind = "palette";
    if (!header.IsGrey()) return;
    open.model = ColourModel::Grey;
    open.kind = "grey";
}

void OpenJpeg(const SourceFile& source, OpenPicture& open) {
    open.jpeg = std::make_unique<const JpegStructure>(source.file);
    CheckConvertible(*open.jpeg);
    open.picture = PictureOf(*open.jpeg);
    open.embedded = [jpeg = open.jpeg.get()] { return EmbeddedIn(*jpeg); };
    open.model = ModelOf(open.jpeg->frame());
    if (open.model != ColourModel::Rgb) open.kind = KindOf(open.jpeg->frame());
}

/// The only page of a file that is no reduced copy of another one.
std::size_t OnlyPage(const std::string& name, const OpenPicture& open, Format to) {
    std::vector<std::size_t> whole;
    for (std::size_t p = 0; p < open.pages.size(); ++p) {
        const TiffDirectory& directory = open.tiff->directories()[open.pages[p].directory];
        if ((open.tiff->Number(directory, tag::SubfileType, 0) & 1U) == 0) whole.push_back(p);
    }
    if (whole.size() == 1 && open.pages[whole[0]].IsConvertible()) return whole[0];
    if (whole.size() == 1) {
        const TiffPage& page = open.pages[whole[0]];
        throw page.whyNot ? *page.whyNot : NotRgb(name, "", page.other, Precision::Library);
    }
    const std::string pages = fmt::format("{} pages, of which a {} file holds one", whole.size(), FormatName(to));
    throw Refusal(Exit::Input, name, "contains " + pages,
                  "split it into files of one page each, for example with tiffsplit")
        .OfKind({"with several pages", "several pages", false});
}

void OpenTiff(const SourceFile& source, Format to, const ConvertOptions& options, OpenPicture& open) {
    open.tiff = std::make_unique<const TiffStructure>(source.file);
    open.pages = ReadPages(*open.tiff);
    const std::size_t number = OnlyPage(source.name, open, to);
    const TiffPage& page = open.pages[number];
    open.profiles = std::make_unique<PageProfiles>(*open.tiff, open.pages);
    open.picture = PictureOf(*open.tiff, open.pages, number);
    open.embedded = [&open, number] { return open.profiles->Of(number); };
    open.model = page.model;
    open.kind = page.kind;
    open.bits = page.bits;
    open.left = open.pages.size() - 1;
    if (options.precision == Precision::Library && page.kind.empty() && page.bits != page.written.bits) {
        throw Refusal(Exit::Input, source.name, fmt::format("has {} bits per sample", page.bits),
                      "leave --precision library out");
    }
    const unsigned extra = page.samples - page.ColourSamples();
    const TiffDirectory& directory = open.tiff->directories()[page.directory];
    const std::uint64_t alpha = open.tiff->Number(directory, tag::ExtraSamples, 0);
    const bool isAlpha = extra == 1 && (alpha == 1 || alpha == 2);
    if (extra == 0 || isAlpha) return;
    throw Refusal(Exit::Input, source.name,
                  fmt::format("has {} extra {} that a {} file cannot hold", extra, extra == 1 ? "sample" : "samples",
                              FormatName(to)),
                  "leave --format out");
}

std::unique_ptr<OpenPicture> Open(const Session& session, const SourceFile& source, Format to) {
    auto open = std::make_unique<OpenPicture>();
    switch (FormatOf(source.file)) {
        case Format::Png:
            OpenPng(source, *open);
            break;
        case Format::Jpeg:
            OpenJpeg(source, *open);
            break;
        default:
            OpenTiff(source, to, session.options, *open);
    }
    return open;
}

struct PlannedPicture : PlannedImages {
    std::uint64_t Pixels() const override { return image.raster.Pixels(); }
    void Write(const FileAccess& target, const WriteSettings& settings, Measured& measured) const override {
        // The coder of the new file gets a quarter.
        WriteSettings reading = settings;
        reading.memory = settings.memory / 4 * 3;
        const std::unique_ptr<NewFile> file = to == Format::Png ? MakeNewPng(target, image)
                                              : to == Format::Tiff
                                                  ? MakeNewTiff(target, image)
                                                  : MakeNewJpeg(target, image, quality, settings.memory / 4);
        open->picture->Convert(kept ? *kept : ready->converter, *file, target, reading, measured);
        file->Finish();
    }

    std::unique_ptr<OpenPicture> open;
    std::shared_ptr<const ReadyConverter> ready;
    std::optional<colour::PixelConverter> kept;  ///< in place of that, if the colours do not change
    NewImage image;
    Format to = Format::Unknown;
    unsigned quality = 95;
};

/// Refuses what the format cannot hold, and takes out metadata that are too large for it.
void FitInto(Format to, NewImage& image, FileNotes& notes) {
    if (to != Format::Jpeg) return;
    if (image.HasAlpha()) {
        throw Refusal(
            Exit::Input, image.name, "has an alpha channel, which a JPEG file cannot hold",
            "write it as PNG or TIFF, or remove the alpha channel, for example with convert in.png -alpha off out.png")
            .OfKind({"with alpha", "an alpha channel, which a JPEG file cannot hold", false});
    }
    if (std::max(image.raster.width, image.raster.height) > kMostJpegSize) {
        throw Refusal(Exit::Input, image.name, "is larger than the 65,500 pixels per side that a JPEG file can have",
                      "write it as PNG or TIFF");
    }
    if (image.raster.bits == 16) notes.common.insert("samples of 16 bits are written with 8 bits");
    for (const auto& [block, most, name] : {std::tuple{&image.metadata.exif, kMostJpegExif, "EXIF"},
                                            std::tuple{&image.metadata.xmp, kMostJpegXmp, "XMP"}}) {
        if (block->size() <= most) continue;
        block->clear();
        notes.common.insert(fmt::format("{} metadata are left out, because a JPEG file holds 64 KiB of them", name));
    }
}

void NoteLosses(const ConvertOptions& options, const PlannedPicture& planned, FileNotes& notes) {
    const NewImage& image = planned.image;
    const OpenPicture& open = *planned.open;
    const bool becomesRgb = !open.kind.empty() && image.colours == 3;
    if (becomesRgb) {
        notes.common.insert(fmt::format("{} pixels are written as RGB of {} bits", open.kind, image.raster.bits));
    } else if (open.bits != image.raster.bits) {
        notes.common.insert(fmt::format("samples of {} bits are written with {} bits", open.bits, image.raster.bits));
    }
    if (open.left > 0) notes.common.insert("reduced copies are left out");
    const Metadata& metadata = image.metadata;
    if (metadata.hasMakerNote)
        notes.common.insert("EXIF field MakerNote is left out, because its offsets would be wrong");
    if (metadata.hasOthers) notes.common.insert("metadata other than EXIF, XMP and resolution are left out");
    if (!metadata.exif.empty()) NoteExif(options, ReadExif(metadata.exif), notes);
    NoteXmp(metadata.xmp, notes);
}

}  // namespace

FilePlan PlanOtherFormat(const Session& session, const SourceFile& source) {
    const ConvertOptions& options = session.options;
    auto planned = std::make_unique<PlannedPicture>();
    planned->to = *options.format;
    planned->quality = options.quality.value_or(planned->quality);
    planned->open = Open(session, source, planned->to);
    const OpenPicture& open = *planned->open;
    ProfileChoice choice(session, source.name);
    const bool needsOwn = open.model != ColourModel::Rgb && !colour::IsLab(open.model);
    const bool isLibrary = options.precision == Precision::Library;
    if (isLibrary && open.tiff != nullptr && !open.kind.empty())
        throw NotRgb(source.name, "", open.kind, Precision::Library);
    if (needsOwn) choice.RequireProfile(open.embedded, open.model, open.kind);
    const Raster raster = open.picture->raster();
    const ChosenConverter chosen = choice.For(open.embedded, raster.bits, open.model);
    planned->ready = chosen.ready;
    if (chosen.isDone) planned->kept.emplace(KeepColours(open.model, raster.bits));
    const Conversion conversion(raster, planned->kept ? *planned->kept : chosen.ready->converter);
    planned->image = {conversion.to, conversion.converter.targetChannels(), chosen.icc, open.picture->metadata(),
                      source.name};
    FitInto(planned->to, planned->image, choice.notes());
    NoteLosses(options, *planned, choice.notes());
    FilePlan plan;
    plan.keepsColours = chosen.isDone;
    plan.images = std::move(planned);
    std::move(choice).Finish(plan);
    return plan;
}

}  // namespace hueweave::tool
