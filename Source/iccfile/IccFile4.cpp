// SPDX-License-Identifier: MIT
#include "iccfile/IccFile4.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/ByteOrder.h"
#include "base/ByteSource.h"
#include "base/FileHandle.h"
#include "iccfile/LutTags.h"
#include "iccfile/SimpleTags.h"

namespace ICC40::ICCFILE {

using ICC4_HEADER::Signature;

namespace {

constexpr std::uint64_t kHeaderBytes = 128;
constexpr std::uint64_t kTableStart = 132;
constexpr std::uint64_t kEntryBytes = 12;
// Cost of a tag, beyond its bytes, in the budget of its file. A tag takes time and a few objects; an "mAB " table has a
// dozen.
constexpr std::uint64_t kTagCost = 256;
constexpr std::uint64_t kLutTagCost = 512;
using HeaderBytes = std::array<unsigned char, kHeaderBytes>;

/// Calls `word32(place, field)`, `word16` and `bytes` for every field of the header, in file order.
template <typename Header, typename Word32, typename Word16, typename Raw>
void WalkHeader(Header& header, Word32 word32, Word16 word16, Raw bytes) {
    word32(0, header.profileSize);
    word32(4, header.cmmType);
    word32(8, header.profileVersion);
    word32(12, header.deviceClass);
    word32(16, header.colorSpace);
    word32(20, header.pcs);
    for (std::size_t i = 0; i < header.dateTime.size(); ++i) word16(24 + 2 * i, header.dateTime[i]);
    word32(36, header.magic);
    word32(40, header.platform);
    word32(44, header.profileFlags);
    word32(48, header.manufacturer);
    word32(52, header.model);
    bytes(56, header.attributes);
    word32(64, header.renderingIntent);
    for (std::size_t i = 0; i < header.illuminant.size(); ++i) word32(68 + 4 * i, header.illuminant[i]);
    word32(80, header.creator);
    bytes(84, header.profileId);
    bytes(100, header.headerReserved);
}

/// Four bytes of a file, as they are in memory.
std::uint32_t Decoded(unsigned stored) {
    unsigned char bytes[4];
    std::memcpy(bytes, &stored, sizeof bytes);
    return LoadBig32(bytes);
}

std::uint64_t RoundUp4(std::uint64_t size) { return (size + 3) & ~std::uint64_t{3}; }

bool IsLutTag(std::uint32_t name) {
    const std::uint32_t number = name & 0xffU;
    const std::uint32_t direction = name & 0xffffff00U;
    return number >= '0' && number <= '2' &&
           (direction == (Signature("A2B0") & 0xffffff00U) || direction == (Signature("B2A0") & 0xffffff00U));
}

std::unique_ptr<iccTagBase> NewLutTag(icTagSignature name, std::uint32_t type) {
    if (type == Signature(IsA2B(name) ? "mAB " : "mBA ")) return std::make_unique<CLut>();
    if (type == Signature("mft2")) return std::make_unique<CLut16Type>();
    return std::make_unique<CLut8Type>();
}

/// The class for a tag: determined by the name, and by the type only if the name leaves it open.
std::unique_ptr<iccTagBase> NewTag(icTagSignature name, std::uint32_t type) {
    if (IsLutTag(name)) return NewLutTag(name, type);
    switch (static_cast<std::uint32_t>(name)) {
        case Signature("chad"):
            return std::make_unique<CChad>();
        case Signature("rXYZ"):
        case Signature("gXYZ"):
        case Signature("bXYZ"):
        case Signature("wtpt"):
        case Signature("bkpt"):
            return std::make_unique<CXYZType>();
        case Signature("rTRC"):
        case Signature("gTRC"):
        case Signature("bTRC"):
            return std::make_unique<CCurveType>();
        case Signature("desc"):
            return std::make_unique<CTextDescriptionType>();
        case Signature("cprt"):
            return std::make_unique<CTextType>();
        // Kept: "cprt" is a text whatever its type, and a "text" with an unknown name is a description.
        default:
            if (type == Signature("text")) return std::make_unique<CTextDescriptionType>();
            return std::make_unique<CDataType>();
    }
}

}  // namespace

int IccFile4::ReadFile(const char* path) {
    const FileHandle stream = OpenForReading(path);
    if (stream == nullptr) return -2;
    ReadFile(stream.get());
    return 0;
}

int IccFile4::ReadFile(std::FILE* stream) {
    ByteSource source(stream);
    ReadFrom(source);
    return 0;
}

int IccFile4::ReadFile(std::span<const unsigned char> bytes) {
    ByteSource source(bytes);
    ReadFrom(source);
    return 0;
}

void IccFile4::ReadFrom(ByteSource& source) {
    ReadHeaderFrom(source);
    unsigned char word[4];
    if (source.Read(word) != sizeof word) return;
    const std::uint64_t fileSize = source.Size();
    const std::uint64_t most = fileSize > kTableStart ? (fileSize - kTableStart) / kEntryBytes : 0;
    const std::uint64_t count = std::min<std::uint64_t>(LoadBig32(word), most);

    std::vector<unsigned char> table(count * kEntryBytes);
    table.resize(source.Read(table));
    // Entries can share a block, and each gets a copy: the total size of the copies is limited by the size of the file.
    // Eight times the file size allows the tables of all intents, in both directions, in one block.
    const std::uint64_t budget = 8 * fileSize + (std::uint64_t{4} << 20);
    std::uint64_t spent = 0;
    source.ReadAhead();
    for (std::size_t at = 0; at + kEntryBytes <= table.size(); at += kEntryBytes) {
        const unsigned char* entry = &table[at];
        const std::uint64_t size = LoadBig32(entry + 8);
        if (LoadBig32(entry + 4) + size > fileSize) continue;
        spent += RoundUp4(size) + (IsLutTag(LoadBig32(entry)) ? kLutTagCost : kTagCost);
        if (spent > budget) break;
        if (RoundUp4(size) > INT32_MAX) continue;
        Append(LoadBig32(entry), source.Block(LoadBig32(entry + 4), RoundUp4(size)));
    }
}

int IccFile4::ReadHeader(std::FILE* stream) {
    ByteSource source(stream);
    ReadHeaderFrom(source);
    return 0;
}

void IccFile4::ReadHeaderFrom(ByteSource& source) {
    HeaderBytes raw;
    source.Read(raw);
    WalkHeader(
        header, [&](std::size_t at, std::uint32_t& field) { field = LoadBig32(&raw[at]); },
        [&](std::size_t at, std::uint16_t& field) { field = LoadBig16(&raw[at]); },
        [&](std::size_t at, auto& field) { std::copy_n(&raw[at], field.size(), field.begin()); });
}

int IccFile4::AddIccTagData(unsigned sig, unsigned offset, unsigned size, std::FILE* stream) {
    const std::uint64_t start = Decoded(offset);
    const std::uint64_t declared = Decoded(size);
    ByteSource source(stream);
    if (start + declared > source.Size() || RoundUp4(declared) > INT32_MAX) return 0;
    // Rounding may extend beyond the end of the file; missing bytes are 0.
    Append(Decoded(sig), source.Block(start, RoundUp4(declared)));
    return 0;
}

void IccFile4::Append(std::uint32_t name, std::span<const unsigned char> block) {
    // A tag copies its block and does not write to it. An empty block has no address, because a curve of size 0 reads
    // what its address holds.
    unsigned char* data = block.empty() ? nullptr : const_cast<unsigned char*>(block.data());
    tagList.push_back(CreateNewTag(static_cast<icTagSignature>(name), data, static_cast<int>(block.size())));
}

std::unique_ptr<iccTagBase> IccFile4::CreateNewTag(icTagSignature sig, unsigned char* data, int size) {
    auto tag = NewTag(sig, TagReader(data, size).U32(0));
    tag->Initial(sig, data, size);
    return tag;
}

const iccTagBase* IccFile4::GetTag(icTagSignature sig) const {
    const auto found =
        std::find_if(tagList.begin(), tagList.end(), [sig](const auto& tag) { return tag->tagSig == sig; });
    return found == tagList.end() ? nullptr : found->get();
}

iccTagBase* IccFile4::GetTag(icTagSignature sig) { return const_cast<iccTagBase*>(std::as_const(*this).GetTag(sig)); }

int IccFile4::SaveFile(const char* path) {
    const FileHandle stream = OpenForWriting(path);
    if (stream == nullptr) return 0;
    SeekTo(stream.get(), kHeaderBytes);
    const int size = WriteTagListHeader(stream.get());
    SeekTo(stream.get(), 0);
    WriteHeader(stream.get(), size);
    SeekTo(stream.get(), kTableStart + kEntryBytes * tagList.size());
    WriteTagListData(stream.get());
    return 0;
}

int IccFile4::WriteHeader(std::FILE* stream, int profileSize) {
    HeaderBytes raw{};
    WalkHeader(
        header, [&](std::size_t at, std::uint32_t field) { StoreBig32(&raw[at], field); },
        [&](std::size_t at, std::uint16_t field) { StoreBig16(&raw[at], field); },
        [](std::size_t, const auto&) {});  // Kept: attributes and reserved bytes are lost
    StoreBig32(raw.data(), static_cast<std::uint32_t>(profileSize));
    std::copy(header.profileId.begin(), header.profileId.end(), &raw[84]);
    std::fwrite(raw.data(), 1, raw.size(), stream);
    return 0;
}

int IccFile4::WriteTagListHeader(std::FILE* stream) {
    auto offset = static_cast<std::uint32_t>(kTableStart + kEntryBytes * tagList.size());
    std::vector<unsigned char> table(4 + kEntryBytes * tagList.size());
    StoreBig32(table.data(), static_cast<std::uint32_t>(tagList.size()));
    unsigned char* entry = table.data() + 4;
    for (const auto& tag : tagList) {
        StoreBig32(entry, tag->tagSig);
        StoreBig32(entry + 4, offset);
        StoreBig32(entry + 8, tag->tagSize);
        offset += tag->tagSize;
        entry += kEntryBytes;
    }
    std::fwrite(table.data(), 1, table.size(), stream);
    return static_cast<int>(offset);
}

int IccFile4::WriteTagListData(std::FILE* stream) {
    for (const auto& tag : tagList) {
        if (tag->tagData != nullptr) std::fwrite(tag->tagData.get(), 1, tag->tagSize, stream);
    }
    return 0;
}

void IccFile4::Reset() { tagList.clear(); }

}  // namespace ICC40::ICCFILE
