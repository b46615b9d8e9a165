// SPDX-License-Identifier: MIT
#include "tiff/CTiff.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>
#include <limits>
#include <new>

#include "base/ByteOrder.h"
#include "base/FileHandle.h"
#include "base/Numeric.h"

namespace Orvix_Tiff_STL2 {
namespace {

/// Bytes per row of pixels; each row starts at a byte.
int RowBytes(int samples, int width, int bits) {
    return Trunc(std::ceil(WrapMultiply(WrapMultiply(samples, width), bits) * 0.125));
}

/// Bytes of an image. Kept: unlike in a row, each plane of samples is rounded up to whole bytes separately.
double ImageSize(int width, int height, int samples, int bits) {
    return static_cast<double>(height) * std::ceil(static_cast<double>(WrapMultiply(bits, width)) * 0.125) *
           static_cast<double>(samples);
}

/// A size limited to 64 bits. Sizes of 2^63 and more, which exceed any memory, give the largest number.
std::uint64_t Whole(double size) {
    constexpr double kLimit = 9223372036854775808.0;
    if (size >= kLimit) return std::numeric_limits<std::uint64_t>::max();
    return size < -kLimit ? 0 : static_cast<std::uint64_t>(static_cast<std::int64_t>(size));
}

void PrintOpenError(const char* text) { std::cout << "*** " << text << " Open Error. ***" << std::endl; }

unsigned int PhotometricOf(int samples) {
    constexpr unsigned char kBySamples[] = {1, 1, 1, 2, 5, 1, 0, 0};
    const auto place = static_cast<unsigned>(samples);
    return place < std::size(kBySamples) ? kBySamples[place] : 1U;
}

}  // namespace

CTiff::CTiff(const char* fileName) { CTiff::ReadFile(fileName); }

int CTiff::ReadFile(const char* fileName) {
    imageBuf = nullptr;
    const char* failure = nullptr;
    try {
        failure = TryReadFile(fileName);
        if (failure == nullptr) TakeGeometry();
    } catch (const char* text) {  // thrown by an override
        PrintOpenError(text);
    } catch (...) {
        Reset();  // a partial read is not an image
        std::cout << "*** CTiff::ReadFile() --> unknown Error. ***" << std::endl;
    }
    if (failure != nullptr) PrintOpenError(failure);
    return 0;
}

void CTiff::TakeGeometry() {
    width = GetTagValue(kImageWidth);
    height = GetTagValue(kImageLength);
    samples = GetTagValue(kSamplesPerPixel);
    bits = GetTagValue(kBitsPerSample);
    rowBytes = RowBytes(samples, width, bits);
    resolution = GetTagValue(kXResolution);
    const TiffTag* image = GetTag(kStripOffsets);
    if (image != nullptr) imageBuf = image->data.get();
}

int CTiff::CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, int allocate) {
    imageBuf = nullptr;
    Reset();
    const double size = ImageSize(newWidth, newHeight, newSamples, newBits);
    const std::uint64_t bytes = Whole(size);
    auto image = std::make_unique<TiffTag>(kStripOffsets, FieldType{4}, 1, 0, nullptr);
    // First, so that nothing is created if there is not enough memory. Kept: 64 bits, of which tag 279 holds the low
    // 32.
    constexpr std::uint64_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
    const bool wanted = allocate == 1 && size >= 0;
    if (wanted && bytes > kMost) throw std::bad_array_new_length();  // a `std::bad_alloc`
    if (wanted) image->Allocate(static_cast<std::size_t>(bytes));
    const auto unsignedOf = [](int v) { return static_cast<unsigned int>(v); };

    // Kept: the directory has this order, and tag 254 has four bytes instead of one long.
    SetTag(TiffTagSignature{254}, 1, 4, 0, nullptr);
    SetTag(kImageWidth, 4, 1, unsignedOf(newWidth), nullptr);
    SetTag(kImageLength, 4, 1, unsignedOf(newHeight), nullptr);
    SetTag(kBitsPerSample, 3, unsignedOf(newSamples), unsignedOf(newBits), nullptr);
    SetTag(TiffTagSignature{259}, 3, 1, 1, nullptr);
    SetTag(TiffTagSignature{262}, 3, 1, PhotometricOf(newSamples), nullptr);
    SetTag(kSamplesPerPixel, 3, 1, unsignedOf(newSamples), nullptr);
    SetTag(kRowsPerStrip, 4, 1, unsignedOf(newHeight), nullptr);
    SetTag(kStripByteCounts, 4, 1, static_cast<std::uint32_t>(bytes), nullptr);
    imageBuf = image->GetData();
    Tiff::SetTag(image.release());
    // The list owns the image. NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    SetTag(kXResolution, 5, 1, unsignedOf(newResolution), nullptr);
    SetTag(kYResolution, 5, 1, unsignedOf(newResolution), nullptr);
    SetTag(TiffTagSignature{296}, 3, 1, 2, nullptr);
    SetTag(kPlanarConfiguration, 3, 1, 1, nullptr);
    SetTag(kIccProfile, 7, 0, 0, nullptr);

    width = newWidth;
    height = newHeight;
    samples = newSamples;
    bits = newBits;
    resolution = newResolution;
    rowBytes = RowBytes(samples, width, bits);
    return 0;
}

