// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileHandle.h"
#include "iccfile/IccFile4.h"
#include "iccfile/LutTags.h"
#include "iccfile/SimpleTags.h"
#include "support/ByteWriter.h"
#include "support/Matchers.h"
#include "support/ReferenceProfile.h"
#include "support/TempDir.h"
#include "support/TiffBuilder.h"

// Blocks of every tag type and whole profiles, valid or not, for the tests of this folder.
namespace hueweave::test::icc {

using ICC40::ICC4_HEADER::Signature;
using ICC40::ICC4_HEADER::TypeName;
using ICC40::ICCFILE::CChad;
using ICC40::ICCFILE::CCurveType;
using ICC40::ICCFILE::CDataType;
using ICC40::ICCFILE::CLut;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::CLut8Type;
using ICC40::ICCFILE::CTextDescriptionType;
using ICC40::ICCFILE::CTextType;
using ICC40::ICCFILE::CXYZType;
using ICC40::ICCFILE::IccFile4;
using ICC40::ICCFILE::iccTagBase;
using ICC40::ICCFILE::icTagSignature;
using ICC40::ICCFILE::ProfileHeader;
using Values = std::vector<unsigned>;  ///< 8-bit or 16-bit

/// The base class of the tags and all classes derived from it.
using AllTags = testing::Types<iccTagBase, CTextType, CTextDescriptionType, CXYZType, CDataType, CCurveType, CChad,
                               CLut16Type, CLut8Type, CLut>;

inline std::uint32_t Word(std::string_view four) {
    const char name[5] = {four.at(0), four.at(1), four.at(2), four.at(3), '\0'};
    return Signature(name);
}
inline icTagSignature Name(std::string_view four) { return static_cast<icTagSignature>(Word(four)); }
inline std::uint32_t TypeOf(const iccTagBase& tag) { return static_cast<std::uint32_t>(tag.sig); }

/// The first bytes of a block, or the block padded with zeros; allocated to the exact size.
inline Bytes Cut(const Bytes& block, std::size_t size) {
    Bytes cut(size);
    std::copy_n(block.begin(), std::min(size, block.size()), cut.begin());
    return cut;
}
inline Bytes Part(const Bytes& bytes, std::size_t at, std::size_t size) {
    const auto part = std::span(bytes).subspan(at, size);
    return Bytes(part.begin(), part.end());
}

/// A block of any type in which every byte after the type differs from its neighbours.
inline Bytes Block(std::string_view type, std::size_t size, unsigned seed = 1) {
    ByteWriter block;
    block.Text(type);
    while (block.Size() < size) block.U8((static_cast<unsigned>(block.Size()) * 37 + seed) & 0xffU);
    return Cut(block.Done(), size);
}
inline Bytes CurveBlock(const Values& entries) {
    return ByteWriter().Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(entries.size())).Big16s(entries).Done();
}

/// `count` values for tables of `width` bytes per entry; a value depends on its place only, and its two bytes differ.
inline Values TableValues(std::size_t place, std::size_t count, unsigned width = 2) {
    Values values;
    for (std::size_t i = place; i < place + count; ++i) {
        const auto value = static_cast<unsigned>(i * 40503U + 258U);
        values.push_back(width == 2 ? value & 0xffffU : value >> 3 & 0xffU);
    }
    return values;
}

/// A block in the layout of "mft2", or the same layout with one byte per entry.
struct MftSpec {
    const char* type = "mft2";
    unsigned in = 3, out = 3, points = 2, inEntries = 2, outEntries = 2, width = 2;
    std::optional<std::size_t> values{};  ///< entries in all; by default as many as the counts require

    std::size_t Asked() const {
        return std::size_t{inEntries} * in + std::size_t{points} * points * points * out +
               std::size_t{outEntries} * out;
    }
    static std::uint32_t Matrix(std::uint32_t i) { return 0xfff01234U + i * 0x01020304U; }
    Bytes Done() const {
        ByteWriter block;
        block.Text(type).Big32(0xdeadbeefU).U8(in).U8(out).U8(points).U8(0xa5);
        for (std::uint32_t i = 0; i < 9; ++i) block.Big32(Matrix(i));
        block.Big16(inEntries).Big16(outEntries);
        for (const unsigned value : TableValues(0, values.value_or(Asked()), width)) {
            width == 2 ? block.Big16(value) : block.U8(value);
        }
        return block.Done();
    }
};

