// SPDX-License-Identifier: MIT
#include "support/ReferencePipeline.h"

#include <algorithm>
#include <cstddef>

namespace hueweave::test {
namespace {

int Primaries(int space) { return space >= 20 && space <= 31 ? (space - 16) / 4 : 0; }

/// The forms of the output spaces; none for a linear 16-bit one, whose tables are the identity.
const std::map<int, std::optional<Form>>& FormsBySpace() {
    static const std::map<int, std::optional<Form>> forms{
        {8, Form::Srgb},      {9, Form::Srgb_16},      {10, Form::Gamma100},   {11, std::nullopt},
        {12, Form::Srgb},     {13, Form::Srgb_16},     {20, Form::Gamma100},   {21, std::nullopt},
        {22, Form::Gamma180}, {23, Form::Gamma180_16}, {24, Form::Gamma100},   {25, std::nullopt},
        {26, Form::Gamma180}, {27, Form::Gamma180_16}, {28, Form::Gamma100},   {29, std::nullopt},
        {30, Form::Gamma180}, {31, Form::Gamma180_16}, {34, Form::KodakPhoto}, {35, Form::KodakPhoto_16},
        {36, Form::KodakMix}, {37, Form::KodakMix_16}, {38, Form::KodakText},  {39, Form::KodakText_16}};
    return forms;
}

Bytes FirstOf(const Bytes& bytes, int count) { return Bytes(bytes.begin(), bytes.begin() + std::max(count, 0)); }

}  // namespace

ReferenceTables InputStage(const LutContents& lut, int inputSpace) {
    ReferenceInput curves(3);
    curves.Load(lut, inputSpace);
    if (inputSpace != 1) curves.ToLut8();  // also the tables of Lab
    ReferenceTables packed;
    for (std::size_t c = 0; c < 3; ++c) {
        const std::size_t entries = inputSpace == 1 ? 65536 : 256;
        for (std::size_t n = 0; n < entries; ++n) {
            const auto v = static_cast<std::uint32_t>(curves.table[c][n] & 0xffff);
            packed[c].push_back(v / 4096 * 65536 + v % 4096);
        }
    }
    return packed;
}

std::vector<ReferenceNode> GridStage(const LutContents& lut, double lightness, double chroma, double hue,
                                     int outputSpace, const std::optional<ReferenceWhite>& white) {
    ReferenceGrid grid;
    grid.Load(lut);
    if (lightness != 0.0 || chroma != 0.0 || hue != 0.0) grid.Shift({lightness, chroma, hue});
    grid.Resize(17);
    ReferenceCurves curves;
    curves.Load(lut);
    Triple words = kUsualWhite;
    for (std::size_t i = 0; white && i < 3; ++i) words[i] = static_cast<double>((*white)[i]);
    grid.ToRgb(curves, words, Primaries(outputSpace));
    return grid.nodes;
}

std::vector<ReferenceCell> CellStage(const std::vector<ReferenceNode>& nodes) {
    ReferenceGrid grid;
    grid.SetSize(17);
    grid.nodes = nodes;
    std::vector<ReferenceCell> cells(4096);
    for (int n = 0; n < 4096; ++n) {
        for (std::size_t record = 0; record < 6; ++record) {
            for (std::size_t c = 0; c < 3; ++c) {
                const auto edges = grid.Edges({n / 256, n / 16 % 16, n % 16}, record, c);
                auto& entry = cells[AsIndex(n)][record][c];
                for (std::size_t i = 0; i < 4; ++i) entry[i] = static_cast<std::int32_t>(edges[i]);
                entry[0] *= 4096;
            }
        }
    }
    return cells;
}

ReferenceOutput OutputStage(int outputSpace) {
    // Computed once: they do not depend on any other stage.
    static std::map<int, ReferenceOutput> known;
    const auto [place, added] = known.try_emplace(outputSpace);
    ReferenceOutput& output = place->second;
    if (!added) return output;
    ReferenceOutputs unit;
    const auto form = FormsBySpace().find(outputSpace);
    if (form != FormsBySpace().end()) {
        output.result = form->second ? unit.Apply(*form->second, outputSpace) : outputSpace;
    }
    for (std::size_t c = 0; c < 3; ++c) output.tables[c].assign(unit.table[c].begin(), unit.table[c].end());
    return output;
}

ReferenceTables AdjustedOutputStage(const LutContents& lut, const Bytes& red, const Bytes& green, const Bytes& blue,
                                    int count, bool to8) {
    ReferenceCurves curves;
    curves.Load(lut);
    curves.Load(FirstOf(red, count), FirstOf(green, count), FirstOf(blue, count));
    ReferenceTables tables;
    for (std::size_t c = 0; c < 3; ++c) {
        for (int v = 0; v < 65536; ++v) {
            tables[c].push_back(static_cast<std::uint32_t>(to8 ? curves.At(c, v) >> 8 : curves.At(c, v)));
        }
    }
    return tables;
}

}  // namespace hueweave::test
