// SPDX-License-Identifier: MIT
#include "iccfile/LutTags.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "iccfile/TagReader.h"

namespace ICC40::ICCFILE {
namespace {

// The layout of an "mft2" block, which is also assumed for any other type in a LUT tag.
constexpr std::uint64_t kMatrix = 12;
constexpr std::uint64_t kInputEntries = 48;
constexpr std::uint64_t kOutputEntries = 50;
constexpr std::uint64_t kTables = 52;
constexpr int kMostPoints = 33;    ///< per axis, for grids that the units support
constexpr std::size_t kSpare = 8;  ///< unused entries after each table

std::uint64_t Cube(std::uint64_t points) { return points * points * points; }

/// Reads `count` entries from `at` on and advances `at`.
template <typename Entry>
std::unique_ptr<Entry[]> TakeTable(const TagReader& block, std::uint64_t& at, std::uint64_t count) {
    auto table = std::make_unique<Entry[]>(count + kSpare);
    for (std::uint64_t i = 0; i < count; ++i, at += sizeof(Entry)) {
        if constexpr (sizeof(Entry) == 2) {
            table[i] = block.U16(at);
        } else {
            table[i] = block.U8(at);
        }
    }
    return table;
}

/// Common part of `CLut16Type` and `CLut8Type`.
template <typename Entry, typename Lut>
void Decode(Lut& lut, const TagReader& block) {
    lut.inputChan = block.U8(8);
    lut.outputChan = block.U8(9);
    lut.clutPoints = block.U8(10);
    lut.pad = block.U8(11);
    for (std::size_t i = 0; i < lut.matrix.size(); ++i) lut.matrix[i] = block.U32(kMatrix + 4 * i);
    lut.inputEnt = block.U16(kInputEntries);
    lut.outputEnt = block.U16(kOutputEntries);

    const std::uint64_t input = std::uint64_t{lut.inputEnt} * lut.inputChan;
    const std::uint64_t grid = Cube(lut.clutPoints) * lut.outputChan;  // Kept: always a cube, whatever `inputChan` is
    const std::uint64_t output = std::uint64_t{lut.outputEnt} * lut.outputChan;
    lut.inputTable.reset();
    lut.clutTable.reset();
    lut.outputTable.reset();
    // At most 255^3 * 255 entries plus the curves, so the sum does not overflow 64 bits.
    if (!block.Holds(kTables, (input + grid + output) * sizeof(Entry))) return;
    std::uint64_t at = kTables;
    lut.inputTable = TakeTable<Entry>(block, at, input);
    lut.clutTable = TakeTable<Entry>(block, at, grid);
    lut.outputTable = TakeTable<Entry>(block, at, output);
}

/// Whether all curves of one side exist and none is shorter than the first.
using Curves = std::span<const std::unique_ptr<CCurveType>>;
bool Complete(Curves room, std::size_t count) {
    if (count < 1 || count > room.size()) return false;
    return std::all_of(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count), [&](const auto& curve) {
        return curve != nullptr && room[0] != nullptr &&
               curve->curveCount >= static_cast<std::uint16_t>(room[0]->curveCount);
    });
}

/// The first `entries` entries of `count` curves, concatenated.
std::unique_ptr<std::uint16_t[]> Join(Curves curves, std::size_t count, std::uint16_t entries) {
    auto table = std::make_unique<std::uint16_t[]>(count * entries);
    for (std::size_t c = 0; c < count; ++c) std::copy_n(curves[c]->curve.get(), entries, &table[c * entries]);
    return table;
}

/// `base` to the power of `exponent`; stops at values larger than any grid.
std::uint64_t Power(std::uint64_t base, unsigned exponent) {
    constexpr std::uint64_t kBeyond = std::uint64_t{1} << 40;
    std::uint64_t value = 1;
    for (unsigned i = 0; i < exponent && value < kBeyond; ++i) value *= base;
    return value;
}

}  // namespace

unsigned CLut16Type::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    Decode<std::uint16_t>(*this, TagReader(data, size));
    return taken;
}

unsigned CLut8Type::Initial(icTagSignature tagName, unsigned char* data, int size) {
    const unsigned taken = iccTagBase::Initial(tagName, data, size);
    Decode<std::uint8_t>(*this, TagReader(data, size));
    return taken;
}

bool CLut16Type::Usable() const {
    return inputTable != nullptr && clutTable != nullptr && outputTable != nullptr && inputChan <= 3 &&
           outputChan <= 7 && clutPoints >= 2 && clutPoints <= kMostPoints && inputEnt <= 4096 && outputEnt <= 4096;
}

CLut16Type::CLut16Type(const CLut* source) {
    if (source == nullptr) return;
    sig = source->sig;
    tagSig = source->tagSig;
    inputChan = source->inputChan;
    outputChan = source->outputChan;
    if (source->clut == nullptr) return;
    const CLutGrid& grid = *source->clut;
    clutPoints = grid.gridPoints[0];  // all axes are assumed to be equal

    const bool a2b = IsA2B(tagSig);
    const Curves input = a2b ? Curves(source->aCurves) : Curves(source->bCurves);
    const Curves output = a2b ? Curves(source->bCurves) : Curves(source->aCurves);
    const std::uint64_t nodes = Power(clutPoints, inputChan);
    const std::uint64_t values = nodes * outputChan;
    if (!Complete(input, inputChan) || !Complete(output, outputChan) || grid.precision != 2 ||
        grid.gridData == nullptr || values * 2 > grid.gridBytes) {
        return;
    }
    inputEnt = static_cast<std::uint16_t>(input[0]->curveCount);
    outputEnt = static_cast<std::uint16_t>(output[0]->curveCount);
    inputTable = Join(input, inputChan, inputEnt);
    outputTable = Join(output, outputChan, outputEnt);
    // Kept: the power of `inputChan`, although the "mft2" layout always has a cube. The units use a cube, but only with
    // a supported number of points: a table with few inputs must not allocate a cube of 255 points.
    const std::uint64_t walked = clutPoints <= kMostPoints ? Cube(clutPoints) * outputChan : 0;
    clutTable = std::make_unique<std::uint16_t[]>(std::max(values, walked));
    std::memcpy(clutTable.get(), grid.gridData.get(), values * 2);
}

}  // namespace ICC40::ICCFILE
