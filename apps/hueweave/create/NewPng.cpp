// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include "create/NewImage.h"
#include "png/PngCodec.h"
#include "system/BigEndian.h"

namespace hueweave::tool {
namespace {

constexpr int kLevel = 6;  ///< of zlib

PngHeader HeaderOf(const NewImage& image) {
    PngHeader header;
    header.width = image.raster.width;
    header.height = image.raster.height;
    header.depth = image.raster.bits;
    header.colours = image.colours == 1 ? (image.HasAlpha() ? PngHeader::GreyAlpha : PngHeader::Grey)
                                        : (image.HasAlpha() ? PngHeader::RgbAlpha : PngHeader::Rgb);
    return header;
}

Bytes HeaderData(const PngHeader& header) {
    Bytes data;
    PutBig32(data, header.width);
    PutBig32(data, header.height);
    data.insert(data.end(),
                {static_cast<unsigned char>(header.depth), static_cast<unsigned char>(header.colours), 0, 0, 0});
    return data;
}

/// Pixels per metre, and the number of that unit.
Bytes ResolutionData(const Resolution& resolution) {
    Bytes data;
    for (const double perInch : {resolution.x, resolution.y}) {
        PutBig32(data, static_cast<std::uint32_t>(std::lround(perInch / 0.0254)));
    }
    data.push_back(1);
    return data;
}

class NewPng : public NewFile {
public:
    NewPng(const FileAccess& target, const NewImage& image) : target_(target) {
        const PngHeader header = HeaderOf(image);
        Put({std::begin(kPngSignature), std::end(kPngSignature)});
        Put(MakeChunk("IHDR", HeaderData(header)));
        if (image.icc != nullptr) Put(MakeProfileChunk(*image.icc));
        const Metadata& metadata = image.metadata;
        if (metadata.resolution) Put(MakeChunk("pHYs", ResolutionData(*metadata.resolution)));
        if (!metadata.exif.empty()) Put(MakeChunk("eXIf", metadata.exif));
        if (!metadata.xmp.empty()) {
            constexpr std::string_view kName{"XML:com.adobe.xmp\0\0\0\0\0", 22};
            Bytes data(kName.size() + metadata.xmp.size());
            std::copy(metadata.xmp.begin(), metadata.xmp.end(), std::copy(kName.begin(), kName.end(), data.begin()));
            Put(MakeChunk("iTXt", data));
        }
        encoder_.emplace(target, at_, header, image.name, kLevel);
    }
    void Write(unsigned char* rows, std::uint32_t count) override { encoder_->Write(rows, count); }
    void Finish() override {
        at_ = encoder_->End();
        Put(MakeChunk("IEND", {}));
        target_.Resize(at_);
    }

private:
    void Put(const Bytes& bytes) {
        target_.Write(at_, bytes);
        at_ += bytes.size();
    }

    const FileAccess& target_;
    std::uint64_t at_ = 0;
    std::optional<PngEncoder> encoder_;
};

}  // namespace

std::unique_ptr<NewFile> MakeNewPng(const FileAccess& target, const NewImage& image) {
    return std::make_unique<NewPng>(target, image);
}

}  // namespace hueweave::tool
