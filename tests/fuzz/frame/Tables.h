// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables for the units, and the inputs and comparisons that their targets share.
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "FuzzInput.h"
#include "support/ReferenceUnits.h"
#include "support/Units.h"
#include "units/Info.h"

namespace hueweave::fuzz {

using namespace ICC40::ICC_UNIT;
using namespace test;

using Seven = std::array<unsigned short, 7>;

/// A unit's result for single values.
template <typename Unit>
Seven Converted(Unit& unit, Seven s) {
    unit.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    return s;
}

/// The second digit of a unit's name: its number of channels.
inline int DrawChannels(FuzzInput& input) {
    static constexpr int kChannels[] = {3, 4, 6, 7};
    return kChannels[input.Below(4)];
}

/// A table of values that are not taken from the input byte by byte: scattered, rising, or only 0 and 65535.
inline ReferenceLut DrawLut(FuzzInput& input, int inputs, int outputs, int points, int inputEntries,
                            int outputEntries) {
    ReferenceLut lut{inputs, outputs, points, inputEntries, outputEntries, {}, {}, {}};
    const std::size_t how = input.Below(3);
    Scatter scatter(input.U32());
    const auto fill = [&](std::vector<int>& table, int count, int row) {
        table.resize(static_cast<std::size_t>(count));
        for (int& value : table) value = static_cast<int>(how == 2 ? scatter.Below(2) * 65535 : scatter.Sample());
        for (auto at = table.begin(); how == 1 && row > 0 && at != table.end(); at += row) std::sort(at, at + row);
        // Starts with values from the input.
        for (std::size_t i = 0; i < table.size() && i < 6 && !input.Empty(); ++i) {
            table[i] = static_cast<int>(input.U16());
        }
    };
    fill(lut.input, inputs * inputEntries, inputEntries);
    fill(lut.grid, points * points * points * outputs, 0);
    fill(lut.output, outputs * outputEntries, outputEntries);
    return lut;
}

/// A format code: any of the sixteen, or a nearby invalid one.
inline int DrawCode(FuzzInput& input) {
    if (input.Below(8) == 0) return input.Int();
    return static_cast<int>((input.Bool() ? 513U : 257U) + input.Below(8));
}

/// Compares the tables and curves of a unit, channel by channel, with those of its reference.
template <typename Unit, typename Reference>
void CheckTables(const Unit& unit, const Reference& reference) {
    for (std::size_t c = 0; c < reference.table.size(); ++c) {
        Require(std::equal(reference.table[c].begin(), reference.table[c].end(), unit.Lut16[c]), "table");
        Require(std::equal(reference.curve[c].begin(), reference.curve[c].end(), unit.Curve[c]), "curve");
    }
}

/// Numbers of entries of a curve, at the limits of the units and between them.
inline int DrawEntries(FuzzInput& input) {
    static constexpr int kEdges[] = {0, 1, 2, 3, 255, 256, 257, 4095, 4096};
    return input.Bool() ? kEdges[input.Below(9)] : input.Between(0, 4096);
}

/// A run of pixels as one unit passes it to the next: its format code and a working buffer of any samples.
struct Run {
    explicit Run(FuzzInput& input)
        : code(DrawCode(input)), asked(input.Between(-2, 60)), pixels(std::max(asked, 0)), layout(LayoutOf(code)) {}
    void Allocate(unsigned char* source, unsigned char* dest) {
        job.FormatCode = code;
        const int made = job.CheckWorkingBuf(source, dest, asked);
        Require(made == (layout.channels == 0 ? 65534 : 0), "result of a working buffer");
        Require(job.WorkCount == pixels * layout.channels, "samples of a working buffer");
        words.resize(AsIndex(job.WorkCount));
    }
    void Scattered(std::uint32_t seed) {
        Scatter scatter(seed);
        for (std::size_t i = 0; i < words.size(); ++i) job.WorkBuf[i] = words[i] = scatter.Sample();
    }
    /// The buffer must equal `words`.
    void Check(const char* what) const { Require(std::equal(words.begin(), words.end(), job.WorkBuf.get()), what); }

    int code, asked, pixels;
    CodeLayout layout;
    Info job{};
    Words words;
};

}  // namespace hueweave::fuzz
