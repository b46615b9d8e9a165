// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "IccModel.h"

#include <algorithm>
#include <cstring>
#include <typeinfo>

#include "iccfile/LutTags.h"
#include "iccfile/SimpleTags.h"

namespace hueweave::fuzz {

using ICC40::ICCFILE::CChad;
using ICC40::ICCFILE::CCurveType;
using ICC40::ICCFILE::CDataType;
using ICC40::ICCFILE::CLut;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::CLut8Type;
using ICC40::ICCFILE::CLutGrid;
using ICC40::ICCFILE::CTextDescriptionType;
using ICC40::ICCFILE::CTextType;
using ICC40::ICCFILE::CXYZType;
using ICC40::ICCFILE::IccFile4;
using ICC40::ICCFILE::iccTagBase;
using ICC40::ICCFILE::icTagSignature;
using ICC40::ICCFILE::ProfileHeader;

unsigned Byte(const Bytes& bytes, std::uint64_t at) { return at < bytes.size() ? bytes[at] : 0; }
unsigned Half(const Bytes& bytes, std::uint64_t at) { return Byte(bytes, at) * 256 + Byte(bytes, at + 1); }
std::uint32_t Word(const Bytes& bytes, std::uint64_t at) {
    return static_cast<std::uint32_t>(Half(bytes, at)) * 65536 + Half(bytes, at + 2);
}

std::string NameOf(std::uint32_t word) {
    std::string name;
    for (int shift = 24; shift >= 0; shift -= 8) name += static_cast<char>(word >> shift & 0xffU);
    return name;
}

/// Whether a name is that of a table, A2B0 to B2A2: every other name costs a profile less.
bool IsTableName(std::uint32_t word) {
    const std::string name = NameOf(word);
    return (name.starts_with("A2B") || name.starts_with("B2A")) && name[3] >= '0' && name[3] <= '2';
}

ModelProfile ReadModel(const Bytes& file) {
    ModelProfile profile;
    for (std::size_t i = 0; i < 128; ++i) profile.header.push_back(static_cast<unsigned char>(Byte(file, i)));
    if (file.size() < 132) return profile;
    const std::uint64_t count = std::min<std::uint64_t>(Word(file, 128), (file.size() - 132) / 12);
    std::uint64_t spent = 0;
    for (std::uint64_t n = 0; n < count; ++n) {
        const std::uint64_t at = 132 + 12 * n;
        const std::uint64_t offset = Word(file, at + 4), size = Word(file, at + 8);
        if (offset + size > file.size()) continue;
        const std::uint64_t rounded = (size + 3) / 4 * 4;
        spent += rounded + (IsTableName(Word(file, at)) ? 512 : 256);
        if (spent > 8 * file.size() + 4194304) break;
        ModelTag tag{Word(file, at), Bytes(rounded)};
        for (std::uint64_t i = 0; i < rounded; ++i) tag.block[i] = static_cast<unsigned char>(Byte(file, offset + i));
        profile.tags.push_back(std::move(tag));
    }
    return profile;
}

Bytes SaveModel(const ModelProfile& profile) {
    std::size_t offset = 132 + 12 * profile.tags.size();
    std::size_t total = offset;
    for (const ModelTag& tag : profile.tags) total += tag.block.size();
    test::ByteWriter out;
    out.Big32(static_cast<std::uint32_t>(total));
    for (std::size_t i = 4; i < 128; ++i) {
        const bool lost = (i >= 56 && i < 64) || i >= 100;  // attributes and the reserved bytes
        out.U8(lost ? 0U : profile.header[i]);
    }
    out.Big32(static_cast<std::uint32_t>(profile.tags.size()));
    for (const ModelTag& tag : profile.tags) {
        out.Big32(tag.name)
            .Big32(static_cast<std::uint32_t>(offset))
            .Big32(static_cast<std::uint32_t>(tag.block.size()));
        offset += tag.block.size();
    }
    for (const ModelTag& tag : profile.tags) out.Append(tag.block);
    return out.Done();
}

test::TagList TagsOf(const ModelProfile& profile) {
    test::TagList tags;
    for (const ModelTag& tag : profile.tags) tags.emplace_back(NameOf(tag.name), tag.block);
    return tags;
}

namespace {

bool IsOneOf(const std::string& name, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* each) { return name == each; });
}

