// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables for the units, as a record of the reference and as the tag that the library takes.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "FuzzInput.h"
#include "iccfile/LutTags.h"
#include "support/ReferenceUnits.h"

namespace hueweave::fuzz {

/// A table of values that need no bytes of the input: scattered, rising, or only 0 and 65535.
inline test::PlainLut DrawLut(FuzzInput& input, int inputs, int outputs, int points, int inputEntries,
                              int outputEntries) {
    test::PlainLut lut{inputs, outputs, points, inputEntries, outputEntries, {}, {}, {}};
    const std::size_t how = input.Below(3);
    Scatter scatter(input.U32());
    const auto fill = [&](std::vector<int>& table, int count, int row) {
        table.resize(static_cast<std::size_t>(count));
        for (int& value : table) value = static_cast<int>(how == 2 ? scatter.Below(2) * 65535 : scatter.Sample());
        for (auto at = table.begin(); how == 1 && row > 0 && at != table.end(); at += row) std::sort(at, at + row);
        // The input's own values in front.
        for (std::size_t i = 0; i < table.size() && i < 6 && !input.Empty(); ++i) {
            table[i] = static_cast<int>(input.U16());
        }
    };
    fill(lut.input, inputs * inputEntries, inputEntries);
    fill(lut.grid, points * points * points * outputs, 0);
    fill(lut.output, outputs * outputEntries, outputEntries);
    return lut;
}

/// Its tables are exactly as long as their contents.
inline std::unique_ptr<ICC40::ICCFILE::CLut16Type> TagOf(const test::PlainLut& lut) {
    auto tag = std::make_unique<ICC40::ICCFILE::CLut16Type>();
    tag->inputChan = static_cast<std::uint8_t>(lut.inputs);
    tag->outputChan = static_cast<std::uint8_t>(lut.outputs);
    tag->clutPoints = static_cast<std::uint8_t>(lut.points);
    tag->inputEnt = static_cast<std::uint16_t>(lut.inputEntries);
    tag->outputEnt = static_cast<std::uint16_t>(lut.outputEntries);
    const auto copy = [](const std::vector<int>& values) {
        auto table = std::make_unique<std::uint16_t[]>(values.size());
        for (std::size_t n = 0; n < values.size(); ++n) table[n] = static_cast<std::uint16_t>(values[n]);
        return table;
    };
    tag->inputTable = copy(lut.input);
    tag->clutTable = copy(lut.grid);
    tag->outputTable = copy(lut.output);
    return tag;
}

/// A format code: any of the sixteen, or one beside them.
inline int DrawCode(FuzzInput& input) {
    if (input.Below(8) == 0) return input.Int();
    return static_cast<int>((input.Bool() ? 513U : 257U) + input.Below(8));
}

/// Entries of a curve, at the edges of what a unit takes and between them.
inline int DrawEntries(FuzzInput& input) {
    static constexpr int kEdges[] = {0, 1, 2, 3, 255, 256, 257, 4095, 4096};
    return input.Bool() ? kEdges[input.Below(9)] : input.Between(0, 4096);
}

}  // namespace hueweave::fuzz
