// SPDX-License-Identifier: MIT
#include "support/ReferenceTiff.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace hueweave::test {
namespace {

constexpr std::uint64_t kRoom = 8 << 20;  // bytes that a buffer may have in addition to twice the size of its source

/// Bytes per item.
int WidthOf(unsigned type) {
    constexpr int kWidths[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 4, 8, 8, 4};
    return type < std::size(kWidths) ? kWidths[type] : 0;
}

/// A little-endian number of up to 4 bytes; missing bytes are 0.
std::uint32_t Number(const Bytes& bytes, std::size_t at, std::size_t width) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < width && at + i < bytes.size(); ++i) number |= std::uint32_t{bytes[at + i]} << 8 * i;
    return number;
}

/// The items of a strip array: bytes and shorts keep their width, all other types are read as 32-bit words.
std::vector<std::uint32_t> StripItems(const ReferenceTag& tag) {
    Bytes bytes;
    if (tag.Size() > 4) bytes = tag.data.value_or(bytes);
    for (int i = 0; tag.Size() <= 4 && i < tag.Size(); ++i) {
        bytes.push_back(static_cast<unsigned char>(tag.value >> 8 * i));
    }
    const int announced = WidthOf(tag.type);
    const std::size_t width = announced == 1 ? 1 : announced == 2 ? 2 : 4;
    std::vector<std::uint32_t> items;
    for (std::size_t at = 0; at + width <= bytes.size(); at += width) items.push_back(Number(bytes, at, width));
    return items;
}

}  // namespace

/// A file with a read position. Reads past the end give zeros; seeking to a negative position fails.
class ReferenceTiff::Stream {
public:
    explicit Stream(const Bytes& file) : file_(file) {}
    void Seek(std::int64_t place) {
        if (place >= 0) at_ = static_cast<std::size_t>(place);
    }
    Bytes Read(std::size_t n) {
        const auto from = file_.begin() + static_cast<std::ptrdiff_t>(file_.size() - Left());
        Bytes bytes(from, from + static_cast<std::ptrdiff_t>(std::min(n, Left())));
        at_ += bytes.size();
        bytes.resize(n);
        return bytes;
    }
    std::size_t Left() const { return at_ < file_.size() ? file_.size() - at_ : 0; }
    std::uint64_t Size() const { return file_.size(); }

private:
    const Bytes& file_;
    std::size_t at_ = 0;
};

std::int64_t ReferenceTag::Size() const {
    const std::int64_t size = static_cast<std::int64_t>(WidthOf(type)) * count;
    return size > 0x7fffffff ? 0 : size;
}

std::int64_t ReferenceTag::StoredSize() const {
    if (Size() <= 4) return Size();
    return data && static_cast<std::uint64_t>(Size()) <= 2 * data->size() + kRoom ? Size() : 0;
}

std::uint32_t ReferenceTag::Value() const {
    const Bytes none;
    const Bytes& bytes = data ? *data : none;
    if (tag == 258) return count == 1 ? value : Number(bytes, 0, 2);
    if (tag == 282 || tag == 283) {
        const std::uint32_t denominator = Number(bytes, 4, 4);
        return bytes.size() < 8 || denominator == 0 ? 0 : Number(bytes, 0, 4) / denominator;
    }
    return Size() > 4 ? Number(bytes, 0, 2) : value;
}

ReferenceTag* ReferenceTiff::Find(unsigned tag) {
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const auto& each) { return each.tag == tag; });
    return found == tags.end() ? nullptr : &*found;
}

std::uint32_t ReferenceTiff::ValueOf(unsigned tag) {
    const ReferenceTag* found = Find(tag);
    return found ? found->Value() : 0;
}

