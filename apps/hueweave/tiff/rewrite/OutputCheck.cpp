// SPDX-License-Identifier: MIT
#include "tiff/rewrite/OutputCheck.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

[[noreturn]] void Refuse(const FileAccess& target, const std::string& what) {
    throw Refusal(Exit::Output, target.name(),
                  "is not written, because it would not read back correctly (" + what + ")",
                  "rewrite the source, for example with tiffcp, and convert the result");
}

bool SameShape(const TiffPage& planned, const TiffPage& read) {
    const auto shape = [](const PageForm& form) {
        return std::tuple(form.width, form.height, form.samples, form.bits, form.photometric, form.fillOrder,
                          form.planar, form.tiled, form.premultiplied, form.segmentWidth, form.segmentHeight);
    };
    const PageForm& form = planned.stays ? planned : planned.written;
    if (shape(form) != shape(read)) return false;
    return planned.stays ||
           (read.IsConvertible() && read.compression == form.compression && read.predictor == form.predictor);
}

bool SamePlaces(const WrittenPage& written, const TiffPage& read) {
    return std::equal(written.places.begin(), written.places.end(), read.segments.begin(), read.segments.end(),
                      [](const Extent& a, const Extent& b) { return a.offset == b.offset && a.size == b.size; });
}

/// Compares each written profile once, even if several pages refer to it.
class ProfileComparer {
public:
    explicit ProfileComparer(const TiffStructure& read) : read_(read) {}
    bool Same(const WrittenPage& written, const TiffDirectory& directory) {
        const TiffEntry* entry = directory.Find(tag::IccProfile);
        if (written.icc == nullptr || entry == nullptr) return written.icc == nullptr && entry == nullptr;
        if (entry->dataSize != written.icc->size()) return false;
        if (same_.contains({written.icc.get(), entry->dataOffset})) return true;
        if (read_.Data(*entry) != *written.icc) return false;
        same_.emplace(written.icc.get(), entry->dataOffset);
        return true;
    }

private:
    const TiffStructure& read_;
    std::set<std::pair<const Bytes*, std::uint64_t>> same_;
};

void Compare(const TiffStructure& source, const std::vector<TiffPage>& pages, const std::vector<WrittenPage>& written,
             const std::map<std::uint64_t, std::uint64_t>& moved, const FileAccess& target) {
    const TiffStructure read(target);
    if (read.directories().size() != source.directories().size()) Refuse(target, "it has other pages");
    for (std::size_t i = 0; i < read.directories().size(); ++i) {
        const auto found = moved.find(source.directories()[i].offset);
        const std::uint64_t place = found == moved.end() ? source.directories()[i].offset : found->second;
        if (read.directories()[i].offset != place) Refuse(target, "a page is at another place");
    }
    ProfileComparer profiles(read);
    for (std::size_t p = 0; p < pages.size(); ++p) {
        const TiffPage page = ReadPage(read, p);
        if (!SameShape(pages[p], page)) Refuse(target, "a page has another shape");
        if (written[p].keeps) continue;
        if (!SamePlaces(written[p], page)) Refuse(target, "image data are at another place");
        if (!profiles.Same(written[p], read.directories()[page.directory])) Refuse(target, "a profile differs");
    }
}

}  // namespace

void CheckOutput(const TiffStructure& source, const std::vector<TiffPage>& pages,
                 const std::vector<WrittenPage>& written, const std::map<std::uint64_t, std::uint64_t>& moved,
                 const FileAccess& target) {
    try {
        Compare(source, pages, written, moved, target);
    } catch (const ReadFailure&) {
        throw;
    } catch (const Refusal& refusal) {
        if (refusal.status() == Exit::Output) throw;
        Refuse(target, "it " + refusal.reason());
    }
}

}  // namespace hueweave::tool
