// SPDX-License-Identifier: MIT
#include "tiff/rewrite/TiffRewriter.h"

#include <algorithm>

#include "tiff/PhotoshopResources.h"
#include "tiff/rewrite/DirectoryWriter.h"
#include "tiff/rewrite/ImageWriter.h"
#include "tiff/rewrite/OutputCheck.h"

namespace hueweave::tool {
namespace {

/// Sets the tags that describe the samples of a page, and removes those that describe the old ones. Tags with one value
/// per sample get a single one, or lose it.
void SetSamples(DirectoryWriter& directories, const TiffPage& page) {
    const PageForm& form = page.written;
    const auto set = [&](std::uint16_t which, const std::vector<std::uint64_t>& values) {
        directories.SetNumbers(page.directory, which, values, type::Short);
    };
    set(tag::SamplesPerPixel, {form.samples});
    set(tag::BitsPerSample, std::vector<std::uint64_t>(form.samples, form.bits));
    set(tag::Compression, {form.compression});
    set(tag::Planar, {form.planar ? 2U : 1U});
    for (const auto which :
         {tag::ColourMap, tag::GreyUnit, tag::GreyCurve, tag::HalftoneHints, tag::TransferFunction, tag::InkSet,
          tag::InkNames, tag::NumberOfInks, tag::DotRange, tag::MinSampleValue, tag::MaxSampleValue, tag::LeastSample,
          tag::LargestSample, tag::SampleFormat, tag::DataType, tag::ReferenceBlackWhite}) {
        directories.Remove(page.directory, which);
    }
}

/// Sets the tags that describe the form of a page, and removes those that no longer apply.
void SetForm(DirectoryWriter& directories, const TiffPage& page) {
    const PageForm& form = page.written;
    if (form.compression != page.compression) {
        directories.SetNumbers(page.directory, tag::Compression, {form.compression}, type::Short);
        directories.SetNumbers(page.directory, tag::Predictor, {form.predictor}, type::Short);
        directories.Remove(page.directory, tag::JpegTables);
    }
    if (!HaveSameSamples(page, form)) SetSamples(directories, page);
    if (form.photometric == page.photometric) return;
    directories.SetNumbers(page.directory, tag::Photometric, {form.photometric}, type::Short);
    for (const auto which :
         {tag::YCbCrCoefficients, tag::YCbCrSubSampling, tag::YCbCrPositioning, tag::ReferenceBlackWhite}) {
        directories.Remove(page.directory, which);
    }
}

/// Whether the JPEG data that tag 513 of a page refers to are not those of its image, but for example a preview, which
/// stays where it is.
bool HasOtherJpeg(const TiffStructure& structure, const TiffDirectory& directory, const TiffPage& page) {
    const auto number = [&](std::uint16_t wanted) {
        const TiffEntry* entry = directory.Find(wanted);
        return entry != nullptr && IsWhole(entry->type) ? structure.Number(directory, wanted, 0) : 0;
    };
    const std::uint64_t offset = number(tag::JpegData), size = std::max<std::uint64_t>(1, number(tag::JpegDataSize));
    return offset != 0 && std::none_of(page.segments.begin(), page.segments.end(), [&](const Extent& segment) {
               return offset < segment.End() && segment.offset - std::min(segment.offset, offset) < size;
           });
}

/// Removes the tags of old-style JPEG, which some programs add to a page of JPEG data: they refer to data that no
/// longer exist.
void ForgetOldJpeg(const TiffStructure& structure, DirectoryWriter& directories, const TiffPage& page) {
    for (const auto which : {tag::JpegProcess, tag::JpegRestart, tag::JpegPredictors, tag::JpegPointTransforms,
                             tag::JpegQuantisation, tag::JpegDc, tag::JpegAc}) {
        directories.Remove(page.directory, which);
    }
    if (HasOtherJpeg(structure, structure.directories()[page.directory], page)) return;
    directories.Remove(page.directory, tag::JpegData);
    directories.Remove(page.directory, tag::JpegDataSize);
}

/// Photoshop stores a second copy of the profile in its own resources.
class PhotoshopProfiles {
public:
    PhotoshopProfiles(const TiffStructure& structure, DirectoryWriter& directories)
        : structure_(structure), directories_(directories) {}

