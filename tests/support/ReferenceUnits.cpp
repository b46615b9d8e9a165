// SPDX-License-Identifier: MIT
#include "support/ReferenceUnits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numeric>

namespace hueweave::test {

namespace {

unsigned short LowWord(long long value) { return static_cast<unsigned short>(value & 0xffff); }

/// Truncated toward zero; NaN is 0, and values outside the range of int become its limits.
int ToInt(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, -2147483648.0, 2147483647.0));
}

/// Clamps to 0..100; NaN becomes 0.
double Percent(double value) { return value > 100.0 ? 100.0 : value >= 0.0 ? value : 0.0; }

/// Lab from the low 16 bits of three values.
Triple LabFrom(int t0, int t1, int t2) {
    return {(t0 & 0xffff) * 100.0 / 65280.0, ((t1 & 0xffff) - 32768) * 0.00390625,
            ((t2 & 0xffff) - 32768) * 0.00390625};
}

}  // namespace

std::size_t TetrahedronOf(double fx, double fy, double fz) {
    if (fx <= fy && fy <= fz) return 5;
    if (fx <= fz && fz < fy) return 4;
    if (fz < fx && fx <= fy) return 3;
    if (fy < fx && fx <= fz) return 2;
    if (fy <= fz && fz < fx) return 1;
    return 0;  // fz < fy < fx
}

CodeLayout LayoutOf(int code) {
    static constexpr int kChannels[] = {3, 4, 6, 7};
    const bool known = (code >= 257 && code <= 264) || (code >= 513 && code <= 520);
    if (!known) return {0, 0, 0};
    const int low = code % 256 - 1;  // two codes for each number of channels: bytes or words as the destination
    return {kChannels[low / 2], code / 256, 1 + low % 2};
}

int PointBetween(const std::vector<int>& curve, double step, double span, int v) {
    const int n = static_cast<int>(v / step);
    const double f = (v - step * n) / span;
    return static_cast<int>(curve[AsIndex(n + 1)] * f + (1.0 - f) * curve[AsIndex(n)] + 0.5);
}

void ReferenceInput::Load(const LutContents& lut, int space) {
    if (lut.inputEntries > 2) {
        step = 65535.0 / (lut.inputEntries - 1);
        std::size_t next = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            for (int n = 0; c < AsIndex(lut.inputs) && n < lut.inputEntries; ++n) {
                curve[c][AsIndex(n)] = lut.input[next++];
            }
            for (int v = 0; v < 65535; ++v) table[c][AsIndex(v)] = ReferenceCurvePoint(curve[c], step, v);
            table[c][65535] = curve[c][AsIndex(lut.inputEntries - 1)];
        }
    } else {
        step = 16.003663003663004;
        for (std::size_t c = 0; c < AsIndex(lut.inputs); ++c) {
            for (int n = 0; n < 4096; ++n) curve[c][AsIndex(n)] = 16 * n;
            std::iota(table[c].begin(), table[c].end(), 0);
        }
    }
    if (space == 1) return;
    space == 2 ? ToLab8() : space == 3 ? ToLab16() : ToLut8();
}

void ReferenceInput::ToLut8() {
    for (auto& row : table) {
        for (std::size_t i = 1; i <= 254; ++i) row[i] = row[i * 256];
        row[255] = row[65535];
    }
    bits = 8;
}

void ReferenceInput::ToLab8() {
    for (std::size_t i = 0; i <= 255; ++i) {
        const int offset = i <= 127 ? -1 : 1;
        table[0][i] = table[0][i * 256];
        table[1][i] = table[1][(i ^ 128) * 256] + offset;
        table[2][i] = table[2][(i ^ 128) * 256] + offset;
    }
    bits = 8;
}

void ReferenceInput::ToLab16() {
    for (std::size_t row = 1; row <= 2; ++row) {
        std::swap(table[row][0], table[row][32768]);
        for (std::size_t i = 1; i <= 32766; ++i) std::swap(table[row][i], table[row][i ^ 32768]);
    }
    bits = 16;
}

int ReferenceInput::Run(int code, const Bytes& source, int pixels, Words& work) const {
    const CodeLayout layout = LayoutOf(code);
    if (layout.channels != stride) return 65535;
    std::fill_n(work.begin(), pixels * stride, static_cast<unsigned short>(0));
    const std::size_t samples = AsIndex(3 * std::max(pixels, 0));
    for (std::size_t n = 0; n < samples; ++n) {
        unsigned short sample = source[layout.sourceBytes == 1 ? n : 0];
        if (layout.sourceBytes == 2) std::memcpy(&sample, &source[2 * n], 2);
        work[n / 3 * AsIndex(stride) + n % 3] = LowWord(table[n % 3][sample]);
    }
    return 0;
}

void ReferenceGrid::SetSize(int size) {
    points = size;
    shift = size == 17 ? 12 : size == 9 ? 13 : 11;
    mask = (1 << shift) - 1;
}

