// SPDX-License-Identifier: MIT
#include "IccModel.h"

#include <typeinfo>

#include "iccfile/LutTags.h"

namespace hueweave::fuzz {

using namespace ICC40::ICCFILE;

void CheckEntries(const CCurveType& curve, const Bytes& block, std::uint64_t at, std::uint64_t count) {
    Require(curve.curveCount == count, "entries of a curve");
    for (std::uint64_t i = 0; i < count; ++i) {
        Require(curve.curve[i] == Big16At(block, at + 12 + 2 * i), "entry of a curve");
    }
}

namespace {

/// The class for a tag name and the type at the start of its block.
const std::type_info& ClassOf(const std::string& name, const std::string& type) {
    const auto isOneOf = [&](std::initializer_list<const char*> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    const bool a2b = isOneOf({"A2B0", "A2B1", "A2B2"});
    if (a2b || isOneOf({"B2A0", "B2A1", "B2A2"})) {
        if (type == (a2b ? "mAB " : "mBA ")) return typeid(CLut);
        return type == "mft2" ? typeid(CLut16Type) : typeid(CLut8Type);
    }
    if (name == "chad") return typeid(CChad);
    if (isOneOf({"rXYZ", "gXYZ", "bXYZ", "wtpt", "bkpt"})) return typeid(CXYZType);
    if (isOneOf({"rTRC", "gTRC", "bTRC"})) return typeid(CCurveType);
    if (name == "desc") return typeid(CTextDescriptionType);
    if (name == "cprt") return typeid(CTextType);
    return type == "text" ? typeid(CTextDescriptionType) : typeid(CDataType);
}

/// A curve must have as many of its announced entries as fit in the block and in `left`, a number of bytes that is
/// reduced by theirs. Returns their bytes.
std::uint64_t CheckCurve(const CCurveType& curve, const Bytes& block, std::uint64_t at, std::uint64_t& left) {
    const std::uint64_t room = at + 12 > block.size() ? 0 : (block.size() - at - 12) / 2;
    const std::uint64_t count = std::min({std::uint64_t{Big32At(block, at + 8)}, room, left / 2});
    CheckEntries(curve, block, at, count);
    left -= 2 * count;
    return 2 * count;
}

/// The layout of "mft2", with entries of one or two bytes.
template <std::size_t kWidth, typename Lut>
void CheckTable(const Lut& lut, const Bytes& block) {
    Require(lut.inputChan == ByteAt(block, 8) && lut.outputChan == ByteAt(block, 9), "channels");
    Require(lut.clutPoints == ByteAt(block, 10) && lut.pad == ByteAt(block, 11), "points");
    for (std::size_t i = 0; i < 9; ++i) Require(lut.matrix[i] == Big32At(block, 12 + 4 * i), "matrix");
    Require(lut.inputEnt == Big16At(block, 48) && lut.outputEnt == Big16At(block, 50), "entries");
    const std::uint64_t points = lut.clutPoints;
    const decltype(&lut.inputTable) tables[] = {&lut.inputTable, &lut.clutTable, &lut.outputTable};
    const std::uint64_t counts[] = {std::uint64_t{lut.inputEnt} * lut.inputChan,
                                    points * points * points * lut.outputChan,
                                    std::uint64_t{lut.outputEnt} * lut.outputChan};
    const bool fits = 52 + kWidth * (counts[0] + counts[1] + counts[2]) <= block.size();
    std::uint64_t at = 52;
    for (std::size_t n = 0; n < 3; ++n) {
        const auto& table = *tables[n];
        Require((table != nullptr) == fits, "tables");
        for (std::uint64_t i = 0; fits && i < counts[n] + 8; ++i) {  // eight extra entries
            const std::uint64_t place = at + kWidth * i;
            const unsigned entry = kWidth == 2 ? Big16At(block, place) : ByteAt(block, place);
            Require(table[i] == (i < counts[n] ? entry : 0), "entry of a table");
        }
        at += kWidth * counts[n];
    }
}

void CheckGrid(const CLutGrid& grid, const Bytes& block, std::uint64_t at, unsigned inputs, unsigned outputs,
               std::uint64_t& left) {
    for (std::size_t i = 0; i < 16; ++i) Require(grid.gridPoints[i] == ByteAt(block, at + i), "points of an axis");
    Require(grid.precision == ByteAt(block, at + 16), "precision");
    // Limited to a size that no block has, far below the range of 64 bits.
    std::uint64_t bytes = std::uint64_t{grid.precision} * outputs;
    for (unsigned axis = 0; axis < std::min(inputs, 16U); ++axis) {
        bytes = std::min(bytes * ByteAt(block, at + axis), std::uint64_t{1} << 40);
    }
    const bool fits = bytes <= left && bytes <= block.size() && at + 20 <= block.size() - bytes;
    Require(grid.gridBytes == (fits ? bytes : 0), "bytes of a grid");
    // If an axis has no points, the axes before it determine whether there is an empty array.
    Require(bytes == 0 || (grid.gridData != nullptr) == fits, "grid");
    left -= grid.gridBytes;
    for (std::uint64_t i = 0; i < grid.gridBytes; ++i) {
        if (grid.precision != 2) {
            Require(grid.gridData[i] == block[at + 20 + i], "byte of a grid");
        } else if (i % 2 == 0) {
            std::uint16_t value;
            std::memcpy(&value, &grid.gridData[i], 2);
            Require(value == Big16At(block, at + 20 + i), "value of a grid");
        }
    }
}

/// A set of curves.
template <typename Curves>
void CheckCurves(const Curves& curves, const Bytes& block, std::uint64_t at, unsigned count, std::uint64_t& left) {
    const bool read = at != 0;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        Require((curves[i] != nullptr) == (read && i < count), "which curves are there");
        if (curves[i] != nullptr) at += CheckCurve(*curves[i], block, at, left) + 14;
    }
}

void CheckCurved(const CLut& lut, const std::string& name, const Bytes& block) {
    const bool a2b = name.starts_with("A2B");
    const unsigned in = ByteAt(block, 8), out = ByteAt(block, 9);
    Require(lut.inputChan == in && lut.outputChan == out, "channels");
    const std::uint32_t offsets[] = {lut.bCurveOffset, lut.matrixOffset, lut.mCurveOffset, lut.clutOffset,
                                     lut.aCurveOffset};
    for (std::size_t i = 0; i < 5; ++i) Require(offsets[i] == Big32At(block, 12 + 4 * i), "offsets");
    // Parts may overlap; together they take at most three times the size of the block.
    std::uint64_t left = 3 * block.size();
    CheckCurves(lut.bCurves, block, lut.bCurveOffset, a2b ? out : in, left);
    Require((lut.mCurve != nullptr) == (lut.mCurveOffset != 0), "M curve");
    if (lut.mCurve != nullptr) CheckCurve(*lut.mCurve, block, lut.mCurveOffset, left);
    Require((lut.clut != nullptr) == (lut.clutOffset != 0), "grid");
    if (lut.clut != nullptr) CheckGrid(*lut.clut, block, lut.clutOffset, in, out, left);
    CheckCurves(lut.aCurves, block, lut.aCurveOffset, a2b ? in : out, left);
}

}  // namespace

void CheckTag(const iccTagBase& tag, const std::string& name, const Bytes& block) {
    Require(test::SignatureText(tag.tagSig) == name, "name");
    Require(tag.tagSize == block.size(), "size");
    Require(tag.sig == Big32At(block, 0), "type");
    for (std::size_t i = 0; i < block.size(); ++i) Require(tag.tagData[i] == block[i], "block");
    Require(typeid(tag) == ClassOf(name, test::SignatureText(Big32At(block, 0))), "class");
    const std::size_t length = std::max<std::size_t>(block.size(), 8) - 8;
    const unsigned char* characters = block.data() + block.size() - length;
    if (const auto* text = dynamic_cast<const CTextType*>(&tag)) {
        Require(std::equal(characters, characters + length, text->text.get()), "text");
    }
    if (const auto* text = dynamic_cast<const CTextDescriptionType*>(&tag)) {
        Require(text->textLength == length, "length of a text");
        Require(std::equal(characters, characters + length, text->text.get()), "text");
    }
    if (const auto* xyz = dynamic_cast<const CXYZType*>(&tag)) {
        for (std::size_t i = 0; i < 3; ++i) {
            Require(xyz->rawXYZ[i] == Big32At(block, 8 + 4 * i), "word");
            Require(xyz->XYZ[i] == Big32At(block, 8 + 4 * i) / 65536.0, "value");
        }
    }
    if (const auto* chad = dynamic_cast<const CChad*>(&tag)) {
        for (std::size_t i = 0; i < 9; ++i) Require(chad->chad[i] == Big32At(block, 8 + 4 * i) / 65536.0, "value");
    }
    std::uint64_t left = block.size();
    if (const auto* curve = dynamic_cast<const CCurveType*>(&tag)) CheckCurve(*curve, block, 0, left);
    if (const auto* lut = dynamic_cast<const CLut16Type*>(&tag)) CheckTable<2>(*lut, block);
    if (const auto* lut = dynamic_cast<const CLut8Type*>(&tag)) CheckTable<1>(*lut, block);
    if (const auto* lut = dynamic_cast<const CLut*>(&tag)) CheckCurved(*lut, name, block);
}

}  // namespace hueweave::fuzz
