// SPDX-License-Identifier: MIT
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

/// The limits of the units for three tables.
constexpr Field kTableFields[] = {
    {kInputs, 1, 3}, {kOutputs, 1, 7}, {kPoints, 1, 33}, {kInputEntries, 2, 4096}, {kOutputEntries, 2, 4096}};

void Change(const Block& block, const Field& field) {
    const std::uint32_t value = block.Edge(std::min<std::uint64_t>(field.limit, 0xfffffffeU));
    // Limits in the upper half of the 32-bit range are scaled to the width of a narrower field.
    block.Put(field.at, field.width, value >= 0x80000000U ? value >> (32 - 8 * field.width) : value);
}

/// The entries that fit between the start of a curve and the end of the block.
std::uint64_t CurveRoom(const Block& block, std::size_t at) {
    return block.size > at + kCurveHead ? (block.size - at - kCurveHead) / 2 : 0;
}

bool Is(const Block& block, const char* type) { return block.size >= 4 && std::memcmp(block.data, type, 4) == 0; }

/// The size that a block of three tables needs, with entries of one or two bytes.
std::uint64_t TableBytes(const Block& block) {
    const bool narrow = Is(block, "mft1");
    const auto entries = [&](std::size_t at) { return narrow ? 256 : block.Get(at, 2); };
    const std::uint64_t points = block.Get(kPoints, 1), outputs = block.Get(kOutputs, 1);
    const std::uint64_t values = block.Get(kInputs, 1) * entries(kInputEntries) + points * points * points * outputs +
                                 outputs * entries(kOutputEntries);
    return kTables + (narrow ? 1 : 2) * values;
}

/// The end of a grid; stops at a size that no block has.
std::uint64_t GridEnd(const Block& block) {
    const std::size_t grid = block.Get(kGridOffset, 4);
    std::uint64_t bytes = block.Get(grid + kPrecision, 1) * block.Get(kOutputs, 1);
    for (std::uint64_t axis = 0; axis < std::min<std::uint64_t>(block.Get(kInputs, 1), 16); ++axis) {
        bytes = std::min<std::uint64_t>(bytes * block.Get(grid + axis, 1), 0xffffffffU);
    }
    return grid + kGridHead + bytes;
}

/// Curves and a grid: offsets, channels, counts, points and precision, with the limits of the units.
std::vector<Field> CurvedFields(const Block& block) {
    std::vector<Field> fields{{kInputs, 1, 3}, {kOutputs, 1, 7}, {kOutputs, 1, 3}, {kInputs, 1, 16}};
    for (const std::size_t place : kOffsets) fields.push_back({place, 4, block.size});
    const std::uint64_t inputs = block.Get(kInputs, 1), most = std::max(inputs, block.Get(kOutputs, 1));
    for (const std::size_t place : {kOffsets[0], kOffsets[4]}) {
        // Each curve follows the one before it.
        std::size_t at = block.Get(place, 4);
        const std::uint64_t first = block.Get(at + kCurveCount, 4);
        for (std::uint64_t n = 0; n < most && at + kCurveHead <= block.size; ++n) {
            fields.push_back({at + kCurveCount, 4, n == 0 || block.OneIn(2) ? CurveRoom(block, at) : first});
            at += 2 * block.Get(at + kCurveCount, 4) + 14;
        }
    }
    const std::size_t grid = block.Get(kGridOffset, 4);
    fields.push_back({grid + kPrecision, 1, 2});
    for (std::uint64_t axis = 0; axis < std::min<std::uint64_t>(inputs, 16); ++axis) {
        fields.push_back({grid + axis, 1, 33});
    }
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

void ChangeCurved(Block& block) {
    const std::size_t how = block.scatter.Below(8);
    if (how == 0) {
        MoveParts(block);
    } else if (how == 1) {
        ResizeTo(block, block.OneIn(2) ? GridEnd(block) : block.Get(block.AnyOf(kOffsets), 4));
    } else {
        Change(block, block.AnyOf(CurvedFields(block)));
    }
}

}  // namespace

void MutateTag(Block& block) {
    static constexpr const char* kTypes[] = {"mft2", "mft1", "mAB ", "mBA ", "curv",
                                             "para", "XYZ ", "text", "desc", "sf32"};
    static constexpr std::size_t kNeeds[] = {0, 8, kCurveHead, 20, 44};  // for texts, colours and matrices
    const std::size_t how = block.scatter.Below(8);
    const bool table = Is(block, "mft2") || Is(block, "mft1");
    if (how == 0 && block.size >= 4) {
        std::memcpy(block.data, block.AnyOf(kTypes), 4);
    } else if (Is(block, "mAB ") || Is(block, "mBA ")) {
        ChangeCurved(block);
    } else if (table && how > 1) {
        Change(block, block.AnyOf(kTableFields));
    } else if (table || how < 4) {
        ResizeTo(block, table ? TableBytes(block) : block.AnyOf(kNeeds));
    } else {
        Change(block, {kCurveCount, 4, CurveRoom(block, 0)});
    }
}

}  // namespace hueweave::fuzz
