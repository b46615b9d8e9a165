// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/CIccEngineS.h"
#include "support/ByteWriter.h"
#include "support/MiniProfile.h"
#include "support/TempDir.h"
#include "units/ColorTable33.h"

namespace hueweave::test {

using ICC40::ICC4_HEADER::TagName;
using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICC_UNIT::ColorTable33;
using ICC40::ICCFILE::CLut;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::CLut8Type;
using ICC40::ICCFILE::CXYZType;

inline ICC40::ICCFILE::ColorSpaceSignature Space(int value) {
    return static_cast<ICC40::ICCFILE::ColorSpaceSignature>(value);
}
inline ICC40::ICCFILE::Intent IntentOf(int value) { return static_cast<ICC40::ICCFILE::Intent>(value); }

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The tables of a profile, and for each its own first input entry, which tells what was built from it.
inline constexpr std::string_view kTableNames[] = {"A2B0", "A2B1", "A2B2"};
constexpr unsigned TableMark(int table) { return 0x2123U + 0x3000U * static_cast<unsigned>(table); }

/// The packed entry of a 16-bit input value: cell index in the high half, 12 bits of fraction in the low one.
constexpr std::uint32_t Packed(unsigned value) { return value / 4096 * 65536 + value % 4096; }

inline constexpr std::size_t kGridWords = 4096UL * 6 * 3 * 4;
inline std::int32_t* GridWords(CIccEngineS& engine) { return &engine.Lut3D[0][0][0][0]; }

using Grid = std::vector<std::int32_t>;
inline Grid GridOf(const CIccEngineS& engine) {
    const std::int32_t* first = &engine.Lut3D[0][0][0][0];
    return Grid(first, first + kGridWords);
}

using Tables = std::array<std::vector<std::uint32_t>, 3>;
/// Empty vectors where there are no tables.
inline Tables InputOf(const CIccEngineS& engine) {
    Tables tables;
    const std::uint32_t* const rows[] = {engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()};
    for (std::size_t c = 0; c < 3; ++c) {
        if (rows[c] != nullptr) tables[c].assign(rows[c], rows[c] + engine.InEntries);
    }
    return tables;
}
inline Tables OutputOf(const CIccEngineS& engine) {
    return {std::vector<std::uint32_t>(engine.Lut1DOutR, engine.Lut1DOutR + 65536),
            std::vector<std::uint32_t>(engine.Lut1DOutG, engine.Lut1DOutG + 65536),
            std::vector<std::uint32_t>(engine.Lut1DOutB, engine.Lut1DOutB + 65536)};
}

/// Everything that a conversion reads.
struct Stages {
    Tables input;
    Grid grid;
    Tables output;
    bool operator==(const Stages&) const = default;
};
inline Stages StagesOf(const CIccEngineS& engine) { return {InputOf(engine), GridOf(engine), OutputOf(engine)}; }

/// A pattern in the tables inside the engine, so that a build, or the lack of one, shows.
inline void FillTables(CIccEngineS& engine, std::uint32_t pattern) {
    std::fill_n(GridWords(engine), kGridWords, static_cast<std::int32_t>(pattern));
    std::fill_n(engine.Lut1DOutR, 65536, pattern);
    std::fill_n(engine.Lut1DOutG, 65536, pattern);
    std::fill_n(engine.Lut1DOutB, 65536, pattern);
}

inline Grid PatternGrid(std::uint32_t pattern) { return Grid(kGridWords, static_cast<std::int32_t>(pattern)); }
inline Tables PatternOutput(std::uint32_t pattern) {
    const std::vector<std::uint32_t> row(65536, pattern);
    return {row, row, row};
}

/// The second and third corner (red, green, blue) of each record's path from the cell's origin to its far corner.
inline constexpr int kPaths[6][2][3] = {{{1, 0, 0}, {1, 1, 0}}, {{1, 0, 0}, {1, 0, 1}}, {{0, 0, 1}, {1, 0, 1}},
                                        {{0, 1, 0}, {1, 1, 0}}, {{0, 1, 0}, {0, 1, 1}}, {{0, 0, 1}, {0, 1, 1}}};

/// The records of all cells, by walking the paths. `node(i, j, k, channel)` is a value of the 17-point grid.
template <class Node>
Grid BakeCells(const Node& node) {
    Grid words;
    words.reserve(kGridWords);
    for (int cell = 0; cell < 4096; ++cell) {
        const int origin[3] = {cell / 256, cell / 16 % 16, cell % 16};
        for (const auto& path : kPaths) {
            for (int channel = 0; channel < 3; ++channel) {
                const auto at = [&](const int(&d)[3]) {
                    return node(origin[0] + d[0], origin[1] + d[1], origin[2] + d[2], channel);
                };
                const int corners[4][3] = {
                    {0, 0, 0}, {path[0][0], path[0][1], path[0][2]}, {path[1][0], path[1][1], path[1][2]}, {1, 1, 1}};
                std::int32_t slope[3] = {};
                for (int step = 0; step < 3; ++step) {
                    int axis = 0;
                    while (corners[step][axis] == corners[step + 1][axis]) ++axis;
                    slope[axis] = at(corners[step + 1]) - at(corners[step]);
                }
                words.insert(words.end(), {at(corners[0]) * 4096, slope[0], slope[1], slope[2]});
            }
        }
    }
    return words;
}

/// The cells that the grid unit gives when it is led by hand: load, adjust the profile's own grid, 17 points, RGB.
inline Grid ExpectedGrid(const CLut16Type& lut, double lightness, double chroma, double hue, int space,
                         const CXYZType* white = nullptr) {
    const auto unit = std::make_unique<ColorTable33>();
    unit->Initial(&lut);
    if (lightness != 0.0 || chroma != 0.0 || hue != 0.0) unit->Adjust_Lch(lightness, chroma, hue);
    unit->TableResize(17);
    unit->Lab2RGB100_16(&lut, Space(space), white);
    return BakeCells([&](int i, int j, int k, int channel) { return unit->Color[i][j][k][channel]; });
}

/// One engine and a folder for its profiles.
class EngineTest : public testing::Test {
protected:
    std::string Put(const std::string& name, const MiniTags& tags) {
        WriteFile(dir_.File(name), MiniProfile(tags));
        return dir_.File(name);
    }
    std::string PutSmooth(const std::string& name = "smooth.icc") {
        return Put(name, {{"A2B0", Mft2(SmoothLut(5))}, {"A2B1", Mft2(SmoothLut(9))}});
    }
    int Bind(const std::string& path, int intent, int input, int output, double lightness = 0, double chroma = 0,
             double hue = 0) {
        return engine().SetProfile(path.c_str(), IntentOf(intent), Space(input), Space(output), lightness, chroma, hue);
    }
    int Rebind(int intent, int input, int output) {
        return engine().SetIntent(IntentOf(intent), Space(input), Space(output), 0.0, 0.0, 0.0);
    }
    /// The two status fields, as `output`/`result`.
    std::string Status() const {
        return std::to_string(engine_->Unit.OutputSpace) + "/" + std::to_string(engine_->Unit.BuildResult);
    }
    const CLut16Type& Table(ICC40::ICCFILE::icTagSignature name) {
        return dynamic_cast<const CLut16Type&>(*engine().File.GetTag(name));
    }
    static std::unique_ptr<CIccEngineS> MakeEngine() {
        auto engine = std::make_unique<CIccEngineS>();
        FillTables(*engine, 0);
        return engine;
    }
    CIccEngineS& engine() { return *engine_; }

    TempDir dir_;
    std::unique_ptr<CIccEngineS> engine_ = MakeEngine();
};

}  // namespace hueweave::test