int ReferenceTiff::Read(const Bytes& file) {
    tags.clear();
    Stream stream(file);
    if (stream.Read(4) != Bytes{0x49, 0x49, 0x2a, 0x00}) return -2;
    stream.Seek(Number(stream.Read(4), 0, 4));
    const std::size_t entries = Number(stream.Read(2), 0, 2);
    if (entries > 29) return -3;
    // Of a truncated directory the complete entries count; reading it still ends at the end of the file.
    const std::size_t whole = std::min(entries, stream.Left() / 12);
    Bytes table = stream.Read(entries * 12);
    table.resize(whole * 12);
    std::size_t used = 0;
    for (std::size_t at = 0; at < table.size(); at += 12) {
        const std::uint32_t type = Number(table, at + 2, 2), count = Number(table, at + 4, 4);
        ReadTag(stream, {Number(table, at, 2), type, count, Number(table, at + 8, 4), {}, false}, used);
    }
    ReadImage(stream);
    return 0;
}

void ReferenceTiff::ReadTag(Stream& stream, ReferenceTag tag, std::size_t& used) {
    const auto announced = static_cast<std::uint64_t>(tag.Size());
    // The Exif entry has 44 bytes, whatever it announces.
    const bool exif = tag.tag == 34665;
    const std::uint64_t size = exif ? 44 : announced;
    if ((exif || (size >= 5 && size <= stream.Size())) && used + size <= 2 * stream.Size() + 65536) {
        stream.Seek(tag.value);
        tag.data = stream.Read(size);
        used += size;
    }
    tag.lost = announced > 4 && !tag.data;
    tags.push_back(tag);
}

void ReferenceTiff::ReadImage(Stream& stream) {
    if (!Find(273)) return;
    const std::uint32_t width = ValueOf(256), height = ValueOf(257), rows = ValueOf(278), bits = ValueOf(258);
    const auto planar = static_cast<std::int32_t>(ValueOf(284));
    if (rows != height) {
        ReadStrips(stream);
    } else if (planar <= 1) {
        Attach(stream, ValueOf(273), ValueOf(279));
    } else if (bits == 1) {
        Attach(stream, ValueOf(273), rows * (width >> 3) * ValueOf(277));
    } else {
        ReadStrips(stream);
        Pack(static_cast<std::int32_t>(width), static_cast<std::int32_t>(rows), bits == 8 ? 1 : 2, stream.Size());
        Find(284)->value = 1;
    }
}

/// The `n` bytes at `offset` become the image.
void ReferenceTiff::Attach(Stream& stream, std::int64_t offset, std::uint32_t n) {
    ReferenceTag& strip = *Find(273);
    if (strip.lost) strip = {273, 4, 1, strip.value, {}, false};
    strip.data.reset();
    if (n > 2 * stream.Size() + kRoom) return;
    stream.Seek(offset);
    strip.data = stream.Read(n);
}

void ReferenceTiff::ReadStrips(Stream& stream) {
    ReferenceTag& offsets = *Find(273);
    ReferenceTag* counts = Find(279);
    const std::vector<std::uint32_t> places = StripItems(offsets);
    const std::vector<std::uint32_t> sizes = counts ? StripItems(*counts) : std::vector<std::uint32_t>();
    const std::size_t n = std::min({std::size_t{offsets.count}, places.size(), sizes.size()});
    std::uint64_t total = std::accumulate(sizes.begin(), sizes.begin() + static_cast<std::ptrdiff_t>(n), 0ULL);
    offsets = {273, 4, 1, offsets.value, {}, false};
    if (total > 2 * stream.Size() + kRoom) {
        total = 0;
    } else {
        ByteWriter image;
        for (std::size_t i = 0; i < n; ++i) {
            stream.Seek(static_cast<std::int32_t>(places[i]));
            image.Append(stream.Read(sizes[i]));
        }
        offsets.data = image.Done();
    }
    if (counts) *counts = {279, 3, 1, static_cast<std::uint32_t>(total), {}, false};
    if (ReferenceTag* rows = Find(278)) rows->value = ValueOf(257);
}

