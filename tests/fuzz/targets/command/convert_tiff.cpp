// SPDX-License-Identifier: MIT
// Any bytes as a TIFF file, converted with a fixed profile: libtiff decodes the output to the engine's conversion of
// the source's pixels, whichever code path the strips take.
#include <map>

#include "Conversion.h"
#include "Judge.h"
#include "Mutation.h"
#include "system/files/OutputFile.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr std::size_t kSteering = 4;
constexpr std::uint64_t kMostDecoded = 16 * kMostPixels;  ///< bytes of a file that is not only planned

struct Parsed {
    Parsed(const std::string& path, bool exact)
        : file(FileAccess::OpenInput(path)), structure(file), pages(ReadPages(structure)) {
        bool areAlike = true;
        for (TiffPage& page : pages) {
            if (!exact && !page.kind.empty()) page.Carry();  // as with the library's precision
            areAlike = areAlike && (exact || !page.kind.empty() || page.bits == page.written.bits);
            if (!page.IsConvertible()) continue;
            decoded += page.Segments() * std::max(page.RowBytes(), page.WrittenRowBytes()) * page.segmentHeight;
        }
        if (decoded == 0 || !areAlike) throw Refusal(Exit::Input, path, "is not for the library's precision", "");
    }
    std::uint64_t Place(const TiffPage& page) const { return structure.directories()[page.directory].offset; }

    FileAccess file;
    TiffStructure structure;
    std::vector<TiffPage> pages;
    std::uint64_t decoded = 0;  ///< bytes of all strips and tiles
};

/// Converts with so little memory that strips are decoded row by row, unless they are uncompressed.
std::optional<Refusal> ConvertByRows(Conversion& conversion, const Parsed& source, bool noTag) {
    return RefusalOf([&] {
        std::vector<PageJob> jobs(source.pages.size());
        WriteSettings settings;
        settings.memory = 1;
        settings.measure = true;
        std::uint64_t pixels = 0;
        for (std::size_t p = 0; p < jobs.size(); ++p) {
            const TiffPage& page = source.pages[p];
            if (page.stays) continue;
            const auto ready = conversion.Ready(page.bits);
            const std::shared_ptr<const Bytes> icc(ready, &ready->outputProfile);
            jobs[p] = {false, &ready->converter, noTag ? nullptr : icc};
            // Room for four rows and for the coders, and so for no strip of more rows.
            const unsigned planes = page.planar ? page.samples : 1;
            const std::uint64_t need = 4 * page.RowBytes() * (planes + 1) + (planes - 1) * CoderMemory(page);
            settings.memory = std::max(settings.memory, need);
            pixels += page.Pixels();
        }
        Measured measured;
        OutputFile output(conversion / "rows", OutputFile::Existing::Keep);
        RewriteTiff(source.structure, source.pages, jobs, output.file(), settings, measured);
        output.Finish();
        output.Commit();
        Require(measured.pixels == pixels, "every pixel is measured");
    });
}

/// The expected pixels of each page; from libtiff where it reads the source without an error.
std::map<std::size_t, Image> Wanted(const Conversion& conversion, const Parsed& source) {
    std::map<std::size_t, Image> wanted;
    for (std::size_t p = 0; p < source.pages.size(); ++p) {
        const TiffPage& page = source.pages[p];
        if (!page.IsConvertible()) continue;
        const auto judged = ByLibtiff(conversion.source(), source.Place(page), true);
        Image image = ByOwnDecoder(source.structure, page);
        Require(!judged || *judged == image, "libtiff decodes the source to the same pixels");
        ConvertImage(image, page.premultiplied);
        wanted[p] = std::move(image);
    }
    return wanted;
}

void CheckWritten(const std::string& path, const std::map<std::size_t, Image>& wanted, bool noTag) {
    const Parsed written(path, false);
    for (const auto& [p, image] : wanted) {
        const TiffDirectory& directory = written.structure.directories()[written.pages[p].directory];
        Require(ByLibtiff(path, directory.offset, false) == image, "libtiff decodes the pixels of the engine");
        Require((directory.Find(tag::IccProfile) == nullptr) == noTag, "a profile unless it is to be left out");
    }
}

/// The library's precision.
void CheckLibrary(Conversion& conversion, const Choice& choice, const Parsed& source, bool isRefused) {
    const auto byRows = ConvertByRows(conversion, source, choice.noTag);
    const bool tooLittle = byRows && byRows->reason().find("memory") != std::string::npos;
    Require(tooLittle || byRows.has_value() == isRefused, "rows and strips are refused alike");
    if (isRefused) return;
    const auto wanted = Wanted(conversion, source);
    CheckWritten(conversion.output(), wanted, choice.noTag);
    if (!byRows) CheckWritten(conversion / "rows", wanted, choice.noTag);
}

/// The exact precision: the bytes of the output do not depend on the threads, and libtiff decodes all pages that were
/// converted.
void CheckExact(Conversion& conversion, Choice choice, const Parsed& source, const Bytes& file) {
    const Bytes once = conversion.Output();
    choice.threads = 2;
    Require(!conversion.Run(choice, file) && conversion.Output() == once, "the same bytes");
    const Parsed written(conversion.output(), true);
    for (std::size_t p = 0; p < written.pages.size(); ++p) {
        const TiffPage& page = written.pages[p];
        const bool isTaken = page.kind.empty() || (choice.way == Way::Grey && page.kind == "grey");
        // A page whose data end behind the source stays as it is, though the output may be longer.
        if (!isTaken || !page.IsConvertible() || !source.pages[p].IsConvertible()) continue;
        Require(ByLibtiff(conversion.output(), written.Place(page), false).has_value(), "libtiff decodes all pages");
    }
}

void Check(Conversion& conversion, Choice choice, const Bytes& file) {
    const bool isExact = choice.way != Way::Library;
    std::optional<Parsed> source;
    const auto unreadable = RefusalOf([&] { source.emplace(conversion.PutSource(file), isExact); });
    choice.dryRun = unreadable || source->decoded > kMostDecoded;
    const auto refusal = conversion.Run(choice, file);
    Require(!unreadable || refusal.has_value(), "what cannot be read is refused");
    if (choice.dryRun) return;
    if (!isExact) return CheckLibrary(conversion, choice, *source, refusal.has_value());
    if (!refusal && !choice.format) CheckExact(conversion, choice, *source, file);
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static Conversion conversion(".tif");
    const bool noTag = input.Below(4) == 3, inPlace = input.Below(4) == 3;
    Choice choice{.noTag = noTag, .inPlace = inPlace, .measures = false, .threads = input.Below(8) == 7 ? 2U : 1U};
    const unsigned how = input.U8() % 6;
    if (how >= 2) choice = {.way = how == 3 ? Way::Grey : Way::Exact, .measures = false};
    if (how >= 4) choice.format = how == 4 ? Format::Png : Format::Jpeg;
    const std::ptrdiff_t descriptors = OpenFiles();
    Check(conversion, choice, input.Rest());
    Require(OpenFiles() == descriptors, "every file is closed");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, TiffLayout);

}  // namespace hueweave::fuzz
