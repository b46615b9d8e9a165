// SPDX-License-Identifier: MIT
#include <cstring>

#include "create/NewImage.h"
#include "jpeg/JpegCodec.h"
#include "jpeg/JpegRewriter.h"

namespace hueweave::tool {
namespace {

Bytes Behind(std::string_view name, const Bytes& block) {
    Bytes data(name.begin(), name.end());
    data.insert(data.end(), block.begin(), block.end());
    return data;
}

class NewJpeg : public NewFile {
public:
    NewJpeg(const FileAccess& target, const NewImage& image, unsigned quality, std::uint64_t memory)
        : target_(target), raster_(image.raster), encoder_(target, Settings(image, quality), image.name, memory) {
        const Metadata& metadata = image.metadata;
        if (!metadata.exif.empty()) encoder_.WriteSegment(jpeg_marker::kApp1, Behind(kExifStart, metadata.exif));
        if (!metadata.xmp.empty()) encoder_.WriteSegment(jpeg_marker::kApp1, Behind(kXmpStart, metadata.xmp));
        if (image.icc == nullptr) return;
        for (const Bytes& data : ProfileSegments(*image.icc, image.name)) {
            encoder_.WriteSegment(jpeg_marker::kApp2, data);
        }
    }
    void Write(unsigned char* rows, std::uint32_t count) override {
        if (raster_.bits == 8) return encoder_.Write(rows, count);
        Bytes narrow(static_cast<std::size_t>(count * raster_.RowBytes() / 2));
        for (std::size_t i = 0; i < narrow.size(); ++i) {
            std::uint16_t sample;
            std::memcpy(&sample, rows + 2 * i, 2);
            narrow[i] = static_cast<unsigned char>((sample + 128U) / 257U);
        }
        encoder_.Write(narrow.data(), count);
    }
    void Finish() override { target_.Resize(encoder_.Finish()); }

private:
    static NewJpegSettings Settings(const NewImage& image, unsigned quality) {
        NewJpegSettings settings{image.raster.width, image.raster.height, image.raster.samples, quality};
        if (image.metadata.resolution) {
            settings.xPerInch = image.metadata.resolution->x;
            settings.yPerInch = image.metadata.resolution->y;
        }
        return settings;
    }

    const FileAccess& target_;
    const Raster raster_;
    JpegEncoder encoder_;
};

}  // namespace

std::unique_ptr<NewFile> MakeNewJpeg(const FileAccess& target, const NewImage& image, unsigned quality,
                                     std::uint64_t memory) {
    return std::make_unique<NewJpeg>(target, image, quality, memory);
}

}  // namespace hueweave::tool