/// An "mAB " or "mBA " block. Each part follows the ones before; `place` is the position of its offset.
class AbBlock {
public:
    static constexpr std::size_t kB = 12, kMatrix = 16, kM = 20, kGrid = 24, kA = 28;

    AbBlock(unsigned in, unsigned out, std::string_view type = "mAB ") {
        block_.Text(type).Big32(0xdeadbeefU).U8(in).U8(out).U8(0x5a).U8(0xa7).Fill(20);
    }
    AbBlock& Offset(std::size_t place, std::uint32_t value) {
        block_.PatchBig32(place, value);
        return *this;
    }
    AbBlock& Raw(std::size_t place, const Bytes& bytes) {
        Offset(place, static_cast<std::uint32_t>(block_.Size()));
        block_.Append(bytes);
        return *this;
    }
    /// Curves 2 x entries + 14 bytes apart, which is where the reader looks for them.
    AbBlock& Curves(std::size_t place, const std::vector<Values>& curves) {
        ByteWriter bytes;
        for (const Values& curve : curves) bytes.Append(CurveBlock(curve)).Fill(2, 0xee);
        return Raw(place, bytes.Done());
    }
    AbBlock& Grid(const Values& points, unsigned precision, const Bytes& data) {
        ByteWriter bytes;
        for (const unsigned point : points) bytes.U8(point);
        return Raw(kGrid, bytes.Align(16).U8(precision).U8(0x71).U8(0x72).U8(0x73).Append(data).Done());
    }
    AbBlock& Grid(const Values& points, const Values& values) {
        return Grid(points, 2, ByteWriter().Big16s(values).Done());
    }
    const Bytes& Done() const { return block_.Done(); }

private:
    ByteWriter block_;
};

/// Loads a block into a tag.
template <typename Tag>
unsigned Load(Tag& tag, std::string_view name, Bytes block) {
    return tag.Initial(Name(name), block.data(), static_cast<int>(block.size()));
}
/// A tag made from a block.
template <typename Tag>
class Loaded : public Tag {
public:
    Loaded(std::string_view name, const Bytes& block) : taken(Load(*this, name, block)) {}
    const unsigned taken;  ///< as `Initial` answers
};
inline Bytes DataOf(const iccTagBase& tag) {
    return tag.tagSize == 0 ? Bytes() : Bytes(tag.tagData.get(), tag.tagData.get() + tag.tagSize);
}
template <typename Array>
Values ValuesOf(const Array& array, std::size_t from, std::size_t count) {
    Values values;
    for (std::size_t i = 0; i < count; ++i) values.push_back(array[from + i]);
    return values;
}
/// The entries of a curve that must exist.
inline Values EntriesOf(const CCurveType* curve) {
    return curve == nullptr ? Values{0xdeadU, 0xdeadU} : ValuesOf(curve->curve, 0, curve->curveCount);
}

/// How many of its three tables a LUT tag has, of one or two bytes per entry.
template <typename Lut>
int TablesIn(const Lut& lut) {
    return (lut.inputTable != nullptr) + (lut.clutTable != nullptr) + (lut.outputTable != nullptr);
}

/// 128 bytes, each its offset plus 128.
inline Bytes NumberedHeader() { return CountingBytes(128, 128); }
/// The same header as it is written: with the actual size, and zero in two places.
inline Bytes SavedHeader(std::uint32_t size) {
    ByteWriter header;
    header.Big32(size).Append(Part(NumberedHeader(), 4, 52)).Fill(8);
    return header.Append(Part(NumberedHeader(), 64, 36)).Fill(28).Done();
}

/// An entry of the tag table. Without `offset` its block follows the blocks before; without `size` it is as long as its
/// block.
struct TagEntry {
    std::string name;
    Bytes block{};
    std::optional<std::uint32_t> offset{};
    std::optional<std::uint32_t> size{};
};

