// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "base/Numeric.h"
#include "tiff/CTiff.h"

namespace Orvix_Tiff_STL2 {
namespace {

/// Bytes before pixel x of a row, that is, the index of the byte with its first bit.
int ColumnOffset(int bits, int samples, int x) { return WrapMultiply(WrapMultiply(bits, samples), x) >> 3; }

/// Rows counted from the bottom. Kept: a row number out of range gives the row at the opposite end of the correct one.
int MirroredRow(int y, int height) {
    if (y < 0) return 0;
    return y >= height ? WrapSubtract(height, 1) : height - 1 - y;
}

void Store(unsigned char* at, unsigned char v) {
    if (at != nullptr) *at = v;
}

}  // namespace

std::size_t CTiff::ImageBytes() const {
    const TiffTag* image = GetTag(kStripOffsets);
    if (image == nullptr || imageBuf == nullptr || image->data.get() != imageBuf) return 0;
    if (!image->IsAdopted()) return image->dataSize;
    const std::int64_t rows = std::max<std::int64_t>(std::int64_t{height} * rowBytes, 0);
    return std::max<std::size_t>(static_cast<std::uint32_t>(GetTagValue(kStripByteCounts)),
                                 static_cast<std::size_t>(rows));
}

void CTiff::SetImageBuf(unsigned char* buf) {
    std::unique_ptr<unsigned char[]> owned(buf);
    imageBuf = nullptr;
    TiffTag* image = GetTag(kStripOffsets);
    if (image == nullptr) return;
    if (image->data.get() == buf) {
        owned.release();  // the tag already owns it, and its size does not change
    } else {
        image->Adopt(owned.release(), static_cast<std::uint32_t>(GetTagValue(kStripByteCounts)));
    }
    imageBuf = buf;
}

std::int64_t CTiff::OffsetOf(int x, int y) const { return std::int64_t{y} * rowBytes + ColumnOffset(bits, samples, x); }

unsigned char* CTiff::Checked(int x, int y) {
    if (width < 1 || height < 1) return nullptr;
    const std::int64_t offset = OffsetOf(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1));
    const bool inside = offset >= 0 && offset < static_cast<std::int64_t>(ImageBytes());
    return inside ? imageBuf + offset : nullptr;
}

unsigned char* CTiff::Unchecked(int x, int y) { return imageBuf == nullptr ? nullptr : imageBuf + OffsetOf(x, y); }

unsigned char* CTiff::GetXY(int x, int y) { return Checked(x, y); }
unsigned char* CTiff::GetXY_M(int x, int y) { return Checked(x, MirroredRow(y, height)); }
unsigned char* CTiff::GetXY_Q(int x, int y) { return Unchecked(x, y); }
unsigned char* CTiff::GetXY_MQ(int x, int y) { return Unchecked(x, WrapSubtract(WrapSubtract(height, 1), y)); }

void CTiff::SetXY(int x, int y, unsigned char v) { Store(GetXY(x, y), v); }
void CTiff::SetXY_M(int x, int y, unsigned char v) { Store(GetXY_M(x, y), v); }
void CTiff::SetXY_Q(int x, int y, unsigned char v) { Store(GetXY_Q(x, y), v); }
void CTiff::SetXY_MQ(int x, int y, unsigned char v) { Store(GetXY_Q(x, y), v); }

std::span<unsigned char> CTiff::Bytes(unsigned char* from, std::int64_t wanted) {
    if (from == nullptr || wanted < 1) return {};
    const auto left = static_cast<std::int64_t>(ImageBytes()) - (from - imageBuf);
    return {from, static_cast<std::size_t>(std::min(wanted, left))};
}

std::span<unsigned char> CTiff::Row(int row, int count) {
    return Bytes(Checked(0, row), count != 0 ? ColumnOffset(bits, samples, count) : rowBytes);
}

int CTiff::ReadRow(void* buf, int row, int count) {
    const std::span<unsigned char> bytes = Row(row, count);
    if (!bytes.empty()) std::memcpy(buf, bytes.data(), bytes.size());
    return count;
}

int CTiff::WriteRow(const void* buf, int row, int count) {
    const std::span<unsigned char> bytes = Row(row, count);
    if (!bytes.empty()) std::memcpy(bytes.data(), buf, bytes.size());
    return count;
}

int CTiff::GetRow(unsigned char* buf, int row, int count) { return ReadRow(buf, row, count); }
int CTiff::GetRow(unsigned short* buf, int row, int count) { return ReadRow(buf, row, count); }
int CTiff::PutRow(unsigned char* buf, int row, int count) { return WriteRow(buf, row, count); }
int CTiff::PutRow(unsigned short* buf, int row, int count) { return WriteRow(buf, row, count); }

template <typename T>
int CTiff::ReadBlock(T* buf, int x, int y, int w, int h) {
    if (bits != 8 && bits != 16) return -1;
    auto* to = reinterpret_cast<unsigned char*>(buf);
    const std::int64_t length = ColumnOffset(bits, samples, w);
    // Kept: the column counts items of T, which are samples of the image only if T matches `bits`.
    const std::int64_t start = WrapMultiply(x, samples) * static_cast<std::int64_t>(sizeof(T));
    for (std::int64_t row = y; row < std::int64_t{y} + h && length > 0; ++row, to += length) {
        const std::span<unsigned char> bytes = Row(static_cast<int>(std::min<std::int64_t>(row, height)), 0);
        const auto held = static_cast<std::int64_t>(bytes.size());
        if (start < 0 || start >= held) continue;
        std::memcpy(to, bytes.data() + start, static_cast<std::size_t>(std::min(length, held - start)));
    }
    return 0;
}

int CTiff::WriteBlock(const void* buf, int x, int y, int w, int h) {
    if (bits != 8 && bits != 16) return -1;
    const auto* from = static_cast<const unsigned char*>(buf);
    const std::int64_t length = ColumnOffset(bits, samples, w);
    for (std::int64_t row = y; row < std::int64_t{y} + h && length > 0; ++row, from += length) {
        const auto bytes = Bytes(Checked(x, static_cast<int>(std::min<std::int64_t>(row, height))), length);
        if (!bytes.empty()) std::memcpy(bytes.data(), from, bytes.size());
    }
    return 0;
}

int CTiff::GetRowColumn(unsigned char* buf, int x, int y, int w, int h) { return ReadBlock(buf, x, y, w, h); }
int CTiff::GetRowColumn(unsigned short* buf, int x, int y, int w, int h) { return ReadBlock(buf, x, y, w, h); }
int CTiff::SetRowColumn(unsigned char* buf, int x, int y, int w, int h) { return WriteBlock(buf, x, y, w, h); }
int CTiff::SetRowColumn(unsigned short* buf, int x, int y, int w, int h) { return WriteBlock(buf, x, y, w, h); }

}  // namespace Orvix_Tiff_STL2
