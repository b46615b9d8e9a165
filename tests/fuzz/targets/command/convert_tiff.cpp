// SPDX-License-Identifier: MIT
// Any bytes as a TIFF file, converted with a fixed profile: libtiff decodes the output to the engine's conversion of
// the source's pixels, whichever code path the strips take; a refusal leaves no file; time and heap stay within their
// limits.
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "FuzzInput.h"
#include "Judge.h"
#include "Mutation.h"
#include "Scene.h"
#include "batch/file/FileJob.h"
#include "colour/DeviceTransform.h"
#include "colour/profile/Target.h"
#include "jpeg/JpegStructure.h"
#include "png/PngStructure.h"
#include "system/files/OutputFile.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr std::size_t kSteering = 4;
/// Limit on the decoded bytes of a file that is converted; a larger one is only planned, since its pixels would take
/// too long.
constexpr std::uint64_t kMostPixels = std::uint64_t{4} << 20;

/// State shared by all inputs.
struct Stage {
    ScratchFolder folder;
    DeviceProfile profile = PlainProfile();
    ConvertOptions options;
    Target target;
    std::unique_ptr<ProfileCache> cache;
    /// For the exact precision, which converts more kinds of pages.
    ConvertOptions exact;
    Target exactTarget;
    std::unique_ptr<ProfileCache> exactCache;
    DeviceProfile grey;
    std::string source = folder / "in.tif", output = folder / "out.tif", rows = folder / "rows.tif",
                other = folder / "other";
    Stage() {
        options.rendering.space = colour::FindSpace("srgb");
        options.precision = Precision::Library;
        options.acceptError = 100;           // the result is compared with an engine, whatever its colours are
        options.source = SourceRule::Given;  // an embedded profile that cannot be used refuses the file otherwise
        options.quiet = true;
        target = MakeTarget(options);
        cache = std::make_unique<ProfileCache>(options, target);
        for (const unsigned bits : {8U, 16U}) cache->Get(profile, bits);
        exact = options;
        exact.precision = Precision::Exact;
        exact.acceptError.reset();
        exactTarget = MakeTarget(exact);
        exactCache = std::make_unique<ProfileCache>(exact, exactTarget);
        const auto gamma = colour::MakeTargetProfile(*colour::FindSpace("adobe-rgb"), {}, 4);
        grey = TakeEmbedded("grey.icc", colour::MakeGreyProfile(*gamma, 4).value(), true);
        grey.embedded = false;
    }
};

struct Parsed {
    std::unique_ptr<FileAccess> file;  ///< the structure refers to it
    std::unique_ptr<TiffStructure> structure;
    std::vector<TiffPage> pages;
    std::uint64_t decoded = 0;  ///< bytes of all strips and tiles
};

Parsed Parse(const std::string& path, bool exact = false) {
    Parsed parsed;
    parsed.file = std::make_unique<FileAccess>(FileAccess::OpenInput(path));
    parsed.structure = std::make_unique<TiffStructure>(*parsed.file);
    parsed.pages = ReadPages(*parsed.structure);
    for (TiffPage& page : parsed.pages) {
        if (!exact && !page.kind.empty()) page.Carry();  // as with the library's precision
        if (!exact && page.kind.empty() && page.bits != page.written.bits) {
            throw Refusal(Exit::Input, path, "has another depth", "leave --precision library out");
        }
        if (page.IsConvertible())
            parsed.decoded += page.Segments() * std::max(page.RowBytes(), page.WrittenRowBytes()) * page.segmentHeight;
    }
    const auto isConvertible = [](const TiffPage& page) { return page.IsConvertible(); };
    if (std::none_of(parsed.pages.begin(), parsed.pages.end(), isConvertible)) {
        throw Refusal(Exit::Input, path, "holds other pixels than RGB", "leave --precision library out");
    }
    return parsed;
}

