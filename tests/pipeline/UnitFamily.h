// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pipeline/PixelRun.h"
#include "support/Matchers.h"
#include "support/ProfileBuilder.h"
#include "support/ReferenceUnits.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"
#include "units/WiderInputTables.h"

// The units of one number, 33 to 37, beside their references, and the pixels that are sent through them.
namespace hueweave::test {

inline PlainLut ScatteredLut(int outputs, int points, int inputEntries, int outputEntries, std::uint32_t seed) {
    PlainLut lut;
    lut.inputs = 3;
    lut.outputs = outputs;
    lut.points = points;
    lut.inputEntries = inputEntries;
    lut.outputEntries = outputEntries;
    Lcg scatter(seed);
    const auto fill = [&scatter](std::vector<int>& table, int count) {
        table.resize(static_cast<std::size_t>(count));
        for (int& value : table) value = scatter.Sample();
    };
    fill(lut.input, 3 * inputEntries);
    fill(lut.grid, points * points * points * outputs);
    fill(lut.output, outputs * outputEntries);
    return lut;
}

/// Monotonous curves, so that positions run all over the grid.
inline void RaiseCurves(PlainLut& lut) {
    const auto raise = [](std::vector<int>& table, int entries) {
        for (auto at = table.begin(); at != table.end(); at += entries) std::sort(at, at + entries);
    };
    raise(lut.input, lut.inputEntries);
    raise(lut.output, lut.outputEntries);
}

inline std::unique_ptr<ICC40::ICCFILE::CLut16Type> TagOf(const PlainLut& lut) {
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

inline std::unique_ptr<ICC40::ICC_UNIT::InputTable33> MakeInput(int outputs) {
    using namespace ICC40::ICC_UNIT;
    if (outputs == 3) return std::make_unique<InputTable33>();
    if (outputs == 4) return std::make_unique<InputTable34>();
    if (outputs == 6) return std::make_unique<InputTable36>();
    return std::make_unique<InputTable37>();
}

inline std::unique_ptr<ICC40::ICC_UNIT::ColorTable33> MakeGridUnit(int outputs) {
    using namespace ICC40::ICC_UNIT;
    if (outputs == 3) return std::make_unique<ColorTable33>();
    if (outputs == 4) return std::make_unique<ColorTable34>();
    if (outputs == 6) return std::make_unique<ColorTable36>();
    return std::make_unique<ColorTable37>();
}

/// Input tables, grid and output tables of one number, each beside its reference.
struct UnitFamily {
    explicit UnitFamily(int stride)
        : outputs(stride), input(MakeInput(stride)), grid(MakeGridUnit(stride)), plainInput(stride) {}

    /// Loads all three from one table; the input tables for 16-bit RGB samples.
    void Load(const PlainLut& lut);
    /// Sends pixels through the three units and compares the buffers word for word after each. Returns what stands in
    /// the destination.
    Bytes Expect(int code, const Bytes& source, int pixels) const;

    int outputs;
    std::unique_ptr<ICC40::ICC_UNIT::InputTable33> input;
    std::unique_ptr<ICC40::ICC_UNIT::ColorTable33> grid;
    std::unique_ptr<ICC40::ICC_UNIT::OutputTable33> output = std::make_unique<ICC40::ICC_UNIT::OutputTable33>();
    ReferenceInput plainInput;
    ReferenceGrid plainGrid;
    ReferenceOutputs plainOutput;
};

}  // namespace hueweave::test