const ReferenceNode& ReferenceGrid::Node(int i, int j, int k) const {
    return nodes[AsIndex((i * points + j) * points + k)];
}

void ReferenceGrid::Load(const LutContents& lut) {
    SetSize(lut.points);
    nodes.assign(AsIndex(points * points * points), ReferenceNode{});
    std::size_t next = 0;
    for (ReferenceNode& node : nodes) {
        for (std::size_t c = 0; c < AsIndex(lut.outputs); ++c) node[c] = lut.grid[next++];
    }
    step = 65536.0 / (points - 1);
    positions.resize(AsIndex(points));
    for (int n = 0; n < points; ++n) positions[AsIndex(n)] = static_cast<int>(n * step);
    if (points != 9 && points != 17 && points != 33) Resize(17);
}

void ReferenceGrid::Resize(int size) {
    if (size == points) return;
    const double newStep = 65536.0 / (size - 1);
    std::vector<int> places(AsIndex(size));
    for (int n = 0; n < size - 1; ++n) places[AsIndex(n)] = static_cast<int>(n * newStep);
    places[AsIndex(size - 1)] = 65535;
    std::vector<ReferenceNode> sampled;
    for (const int x : places) {
        for (const int y : places) {
            for (const int z : places) sampled.push_back(InterpolateFloat(x, y, z));
        }
    }
    SetSize(size);
    nodes = sampled;
    step = newStep;
    positions = places;
}

std::array<long long, 4> ReferenceGrid::Edges(const std::array<int, 3>& cell, std::size_t tetrahedron,
                                              std::size_t channel) const {
    std::array<int, 3> at = cell;
    long long value = Node(at[0], at[1], at[2])[channel];
    std::array<long long, 4> edges{value};
    for (const std::size_t axis : kTetrahedra[tetrahedron]) {
        ++at[axis];
        const long long next = Node(at[0], at[1], at[2])[channel];
        edges[1 + axis] = next - value;
        value = next;
    }
    return edges;
}

std::array<unsigned short, 7> ReferenceGrid::InterpolateFixed(int x, int y, int z) const {
    const int fx = x & mask, fy = y & mask, fz = z & mask;
    const std::size_t tetrahedron = TetrahedronOf(fx, fy, fz);
    std::array<unsigned short, 7> result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto e = Edges({x >> shift, y >> shift, z >> shift}, tetrahedron, c);
        result[c] = LowWord((e[0] * (1 << shift) + e[1] * fx + e[2] * fy + e[3] * fz) >> shift);
    }
    return result;
}

ReferenceNode ReferenceGrid::InterpolateFloat(int x, int y, int z) const {
    const int values[3] = {x, y, z};
    std::array<int, 3> cell{};
    Triple f{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        cell[axis] = static_cast<int>(values[axis] / step);
        f[axis] = (values[axis] - positions[AsIndex(cell[axis])]) / step;
    }
    const std::size_t tetrahedron = TetrahedronOf(f[0], f[1], f[2]);
    ReferenceNode result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto e = Edges(cell, tetrahedron, c);
        double sum = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) sum += static_cast<double>(e[1 + axis]) * f[axis];
        result[c] = static_cast<int>(sum) + static_cast<int>(e[0]);
    }
    return result;
}

void ReferenceGrid::Shift(const Triple& by) {
    for (ReferenceNode& node : nodes) {
        const Triple lab = LabFrom(node[0], node[1], node[2]);
        const auto polar = NaiveChromaHue(lab[1], lab[2]);
        const double hue = NaiveAdjust({0, 0, polar[1]}, 0, 0, by[2])[2];
        const auto ab = NaiveAB(Percent(polar[0] + by[1]), hue);
        node[0] = ToInt(Percent(lab[0] + by[0]) * 65280.0 / 100.0) & 0xffff;
        node[1] = ToInt(256.0 * ab[0] + 32768.0) & 0xffff;
        node[2] = ToInt(256.0 * ab[1] + 32768.0) & 0xffff;
    }
}

void ReferenceGrid::ToRgb(const ReferenceCurves& curves, const Triple& white, int primaries) {
    for (ReferenceNode& node : nodes) {
        const auto at = [&](std::size_t c) { return curves.At(c, node[c] & 0xffff); };
        const Triple rgb = NaiveLabToRGB(LabFrom(at(0), at(1), at(2)), white, primaries);
        for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
    }
}

void ReferenceGrid::Run(int channels, int pixels, Words& work) const {
    for (int p = 0; p < pixels; ++p) {
        unsigned short* pixel = &work[AsIndex(p * channels)];
        const auto result = InterpolateFixed(pixel[0], pixel[1], pixel[2]);
        for (int c = 0; c < channels; ++c) pixel[c] = result[AsIndex(c)];
    }
}

}  // namespace hueweave::test
