// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Mutations of tag blocks without a file around them.
#include <algorithm>
#include <cstring>
#include <vector>

#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kInputs = 8, kOutputs = 9, kPoints = 10, kInputEntries = 48, kOutputEntries = 50, kTables = 52;
constexpr std::size_t kCurveCount = 8, kCurveHead = 12;
constexpr std::size_t kOffsets[] = {12, 16, 20, 24, 28};  // B curves, matrix, M curves, grid, A curves
constexpr std::size_t kGridOffset = 24, kPrecision = 16, kGridHead = 20;

/// A number in a block, and its greatest ordinary value.
struct Field {
    std::size_t at, width;
    std::uint64_t limit;
};

void Change(const Block& block, const Field& field) {
    const std::uint32_t value = block.Edge(std::min<std::uint64_t>(field.limit, 0xfffffffeU));
    // Limits in the upper half of the 32-bit range are scaled to the width of a narrower field.
    block.Put(field.at, field.width, value >= 0x80000000U ? value >> (32 - 8 * field.width) : value);
}

std::uint64_t Room(const Block& block, std::size_t head, std::size_t itemBytes) {
    return block.size > head ? (block.size - head) / itemBytes : 0;
}

bool Is(const Block& block, const char* type) { return block.size >= 4 && std::memcmp(block.data, type, 4) == 0; }

/// How many entries each of `rows` rows can have in the space that other values leave.
std::uint64_t Fitting(std::uint64_t room, std::uint64_t taken, std::uint64_t rows) {
    return rows == 0 || room <= taken ? 0 : (room - taken) / rows;
}

/// Three tables, 8-bit or 16-bit.
struct TableShape {
    explicit TableShape(const Block& block)
        : itemBytes(Is(block, "mft1") ? 1 : 2),
          inputs(block.Get(kInputs, 1)),
          outputs(block.Get(kOutputs, 1)),
          points(block.Get(kPoints, 1)),
          inputEntries(itemBytes == 1 ? 256 : block.Get(kInputEntries, 2)),
          outputEntries(itemBytes == 1 ? 256 : block.Get(kOutputEntries, 2)) {}
    std::uint64_t Input() const { return inputs * inputEntries; }
    std::uint64_t Grid() const { return points * points * points * outputs; }
    std::uint64_t Output() const { return outputs * outputEntries; }
    std::uint64_t Bytes() const { return kTables + itemBytes * (Input() + Grid() + Output()); }

    std::uint64_t itemBytes, inputs, outputs, points, inputEntries, outputEntries;
};

/// The limits of the units, and the counts that just fit in the block.
std::vector<Field> TableFields(const Block& block) {
    const TableShape shape(block);
    const std::uint64_t room = Room(block, kTables, shape.itemBytes);
    TableShape larger = shape;
    for (larger.points = 0; larger.points < 256 && larger.Bytes() <= block.size;) ++larger.points;
    return {{kInputs, 1, 3},
            {kOutputs, 1, 7},
            {kPoints, 1, 33},
            {kInputEntries, 2, 4096},
            {kOutputEntries, 2, 4096},
            {kInputs, 1, Fitting(room, shape.Grid() + shape.Output(), shape.inputEntries)},
            {kPoints, 1, std::max<std::uint64_t>(larger.points, 1) - 1},
            {kInputEntries, 2, Fitting(room, shape.Grid() + shape.Output(), shape.inputs)},
            {kOutputEntries, 2, Fitting(room, shape.Grid() + shape.Input(), shape.outputs)}};
}

/// The counts of a set of curves; each curve follows the one before it.
void AddCurves(const Block& block, std::size_t place, std::uint64_t curves, std::vector<Field>& fields) {
    std::size_t at = block.Get(place, 4);
    const std::uint64_t first = block.Get(at + kCurveCount, 4);
    for (std::uint64_t n = 0; n < curves && at + kCurveHead <= block.size; ++n) {
        fields.push_back({at + kCurveCount, 4, Room(block, at + kCurveHead, 2)});
        if (n > 0) fields.push_back({at + kCurveCount, 4, first});
        at += 2 * block.Get(at + kCurveCount, 4) + 14;
    }
}

