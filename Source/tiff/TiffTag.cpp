// SPDX-License-Identifier: MIT
#include "tiff/TiffTag.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/ByteOrder.h"
#include "base/FileHandle.h"
#include "tiff/Padding.h"

namespace Orvix_Tiff_STL2 {

TiffTag::TiffTag(TiffTagSignature signature, FieldType fieldType, unsigned int itemCount, unsigned int entryValue,
                 unsigned char* bytes)
    : tag(signature), type(fieldType), count(itemCount), value(entryValue) {
    Adopt(bytes, static_cast<std::size_t>(Size()));
}

TiffTag::TiffTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f)
    : tag(static_cast<TiffTagSignature>(typeAndTag & 0xffffU)),
      type(static_cast<FieldType>(typeAndTag >> 16)),
      count(itemCount),
      value(entryValue) {
    if (f == nullptr || Size() < 5) return;
    const auto size = static_cast<std::size_t>(Size());
    unread_ = true;
    if (size > FileSize(f)) return;
    ReadInto(Allocate(size), size, f);
}

void TiffTag::ReadInto(unsigned char* bytes, std::size_t size, std::FILE* f) const {
    if (!SeekTo(f, value)) return;
    [[maybe_unused]] const std::size_t got = std::fread(bytes, 1, size, f);  // missing bytes stay 0
}

int TiffTag::Size() const {
    const std::uint64_t size = static_cast<std::uint64_t>(ItemWidth(type)) * count;
    return size <= std::numeric_limits<int>::max() ? static_cast<int>(size) : 0;
}

int TiffTag::StoredSize() const {
    const int size = Size();
    if (size <= 4) return size;
    const auto bytes = static_cast<std::size_t>(size);
    return data != nullptr && bytes <= PaddingLimit(HeldItems(bytes)) ? size : 0;
}

bool TiffTag::ValueIsOffset() const { return Size() > 4; }

bool TiffTag::IsLost() const { return unread_ && ValueIsOffset(); }

void TiffTag::Drop() {
    Adopt(nullptr, 0);
    unread_ = true;
}

unsigned int TiffTag::GetValue() const {
    if (Size() <= 4) return value;
    return Held(2) == 2 ? LoadLittle16(data.get()) : 0U;
}

unsigned char* TiffTag::GetData() const { return data.get(); }

int TiffTag::SaveFile(std::FILE* f) const {
    const int size = StoredSize();
    if (size < 5) return 0;
    const auto bytes = static_cast<std::size_t>(size);
    const std::size_t written = WritePadded(f, data.get(), HeldItems(bytes), bytes);
    // A type without a width has a size of 0. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
    return static_cast<int>(written / static_cast<std::size_t>(ItemWidth(type)));
}

unsigned char* TiffTag::Allocate(std::size_t bytes) {
    Own(std::make_unique<unsigned char[]>(bytes), bytes);
    return data.get();
}

unsigned char* TiffTag::AllocateUnset(std::size_t bytes) {
    Own(std::make_unique_for_overwrite<unsigned char[]>(bytes), bytes);
    return data.get();
}

void TiffTag::Own(std::unique_ptr<unsigned char[]> bytes, std::size_t size) {
    data = std::move(bytes);
    dataSize = data == nullptr ? 0 : size;
    adopted_ = false;
    unread_ = false;
}

void TiffTag::Adopt(unsigned char* bytes, std::size_t size) {
    Own(std::unique_ptr<unsigned char[]>(bytes), size);
    adopted_ = bytes != nullptr;
}

std::size_t TiffTag::Held(std::size_t wanted) const {
    if (data == nullptr) return 0;
    return adopted_ ? wanted : std::min(wanted, dataSize);
}

std::size_t TiffTag::HeldItems(std::size_t size) const {
    // The caller states the size of an image in tag 279. The count of its own tag may come from a file.
    return tag == kStripOffsets ? std::min(size, dataSize) : Held(size);
}

BitsPerSampleTag::BitsPerSampleTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue,
                                   std::FILE* f)
    : TiffTag(typeAndTag, itemCount, entryValue, f) {
    if (f != nullptr || count == 1) return;
    if (count > std::numeric_limits<int>::max() / 2) return;
    unsigned char* items = Allocate(std::size_t{count} * 2);
    for (std::size_t i = 0; i < count; ++i) StoreLittle16(items + 2 * i, static_cast<std::uint16_t>(value));
}

unsigned int BitsPerSampleTag::GetValue() const {
    if (count == 1) return value;
    return Held(2) == 2 ? LoadLittle16(data.get()) : 0U;
}

ResolutionTag::ResolutionTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f)
    : TiffTag(typeAndTag, itemCount, entryValue, f) {
    if (f != nullptr) return;
    unsigned char* rational = Allocate(8);
    StoreLittle32(rational, value * 100U);
    StoreLittle32(rational + 4, 100U);
}

unsigned int ResolutionTag::GetValue() const {
    if (Held(8) < 8) return 0;
    const std::uint32_t denominator = LoadLittle32(data.get() + 4);
    return denominator == 0 ? 0 : LoadLittle32(data.get()) / denominator;
}

Exif_IFD_Tag::Exif_IFD_Tag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f)
    : TiffTag(typeAndTag, itemCount, entryValue, f) {
    unsigned char* directory = Allocate(kBytes);
    if (f != nullptr) ReadInto(directory, kBytes, f);
}

}  // namespace Orvix_Tiff_STL2
