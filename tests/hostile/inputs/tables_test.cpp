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

using ExtremeTableTest = HostileTest;

/// In a tetrahedron the result is a mean of its four corners: the fractions 0 and 4095 in each order are the extremes.
TEST_F(ExtremeTableTest, NoRecordLeavesTheOutputTables) {
    using namespace ICC40::ICCFILE;
    const struct {
        CurveKind curve;
        GridKind grid;
        int points;
        double lightness;
    } rows[] = {
        {CurveKind::Extremes, GridKind::Extremes, 2, 0},      {CurveKind::Random, GridKind::Random, 33, 0},
        {CurveKind::Extremes, GridKind::Extremes, 17, 1e300}, {CurveKind::Falling, GridKind::Extremes, 9, -1e300},
        {CurveKind::Random, GridKind::Extremes, 33, 50},      {CurveKind::Random, GridKind::Random, 16, -50}};
    for (const auto& [curve, grid, points, lightness] : rows) {
        SCOPED_TRACE(testing::Message() << NameOf(curve) << ' ' << NameOf(grid) << ' ' << points << ' ' << lightness);
        const LutShape shape{.points = points, .inputKind = curve, .outputKind = curve, .grid = grid};
        const std::string path = Put("extreme.icc", MiniProfile({{"A2B0", Mft2(MakeLut(shape))}}));
        const auto engine = std::make_unique<ICC40::ICC_ENG_S4::CIccEngineS>();
        ASSERT_EQ(engine->SetProfile(path.c_str(), IntentPerceptual, CsRGB_16, CssRGB_16, lightness, 0, 0), 0);
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
}

}  // namespace
}  // namespace hueweave::test
