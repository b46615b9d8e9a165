// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A table of curves and a grid, converted to the form for the units, compared with the table's own fields.
#include <algorithm>
#include <cstring>
#include <vector>

#include "FuzzInput.h"
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/LutTags.h"

namespace hueweave::fuzz {
namespace {

using namespace ICC40::ICCFILE;

/// One side's curves.
struct Side {
    template <typename Room>
    Side(const Room& room, std::size_t channels) : count(channels) {
        for (const auto& curve : room) curves.push_back(curve.get());
        if (curves[0] != nullptr) entries = curves[0]->curveCount & 0xffffU;
    }
    /// Whether all curves exist, and none has fewer entries than the first.
    bool Complete() const {
        if (count < 1 || count > curves.size()) return false;
        return std::all_of(curves.begin(), curves.begin() + static_cast<std::ptrdiff_t>(count),
                           [&](const CCurveType* curve) { return curve != nullptr && curve->curveCount >= entries; });
    }
    void Check(const std::uint16_t* table, std::size_t announced) const {
        Require(announced == entries, "entries of a side");
        for (std::size_t i = 0; i < count * entries; ++i) {
            Require(table[i] == curves[i / entries]->curve[i % entries], "entry of a side");
        }
    }
    std::vector<const CCurveType*> curves;
    std::size_t count, entries = 0;
};

void CheckConverted(const CLut16Type& lut, const CLut& source, bool a2b) {
    Require(lut.inputChan == source.inputChan && lut.outputChan == source.outputChan, "channels");
    Require(lut.tagSize == 0 && lut.reserved == 0 && lut.matrix == std::array<std::uint32_t, 9>{}, "cleared fields");
    const Side a(source.aCurves, a2b ? source.inputChan : source.outputChan);
    const Side b(source.bCurves, a2b ? source.outputChan : source.inputChan);
    const std::uint64_t points = source.clut == nullptr ? 0 : source.clut->gridPoints[0];
    std::uint64_t values = source.outputChan;
    for (unsigned axis = 0; axis < source.inputChan && values <= 0xffffffffU; ++axis) values *= points;
    const bool possible = source.clut != nullptr && source.clut->precision == 2 && source.clut->gridData != nullptr &&
                          a.Complete() && b.Complete() && 2 * values <= source.clut->gridBytes;
    Require((lut.inputTable != nullptr) == possible && (lut.outputTable != nullptr) == possible, "curves");
    Require((lut.clutTable != nullptr) == possible, "grid");
    if (!possible) {
        Require(!lut.Usable(), "a table that is not there cannot be used");
        return;
    }
    Require(lut.clutPoints == points, "points");
    (a2b ? a : b).Check(lut.inputTable.get(), lut.inputEnt);
    (a2b ? b : a).Check(lut.outputTable.get(), lut.outputEnt);
    // The units expect a cube of at most 33 points per axis.
    const std::uint64_t cube = points <= 33 ? points * points * points * lut.outputChan : 0;
    for (std::uint64_t i = 0; i < std::max(values, cube); ++i) {
        std::uint16_t value = 0;
        if (i < values) std::memcpy(&value, &source.clut->gridData[2 * i], 2);
        Require(lut.clutTable[i] == value, "value of the grid");
    }
    const bool usable = lut.inputChan <= 3 && lut.outputChan <= 7 && points >= 2 && points <= 33 &&
                        lut.inputEnt <= 4096 && lut.outputEnt <= 4096;
    Require(lut.Usable() == usable, "what can be used");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const bool a2b = input.Bool();
    Bytes block = input.Rest();
    CLut source;
    const auto name = a2b ? ICC40::ICC4_HEADER::TagName("A2B0") : ICC40::ICC4_HEADER::TagName("B2A0");
    Require(source.Initial(name, block.data(), static_cast<int>(block.size())) == block.size(), "bytes taken");
    const HeapWatch heap;
    const CLut16Type lut(&source);
    // A cube of 33 points, where the grid of the block may have only one axis.
    Require(heap.Peak() <= 4 * block.size() + 2 * std::size_t{33 * 33 * 33} * 7 + 4096, "heap of a conversion");
    CheckConverted(lut, source, a2b);
    const CLut16Type none(nullptr);
    Require(!none.Usable() && none.inputTable == nullptr, "no source");
}

HUEWEAVE_FUZZ_MUTATOR(1, MutateCurvedTag);

}  // namespace hueweave::fuzz