/// The class that a name and the type at the block's start ask for.
const std::type_info& ClassOf(const std::string& name, const std::string& type) {
    const bool a2b = IsOneOf(name, {"A2B0", "A2B1", "A2B2"});
    if (a2b || IsOneOf(name, {"B2A0", "B2A1", "B2A2"})) {
        if (type == (a2b ? "mAB " : "mBA ")) return typeid(CLut);
        return type == "mft2" ? typeid(CLut16Type) : typeid(CLut8Type);
    }
    if (name == "chad") return typeid(CChad);
    if (IsOneOf(name, {"rXYZ", "gXYZ", "bXYZ", "wtpt", "bkpt"})) return typeid(CXYZType);
    if (IsOneOf(name, {"rTRC", "gTRC", "bTRC"})) return typeid(CCurveType);
    if (name == "desc") return typeid(CTextDescriptionType);
    if (name == "cprt") return typeid(CTextType);
    return type == "text" ? typeid(CTextDescriptionType) : typeid(CDataType);
}

void CheckText(const unsigned char* text, const Bytes& block) {
    for (std::size_t i = 8; i < block.size(); ++i) Require(text[i - 8] == block[i], "text");
}

/// The entries that fit of those that a curve's count announces, in the block and in `left` bytes.
std::uint64_t CurveEntries(const Bytes& block, std::uint64_t at, std::uint64_t left) {
    if (at + 12 > block.size()) return 0;
    return std::min({std::uint64_t{Word(block, at + 8)}, (block.size() - at - 12) / 2, left / 2});
}

void CheckCurve(const CCurveType& curve, const Bytes& block, std::uint64_t at, std::uint64_t left) {
    const std::uint64_t entries = CurveEntries(block, at, left);
    Require(curve.curveCount == entries, "entries of a curve");
    for (std::uint64_t i = 0; i < entries; ++i) {
        Require(curve.curve[i] == Half(block, at + 12 + 2 * i), "entry of a curve");
    }
}

/// The layout of "mft2", with entries of one or two bytes.
template <std::size_t kWidth, typename Lut>
void CheckTable(const Lut& lut, const Bytes& block) {
    Require(lut.inputChan == Byte(block, 8) && lut.outputChan == Byte(block, 9), "channels");
    Require(lut.clutPoints == Byte(block, 10) && lut.pad == Byte(block, 11), "points");
    for (std::size_t i = 0; i < 9; ++i) Require(lut.matrix[i] == Word(block, 12 + 4 * i), "matrix");
    Require(lut.inputEnt == Half(block, 48) && lut.outputEnt == Half(block, 50), "entries");
    const std::uint64_t points = lut.clutPoints;
    const std::uint64_t counts[3] = {std::uint64_t{lut.inputEnt} * lut.inputChan,
                                     points * points * points * lut.outputChan,
                                     std::uint64_t{lut.outputEnt} * lut.outputChan};
    const auto* tables = &lut.inputTable;
    const bool fits = 52 + kWidth * (counts[0] + counts[1] + counts[2]) <= block.size();
    Require((lut.inputTable != nullptr) == fits && (lut.clutTable != nullptr) == fits, "tables");
    Require((lut.outputTable != nullptr) == fits, "tables");
    if (!fits) return;
    std::uint64_t at = 52;
    for (const auto* table : {tables, &lut.clutTable, &lut.outputTable}) {
        const std::uint64_t count = counts[table == tables ? 0 : table == &lut.clutTable ? 1 : 2];
        for (std::uint64_t i = 0; i < count; ++i, at += kWidth) {
            Require((*table)[i] == (kWidth == 2 ? Half(block, at) : Byte(block, at)), "entry of a table");
        }
        for (std::uint64_t i = count; i < count + 8; ++i) Require((*table)[i] == 0, "spare entry");
    }
}