void ReferenceTiff::Pack(std::int64_t width, std::int64_t height, std::size_t sampleBytes, std::size_t fileSize) {
    ReferenceTag& strip = *Find(273);
    const Bytes planes = strip.data.value_or(Bytes());
    const std::size_t count = Find(277) && ValueOf(277) == 3 ? 3 : 4;
    if (width < 1 || height < 1) {
        strip.data = Bytes();
        return;
    }
    // In two steps: neither product can exceed 64 bits.
    const auto pixels = static_cast<std::uint64_t>(width * height);
    if (pixels > 0xffffffffU || pixels * count * sampleBytes > 2 * std::min(planes.size(), fileSize) + kRoom) {
        strip.data.reset();
        return;
    }
    Bytes packed;
    for (std::uint64_t sample = 0; sample < pixels * count; ++sample) {
        for (std::size_t b = 0; b < sampleBytes; ++b) {
            const std::uint64_t at = (sample % count * pixels + sample / count) * sampleBytes + b;
            packed.push_back(at < planes.size() ? planes[at] : 0);
        }
    }
    strip.data = packed;
}

void ReferenceTiff::RemoveIcc() {
    if (const ReferenceTag* icc = Find(34675)) tags.erase(tags.begin() + (icc - tags.data()));
}

Bytes ReferenceTiff::Save() {
    auto cursor = static_cast<std::uint32_t>(12 * tags.size() + 14);
    for (ReferenceTag& tag : tags) {
        const std::int64_t size = tag.StoredSize();
        if (tag.lost) {
            tag.value = 0;
        } else if ((tag.type >= 6 && tag.type <= 9) || size > 4) {
            tag.value = cursor;
            cursor += static_cast<std::uint32_t>(size);
        }
    }
    ReferenceTag* strip = Find(273);
    ReferenceTag* exif = Find(34665);
    if (strip) strip->value = cursor;
    if (exif) exif->value = cursor + ValueOf(279);

    ByteWriter out;
    out.Text("II").Little16(42).Little32(8).Little16(static_cast<unsigned>(tags.size() & 0xffffU));
    for (const ReferenceTag& tag : tags) {
        out.Little16(tag.tag).Little16(tag.type).Little32(tag.lost ? 0 : tag.count).Little32(tag.value);
    }
    out.Little32(0);
    const auto append = [&](Bytes data, std::uint64_t size) {
        data.resize(size);
        out.Append(data);
    };
    for (const ReferenceTag& tag : tags) {
        if (tag.StoredSize() > 4) append(*tag.data, static_cast<std::uint64_t>(tag.StoredSize()));
    }
    if (strip && strip->data) {
        const std::uint64_t n = ValueOf(279);
        append(*strip->data, n <= 2 * strip->data->size() + kRoom ? n : strip->data->size());
    }
    if (exif) out.Append(exif->data.value_or(Bytes(44, 0)));
    return out.Done();
}

ReferenceRun ConvertTiff(const std::optional<Bytes>& source, const std::string& sourcePath, int sampleBytes,
                         const PixelConverter& convert) {
    ReferenceRun run;
    ReferenceTiff tiff;
    if (source) {
        tiff.Read(*source);
    } else {
        run.log += "*** " + sourcePath + " Open Error. ***\n";
    }
    const std::int64_t width = static_cast<std::int32_t>(tiff.ValueOf(256));
    const std::int64_t height = static_cast<std::int32_t>(tiff.ValueOf(257));
    run.log += "Start Conversion(Start) : New ID\n";
    ReferenceTag* strip = tiff.Find(273);
    if (strip && strip->data) {
        const auto held = static_cast<std::int64_t>(strip->data->size()) / (3 * sampleBytes);
        const std::int64_t pixels = std::min(width * height, held);
        if (pixels > 0) convert(strip->data->data(), static_cast<int>(pixels));
    }
    run.log += "Start Conversion(Pause) : End Conversion(count : 0)\n";
    run.log += "Start Conversion(Stop) :  End Conversion(count : 0)\n";
    tiff.RemoveIcc();
    if (tiff.tags.empty()) {
        run.log += "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n";
    } else {
        run.file = tiff.Save();
    }
    return run;
}

}  // namespace hueweave::test
