// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "pipeline/EnginePair.h"

namespace hueweave::test {
namespace {

/// A table, and the output spaces for 8-bit and for 16-bit pixels.
struct ShapeCase {
    LutShape shape;
    int space8, space16;
};

std::string NameOfShape(const testing::TestParamInfo<ShapeCase>& info) {
    const LutShape& shape = info.param.shape;
    return std::to_string(shape.inputs) + "To" + std::to_string(shape.outputs) + "By" + std::to_string(shape.points) +
           NameOf(shape.grid) + "_" + std::to_string(shape.inputEntries) + NameOf(shape.inputKind) + "_" +
           std::to_string(shape.outputEntries) + NameOf(shape.outputKind) + "_" + std::to_string(info.param.space8);
}
void PrintTo(const ShapeCase& row, std::ostream* out) { *out << NameOfShape({row, 0}); }

class TableShape : public testing::TestWithParam<ShapeCase> {};

TEST_P(TableShape, GivesTheReferencePixels) {
    const auto& [shape, space8, space16] = GetParam();
    EnginePair pair({{"table.icc", ProfileBuilder().Mft2("A2B0", MakeLut(shape))}});
    pair.SetProfile("table.icc", 0, 1, space16);
    pair.Convert();
    pair.SetIntent(0, 0, space8);
    pair.Convert();
    // Shifts are made on the grid as the profile has it; only then is it resampled.
    pair.AdjustLch(-12.0, 9.5, 300.0);
    pair.Convert();
}

std::vector<ShapeCase> InputCurves() {
    std::vector<ShapeCase> cases;
    for (const auto kind : {CurveKind::Power, CurveKind::Random}) {
        for (const int entries : {0, 1, 2, 3, 17, 256, 1024, 4096}) {
            cases.push_back({{.points = 9, .inputEntries = entries, .inputKind = kind}, 8, 23});
        }
    }
    for (const auto kind : {CurveKind::Ramp, CurveKind::Extremes, CurveKind::Falling}) {
        for (const int entries : {2, 17, 4096}) {
            cases.push_back({{.points = 9, .inputEntries = entries, .inputKind = kind}, 8, 23});
        }
    }
    return cases;
}
INSTANTIATE_TEST_SUITE_P(InputCurves, TableShape, testing::ValuesIn(InputCurves()), NameOfShape);

// The span of a curve is a little less than its step, so that steep curves leave 0 to 65535 and wrap around.
std::vector<ShapeCase> OutputCurves() {
    std::vector<ShapeCase> cases;
    for (const auto kind : {CurveKind::Ramp, CurveKind::Power, CurveKind::Random}) {
        for (const int entries : {0, 1, 2, 3, 5, 17, 256, 1024, 4096}) {
            cases.push_back({{.inputEntries = 2, .outputEntries = entries, .outputKind = kind}, 10, 25});
        }
    }
    for (const auto kind : {CurveKind::Extremes, CurveKind::Falling}) {
        for (const int entries : {2, 17, 4096}) {
            cases.push_back({{.inputEntries = 2, .outputEntries = entries, .outputKind = kind}, 10, 25});
        }
    }
    return cases;
}
INSTANTIATE_TEST_SUITE_P(OutputCurves, TableShape, testing::ValuesIn(OutputCurves()), NameOfShape);

std::vector<ShapeCase> Grids() {
    std::vector<ShapeCase> cases;
    for (const auto kind : {GridKind::Scanner, GridKind::Extremes, GridKind::Falling}) {
        for (const int points : {2, 5, 9, 16, 17, 25, 33}) {
            cases.push_back({{.points = points, .inputEntries = 2, .outputEntries = 2, .grid = kind}, 20, 29});
        }
    }
    for (const auto kind : {GridKind::Neutral, GridKind::Random}) {
        for (const int points : {3, 17, 32}) {
            cases.push_back({{.points = points, .inputEntries = 2, .outputEntries = 17, .grid = kind}, 20, 29});
        }
    }
    return cases;
}
INSTANTIATE_TEST_SUITE_P(Grids, TableShape, testing::ValuesIn(Grids()), NameOfShape);

// A block's grid is a cube whatever its inputs; inputs that it lacks stand still, outputs that it lacks are 0.
std::vector<ShapeCase> Channels() {
    std::vector<std::array<int, 3>> counts = {{3, 2, 33}, {3, 7, 33}, {2, 4, 25}, {3, 0, 17}, {1, 6, 5}};
    for (const int inputs : {0, 1, 2, 3}) {
        for (const int outputs : {1, 2, 3, 4, 7}) counts.push_back({inputs, outputs, 9});
    }
    std::vector<ShapeCase> cases;
    for (const auto& [inputs, outputs, points] : counts) {
        cases.push_back({{inputs, outputs, points, 17, 17}, 12, 39});
        cases.push_back({{inputs, outputs, points, 2, 2}, 34, 11});
    }
    return cases;
}
INSTANTIATE_TEST_SUITE_P(Channels, TableShape, testing::ValuesIn(Channels()), NameOfShape);

}  // namespace
}  // namespace hueweave::test