void CheckGrid(const CLutGrid& grid, const Bytes& block, std::uint64_t at, unsigned inputs, unsigned outputs,
               std::uint64_t left) {
    for (std::size_t i = 0; i < 16; ++i) Require(grid.gridPoints[i] == Byte(block, at + i), "points of an axis");
    Require(grid.precision == Byte(block, at + 16), "precision");
    // Stopped where no block goes, long before 64 bits are full.
    std::uint64_t bytes = std::uint64_t{grid.precision} * outputs;
    bool empty = bytes == 0;
    for (unsigned axis = 0; axis < std::min(inputs, 16U); ++axis) {
        empty = empty || Byte(block, at + axis) == 0;
        bytes = std::min(bytes * Byte(block, at + axis), std::uint64_t{1} << 40);
    }
    if (empty) {
        // An axis without points: whether there is an array of no bytes depends on the axes before it.
        Require(grid.gridBytes == 0, "bytes of an empty grid");
        return;
    }
    const bool fits = bytes <= left && bytes <= block.size() && at + 20 <= block.size() - bytes;
    Require((grid.gridData != nullptr) == fits, "grid");
    Require(grid.gridBytes == (fits ? bytes : 0), "bytes of a grid");
    for (std::uint64_t i = 0; i < grid.gridBytes; ++i) {
        if (grid.precision != 2) {
            Require(grid.gridData[i] == block[at + 20 + i], "byte of a grid");
        } else if (i % 2 == 0) {
            std::uint16_t value;
            std::memcpy(&value, &grid.gridData[i], 2);
            Require(value == Half(block, at + 20 + i), "value of a grid");
        }
    }
}

/// A set of curves; what its entries take is gone from `left`.
template <std::size_t kRoom>
void CheckCurves(const std::array<std::unique_ptr<CCurveType>, kRoom>& curves, const Bytes& block, std::uint64_t at,
                 unsigned count, std::uint64_t& left) {
    for (std::size_t i = 0; i < kRoom; ++i) {
        const bool read = at != 0 && i < count;
        Require((curves[i] != nullptr) == read, "which curves are there");
        if (!read) continue;
        CheckCurve(*curves[i], block, at, left);
        const std::uint64_t entries = CurveEntries(block, at, left);
        at += 2 * entries + 14;
        left -= 2 * entries;
    }
}

void CheckCurved(const CLut& lut, std::uint32_t name, const Bytes& block) {
    const bool a2b = name >> 8 == 0x413242;
    const unsigned in = Byte(block, 8), out = Byte(block, 9);
    Require(lut.inputChan == in && lut.outputChan == out, "channels");
    Require(lut.bCurveOffset == Word(block, 12) && lut.matrixOffset == Word(block, 16), "offsets");
    Require(lut.mCurveOffset == Word(block, 20) && lut.clutOffset == Word(block, 24), "offsets");
    Require(lut.aCurveOffset == Word(block, 28), "offsets");
    // Parts may share their bytes, but not more than threefold.
    std::uint64_t left = 3 * block.size();
    CheckCurves(lut.bCurves, block, lut.bCurveOffset, a2b ? out : in, left);
    Require((lut.mCurve != nullptr) == (lut.mCurveOffset != 0), "M curve");
    if (lut.mCurve != nullptr) {
        CheckCurve(*lut.mCurve, block, lut.mCurveOffset, left);
        left -= 2 * CurveEntries(block, lut.mCurveOffset, left);
    }
    Require((lut.clut != nullptr) == (lut.clutOffset != 0), "grid");
    if (lut.clut != nullptr) {
        CheckGrid(*lut.clut, block, lut.clutOffset, in, out, left);
        left -= lut.clut->gridBytes;
    }
    CheckCurves(lut.aCurves, block, lut.aCurveOffset, a2b ? in : out, left);
}

}  // namespace

