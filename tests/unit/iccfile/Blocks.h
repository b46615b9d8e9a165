// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileHandle.h"
#include "iccfile/IccFile4.h"
#include "iccfile/LutTags.h"
#include "iccfile/SimpleTags.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

// Blocks of every tag type and whole profiles, for the tests of this folder.
namespace hueweave::test::icc {

using ICC40::ICC4_HEADER::Signature;
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
using ICC40::ICCFILE::IsA2B;
using ICC40::ICCFILE::ProfileHeader;
using Entries = std::vector<unsigned>;  ///< 16-bit values
using Strings = std::vector<std::string>;

inline std::uint32_t Word(std::string_view four) {
    const char name[5] = {four.at(0), four.at(1), four.at(2), four.at(3), '\0'};
    return Signature(name);
}
inline icTagSignature Name(std::string_view four) { return static_cast<icTagSignature>(Word(four)); }

/// The first bytes of a block, or the block with zeros behind it; never with room to spare.
inline Bytes Cut(const Bytes& block, std::size_t size) {
    Bytes cut(size);
    if (size != 0 && !block.empty()) std::memcpy(cut.data(), block.data(), std::min(size, block.size()));
    return cut;
}
inline Bytes Part(const Bytes& bytes, std::size_t at, std::size_t size) {
    Bytes part;
    for (std::size_t i = 0; i < size; ++i) part.push_back(bytes.at(at + i));
    return part;
}

/// Lets a tag take a block.
template <typename Tag>
unsigned Load(Tag& tag, std::string_view name, Bytes block) {
    return tag.Initial(Name(name), block.data(), static_cast<int>(block.size()));
}
inline Bytes DataOf(const iccTagBase& tag) {
    return tag.tagSize == 0 ? Bytes() : Bytes(tag.tagData.get(), tag.tagData.get() + tag.tagSize);
}
template <typename Value>
std::vector<unsigned> ValuesOf(const Value& array, std::size_t from, std::size_t count) {
    std::vector<unsigned> values;
    for (std::size_t i = 0; i < count; ++i) values.push_back(array[from + i]);
    return values;
}

/// The three tables of a LUT tag, of one or two bytes an entry.
template <typename Lut>
bool HasNone(const Lut& lut) {
    return lut.inputTable == nullptr && lut.clutTable == nullptr && lut.outputTable == nullptr;
}
template <typename Lut>
bool HasAll(const Lut& lut) {
    return lut.inputTable != nullptr && lut.clutTable != nullptr && lut.outputTable != nullptr;
}

/// The base class and all that derive from it.
using AllTags = testing::Types<iccTagBase, CTextType, CTextDescriptionType, CXYZType, CDataType, CCurveType, CChad,
                               CLut16Type, CLut8Type, CLut>;

/// A block of any type whose bytes behind the type are all different from their neighbours.
inline Bytes Block(std::string_view type, std::size_t size, unsigned seed = 1) {
    ByteWriter block;
    block.Text(type);
    while (block.Size() < size) block.U8((static_cast<unsigned>(block.Size()) * 37 + seed) & 0xffU);
    return Cut(block.Done(), size);
}
inline Bytes CurveBlock(const Entries& entries) {
    ByteWriter block;
    block.Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(entries.size()));
    for (const unsigned entry : entries) block.Big16(entry);
    return block.Done();
}

/// The value that stands at a place of the tables behind a LUT block's counts; its two bytes differ.
inline unsigned Nth(std::size_t place, unsigned width = 2) {
    const auto value = static_cast<unsigned>(place * 40503U + 258U);
    return width == 2 ? value & 0xffffU : value >> 3 & 0xffU;
}
inline std::vector<unsigned> NthFrom(std::size_t place, std::size_t count, unsigned width = 2) {
    std::vector<unsigned> values;
    for (std::size_t i = 0; i < count; ++i) values.push_back(Nth(place + i, width));
    return values;
}

/// A block in the layout of "mft2", or the same with one byte an entry.
struct MftSpec {
    const char* type = "mft2";
    unsigned in = 3, out = 3, points = 2, inEntries = 2, outEntries = 2, width = 2;
    std::optional<std::size_t> values{};  ///< entries in all; without it what the counts ask for