int CTiff::CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile) {
    const FileHandle raw = OpenForReading(rawFile);
    if (raw == nullptr) {
        std::cout << "*** CTiff::CreateNew() --> Create File Fail *** " << std::endl;
        return 0;
    }
    try {
        CreateNew(newWidth, newHeight, newResolution, newSamples, newBits, 1);
        const std::int64_t wanted = std::max<std::int64_t>(std::int64_t{height} * rowBytes, 0);
        const std::size_t bytes = std::min<std::uint64_t>(static_cast<std::uint64_t>(wanted), ImageBytes());
        [[maybe_unused]] const std::size_t got = bytes == 0 ? 0 : std::fread(imageBuf, 1, bytes, raw.get());
    } catch (const char* text) {  // thrown by an override
        std::cout << text << std::endl;
    }
    return 0;
}

int CTiff::CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile,
                     const char* tiffFile) {
    CreateNew(newWidth, newHeight, newResolution, newSamples, newBits, rawFile);
    SaveFile(tiffFile);
    return 0;
}

int CTiff::SetTag(TiffTagSignature tag, unsigned short type, unsigned int count, unsigned int value, unsigned char*) {
    return Tiff::SetTag(CreateTag(type * 65536U + tag, count, value, nullptr).release());
}

int CTiff::SetTagValue(TiffTagSignature tag, unsigned int v) { return Tiff::SetTagValue(tag, v); }

void CTiff::RemoveIcc() {
    const auto place = std::find_if(tags.begin(), tags.end(),
                                    [](const auto& held) { return held != nullptr && held->tag == kIccProfile; });
    if (place != tags.end()) tags.erase(place);
}

int CTiff::SetIccProfile(const char* fileName) {
    const FileHandle f = OpenForReading(fileName);
    if (f == nullptr) throw static_cast<const char*>(" *** CTiff::SetIccProfile() --> Icc Profile open Fail. *** ");
    unsigned char header[4] = {};
    [[maybe_unused]] std::size_t got = std::fread(header, 1, sizeof header, f.get());
    TiffTag* tag = GetTag(kIccProfile);
    if (tag == nullptr) return 0;
    const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(LoadBig32(header), FileSize(f.get())));
    unsigned char* bytes = tag->Allocate(size);
    tag->count = size;
    tag->value = 0;
    SeekTo(f.get(), 0);
    got = std::fread(bytes, 1, size, f.get());
    return 0;
}

int CTiff::SaveIccProfile(const char* fileName) {
    const TiffTag* tag = GetTag(kIccProfile);
    if (tag == nullptr || fileName == nullptr) return 0;
    FileHandle f = OpenForWriting(fileName);
    if (f == nullptr) return 0;
    const std::size_t bytes = tag->Held(tag->count);
    if (bytes != 0) std::fwrite(tag->data.get(), 1, bytes, f.get());
    return std::fclose(f.release());
}

}  // namespace Orvix_Tiff_STL2
