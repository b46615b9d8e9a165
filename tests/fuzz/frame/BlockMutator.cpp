// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Blocks of tags that stand alone, without a file around them.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

#include "Mutation.h"
#include "base/ByteOrder.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kInputs = 8, kOutputs = 9, kPoints = 10, kInputEntries = 48, kOutputEntries = 50, kTables = 52;
constexpr std::size_t kCurveCount = 8, kCurveHead = 12;
constexpr std::size_t kOffsets[] = {12, 16, 20, 24, 28};  // B curves, matrix, M curves, grid, A curves
constexpr std::size_t kGridOffset = 24, kPrecision = 16, kGridHead = 20;

/// A number of a block, and the last one that is still like those below it.
struct Field {
    std::size_t at, width;
    std::uint64_t limit;
};

struct Block {
    std::uint8_t* data;
    std::size_t size;
    std::size_t maxSize;
    Scatter& scatter;

    std::uint64_t Read(std::size_t at, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width && at + i < size; ++i) value = value << 8 | data[at + i];
        return value;
    }
    void Write(const Field& field) {
        const auto limit = static_cast<std::uint32_t>(std::min<std::uint64_t>(field.limit, 0xfffffffeU));
        const std::uint32_t value = EdgeOf(limit, scatter);
        // The half and the end of 32 bits are those of a narrower field.
        const std::uint32_t fitting = value >= 0x80000000U ? value >> (32 - 8 * field.width) : value;
        for (std::size_t i = 0; i < field.width && field.at + i < size; ++i) {
            data[field.at + i] = static_cast<std::uint8_t>(fitting >> 8 * (field.width - 1 - i));
        }
    }
    std::uint64_t Room(std::size_t head, std::size_t itemBytes) const {
        return size > head ? (size - head) / itemBytes : 0;
    }
    bool Is(const char* type) const { return size >= 4 && std::memcmp(data, type, 4) == 0; }
};

/// The product of the points of `axes` axes, as far as a block can hold them.
std::uint64_t Nodes(std::uint64_t points, std::uint64_t axes) {
    std::uint64_t nodes = 1;
    for (std::uint64_t i = 0; i < axes && nodes < 0xffffffffU; ++i) nodes *= points;
    return nodes;
}

/// How many entries each of `rows` rows may have beside the values that others take.
std::uint64_t Fitting(std::uint64_t room, std::uint64_t taken, std::uint64_t rows) {
    return rows == 0 || room <= taken ? 0 : (room - taken) / rows;
}

struct TableShape {
    std::uint64_t inputs, outputs, points, inputEntries, outputEntries, itemBytes;
    std::uint64_t Grid() const { return points * points * points * outputs; }
    std::uint64_t Bytes() const {
        return kTables + itemBytes * (inputs * inputEntries + Grid() + outputs * outputEntries);
    }
};

TableShape ShapeOf(const Block& block) {
    const bool bytes = block.Is("mft1");
    return {block.Read(kInputs, 1),
            block.Read(kOutputs, 1),
            block.Read(kPoints, 1),
            bytes ? 256 : block.Read(kInputEntries, 2),
            bytes ? 256 : block.Read(kOutputEntries, 2),
            bytes ? 1U : 2U};
}

/// Three tables: what the units take at the most, and what just fits in the block.
std::vector<Field> TableFields(const Block& block) {
    const TableShape shape = ShapeOf(block);
    const std::uint64_t room = block.Room(kTables, shape.itemBytes);
    const std::uint64_t inputs = shape.inputs * shape.inputEntries, outputs = shape.outputs * shape.outputEntries;
    std::uint64_t points = 0;
    while (points < 255 && Nodes(points + 1, 3) * shape.outputs + inputs + outputs <= room) ++points;
    return {{kInputs, 1, 3},
            {kOutputs, 1, 7},
            {kPoints, 1, 33},
            {kInputEntries, 2, 4096},
            {kOutputEntries, 2, 4096},
            {kInputs, 1, Fitting(room, shape.Grid() + outputs, shape.inputEntries)},
            {kPoints, 1, points},
            {kInputEntries, 2, Fitting(room, shape.Grid() + outputs, shape.inputs)},
            {kOutputEntries, 2, Fitting(room, shape.Grid() + inputs, shape.outputs)}};
}

/// The counts of a set of curves, each found behind the one before it.
void AddCurves(const Block& block, std::size_t place, std::uint64_t curves, std::vector<Field>& fields) {
    const std::uint64_t start = block.Read(place, 4), first = block.Read(start + kCurveCount, 4);
    std::uint64_t at = start;
    for (std::uint64_t n = 0; n < curves && at + kCurveHead <= block.size; ++n) {
        const auto count = static_cast<std::size_t>(at) + kCurveCount;
        fields.push_back({count, 4, block.Room(static_cast<std::size_t>(at) + kCurveHead, 2)});
        if (n > 0) fields.push_back({count, 4, first});
        at += 2 * block.Read(count, 4) + 14;
    }
}