    std::size_t Cube() const { return std::size_t{points} * points * points; }
    std::size_t Values() const { return std::size_t{inEntries} * in + Cube() * out + std::size_t{outEntries} * out; }
    std::size_t Need() const { return 52 + Values() * width; }
    Bytes Done() const {
        ByteWriter block;
        block.Text(type).Big32(0xdeadbeefU).U8(in).U8(out).U8(points).U8(0xa5);
        for (std::uint32_t i = 0; i < 9; ++i) block.Big32(0xfff01234U + i * 0x01020304U);
        block.Big16(inEntries).Big16(outEntries);
        for (const unsigned value : NthFrom(0, values.value_or(Values()), width)) {
            width == 2 ? block.Big16(value) : block.U8(value);
        }
        return block.Done();
    }
};

/// An "mAB " or "mBA " block. Every part goes behind the ones before; `place` is where its offset stands.
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
    /// Curves 2 x entries + 14 bytes apart, which is where they are looked for.
    AbBlock& Curves(std::size_t place, const std::vector<Entries>& curves) {
        ByteWriter bytes;
        for (const Entries& curve : curves) bytes.Append(CurveBlock(curve)).Fill(2, 0xee);
        return Raw(place, bytes.Done());
    }
    AbBlock& Grid(const std::vector<unsigned>& points, unsigned precision, const Bytes& data) {
        ByteWriter bytes;
        for (std::size_t i = 0; i < 16; ++i) bytes.U8(i < points.size() ? points[i] : 0);
        return Raw(kGrid, bytes.U8(precision).U8(0x71).U8(0x72).U8(0x73).Append(data).Done());
    }
    AbBlock& Grid(const std::vector<unsigned>& points, const std::vector<unsigned>& values) {
        ByteWriter bytes;
        for (const unsigned value : values) bytes.Big16(value);
        return Grid(points, 2, bytes.Done());
    }
    const Bytes& Done() const { return block_.Done(); }

private:
    ByteWriter block_;
};

/// 128 bytes, each one more than its offset.
inline Bytes NumberedHeader() {
    ByteWriter header;
    for (unsigned i = 0; i < 128; ++i) header.U8(i + 1);
    return header.Done();
}

/// An entry of the tag table. Without `offset` its block goes behind the blocks before; without `size` it is as
/// long as its block.
struct Entry {
    std::string name;
    Bytes block{};
    std::optional<std::uint32_t> offset{};
    std::optional<std::uint32_t> size{};
};

/// Header, count, table, and the blocks, each padded with zeros to a multiple of 4.
inline Bytes ProfileOf(const std::vector<Entry>& entries) {
    ByteWriter table, data;
    const std::size_t start = 132 + 12 * entries.size();
    for (const Entry& entry : entries) {
        table.Text(entry.name)
            .Big32(entry.offset.value_or(static_cast<std::uint32_t>(start + data.Size())))
            .Big32(entry.size.value_or(static_cast<std::uint32_t>(entry.block.size())));
        data.Append(entry.block).Align(4);
    }
    return ByteWriter()
        .Append(NumberedHeader())
        .Big32(static_cast<std::uint32_t>(entries.size()))
        .Append(table.Done())
        .Append(data.Done())
        .Done();
}

/// A container and a folder for its files.
class ProfileOnDisk : public testing::Test {
protected:
    int Read(const Bytes& bytes) {
        WriteFile(path, bytes);
        return file.ReadFile(path.c_str());
    }
    Bytes Saved() {
        const std::string target = dir.File("saved.icc");
        EXPECT_EQ(file.SaveFile(target.c_str()), 0);
        return hueweave::test::ReadFile(target);
    }
    FileHandle Open(const char* mode) const { return FileHandle(std::fopen(path.c_str(), mode)); }
    /// The names of the tags, in list order.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& tag : file.tagList) {
            const auto word = static_cast<std::uint32_t>(tag->tagSig);
            names.emplace_back();
            for (int shift = 24; shift >= 0; shift -= 8) names.back() += static_cast<char>(word >> shift & 0xffU);
        }
        return names;
    }

    const TempDir dir;
    const std::string path = dir.File("profile.icc");
    IccFile4 file;
};

}  // namespace hueweave::test::icc