    /// Replaces the copy, or removes it if `icc` is null.
    void Set(std::size_t index, const std::shared_ptr<const Bytes>& icc) {
        const TiffDirectory& directory = structure_.directories()[index];
        const TiffEntry* entry = directory.Find(tag::PhotoshopResources);
        if (entry == nullptr) return;
        // Pages that share the old value share the new one.
        const bool shared = entry->dataOffset != 0 && entry->dataOffset == last_.offset &&
                            entry->dataSize == last_.size && lastIcc_ == icc;
        if (!shared) {
            auto resources = PhotoshopResources(structure_, directory).WithProfile(icc ? *icc : Bytes());
            resources_ = resources ? std::make_shared<const Bytes>(std::move(*resources)) : nullptr;
            last_ = {entry->dataOffset, entry->dataSize};
            lastIcc_ = icc;
        }
        if (resources_ == nullptr) return;
        if (resources_->empty()) {
            directories_.Remove(index, tag::PhotoshopResources);
        } else {
            const std::uint16_t type = TypeSize(entry->type) == 1 ? entry->type : type::Undefined;
            directories_.SetData(index, tag::PhotoshopResources, type, resources_);
        }
    }

private:
    const TiffStructure& structure_;
    DirectoryWriter& directories_;
    Extent last_;
    std::shared_ptr<const Bytes> lastIcc_, resources_;  ///< null if there is nothing to change
};

void SetPlaces(const TiffStructure& structure, DirectoryWriter& directories, const TiffPage& page,
               const std::vector<Extent>& places) {
    std::vector<std::uint64_t> offsets, sizes;
    bool moved = places.size() != page.segments.size();
    bool resized =
        moved || structure.directories()[page.directory].Find(page.sizesTag) == nullptr;  // readers require it
    for (std::size_t i = 0; i < places.size(); ++i) {
        offsets.push_back(places[i].offset);
        sizes.push_back(places[i].size);
        moved = moved || places[i].offset != page.segments[i].offset;
        resized = resized || places[i].size != page.segments[i].size;
    }
    if (moved) directories.SetNumbers(page.directory, page.offsetsTag, offsets, type::Long);
    if (resized) directories.SetNumbers(page.directory, page.sizesTag, sizes, type::Long);
}

/// If an uncompressed strip or tile moves, extra bytes after its pixels are not copied.
void CutPlain(const TiffPage& page, std::vector<Extent>& places) {
    if (!page.Plain() || !HaveSameLayout(page, page.written)) return;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (places[i].offset != page.segments[i].offset) places[i].size = page.DecodedBytes(i);
    }
}

/// Replaces an invalid orientation with 1. Readers treat it as 1 anyway, some after an error message.
void MendOrientation(const TiffStructure& structure, DirectoryWriter& directories, std::size_t directory) {
    const std::uint64_t orientation = structure.Number(structure.directories()[directory], tag::Orientation, 1);
    if (orientation < 1 || orientation > 8) directories.SetNumbers(directory, tag::Orientation, {1}, type::Short);
}

}  // namespace

void RewriteTiff(const TiffStructure& structure, const std::vector<TiffPage>& pages, const std::vector<PageJob>& jobs,
                 const FileAccess& target, const WriteSettings& settings, Measured& measured) {
    OutputLayout layout(structure, pages);
    for (const Extent& extent : layout.kept()) CopyRange(structure.file(), extent, target, extent.offset);
    DirectoryWriter directories(structure, layout, target);
    PhotoshopProfiles photoshop(structure, directories);
    std::vector<WrittenPage> written(pages.size());
    for (std::size_t p = 0; p < pages.size(); ++p) {
        const TiffPage& page = pages[p];
        if (jobs[p].keeps) continue;
        written[p] = {false, page.segments, jobs[p].icc};
        if (!page.stays) {
            const PageContext context{structure, page, p, *jobs[p].converter, layout, target, settings, measured};
            written[p].places = WriteImage(context);
            CutPlain(page, written[p].places);
            SetPlaces(structure, directories, page, written[p].places);
            MendOrientation(structure, directories, page.directory);
            SetForm(directories, page);
            if (page.Lossy()) ForgetOldJpeg(structure, directories, page);
        }
        photoshop.Set(page.directory, jobs[p].icc);
        if (jobs[p].icc == nullptr) {
            directories.Remove(page.directory, tag::IccProfile);
        } else {
            directories.SetData(page.directory, tag::IccProfile, type::Undefined, jobs[p].icc);
        }
    }
    directories.Write();
    target.Resize(layout.End());  // even if the file ends with a hole
    CheckOutput(structure, pages, written, directories.moved(), target);
}

}  // namespace hueweave::tool
