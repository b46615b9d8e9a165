// SPDX-License-Identifier: MIT
// Tables of extreme and random values: whatever they hold, no pixel causes a lookup outside them.
#include <algorithm>
#include <array>

#include "engine/CIccEngineS.h"
#include "hostile/Hostile.h"
#include "support/ProfileBuilder.h"
#include "units/Tetrahedra.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;

struct Extreme {
    CurveKind curve;
    GridKind grid;
    int points;
    double lightness;
};
void PrintTo(const Extreme& row, std::ostream* out) {
    *out << NameOf(row.curve) << ' ' << NameOf(row.grid) << ' ' << row.points << ' ' << row.lightness;
}

class ExtremeTableTest : public HostileTest, public testing::WithParamInterface<Extreme> {};

/// In a tetrahedron the result is a mean of its four corners: the fractions 0 and 4095 in each order are the extremes.
TEST_P(ExtremeTableTest, NoRecordLeavesTheOutputTables) {
    using namespace ICC40::ICCFILE;
    LutShape shape{.points = GetParam().points};
    shape.inputKind = shape.outputKind = GetParam().curve;
    shape.grid = GetParam().grid;
    const std::string path = Put("extreme.icc", MiniProfile({{"A2B0", EncodeMft2(MakeLut(shape))}}));
    const auto engine = std::make_unique<CIccEngineS>();
    ASSERT_EQ(engine->SetProfile(path.c_str(), IntentPerceptual, CsRGB_16, CssRGB_16, GetParam().lightness, 0, 0), 0);
    ASSERT_EQ(engine->Unit.BuildResult, 9);

    for (int entry = 0; entry < engine->InEntries; ++entry) {
        for (const auto* table : {&engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB}) {
            ASSERT_LT((*table)[static_cast<std::size_t>(entry)] >> 16, 16U);
            ASSERT_LT((*table)[static_cast<std::size_t>(entry)] & 0xffffU, 4096U);
        }
    }
    std::array<std::size_t, 3> order = {0, 1, 2};  // axes from the largest to the smallest fraction
    do {
        std::array<int, 3> sample{};
        sample[order[0]] = 200;
        sample[order[1]] = 100;
        const int record = ICC40::ICC_UNIT::FindTetrahedron(sample[0], sample[1], sample[2]);
        for (const auto& cell : engine->Lut3D) {
            for (const auto& c : cell[record]) {
                std::int64_t value = c[0];
                ASSERT_TRUE(value >= 0 && value >> 12 <= 65535);
                for (const std::size_t axis : order) {
                    value += std::int64_t{4095} * c[1 + axis];
                    ASSERT_TRUE(value >= 0 && value >> 12 <= 65535) << "record " << record;
                }
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

INSTANTIATE_TEST_SUITE_P(Every, ExtremeTableTest,
                         testing::Values(Extreme{CurveKind::Extremes, GridKind::Extremes, 2, 0},
                                         Extreme{CurveKind::Random, GridKind::Random, 33, 0},
                                         Extreme{CurveKind::Extremes, GridKind::Extremes, 17, 1e300},
                                         Extreme{CurveKind::Falling, GridKind::Extremes, 9, -1e300},
                                         Extreme{CurveKind::Random, GridKind::Extremes, 33, 50},
                                         Extreme{CurveKind::Random, GridKind::Random, 16, -50}));

}  // namespace
}  // namespace hueweave::test
