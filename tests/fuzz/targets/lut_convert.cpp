// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A table of curves and a grid, converted into the form that the units take, beside what its own fields say.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "FuzzInput.h"
#include "IccModel.h"
#include "Mutation.h"
#include "iccfile/LutTags.h"

using namespace hueweave::fuzz;
using namespace ICC40::ICCFILE;

namespace {

using Curves = std::vector<const CCurveType*>;

template <std::size_t kRoom>
Curves Present(const std::array<std::unique_ptr<CCurveType>, kRoom>& room) {
    Curves curves;
    for (const auto& curve : room) curves.push_back(curve.get());
    return curves;
}

/// Whether a side has `count` curves, none with fewer entries than the first.
bool Complete(const Curves& curves, std::size_t count) {
    if (count < 1 || count > curves.size()) return false;
    for (std::size_t i = 0; i < count; ++i) {
        if (curves[i] == nullptr || curves[i]->curveCount < (curves[0]->curveCount & 0xffffU)) return false;
    }
    return true;
}

std::uint64_t Nodes(std::uint64_t points, unsigned axes) {
    std::uint64_t nodes = 1;
    for (unsigned i = 0; i < axes && nodes <= 0xffffffffU; ++i) nodes *= points;
    return nodes;
}

void CheckSide(const std::uint16_t* table, const Curves& curves, std::size_t count, std::size_t entries) {
    for (std::size_t c = 0; c < count; ++c) {
        for (std::size_t i = 0; i < entries; ++i) {
            Require(table[c * entries + i] == curves[c]->curve[i], "entry of a side");
        }
    }
}

void CheckConverted(const CLut16Type& lut, const CLut& source, bool a2b) {
    Require(lut.inputChan == source.inputChan && lut.outputChan == source.outputChan, "channels");
    Require(lut.tagSize == 0 && lut.reserved == 0 && lut.matrix == std::array<std::uint32_t, 9>{}, "cleared fields");
    const Curves input = a2b ? Present(source.aCurves) : Present(source.bCurves);
    const Curves output = a2b ? Present(source.bCurves) : Present(source.aCurves);
    const std::uint64_t points = source.clut == nullptr ? 0 : source.clut->gridPoints[0];
    const std::uint64_t nodes = Nodes(points, source.inputChan), values = nodes * source.outputChan;
    const bool possible = source.clut != nullptr && source.clut->precision == 2 && source.clut->gridData != nullptr &&
                          Complete(input, source.inputChan) && Complete(output, source.outputChan) &&
                          2 * values <= source.clut->gridBytes;
    Require((lut.inputTable != nullptr) == possible && (lut.outputTable != nullptr) == possible, "curves");
    Require((lut.clutTable != nullptr) == possible, "grid");
    if (!possible) {
        Require(!lut.Usable(), "a table that is not there cannot be used");
        return;
    }
    Require(lut.clutPoints == points, "points");
    Require(lut.inputEnt == (input[0]->curveCount & 0xffffU), "entries of the input side");
    Require(lut.outputEnt == (output[0]->curveCount & 0xffffU), "entries of the output side");
    CheckSide(lut.inputTable.get(), input, lut.inputChan, lut.inputEnt);
    CheckSide(lut.outputTable.get(), output, lut.outputChan, lut.outputEnt);
    // The units walk a cube, of 33 points an axis at the most.
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

HUEWEAVE_FUZZ_MUTATOR(1, MutateCurvedBlock);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const bool a2b = input.Bool();
    Bytes block = input.Rest();
    block.shrink_to_fit();
    CLut source;
    const auto name = a2b ? ICC40::ICC4_HEADER::TagName("A2B0") : ICC40::ICC4_HEADER::TagName("B2A0");
    Require(source.Initial(name, block.data(), static_cast<int>(block.size())) == block.size(), "bytes taken");
    const HeapWatch heap;
    const CLut16Type lut(&source);
    // A cube of 33 points, where the grid of the block may have one axis alone.
    Require(heap.Peak() <= 4 * size + 2 * std::size_t{33 * 33 * 33} * 7 + 4096, "heap of a conversion");
    CheckConverted(lut, source, a2b);
    const CLut16Type none(nullptr);
    Require(!none.Usable() && none.inputTable == nullptr, "no source");
    return 0;
}
