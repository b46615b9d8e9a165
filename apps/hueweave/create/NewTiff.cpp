// SPDX-License-Identifier: MIT
// The file is a header, or the EXIF metadata, which are a TIFF file themselves: so their offsets stay valid. The strips
// and the directory follow.
#include <tiff.h>

#include <algorithm>
#include <cmath>

#include "create/ExifBlock.h"
#include "create/NewImage.h"
#include "system/Refusal.h"
#include "tiff/codec/TiffCodec.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kStrip = std::uint64_t{256} << 10;  ///< bytes, before they are encoded
constexpr std::uint64_t kMostOffset = 0xffffffff;

/// A strip, as a page of its own.
PageForm FormOf(const Raster& raster) {
    PageForm form;
    form.width = form.segmentWidth = raster.width;
    form.height = raster.height;
    form.samples = raster.samples;
    form.bits = raster.bits;
    form.compression = COMPRESSION_ADOBE_DEFLATE;
    form.predictor = PREDICTOR_HORIZONTAL;
    form.segmentHeight =
        static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kStrip / raster.RowBytes(), 1, raster.height));
    form.down = (raster.height - 1) / form.segmentHeight + 1;
    return form;
}

class NewTiff : public NewFile {
public:
    NewTiff(const FileAccess& target, const NewImage& image)
        : target_(target),
          image_(image),
          form_(FormOf(image.raster)),
          tiff_{!image.metadata.exif.empty() && image.metadata.exif[0] == 'M', false},
          encoder_(target, form_, tiff_.bigEndian) {
        Bytes start = image.metadata.exif;
        if (start.empty()) start = {'I', 'I', 42, 0, 0, 0, 0, 0};
        Put(start);
    }

    void Write(unsigned char* rows, std::uint32_t count) override {
        const auto rowBytes = static_cast<std::size_t>(image_.raster.RowBytes());
        for (std::uint32_t r = 0; r < count; ++r) {
            strip_.insert(strip_.end(), rows + r * rowBytes, rows + (r + 1) * rowBytes);
            if (strip_.size() == form_.segmentHeight * rowBytes) EndStrip();
        }
    }
    void Finish() override {
        if (!strip_.empty()) EndStrip();
        WriteDirectory();
        target_.Resize(at_);
    }

private:
    /// Each value begins at an even offset.
    std::uint64_t Put(const Bytes& bytes) {
        at_ += at_ % 2;
        const std::uint64_t place = at_;
        if (place + bytes.size() > kMostOffset) {
            throw Refusal(Exit::Input, image_.name, "is too large for a TIFF file of this kind, which ends at 4 GiB",
                          "write it as PNG");
        }
        target_.Write(place, bytes);
        at_ += bytes.size();
        return place;
    }
    void EndStrip() {
        const Bytes encoded = encoder_.Encode(strip_.data(), strip_.size());
        offsets_.push_back(Put(encoded));
        sizes_.push_back(encoded.size());
        strip_.clear();
    }

    void Add(std::uint16_t which, std::uint16_t type, std::uint64_t count, const Bytes& value) {
        TiffEntry entry;
        entry.tag = which;
        entry.type = type;
        entry.count = count;
        if (value.size() <= 4) {
            std::copy(value.begin(), value.end(), entry.value.begin());
        } else {
            tiff_.Put(entry.value.data(), 4, Put(value));
        }
        entries_.push_back(entry);
    }
    void AddNumbers(std::uint16_t which, const std::vector<std::uint64_t>& numbers, std::uint16_t type = type::Short) {
        const std::size_t size = TypeSize(type);
        Bytes value(numbers.size() * size);
        for (std::size_t n = 0; n < numbers.size(); ++n) tiff_.Put(&value[n * size], size, numbers[n]);
        Add(which, type, numbers.size(), value);
    }
    void AddRational(std::uint16_t which, double number) {
        constexpr std::uint64_t kParts = 1000;
        Bytes value(8);
        tiff_.Put(value.data(), 4, static_cast<std::uint64_t>(std::lround(number * kParts)));
        tiff_.Put(&value[4], 4, kParts);
        Add(which, type::Rational, 1, value);
    }

    void AddShape() {
        const Raster& raster = image_.raster;
        AddNumbers(tag::Width, {raster.width}, type::Long);
        AddNumbers(tag::Height, {raster.height}, type::Long);
        AddNumbers(tag::BitsPerSample, std::vector<std::uint64_t>(raster.samples, raster.bits));
        AddNumbers(tag::Compression, {form_.compression});
        AddNumbers(tag::Photometric, {image_.colours == 1 ? 1U : 2U});
        AddNumbers(tag::StripOffsets, offsets_, type::Long);
        AddNumbers(tag::SamplesPerPixel, {raster.samples});
        AddNumbers(tag::RowsPerStrip, {form_.segmentHeight}, type::Long);
        AddNumbers(tag::StripByteCounts, sizes_, type::Long);
        AddNumbers(tag::Planar, {PLANARCONFIG_CONTIG});
        AddNumbers(tag::Predictor, {form_.predictor});
        if (image_.HasAlpha()) AddNumbers(tag::ExtraSamples, {EXTRASAMPLE_UNASSALPHA});
    }

    void WriteDirectory() {
        const Metadata& metadata = image_.metadata;
        AddShape();
        if (metadata.resolution) {
            AddRational(tag::XResolution, metadata.resolution->x);
            AddRational(tag::YResolution, metadata.resolution->y);
            AddNumbers(tag::ResolutionUnit, {RESUNIT_INCH});
        }
        if (!metadata.xmp.empty()) Add(tag::Xmp, type::Byte, metadata.xmp.size(), metadata.xmp);
        if (image_.icc != nullptr) Add(tag::IccProfile, type::Undefined, image_.icc->size(), *image_.icc);
        if (!metadata.exif.empty()) {
            const std::vector<TiffEntry> described = DescribingEntries(metadata.exif);
            entries_.insert(entries_.end(), described.begin(), described.end());
        }
        // The first of several entries of one tag counts.
        std::stable_sort(entries_.begin(), entries_.end(), [](const auto& a, const auto& b) { return a.tag < b.tag; });
        const auto isSame = [](const TiffEntry& a, const TiffEntry& b) { return a.tag == b.tag; };
        entries_.erase(std::unique(entries_.begin(), entries_.end(), isSame), entries_.end());
        Bytes directory(2 + 12 * entries_.size() + 4);
        tiff_.Put(directory.data(), 2, entries_.size());
        for (std::size_t n = 0; n < entries_.size(); ++n) {
            unsigned char* const to = &directory[2 + 12 * n];
            tiff_.Put(to, 2, entries_[n].tag);
            tiff_.Put(to + 2, 2, entries_[n].type);
            tiff_.Put(to + 4, 4, entries_[n].count);
            std::copy_n(entries_[n].value.begin(), 4, to + 8);
        }
        Bytes offset(4);
        tiff_.Put(offset.data(), 4, Put(directory));
        target_.Write(4, offset);
    }

    const FileAccess& target_;
    const NewImage& image_;
    const PageForm form_;
    const TiffForm tiff_;
    TiffEncoder encoder_;
    Bytes strip_;
    std::vector<std::uint64_t> offsets_, sizes_;
    std::vector<TiffEntry> entries_;
    std::uint64_t at_ = 0;
};

}  // namespace

std::unique_ptr<NewFile> MakeNewTiff(const FileAccess& target, const NewImage& image) {
    return std::make_unique<NewTiff>(target, image);
}

}  // namespace hueweave::tool