/// Converts to `output` as the command does.
std::optional<Refusal> Convert(const Stage& stage, const ConvertOptions& arguments, const DeviceProfile& given,
                               unsigned threads) {
    InputList list;
    const std::string& output = arguments.format ? stage.other : arguments.inPlace ? stage.source : stage.output;
    const Item item{stage.source, output, "out.tif", {}};
    list.single = true;
    const bool exact = arguments.precision == Precision::Exact;
    return RefusalOf([&] {
        Report report(true, false);
        MadeFolders folders(false);
        SweptFolders swept;
        Session session{arguments,
                        list,
                        report,
                        exact ? stage.exactTarget : stage.target,
                        exact ? *stage.exactCache : *stage.cache,
                        folders,
                        swept,
                        nullptr,
                        given};
        ConvertFile({session, item, threads});
    });
}

/// The same with so little memory that strips are decoded row by row, unless they are uncompressed.
std::optional<Refusal> ConvertByRows(const Stage& stage, const Parsed& source, bool noTag) {
    return RefusalOf([&] {
        std::vector<PageJob> jobs(source.pages.size());
        WriteSettings settings;
        settings.memory = 1;
        settings.measure = true;
        std::uint64_t pixels = 0;
        for (std::size_t p = 0; p < jobs.size(); ++p) {
            const TiffPage& page = source.pages[p];
            if (page.stays) continue;
            const auto ready = stage.cache->Get(stage.profile, page.bits);
            const std::shared_ptr<const Bytes> icc(ready, &ready->outputProfile);
            jobs[p] = {false, &ready->converter, noTag ? nullptr : icc};
            // Room for four rows and for the coders, and so for no strip of more rows.
            const unsigned planes = page.planar ? page.samples : 1;
            const std::uint64_t need = 4 * page.RowBytes() * (planes + 1) + (planes - 1) * CoderMemory(page);
            settings.memory = std::max(settings.memory, need);
            pixels += page.Pixels();
        }
        Measured measured;
        OutputFile output(stage.rows, OutputFile::Existing::Keep);
        RewriteTiff(*source.structure, source.pages, jobs, output.file(), settings, measured);
        output.Finish();
        output.Commit();
        Require(measured.pixels == pixels, "every pixel is measured");
    });
}

/// The expected pixels of each page; from libtiff where it reads the source without an error.
std::map<std::size_t, Image> Wanted(const Stage& stage, const Parsed& source) {
    std::map<std::size_t, Image> wanted;
    for (std::size_t p = 0; p < source.pages.size(); ++p) {
        const TiffPage& page = source.pages[p];
        if (!page.IsConvertible()) continue;
        std::string complaint;
        const std::uint64_t place = source.structure->directories()[page.directory].offset;
        const auto judged = ByLibtiff(stage.source, place, true, complaint);
        Image image = ByOwnDecoder(*source.structure, page);
        Require(!judged || *judged == image, "libtiff decodes the source to the same pixels");
        ConvertImage(image, stage.profile.data, page.premultiplied);
        wanted[p] = std::move(image);
    }
    return wanted;
}

void CheckWritten(const std::string& path, const std::map<std::size_t, Image>& wanted, bool noTag) {
    const Parsed written = Parse(path);
    for (const auto& [p, image] : wanted) {
        const TiffDirectory& directory = written.structure->directories()[written.pages[p].directory];
        std::string complaint;
        const auto read = ByLibtiff(path, directory.offset, false, complaint);
        if (!read) std::fprintf(stderr, "libtiff: %s\n", complaint.c_str());
        Require(read.has_value(), "libtiff decodes what was written");
        Require(*read == image, "the pixels of the engine");
        Require((directory.Find(tag::IccProfile) == nullptr) == noTag, "a profile unless it is to be left out");
    }
}

/// The exact precision: the bytes of the output do not depend on the threads, and libtiff decodes all pages that were
/// converted.
void RunExact(const Stage& stage, const Bytes& file, bool isGrey) {
    stage.folder.Clear();
    test::WriteFile(stage.source, file);
    ConvertOptions arguments = stage.exact;
    arguments.force = true;
    const DeviceProfile& given = isGrey ? stage.grey : stage.profile;
    Parsed source;
    const auto unreadable = RefusalOf([&] { source = Parse(stage.source, true); });
    arguments.dryRun = unreadable || source.decoded > kMostPixels;
    const auto refusal = Convert(stage, arguments, given, 1);
    Require(!unreadable || refusal.has_value(), "what cannot be read is refused");
    if (refusal || arguments.dryRun) return;
    const Bytes once = test::ReadFile(stage.output);
    Require(!Convert(stage, arguments, given, 2) && test::ReadFile(stage.output) == once, "the same bytes");
    const Parsed written = Parse(stage.output, true);
    for (std::size_t p = 0; p < written.pages.size(); ++p) {
        const TiffPage& page = written.pages[p];
        const bool isConverted = page.kind.empty() || (isGrey && page.kind == "grey");
        if (!page.IsConvertible() || !isConverted) continue;
        std::string complaint;
        const std::uint64_t place = written.structure->directories()[page.directory].offset;
        Require(ByLibtiff(stage.output, place, false, complaint).has_value(), "libtiff decodes what was written");
    }
}

