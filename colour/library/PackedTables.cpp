// SPDX-License-Identifier: MIT
#include "colour/library/PackedTables.h"

#include <algorithm>

#include "engine/CIccEngineS.h"
#include "units/Tetrahedra.h"

namespace hueweave::colour {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;

constexpr int kWhole = 4096;             ///< the length of a cell in fractions
constexpr int kNodeUnit = 256 * kWhole;  ///< of a node value in the sums of the engine

/// Red | green << 8 | blue << 16 of a node. The last one on an axis continues beyond it.
std::uint64_t NodeAt(const CIccEngineS& engine, int red, int green, int blue) {
    const auto cell = [](int index) { return std::min(index, CIccEngineS::kCells - 1); };
    // At the last node, the position in the last cell is 1.
    const auto fraction = [&](int index) { return index < CIccEngineS::kCells ? 0 : kWhole; };
    const int fr = fraction(red), fg = fraction(green), fb = fraction(blue);
    const auto& record = engine.Lut3D[(cell(red) * CIccEngineS::kCells + cell(green)) * CIccEngineS::kCells +
                                      cell(blue)][ICC40::ICC_UNIT::FindTetrahedron(fr, fg, fb)];
    std::uint64_t node = 0;
    for (unsigned c = 0; c < 3; ++c) {
        const std::int32_t(&row)[4] = record[c];
        node |= static_cast<std::uint64_t>((row[0] + row[1] * fr + row[2] * fg + row[3] * fb) / kNodeUnit) << 8 * c;
    }
    return node;
}

}  // namespace

PackedTables::PackedTables(const CIccEngineS& engine) {
    const std::uint32_t* const inputs[] = {engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()};
    const std::uint32_t* const outputs[] = {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB};
    for (std::size_t c = 0; c < 3; ++c) {
        std::transform(inputs[c], inputs[c] + 256, in[c].begin(),
                       [&](std::uint32_t entry) { return entry << 16 | (entry >> 16) * kStrides[c]; });
        constexpr std::size_t kValues = 255 * 256 + 1;
        std::vector<std::uint8_t> curve(kValues);
        std::transform(outputs[c], outputs[c] + kValues, curve.begin(),
                       [](std::uint32_t sample) { return static_cast<std::uint8_t>(sample); });
        const auto* same = std::find(curves.begin(), curves.begin() + c, curve);
        if (same == curves.begin() + c) curves[c] = std::move(curve);
        out[c] = same->data();
    }
    auto node = nodes.begin();
    for (int red = 0; red <= CIccEngineS::kCells; ++red) {
        for (int green = 0; green <= CIccEngineS::kCells; ++green) {
            for (int blue = 0; blue <= CIccEngineS::kCells; ++blue) {
                *node++ = NodeAt(engine, red, green, blue) | NodeAt(engine, red + 1, green + 1, blue + 1) << 32;
            }
        }
    }
}

#ifdef __x86_64__
void ConvertPackedAvx2(const PackedTables& tables, unsigned char* rgb, std::size_t pixels);

PackedLoop FindPackedLoop() { return __builtin_cpu_supports("avx2") ? &ConvertPackedAvx2 : nullptr; }
#else
PackedLoop FindPackedLoop() { return nullptr; }
#endif

}  // namespace hueweave::colour