/// Header, count, tag table, and the blocks, each padded with zeros to a multiple of 4.
inline Bytes ProfileOf(const std::vector<TagEntry>& entries) {
    TagList tags;
    for (const TagEntry& entry : entries) tags.emplace_back(entry.name, entry.block);
    ByteWriter file;
    file.Append(Container(NumberedHeader(), tags));
    for (std::size_t at = 132; const TagEntry& entry : entries) {
        if (entry.offset) file.PatchBig32(at + 4, *entry.offset);
        if (entry.size) file.PatchBig32(at + 8, *entry.size);
        at += 12;
    }
    return file.Done();
}

/// A tag of every class.
inline std::vector<TagEntry> EveryClass() {
    return {{"desc", Block("desc", 27)},
            {"A2B0", MftSpec().Done()},
            {"A2B1", AbBlock(3, 3)
                         .Curves(AbBlock::kB, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}})
                         .Grid({2, 2, 2}, TableValues(0, 24))
                         .Curves(AbBlock::kA, {{1, 2}, {4, 5}, {7, 8}})
                         .Done()},
            {"B2A0", AbBlock(3, 3, "mBA ").Curves(AbBlock::kM, {{1, 2, 3}}).Grid({2, 2, 2}, TableValues(0, 24)).Done()},
            {"A2B2", MftSpec{.type = "mft1", .width = 1}.Done()},
            {"wtpt", Block("XYZ ", 20)},
            {"chad", Block("sf32", 44)},
            {"rTRC", CurveBlock({1, 2, 3, 4, 5})},
            {"cprt", Block("text", 21)},
            {"abcd", Block("text", 14)},
            {"efgh", Block("data", 9)}};
}

/// A container and a folder for its files.
class ProfileOnDisk : public testing::Test {
protected:
    /// Checks tags from the `first` on against the plain reference.
    static void ExpectTags(const IccFile4& read, std::size_t first, const TagList& expected) {
        ASSERT_EQ(read.tagList.size(), first + expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const auto& [name, block] = expected[i];
            const iccTagBase& tag = *read.tagList[first + i];
            SCOPED_TRACE(testing::Message() << "tag " << i << ": " << name);
            EXPECT_EQ(SignatureText(tag.tagSig), name);
            EXPECT_EQ(TypeOf(tag), Big32At(block, 0));
            EXPECT_EQ(tag.reserved, 0U);
            EXPECT_EQ(tag.tagSize, block.size());
            if (DataOf(tag) == block) continue;  // far quicker than the matcher
            EXPECT_THAT(DataOf(tag), EqualTo(block));
        }
    }
    /// Reads a file of these bytes, which adds the tags that the plain reference finds, and the same from memory and
    /// from a stream without a descriptor.
    void Read(const Bytes& bytes) {
        WriteFile(path, bytes);
        const TagList expected = ReadTags(bytes);
        const std::size_t before = file.tagList.size();
        EXPECT_EQ(file.ReadFile(path.c_str()), 0);
        ExpectTags(file, before, expected);
        IccFile4 memory, streamed;
        EXPECT_EQ(memory.ReadFile(bytes), 0);
        ExpectTags(memory, 0, expected);
        EXPECT_EQ(std::memcmp(&memory.header, &file.header, sizeof file.header), 0);
        if (bytes.empty()) return;
        Bytes copy = bytes;
        const FileHandle stream(fmemopen(copy.data(), copy.size(), "rb"));
        EXPECT_EQ(streamed.ReadFile(stream.get()), 0);
        ExpectTags(streamed, 0, expected);
        EXPECT_EQ(std::memcmp(&streamed.header, &file.header, sizeof file.header), 0);
    }
    Bytes Saved() {
        const std::string target = dir.File("saved.icc");
        EXPECT_EQ(file.SaveFile(target.c_str()), 0);
        return hueweave::test::ReadFile(target);
    }
    FileHandle Open(const char* mode) const { return FileHandle(std::fopen(path.c_str(), mode)); }
    /// The first tag of that name, which must exist and be of that class.
    template <typename Tag>
    Tag& Get(std::string_view name) {
        return dynamic_cast<Tag&>(*file.GetTag(Name(name)));
    }

    const TempDir dir;
    const std::string path = dir.File("profile.icc");
    IccFile4 file;
};

}  // namespace hueweave::test::icc
