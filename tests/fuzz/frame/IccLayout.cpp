// SPDX-License-Identifier: MIT
#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr const char* kNames[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "wtpt", "bkpt", "rXYZ", "gXYZ",
                                  "bXYZ", "rTRC", "gTRC", "bTRC", "chad", "desc", "cprt", "A2B3", "none"};
constexpr const char* kTypes[] = {"mft2", "mft1", "mAB ", "mBA ", "curv", "para", "XYZ ", "text", "desc", "sf32"};

/// The tag table of a file, and the fields of a block.
constexpr std::size_t kCount = 128, kTable = 132, kEntry = 12;
constexpr std::size_t kInputs = 8, kOutputs = 9, kPoints = 10, kInputEntries = 48, kOutputEntries = 50, kTables = 52;
constexpr std::size_t kCurveCount = 8, kCurveHead = 12;
constexpr std::size_t kOffsets[] = {12, 16, 20, 24, 28};  // B curves, matrix, M curves, grid, A curves
constexpr std::size_t kGridOffset = 24, kPrecision = 16, kGridHead = 20;

std::uint64_t Word(std::string_view name) {
    std::uint64_t word = 0;
    for (const char c : name) word = word << 8 | static_cast<unsigned char>(c);
    return word;
}

bool Is(const Block& block, std::string_view type) { return block.Get(0, 4) == Word(type); }

/// The entries that fit between the start of a curve and the end of the block.
std::uint64_t CurveRoom(const Block& block, std::size_t at) {
    return block.size > at + kCurveHead ? (block.size - at - kCurveHead) / 2 : 0;
}

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

/// Curves and a grid.
void AddCurved(const Block& block, Layout& layout) {
    std::vector<Field>& fields = layout.fields;
    fields.insert(fields.end(), {{kInputs, 1, 3}, {kOutputs, 1, 7}, {kOutputs, 1, 3}, {kInputs, 1, 16}});
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
    layout.offsets.assign(std::begin(kOffsets), std::end(kOffsets));
    layout.needed = block.OneIn(2) ? GridEnd(block) : block.Get(block.AnyOf(kOffsets), 4);
}

}  // namespace

Layout TagLayout(Block& block) {
    static constexpr std::size_t kNeeds[] = {0, 8, kCurveHead, 20, 44};  // for texts, colours and matrices
    Layout layout{.fields = {{0, 4, 0, Word(block.AnyOf(kTypes))}}, .end = block.size};
    if (Is(block, "mAB ") || Is(block, "mBA ")) {
        AddCurved(block, layout);
    } else if (Is(block, "mft2") || Is(block, "mft1")) {
        layout.fields.insert(
            layout.fields.end(),
            {{kInputs, 1, 3}, {kOutputs, 1, 7}, {kPoints, 1, 33}, {kInputEntries, 2, 4096}, {kOutputEntries, 2, 4096}});
        layout.needed = TableBytes(block);
    } else {
        layout.fields.push_back({kCurveCount, 4, CurveRoom(block, 0)});
        layout.needed = block.AnyOf(kNeeds);
    }
    return layout;
}

Layout IccLayout(Block& file) {
    const std::size_t room = file.size < kTable ? 0 : (file.size - kTable) / kEntry;
    const std::size_t count = std::min<std::size_t>(file.Get(kCount, 4), room);
    if (count == 0 || file.OneIn(16)) return {.fields = {{kCount, 4, room}}};
    const auto anyEntry = [&] { return kTable + kEntry * file.scatter.Below(count); };
    const std::size_t entry = anyEntry(), offset = file.Get(entry + 4, 4);
    const std::size_t behind = offset < file.size ? file.size - offset : 0;
    const std::size_t held = std::min<std::size_t>(behind, file.Get(entry + 8, 4));
    Layout layout{
        .fields = {{entry, 4, 0, Word(file.AnyOf(kNames))}, {entry + 4, 4, file.size}, {entry + 8, 4, behind}},
        .table = {entry, kEntry, {kCount, 4, 0}},
        .copy = {entry, anyEntry(), kEntry}};
    for (std::size_t n = 0; n < count; ++n) layout.offsets.push_back(kTable + kEntry * n + 4);
    if (held < 4 || offset < kTable) return layout;
    layout.begin = offset, layout.end = offset + held, layout.counter = entry + 8;
    if (file.OneIn(3)) return layout;
    layout.fields.push_back({offset + (file.scatter.Below(held) & ~std::size_t{3}), 4, held});
    Block block{file.data + offset, held, held, file.scatter};
    for (Field field : TagLayout(block).fields) {
        field.at += offset;
        layout.fields.push_back(field);
    }
    return layout;
}

}  // namespace hueweave::fuzz
