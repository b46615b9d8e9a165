// SPDX-License-Identifier: MIT
#include "tiff/Tiff.h"

#include <algorithm>
#include <utility>

namespace Orvix_Tiff_STL2 {

Tiff::Tiff(const char* fileName) : writeIfdOffset(0) { Tiff::ReadFile(fileName); }

void Tiff::Reset() { tags.clear(); }

int Tiff::CheckFile(std::FILE* f) { return f != nullptr ? 0 : -1; }

std::unique_ptr<TiffTag> Tiff::CreateTag(unsigned int typeAndTag, unsigned int count, unsigned int value,
                                         std::FILE* f) {
    switch (typeAndTag & 0xffffU) {
        case kBitsPerSample:
            return std::make_unique<BitsPerSampleTag>(typeAndTag, count, value, f);
        case kXResolution:
        case kYResolution:
            return std::make_unique<ResolutionTag>(typeAndTag, count, value, f);
        case kExifIfd:
            return std::make_unique<Exif_IFD_Tag>(typeAndTag, count, value, f);
        default:
            return std::make_unique<TiffTag>(typeAndTag, count, value, f);
    }
}

int Tiff::AddTags(unsigned int typeAndTag, unsigned int count, unsigned int value, std::FILE* f) {
    if (auto tag = CreateTag(typeAndTag, count, value, f)) tags.push_back(std::move(tag));
    return 0;
}

int Tiff::SetTag(TiffTag* tag) {
    const auto owns = [tag](const auto& held) { return held.get() == tag; };
    if (tag == nullptr || std::any_of(tags.begin(), tags.end(), owns)) return 0;
    const auto place = std::find_if(tags.begin(), tags.end(),
                                    [tag](const auto& held) { return held != nullptr && held->tag == tag->tag; });
    std::unique_ptr<TiffTag> owned(tag);
    if (place != tags.end()) {
        *place = std::move(owned);
    } else {
        tags.push_back(std::move(owned));
    }
    return 0;
}

TiffTag* Tiff::GetTag(TiffTagSignature sig) const {
    const auto place =
        std::find_if(tags.begin(), tags.end(), [sig](const auto& held) { return held != nullptr && held->tag == sig; });
    return place == tags.end() ? nullptr : place->get();
}

int Tiff::SetTagValue(TiffTagSignature sig, unsigned int v) {
    if (TiffTag* tag = GetTag(sig)) tag->value = v;
    return 0;
}

int Tiff::GetTagValue(TiffTagSignature sig) const {
    const TiffTag* tag = GetTag(sig);
    return tag == nullptr ? 0 : static_cast<int>(tag->GetValue());
}

}  // namespace Orvix_Tiff_STL2
