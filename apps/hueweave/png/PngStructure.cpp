// SPDX-License-Identifier: MIT
#include "png/PngStructure.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "system/BigEndian.h"
#include "system/Refusal.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr const char* kWholeCopy = "get a complete copy of the file";
constexpr std::uint64_t kMostLength = 0x7fffffff;
constexpr std::uint64_t kBlock = std::uint64_t{64} << 10;

bool IsLetter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

/// Readers disagree about which of several counts.
constexpr std::string_view kOnce[] = {"IHDR", "PLTE", "IDAT", "iCCP", "sRGB", "tRNS", "bKGD", "acTL"};
/// They only count before the image.
constexpr std::string_view kBefore[] = {"PLTE", "iCCP", "sRGB", "tRNS"};

/// Decodes zlib data. Returns false for damaged data and for more than `most` bytes.
bool Inflate(const unsigned char* from, std::size_t size, std::uint64_t most, Bytes& to) {
    z_stream stream{};
    stream.next_in =
        const_cast<unsigned char*>(from);  // NOLINT(cppcoreguidelines-pro-type-const-cast): zlib only reads
    stream.avail_in = static_cast<uInt>(size);
    if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
    const std::unique_ptr<z_stream, decltype(&inflateEnd)> owner(&stream, inflateEnd);
    int result = Z_OK;
    Bytes block(static_cast<std::size_t>(kBlock));
    while (result == Z_OK && to.size() <= most) {
        stream.next_out = block.data();
        stream.avail_out = static_cast<uInt>(block.size());
        result = inflate(&stream, Z_NO_FLUSH);
        to.insert(to.end(), block.data(), stream.next_out);
    }
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    return result == Z_STREAM_END && to.size() <= most;
}

}  // namespace

PngHeader HeaderWritten(const PngHeader& source, unsigned channels) {
    PngHeader header = source;
    if (!source.IsGrey()) return header;
    header.depth = std::max(8U, source.depth);
    if (channels == 3) header.colours = source.colours == PngHeader::Grey ? PngHeader::Rgb : PngHeader::RgbAlpha;
    return header;
}

PngStructure::PngStructure(const FileAccess& file) : file_(file), fileSize_(file.Size()) {
    unsigned char signature[sizeof kPngSignature] = {};
    if (fileSize_ < sizeof signature) Refuse("is truncated: it ends within its first bytes");
    file.Read(0, signature, sizeof signature);
    if (!std::equal(std::begin(signature), std::end(signature), kPngSignature)) {
        Refuse("is damaged: its first bytes are not those of a PNG file");
    }
    std::uint64_t at = sizeof signature;
    do {
        PngChunk chunk = ReadChunk(at);
        at = chunk.place.End();
        Add(std::move(chunk));
        if (chunks_.size() == 1) ReadHeader();
    } while (chunks_.back().type != "IEND");
    trailer_ = {at, fileSize_ - at};
    CheckOrder();
}

void PngStructure::Refuse(const std::string& reason) const {
    throw Refusal(Exit::Input, file_.name(), reason, kWholeCopy);
}

PngChunk PngStructure::ReadChunk(std::uint64_t offset) {
    if (fileSize_ - offset < 12) Refuse("is truncated: it ends at byte " + std::to_string(fileSize_));
    std::array<unsigned char, 8> head{};
    file_.Read(offset, head.data(), head.size());
    const std::uint64_t length = Big32(head.data());
    if (length > kMostLength || !std::all_of(head.begin() + 4, head.end(), IsLetter)) {
        Refuse("is damaged: no chunk begins at byte " + std::to_string(offset));
    }
    if (length > fileSize_ - offset - 12) Refuse("is truncated: it ends at byte " + std::to_string(fileSize_));
    return {std::string(head.begin() + 4, head.end()), {offset, length + 12}};
}

void PngStructure::Add(PngChunk chunk) {
    if (chunk.type == "IDAT") {
        if (++imageChunks_ > png_limit::kImageChunks) Refuse("contains more than 2097152 chunks of image data");
        if (!chunks_.empty() && chunks_.back().type == "IDAT") {
            chunks_.back().place.size += chunk.place.size;
            return;
        }
    } else {
        CheckSum(chunk);
    }
    if (chunks_.size() == png_limit::kChunks) Refuse("contains more than 65536 chunks");
    chunks_.push_back(std::move(chunk));
}

void PngStructure::CheckSum(const PngChunk& chunk) const {
    std::uint64_t at = chunk.place.offset + 4;  // the type counts, the length does not
    const std::uint64_t end = chunk.place.End() - 4;
    uLong sum = crc32(0, nullptr, 0);
    while (at < end) {
        const Bytes block = file_.Read({at, std::min(kBlock, end - at)});
        sum = crc32(sum, block.data(), static_cast<uInt>(block.size()));
        at += block.size();
    }
    if (sum != Big32(file_.Read({end, 4}).data())) {
        Refuse("is damaged: the checksum of its chunk " + chunk.type + " is wrong");
    }
}