/// The same in another format: one that cannot be read is refused, and the structure of an output is sound.
void RunOtherFormat(const Stage& stage, const Bytes& file, Format format) {
    stage.folder.Clear();
    test::WriteFile(stage.source, file);
    ConvertOptions arguments = stage.exact;
    arguments.format = format;
    Parsed source;
    const auto unreadable = RefusalOf([&] { source = Parse(stage.source, true); });
    arguments.dryRun = unreadable || source.decoded > kMostPixels;
    const auto refusal = Convert(stage, arguments, stage.profile, 1);
    Require(!unreadable || refusal.has_value(), "what cannot be read is refused");
    Require(std::filesystem::exists(stage.other) == (!refusal && !arguments.dryRun), "an output unless it is refused");
    if (refusal || arguments.dryRun) return;
    const FileAccess written = FileAccess::OpenInput(stage.other);
    const auto unsound = RefusalOf([&] {
        if (format == Format::Png) (void)PngStructure(written);
        if (format == Format::Jpeg) (void)JpegStructure(written);
    });
    Require(!unsound, "the output has a sound structure");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const Stage stage;
    ConvertOptions arguments = stage.options;
    arguments.noTag = input.Below(4) == 3;
    arguments.inPlace = input.Below(4) == 3;
    const unsigned threads = input.Below(8) == 7 ? 2 : 1;
    const unsigned how = input.U8() % 6;
    const Bytes file = input.Rest();
    if (how >= 4) return RunOtherFormat(stage, file, how == 4 ? Format::Png : Format::Jpeg);
    if (how >= 2) return RunExact(stage, file, how == 3);
    stage.folder.Clear();
    test::WriteFile(stage.source, file);
    const std::ptrdiff_t descriptors = OpenFiles();

    Parsed source;
    const auto unreadable = RefusalOf([&] { source = Parse(stage.source); });
    arguments.dryRun = unreadable || source.decoded > kMostPixels;
    const auto refusal = Convert(stage, arguments, stage.profile, threads);
    Require(!unreadable || refusal.has_value(), "what cannot be read is refused");
    if (refusal) {
        if (refusal->status() != Exit::Input) std::fprintf(stderr, "%s\n", refusal->what());
        Require(refusal->status() == Exit::Input, "it is the file that is refused");
        Require(test::ReadFile(stage.source) == file, "the source is as it was");
    }
    const bool converted = !refusal && !arguments.dryRun;
    const auto left = converted && !arguments.inPlace ? std::vector<std::string>{"in.tif", "out.tif"}
                                                      : std::vector<std::string>{"in.tif"};
    Require(stage.folder.Names() == left, "nothing but the output is left");
    if (!arguments.dryRun) {
        const auto byRows = ConvertByRows(stage, source, arguments.noTag);
        const bool tooLittle = byRows && byRows->reason().find("memory") != std::string::npos;
        Require(tooLittle || byRows.has_value() == refusal.has_value(), "rows and strips are refused alike");
        if (converted) {
            // Read through the open file, which a conversion in place leaves unchanged.
            if (arguments.inPlace) std::filesystem::copy_file(stage.source, stage.output);
            if (arguments.inPlace) test::WriteFile(stage.source, file);
            const auto wanted = Wanted(stage, source);
            CheckWritten(stage.output, wanted, arguments.noTag);
            if (!byRows) CheckWritten(stage.rows, wanted, arguments.noTag);
        }
    }
    source = Parsed();
    Require(OpenFiles() == descriptors, "every file is closed");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, MutateTiff);

}  // namespace hueweave::fuzz
