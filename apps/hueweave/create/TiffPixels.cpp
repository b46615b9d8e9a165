// SPDX-License-Identifier: MIT
// A TIFF page in any layout: it is converted to an uncompressed page in a temporary file, from which its rows are read.
#include <algorithm>
#include <cstring>

#include "create/SourcePicture.h"
#include "system/Signals.h"
#include "tiff/Samples.h"
#include "tiff/rewrite/ImageWriter.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBand = std::uint64_t{256} << 10;  ///< bytes of rows that are passed on together

/// The rows of an uncompressed page of interleaved samples, in strips or tiles.
class StoredRows {
public:
    StoredRows(const FileAccess& file, const PageForm& form, std::vector<Extent> places, bool bigEndian)
        : file_(file), form_(form), places_(std::move(places)), bigEndian_(bigEndian) {}

    void Read(std::uint32_t y, unsigned char* row) const {
        const std::uint64_t pixel = std::uint64_t{form_.samples} * (form_.bits / 8);
        const std::uint64_t first = y / form_.segmentHeight * form_.across;
        const std::uint64_t offset = y % form_.segmentHeight * form_.RowBytes();
        for (std::uint64_t n = 0; n < form_.across; ++n) {
            const std::uint64_t left = n * form_.segmentWidth;
            const std::uint64_t columns = std::min<std::uint64_t>(form_.segmentWidth, form_.width - left);
            file_.Read(places_[static_cast<std::size_t>(first + n)].offset + offset, row + left * pixel,
                       static_cast<std::size_t>(columns * pixel));
        }
        ToNative(row, std::size_t{form_.width} * form_.samples, form_.bits / 8, bigEndian_);
    }

private:
    const FileAccess& file_;
    const PageForm& form_;
    const std::vector<Extent> places_;
    const bool bigEndian_;
};

/// Divides colours by their associated alpha, which is the last sample.
template <typename Sample>
void DivideByAlpha(unsigned char* row, std::size_t pixels, std::size_t samples) {
    constexpr std::uint64_t kTop = static_cast<Sample>(-1);
    for (std::size_t p = 0; p < pixels; ++p) {
        unsigned char* const at = row + p * samples * sizeof(Sample);
        Sample alpha;
        std::memcpy(&alpha, at + (samples - 1) * sizeof alpha, sizeof alpha);
        for (std::size_t c = 0; alpha != 0 && c + 1 < samples; ++c) {
            Sample colour;
            std::memcpy(&colour, at + c * sizeof colour, sizeof colour);
            colour = static_cast<Sample>(std::min(kTop, (colour * kTop + alpha / 2) / alpha));
            std::memcpy(at + c * sizeof colour, &colour, sizeof colour);
        }
    }
}

class TiffPicture : public SourcePicture {
public:
    TiffPicture(const TiffStructure& structure, const std::vector<TiffPage>& pages, std::size_t page)
        : structure_(structure), pages_(pages), number_(page) {}

    Raster raster() const override {
        const TiffPage& page = pages_[number_];
        const unsigned extra = page.samples - page.ColourSamples();
        return {page.written.width, page.written.height, colour::ChannelsOf(page.model) + extra, page.written.bits};
    }
    Metadata metadata() const override {
        return MetadataOf(structure_, structure_.directories()[pages_[number_].directory]);
    }

    void Convert(const colour::PixelConverter& converter, NewFile& file, const FileAccess& target,
                 const WriteSettings& settings, Measured& measured) const override {
        std::vector<TiffPage> pages = pages_;
        TiffPage& page = pages[number_];
        page.written = FormWritten(page, converter.targetChannels());
        page.written.compression = page.written.predictor = page.written.fillOrder = 1;
        page.written.planar = false;
        const std::string folder = settings.scratch.empty() ? FolderOf(target.name()) : settings.scratch;
        const FileAccess stored = FileAccess::Scratch(folder, target.name());
        OutputLayout layout(structure_, pages);
        const PageContext context{structure_, page, number_, converter, layout, stored, settings, measured};
        const StoredRows rows(stored, page.written, WriteImage(context), structure_.form().bigEndian);
        PassOn(rows, page, file);
    }

private:
    static void PassOn(const StoredRows& rows, const TiffPage& page, NewFile& file) {
        const PageForm& form = page.written;
        const std::uint64_t rowBytes = std::uint64_t{form.width} * form.samples * (form.bits / 8);
        const auto step = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kBand / rowBytes, 1, form.height));
        Bytes band(static_cast<std::size_t>(step * rowBytes));
        for (std::uint32_t y = 0; y < form.height; y += std::min(step, form.height - y)) {
            ThrowIfInterrupted();
            const std::uint32_t count = std::min(step, form.height - y);
            for (std::uint32_t r = 0; r < count; ++r) {
                unsigned char* const row = band.data() + r * rowBytes;
                rows.Read(y + r, row);
                if (!page.premultiplied) continue;
                form.bits == 8 ? DivideByAlpha<std::uint8_t>(row, form.width, form.samples)
                               : DivideByAlpha<std::uint16_t>(row, form.width, form.samples);
            }
            file.Write(band.data(), count);
        }
    }

    const TiffStructure& structure_;
    const std::vector<TiffPage>& pages_;
    const std::size_t number_;
};

}  // namespace

std::unique_ptr<const SourcePicture> PictureOf(const TiffStructure& structure, const std::vector<TiffPage>& pages,
                                               std::size_t page) {
    return std::make_unique<const TiffPicture>(structure, pages, page);
}

}  // namespace hueweave::tool