/// The precision of a grid and its points: the limits of the units, and the counts that the block has bytes for.
void AddGrid(const Block& block, std::vector<Field>& fields) {
    const std::size_t grid = block.Get(kGridOffset, 4);
    if (grid + kGridHead > block.size) return;
    fields.push_back({grid + kPrecision, 1, 2});
    const std::uint64_t axes = std::min<std::uint64_t>(block.Get(kInputs, 1), 16);
    std::uint64_t bytes = block.Get(grid + kPrecision, 1) * block.Get(kOutputs, 1);
    for (std::uint64_t axis = 0; axis < axes && bytes < 0xffffffffU; ++axis) bytes *= block.Get(grid + axis, 1);
    for (std::uint64_t axis = 0; axis < axes; ++axis) {
        const std::uint64_t each = bytes / std::max<std::uint64_t>(block.Get(grid + axis, 1), 1);
        fields.push_back({grid + axis, 1, 33});
        fields.push_back({grid + axis, 1, std::min<std::uint64_t>(Fitting(block.size - grid, kGridHead, each), 255)});
    }
}

/// Curves and a grid: offsets, channels, counts, points and precision.
std::vector<Field> CurvedFields(const Block& block) {
    std::vector<Field> fields{{kInputs, 1, 3}, {kOutputs, 1, 7}, {kOutputs, 1, 3}, {kInputs, 1, 16}};
    for (const std::size_t place : kOffsets) fields.push_back({place, 4, block.size});
    const std::uint64_t most = std::max(block.Get(kInputs, 1), block.Get(kOutputs, 1));
    AddCurves(block, kOffsets[0], most, fields);
    AddCurves(block, kOffsets[4], most, fields);
    AddGrid(block, fields);
    return fields;
}

/// Lengthens or shortens the block at the end: to `wanted` bytes, one less or one more.
void ResizeTo(Block& block, std::uint64_t wanted) {
    const std::size_t size = wanted + block.scatter.Below(3), target = size > 0 ? size - 1 : 0;
    target > block.size ? block.Stretch(block.size, target - block.size) : block.Shorten(target, block.size - target);
}

/// Inserts or removes a few bytes in the middle; the offsets of what follows are updated.
void MoveParts(Block& block) {
    const std::size_t at = block.scatter.Below(block.size + 1), change = block.Move(at, 6);
    for (const std::size_t place : kOffsets) {
        const std::size_t offset = block.Get(place, 4);
        if (offset > at) block.Put(place, 4, offset + change);
    }
}

}  // namespace

void MutateCurvedTag(Block& block) {
    const std::size_t how = block.scatter.Below(8);
    if (how == 0) {
        MoveParts(block);
    } else if (how == 1) {
        ResizeTo(block, block.Get(block.AnyOf(kOffsets), 4));
    } else {
        Change(block, block.AnyOf(CurvedFields(block)));
    }
}

void MutateTag(Block& block) {
    static constexpr const char* kTypes[] = {"mft2", "mft1", "mAB ", "mBA ", "curv",
                                             "para", "XYZ ", "text", "desc", "sf32"};
    static constexpr std::size_t kNeeds[] = {0, 8, kCurveHead, 20, 44};  // for texts, colours and matrices
    const std::size_t how = block.scatter.Below(8);
    const bool table = Is(block, "mft2") || Is(block, "mft1");
    if (how == 0 && block.size >= 4) {
        std::memcpy(block.data, block.AnyOf(kTypes), 4);
    } else if (Is(block, "mAB ") || Is(block, "mBA ")) {
        MutateCurvedTag(block);
    } else if (table && how > 1) {
        Change(block, block.AnyOf(TableFields(block)));
    } else if (table || how < 4) {
        ResizeTo(block, table ? TableShape(block).Bytes() : block.AnyOf(kNeeds));
    } else {
        Change(block, {kCurveCount, 4, Room(block, kCurveHead, 2)});
    }
}

}  // namespace hueweave::fuzz