void PngStructure::ReadHeader() {
    if (chunks_[0].type != "IHDR") Refuse("is damaged: it does not begin with the chunk IHDR");
    const Extent place = chunks_[0].Data();
    const Bytes data = place.size == 13 ? file_.Read(place) : Bytes(13);
    header_.width = Big32(data.data());
    header_.height = Big32(data.data() + 4);
    header_.depth = data[8];
    header_.colours = static_cast<PngHeader::Colours>(data[9]);
    header_.interlaced = data[12] == 1;
    const bool isSize =
        header_.width > 0 && header_.width <= kMostLength && header_.height > 0 && header_.height <= kMostLength;
    const unsigned depth = header_.depth;
    const bool small = depth == 1 || depth == 2 || depth == 4, whole = depth == 8 || depth == 16;
    const unsigned colours = data[9];
    const bool isKind = colours == PngHeader::Grey      ? small || whole
                        : colours == PngHeader::Palette ? small || depth == 8
                                                        : whole && (colours == 2 || colours == 4 || colours == 6);
    if (!isSize || !isKind || data[10] != 0 || data[11] != 0 || data[12] > 1) {
        Refuse("is damaged: its chunk IHDR describes no image");
    }
}

void PngStructure::CheckOrder() const {
    const auto position = [this](std::string_view type) {
        return std::find_if(chunks_.begin(), chunks_.end(), [&](const PngChunk& c) { return c.type == type; });
    };
    const auto image = position("IDAT");
    if (image == chunks_.end()) Refuse("is damaged: it contains no image data");
    for (const std::string_view type : kOnce) {
        const auto is = [&](const PngChunk& chunk) { return chunk.type == type; };
        if (std::count_if(chunks_.begin(), chunks_.end(), is) > 1) {
            Refuse("is damaged: it contains several chunks " + std::string(type));
        }
    }
    for (const std::string_view type : kBefore) {
        const auto found = position(type);
        if (found != chunks_.end() && found > image) {
            Refuse("is damaged: its chunk " + std::string(type) + " comes after the image");
        }
    }
    const auto palette = position("PLTE");
    const bool hasPalette = palette != chunks_.end();
    if (header_.colours == PngHeader::Palette && !hasPalette) Refuse("is damaged: it has no palette");
    if (!hasPalette) return;
    const std::uint64_t size = palette->Data().size;
    if (size == 0 || size > 768 || size % 3 != 0) Refuse("is damaged: its palette has a wrong size");
}

const PngChunk* PngStructure::Find(std::string_view type) const {
    const auto found =
        std::find_if(chunks_.begin(), chunks_.end(), [&](const PngChunk& chunk) { return chunk.type == type; });
    return found == chunks_.end() ? nullptr : &*found;
}

Bytes PngStructure::Data(const PngChunk& chunk) const {
    if (chunk.Data().size > png_limit::kValue) Refuse("has a chunk " + chunk.type + " of more than 32 MiB");
    return file_.Read(chunk.Data());
}

Bytes PngStructure::Profile() const {
    const Bytes data = Data(*Find("iCCP"));
    const auto end = std::find(data.begin(), data.end(), 0);  // of its name
    const auto name = static_cast<std::size_t>(end - data.begin());
    Bytes profile;
    const bool isSound = data.size() - name >= 2 && data[name + 1] == 0 &&
                         Inflate(data.data() + name + 2, data.size() - name - 2, png_limit::kProfile, profile);
    if (isSound) return profile;
    if (profile.size() > png_limit::kProfile) {
        throw Refusal(Exit::Profile, file_.name(), "embeds a profile of more than 32 MiB", "take it out of the file");
    }
    throw Refusal(Exit::Profile, file_.name(), "embeds a profile that is damaged",
                  "give one with --profile and --source given");
}

Bytes MakeChunk(std::string_view type, const Bytes& data) {
    Bytes chunk;
    PutBig32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk.insert(chunk.end(), type.begin(), type.end());
    chunk.insert(chunk.end(), data.begin(), data.end());
    PutBig32(chunk, static_cast<std::uint32_t>(crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4))));
    return chunk;
}

Bytes MakeProfileChunk(const Bytes& profile) {
    constexpr std::string_view kName{"ICC profile\0\0", 13};  // the second zero means Deflate
    Bytes data(kName.begin(), kName.end());
    uLongf size = compressBound(static_cast<uLong>(profile.size()));
    data.resize(kName.size() + size);
    if (compress2(data.data() + kName.size(), &size, profile.data(), static_cast<uLong>(profile.size()), 9) != Z_OK) {
        throw std::bad_alloc();
    }
    data.resize(kName.size() + size);
    return MakeChunk("iCCP", data);
}

}  // namespace hueweave::tool
