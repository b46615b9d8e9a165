// SPDX-License-Identifier: MIT
#include "units/ColorTable33.h"

#include <algorithm>
#include <cstddef>

#include "base/Numeric.h"
#include "units/Tetrahedra.h"
#include "units/WorkingPixels.h"

namespace ICC40::ICC_UNIT {
namespace {

/// Truncated positions of `size` nodes, including the last.
std::unique_ptr<int[]> NodePositions(int size, double step) {
    auto positions = std::make_unique<int[]>(static_cast<std::size_t>(size));
    for (int n = 0; n < size; ++n) positions[static_cast<std::size_t>(n)] = Trunc(n * step);
    return positions;
}

}  // namespace

ColorTable33::ColorTable33() : ColorTable33("ColorTable33") {}

ColorTable33::ColorTable33(const char* name) : Base(name), Color{} {}

void ColorTable33::SetSize(int size) {
    LUT_Size = size;
    LUT_Shift = size == 17 ? 12 : size == 9 ? 13 : 11;
    LUT_Mask = (1 << LUT_Shift) - 1;
}

int ColorTable33::Initial(const ICCFILE::CLut16Type* lut) {
    SetSize(lut->clutPoints);
    InChannels = lut->inputChan;
    OutChannels = lut->outputChan;
    const std::uint16_t* node = lut->clutTable.get();
    for (int i = 0; i < LUT_Size; ++i) {
        for (int j = 0; j < LUT_Size; ++j) {
            for (int k = 0; k < LUT_Size; ++k, node += OutChannels) std::copy_n(node, OutChannels, Color[i][j][k]);
        }
    }
    LUT_Step = 65536.0 / (LUT_Size - 1);
    LUT_Pos = NodePositions(LUT_Size, LUT_Step);  // Kept: the last position is 65536 here, 65535 after a resize
    if (LUT_Size != 9 && LUT_Size != 17 && LUT_Size != 33) TableResize(17);
    return 0;
}

int ColorTable33::SetColorTable(const int* nodes, int size) {
    if (size < 0 || size > LUT_Size33) return 0;
    SetSize(size);
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            for (int k = 0; k < size; ++k, nodes += 7) std::copy_n(nodes, 7, Color[i][j][k]);
        }
    }
    return 0;
}

void ColorTable33::Interpolate(const Samples& samples, int channels) const {
    const int x = *samples[0], y = *samples[1], z = *samples[2];
    const int i = x >> LUT_Shift, j = y >> LUT_Shift, k = z >> LUT_Shift;
    const int fx = x & LUT_Mask, fy = y & LUT_Mask, fz = z & LUT_Mask;
    const Tetrahedron& path = kTetrahedra[FindTetrahedron(fx, fy, fz)];
    for (std::size_t channel = 0; channel < static_cast<std::size_t>(channels); ++channel) {
        const auto corner = [&](int at) { return Color[i + StepX(at)][j + StepY(at)][k + StepZ(at)][channel]; };
        const auto part = [&](const Edge& edge, int fraction) {
            return WrapMultiply(WrapSubtract(corner(edge.to), corner(edge.from)), fraction);
        };
        int sum = WrapMultiply(corner(0), 1 << LUT_Shift);
        sum = WrapAdd(sum, part(path.x, fx));
        sum = WrapAdd(sum, part(path.y, fy));
        sum = WrapAdd(sum, part(path.z, fz));
        *samples[channel] = Low16(sum >> LUT_Shift);
    }
}

int ColorTable33::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d,
                             unsigned short& e, unsigned short& f, unsigned short& g) {
    Interpolate({&a, &b, &c, &d, &e, &f, &g}, 3);
    return 0;
}

ColorTable33::AxisPoint ColorTable33::FindOnAxis(int position) const {
    const int value = std::clamp(position, 0, 65535);
    const int node = Trunc(value / LUT_Step);
    return {node, (value - LUT_Pos[static_cast<std::size_t>(node)]) / LUT_Step};
}

void ColorTable33::InterpolateAt(const AxisPoint& x, const AxisPoint& y, const AxisPoint& z, int (&values)[7]) const {
    if (x.fraction == 0.0 && y.fraction == 0.0 && z.fraction == 0.0) {  // true for most nodes when 33 points become 17
        std::ranges::copy(Color[x.node][y.node][z.node], values);
        return;
    }
    const int* corners[8];
    for (int at = 0; at < 8; ++at) corners[at] = Color[x.node + StepX(at)][y.node + StepY(at)][z.node + StepZ(at)];
    const Tetrahedron& path = kTetrahedra[FindTetrahedron(x.fraction, y.fraction, z.fraction)];
    for (int channel = 0; channel < 7; ++channel) {
        const auto slope = [&](const Edge& edge) {
            return static_cast<double>(WrapSubtract(corners[edge.to][channel], corners[edge.from][channel]));
        };
        const double rise = slope(path.x) * x.fraction + slope(path.y) * y.fraction + slope(path.z) * z.fraction;
        // Truncation toward zero rounds a falling slope up and a rising one down.
        values[channel] = WrapAdd(Trunc(rise), corners[0][channel]);
    }
}

void ColorTable33::Conversion(int& a, int& b, int& c, int& d, int& e, int& f, int& g) const {
    if (LUT_Pos == nullptr) return;
    int values[7];
    InterpolateAt(FindOnAxis(a), FindOnAxis(b), FindOnAxis(c), values);
    int* const out[] = {&a, &b, &c, &d, &e, &f, &g};
    for (int channel = 0; channel < 7; ++channel) *out[channel] = values[channel];
}

int ColorTable33::Conversion(unsigned char*, int) { return 0; }

int ColorTable33::Conversion(Info* info) {
    const int pixels = WorkingPixels(*info, 3);
    unsigned short spare[4] = {};
    unsigned short* pixel = info->WorkBuf.get();
    for (int p = 0; p < pixels; ++p, pixel += 3) {
        Conversion(pixel[0], pixel[1], pixel[2], spare[0], spare[1], spare[2], spare[3]);
    }
    return 0;
}

int ColorTable33::TableResize(int size) {
    if (LUT_Size == size || size < 2 || size > LUT_Size33) return 0;
    const double step = 65536.0 / (size - 1);
    auto positions = NodePositions(size, step);
    // The last node is read at 65535, in the last old cell, not at the last old node, so it is slightly below its
    // value.
    positions[static_cast<std::size_t>(size - 1)] = 65535;

    if (LUT_Pos == nullptr) return 0;
    AxisPoint axis[LUT_Size33];
    for (int n = 0; n < size; ++n) axis[n] = FindOnAxis(positions[static_cast<std::size_t>(n)]);
    const auto count = static_cast<std::size_t>(size);
    const auto nodes = std::make_unique_for_overwrite<int[][7]>(count * count * count);
    auto* node = nodes.get();
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            for (int k = 0; k < size; ++k) InterpolateAt(axis[i], axis[j], axis[k], *node++);
        }
    }
    SetColorTable(&nodes[0][0], size);
    LUT_Step = step;
    LUT_Pos = std::move(positions);
    return 0;
}

}  // namespace ICC40::ICC_UNIT