void CheckTag(const iccTagBase& tag, std::uint32_t name, const Bytes& block) {
    Require(tag.tagSig == name, "name");
    Require(tag.tagSize == block.size(), "size");
    Require(tag.sig == Word(block, 0), "type");
    for (std::size_t i = 0; i < block.size(); ++i) Require(tag.tagData[i] == block[i], "block");
    Require(typeid(tag) == ClassOf(NameOf(name), NameOf(Word(block, 0))), "class");
    if (const auto* text = dynamic_cast<const CTextType*>(&tag)) CheckText(text->text.get(), block);
    if (const auto* text = dynamic_cast<const CTextDescriptionType*>(&tag)) {
        Require(text->textLength == (block.size() > 8 ? block.size() - 8 : 0), "length of a text");
        CheckText(text->text.get(), block);
    }
    if (const auto* xyz = dynamic_cast<const CXYZType*>(&tag)) {
        for (std::size_t i = 0; i < 3; ++i) {
            Require(xyz->rawXYZ[i] == Word(block, 8 + 4 * i), "word");
            Require(xyz->XYZ[i] == Word(block, 8 + 4 * i) / 65536.0, "value");
        }
    }
    if (const auto* chad = dynamic_cast<const CChad*>(&tag)) {
        for (std::size_t i = 0; i < 9; ++i) Require(chad->chad[i] == Word(block, 8 + 4 * i) / 65536.0, "value");
    }
    if (const auto* curve = dynamic_cast<const CCurveType*>(&tag)) CheckCurve(*curve, block, 0, block.size());
    if (const auto* lut = dynamic_cast<const CLut16Type*>(&tag)) CheckTable<2>(*lut, block);
    if (const auto* lut = dynamic_cast<const CLut8Type*>(&tag)) CheckTable<1>(*lut, block);
    if (const auto* lut = dynamic_cast<const CLut*>(&tag)) CheckCurved(*lut, name, block);
}

namespace {

void CheckHeader(const ProfileHeader& header, const Bytes& bytes) {
    const std::uint32_t words[] = {
        header.profileSize,   header.cmmType,       header.profileVersion, header.deviceClass,
        header.colorSpace,    header.pcs,           header.magic,          header.platform,
        header.profileFlags,  header.manufacturer,  header.model,          header.renderingIntent,
        header.illuminant[0], header.illuminant[1], header.illuminant[2],  header.creator};
    const std::uint64_t places[] = {0, 4, 8, 12, 16, 20, 36, 40, 44, 48, 52, 64, 68, 72, 76, 80};
    for (std::size_t i = 0; i < 16; ++i) Require(words[i] == Word(bytes, places[i]), "word of the header");
    for (std::size_t i = 0; i < 6; ++i) Require(header.dateTime[i] == Half(bytes, 24 + 2 * i), "date");
    for (std::size_t i = 0; i < 8; ++i) Require(header.attributes[i] == bytes[56 + i], "attributes");
    for (std::size_t i = 0; i < 16; ++i) Require(header.profileId[i] == bytes[84 + i], "identity");
    for (std::size_t i = 0; i < 28; ++i) Require(header.headerReserved[i] == bytes[100 + i], "reserved bytes");
}

}  // namespace

void CheckProfile(const IccFile4& file, const ModelProfile& model) {
    CheckHeader(file.header, model.header);
    Require(file.tagList.size() == model.tags.size(), "number of tags");
    for (std::size_t i = 0; i < model.tags.size(); ++i) {
        CheckTag(*file.tagList[i], model.tags[i].name, model.tags[i].block);
        const auto first = std::find_if(model.tags.begin(), model.tags.end(),
                                        [&](const ModelTag& tag) { return tag.name == model.tags[i].name; });
        const auto place = static_cast<std::size_t>(first - model.tags.begin());
        Require(file.GetTag(static_cast<icTagSignature>(model.tags[i].name)) == file.tagList[place].get(),
                "the first tag of a name");
        if (i > 200) break;  // enough of a thousand alike
    }
}

}  // namespace hueweave::fuzz