/// Curves and a grid: offsets, channels, counts, points and precision.
std::vector<Field> CurvedFields(const Block& block) {
    std::vector<Field> fields{{kInputs, 1, 3}, {kOutputs, 1, 7}, {kOutputs, 1, 3}, {kInputs, 1, 16}};
    for (const std::size_t place : kOffsets) fields.push_back({place, 4, block.size});
    const std::uint64_t most = std::max(block.Read(kInputs, 1), block.Read(kOutputs, 1));
    AddCurves(block, kOffsets[0], most, fields);
    AddCurves(block, kOffsets[4], most, fields);
    const std::uint64_t grid = block.Read(kGridOffset, 4), precision = block.Read(grid + kPrecision, 1);
    const std::uint64_t axes = std::min<std::uint64_t>(block.Read(kInputs, 1), 16);
    if (grid + kGridHead > block.size) return fields;
    fields.push_back({static_cast<std::size_t>(grid) + kPrecision, 1, 2});
    const std::uint64_t room = block.Room(static_cast<std::size_t>(grid) + kGridHead, 1);
    std::uint64_t bytes = precision * block.Read(kOutputs, 1);
    for (std::uint64_t axis = 0; axis < axes && bytes < 0xffffffffU; ++axis) bytes *= block.Read(grid + axis, 1);
    for (std::uint64_t axis = 0; axis < axes; ++axis) {
        const auto at = static_cast<std::size_t>(grid + axis);
        fields.push_back({at, 1, 33});
        // As many points as the block has bytes for.
        const std::uint64_t each = bytes / std::max<std::uint64_t>(block.Read(at, 1), 1);
        fields.push_back({at, 1, std::min<std::uint64_t>(Fitting(room, 0, each), 255)});
    }
    return fields;
}

/// Bytes more or fewer at the end.
void Resize(Block& block, std::uint64_t wanted) {
    if (wanted > block.maxSize) return;
    const auto size = static_cast<std::size_t>(wanted);
    block.size = size > block.size ? Stretch(block.data, block.size, block.maxSize, block.size, size - block.size)
                                   : Shorten(block.data, block.size, size, block.size - size);
}

/// A few bytes in the middle come or go; the offsets of what lies behind them follow.
void MoveParts(Block& block) {
    const std::size_t at = block.scatter.Below(block.size + 1), step = 1 + block.scatter.Below(6), before = block.size;
    block.size = block.scatter.Below(2) == 0 ? Stretch(block.data, block.size, block.maxSize, at, step)
                                             : Shorten(block.data, block.size, at, step);
    const auto change = static_cast<std::uint32_t>(block.size - before);  // wraps for fewer, and back again below
    for (const std::size_t place : kOffsets) {
        if (place + 4 > block.size) continue;
        const std::uint32_t offset = LoadBig32(block.data + place);
        if (offset > at) StoreBig32(block.data + place, offset + change);
    }
}

void ChangeField(Block& block, const std::vector<Field>& fields) {
    block.Write(fields[block.scatter.Below(fields.size())]);
}

/// By one less, as it is or by one more than what it announces.
std::uint64_t Beside(std::uint64_t bytes, Scatter& scatter) {
    const std::uint64_t step = scatter.Below(3);
    return bytes + step > 0 ? bytes + step - 1 : 0;
}

}  // namespace

std::size_t MutateCurvedBlock(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter) {
    Block block{data, size, maxSize, scatter};
    const std::size_t how = scatter.Below(8);
    if (how == 0) {
        MoveParts(block);
    } else if (how == 1) {
        Resize(block, Beside(block.Read(kOffsets[scatter.Below(std::size(kOffsets))], 4), scatter));
    } else {
        ChangeField(block, CurvedFields(block));
    }
    return block.size;
}

std::size_t MutateBlock(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter) {
    static constexpr const char* kTypes[] = {"mft2", "mft1", "mAB ", "mBA ", "curv", "para", "XYZ ", "text", "sf32"};
    Block block{data, size, maxSize, scatter};
    const std::size_t how = scatter.Below(8);
    if (how == 0 && size >= 4) {
        std::memcpy(data, kTypes[scatter.Below(std::size(kTypes))], 4);
    } else if (block.Is("mAB ") || block.Is("mBA ")) {
        return MutateCurvedBlock(data, size, maxSize, scatter);
    } else if (block.Is("mft2") || block.Is("mft1")) {
        if (how == 1) {
            Resize(block, Beside(ShapeOf(block).Bytes(), scatter));
        } else {
            ChangeField(block, TableFields(block));
        }
    } else if (how < 4) {
        // The sizes that texts, colours and matrices need.
        static constexpr std::uint64_t kNeeds[] = {0, 8, kCurveHead, 20, 44};
        Resize(block, Beside(kNeeds[scatter.Below(std::size(kNeeds))], scatter));
    } else {
        block.Write({kCurveCount, 4, block.Room(kCurveHead, 2)});
    }
    return block.size;
}

}  // namespace hueweave::fuzz
